// The trace read as stages, and the rules of each stage.
//
// A class that is served passes these stages; what a failing crossing costs depends on the stage and on who serves it:
//
//   stage        host's exception              standard exception     foreign one       null
//   identity,    the request ends              the same               the same          (no pointer is asked for)
//   association,
//   name
//   collecting   instances: one line, the      the same               instances: the    a logger: its line is lost;
//                class ends                                           request ends      a class or property: as a
//                associations: the class ends  the same               the class ends    standard exception
//   creation     instances: as collecting      as collecting          as collecting     the one instance is lost
//                associations: one line, one
//                instance is lost
//   property     instances: two lines, one     as collecting          as collecting     instances: as a standard
//                property is lost                                                       exception
//                associations: as creation                                              associations: nothing
//   commit       one line, one instance lost   as collecting          as collecting     (no pointer is asked for)
#include "tests/faults/crossing_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace diskmgt_test {

namespace {

using refhost::FaultKind;
using refhost::FaultPlan;
using refhost::TraceEntry;
using refhost::TraceValue;

/// Calls that answer with a pointer.
bool canBeNull(const std::string& call) {
    static const std::set<std::string> calls{"getCoreLogger", "createInstance",   "getProperty",   "classNamespace",
                                             "getClass",      "getPluginManager", "registerPlugin"};
    return calls.count(call) == 1;
}

std::string textOf(const TraceValue& value) {
    if (const auto* const number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
    if (const auto* const text = std::get_if<std::string>(&value)) return *text;
    std::string joined;
    if (const auto* const texts = std::get_if<std::vector<std::string>>(&value))
        for (const std::string& text : *texts) joined += (joined.empty() ? "" : "|") + text;
    return joined;
}

std::string argument(const TraceEntry& entry, const std::string& name) {
    for (const auto& [itsName, value] : entry.arguments)
        if (itsName == name) return textOf(value);
    return std::string();
}

constexpr const char* kForeignFailure = "the plug-in threw something that is no std::exception";

bool matches(const std::string& actual, const std::string& expected) {
    if (expected.empty() || expected.back() != '*') return actual == expected;
    return actual.compare(0, expected.size() - 1, expected, 0, expected.size() - 1) == 0;
}

}  // namespace

CrossingModel::CrossingModel(const std::vector<TraceEntry>& trace) {
    Crossing now;
    std::size_t propertyBegan = 0;
    std::string parsed;  // of the property so far; the pieces of an array with a comma behind each
    for (const TraceEntry& entry : trace) {
        if (!entry.byPlugin) continue;
        now.call = entry.call;
        now.text = entry.call == "log" ? argument(entry, "severity") + " " + argument(entry, "text") : "";
        if (entry.call == "isAssociation") {
            now.stage = Stage::association;
            now.className = argument(entry, "class");
        } else if (entry.call == "className") {
            now.stage = Stage::name;
        } else if (entry.call == "createInstance") {
            now.stage = Stage::creation;
        } else if (entry.call == "commit") {
            now.stage = Stage::commit;
        } else if (now.stage == Stage::name) {
            now.stage = Stage::collecting;
        } else if (entry.call == "getProperty" && now.stage != Stage::collecting) {
            now.stage = Stage::property;
            now.property = argument(entry, "name");
            propertyBegan = made.size();
            parsed.clear();
        }
        if (entry.call == "parseValue") parsed += argument(entry, "text") + ",";
        now.assigned = entry.call == "setProperty" ? argument(entry, "value") : "";
        made.push_back(now);
        if (entry.call != "setProperty" || parsed.empty()) continue;
        const bool isArray = made[made.size() - 2].call == "setArray";
        for (std::size_t i = propertyBegan; i < made.size(); ++i)
            made[i].text = isArray ? parsed : parsed.substr(0, parsed.size() - 1);
    }
}

std::string CrossingModel::describe(std::size_t crossing) const {
    const Crossing& at = made[crossing - 1];
    return "crossing " + std::to_string(crossing) + " of " + std::to_string(made.size()) + ", " + at.call +
           (at.className.empty() ? "" : " while serving " + at.className) +
           (at.stage == Stage::property ? ", property " + at.property : "");
}

/// Serves the request crossing by crossing.
class CrossingModel::Walk {
public:
    Walk(const std::vector<Crossing>& crossings, const FaultPlan* faults) : made(crossings), plan(faults) {
        for (const std::string& className : allClasses()) result.outcome.published[className];
    }

    Expectation run() {
        for (std::size_t number = 1; number <= made.size() && !ended; ++number) step(number);
        for (const std::string& className : served)
            if (isAssociationClass(className) && touched.count(className) == 0) result.derived.push_back(className);
        return result;
    }

private:
    bool servesAssociation() const { return isAssociationClass(at->className); }

    bool fails(std::size_t number) const {
        if (plan == nullptr || number < plan->crossing || (number > plan->crossing && !plan->fromThenOn)) return false;
        return plan->kind != FaultKind::kNullResult || canBeNull(at->call);
    }

    void step(std::size_t number) {
        at = &made[number - 1];
        if (at->stage == Stage::association || at->stage == Stage::identity) skip = Skip::nothing;
        if (at->stage == Stage::creation && skip != Skip::toNextClass) beginInstance();
        if (skip == Skip::toNextProperty && (at->call == "getProperty" || at->stage == Stage::commit))
            skip = Skip::nothing;
        const bool isSkipped = skip != Skip::nothing;
        if (skip == Skip::line) skip = Skip::nothing;  // its one crossing is this
        if (isSkipped) return;
        if (fails(number)) {
            fail(number);
        } else {
            succeed();
        }
    }

    void beginInstance() {
        skip = Skip::nothing;
        instance.clear();
    }

    void succeed() {
        if (at->stage == Stage::name) served.insert(at->className);
        if (at->call == "log") line(at->text);
        if (at->call == "setProperty") instance[at->property] = at->assigned;
        if (at->stage == Stage::commit) result.outcome.published[at->className].push_back(instance);
    }

    void fail(std::size_t number) {
        if (plan->kind == FaultKind::kNullResult) {
            failWithNull();
            return;
        }
        if (plan->fromThenOn) {
            failFromHereOn();
            return;
        }
        const std::string what = "planned failure of crossing " + std::to_string(number) + ", " + at->call;
        const bool isForeign = plan->kind == FaultKind::kForeignException;
        if (at->stage <= Stage::name || (isForeign && !servesAssociation())) {
            endRequest(isForeign ? kForeignFailure : what);
        } else if (plan->kind == FaultKind::kTalException && at->stage > Stage::collecting) {
            failInBuilder(what);
        } else {
            endClass(what);
        }
    }

    /// The host's own exception while an instance is built.
    void failInBuilder(const std::string& what) {
        if (!servesAssociation() && at->stage == Stage::creation) {
            endClass(what);
        } else if (!servesAssociation() && at->stage == Stage::property) {
            line("3 Error processing property " + at->property + ". With value " + at->text + " from class " +
                 at->className);
            line("0 " + what);
            skip = Skip::toNextProperty;
        } else {
            line("3 Attempted creation of instance for " + at->className + " threw exception " + what);
            skip = Skip::toNextInstance;
        }
        touched.insert(at->className);
    }

    void failWithNull() {
        if (at->call == "getCoreLogger") {
            skip = Skip::line;
        } else if (at->stage == Stage::creation) {
            skip = Skip::toNextInstance;
            touched.insert(at->className);
        } else if (at->stage != Stage::property || !servesAssociation()) {
            endClass("the host gave no *");
        }  // a role's property is looked up for the sake of failing; the answer is not used
    }

    /// The first of a row of failures is the last thing that a request does: a second one meets whoever tells or
    /// goes on. Only behind the last class is nobody left to fail.
    void failFromHereOn() {
        const bool isLastClass = at->className == allClasses().back();
        touched.insert(at->className);
        ended = true;
        if (at->stage > Stage::name && servesAssociation() && isLastClass) return;
        result.outcome.failure =
            plan->kind == FaultKind::kForeignException ? kForeignFailure : "planned failure of crossing *";
    }

    void endClass(const std::string& what) {
        const bool loggerIsGone = plan->fromThenOn;  // exceptions from then on end elsewhere, so it answers null
        if (!servesAssociation() && !loggerIsGone)
            line("3 " + at->className + "collection encountered exception: " + what);
        touched.insert(at->className);
        skip = Skip::toNextClass;
    }

    void endRequest(const std::string& what) {
        result.outcome.failure = what;
        touched.insert(at->className);
        ended = true;
    }

    void line(const std::string& text) { result.outcome.log.push_back(text); }

    enum class Skip { nothing, line, toNextProperty, toNextInstance, toNextClass };

    const std::vector<Crossing>& made;
    const FaultPlan* plan;
    const Crossing* at = nullptr;
    Skip skip = Skip::nothing;
    bool ended = false;
    Texts instance;
    std::set<std::string> served;
    std::set<std::string> touched;  // classes that the fault touched: their instances are those of `result`
    Expectation result;
};

Expectation CrossingModel::clean() const { return Walk(made, nullptr).run(); }

Expectation CrossingModel::expected(const FaultPlan& plan) const { return Walk(made, &plan).run(); }

void expectOutcome(const Outcome& actual, const Expectation& expected) {
    const Outcome& wanted = expected.outcome;
    EXPECT_EQ(actual.failure.has_value(), wanted.failure.has_value());
    EXPECT_TRUE(matches(actual.failure.value_or(""), wanted.failure.value_or("")))
        << actual.failure.value_or("(none)") << "\nbut " << wanted.failure.value_or("(none)");
    EXPECT_TRUE(std::equal(actual.log.begin(), actual.log.end(), wanted.log.begin(), wanted.log.end(), matches))
        << ::testing::PrintToString(actual.log) << "\nbut " << ::testing::PrintToString(wanted.log);
    for (const auto& [className, instances] : wanted.published) {
        const bool isDerived =
            std::find(expected.derived.begin(), expected.derived.end(), className) != expected.derived.end();
        EXPECT_EQ(actual.of(className), isDerived ? pairsOf(className, actual) : instances) << className;
    }
}

}  // namespace diskmgt_test
