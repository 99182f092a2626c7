// The trace read as stages, and what a failure may cost.
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

namespace diskmgt_test {

namespace {

using refhost::FaultKind;
using refhost::FaultPlan;
using refhost::TraceEntry;

std::string classArgument(const TraceEntry& entry) {
    for (const auto& [name, value] : entry.arguments)
        if (const auto* const text = std::get_if<std::string>(&value); text != nullptr && name == "class") return *text;
    return std::string();
}

/// Of `some`, those that `others` lacks.
std::vector<std::string> without(std::vector<std::string> some, const std::vector<std::string>& others) {
    for (const std::string& other : others) {
        const auto found = std::find(some.begin(), some.end(), other);
        if (found != some.end()) some.erase(found);
    }
    return some;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// How many properties differ. Of one that cannot be set, an earlier value stays: GPT partitions bring those of the
/// entries before them.
std::size_t differingProperties(const Texts& left, const Texts& whole) {
    std::size_t same = 0;
    for (const auto& property : left)
        same += whole.count(property.first) && whole.at(property.first) == property.second;
    return std::max(whole.size(), left.size()) - same;
}

/// Asserts that what is left is part of `due`, in its order, and that no more properties differ than so many.
void expectPartOf(const std::vector<Texts>& due, const std::vector<Texts>& left, std::size_t mayDiffer) {
    auto next = due.begin();
    for (const Texts& instance : left) {
        while (next != due.end() && differingProperties(instance, *next) > mayDiffer) ++next;
        if (next == due.end()) {
            ADD_FAILURE() << "made up or out of order: " << ::testing::PrintToString(instance);
            return;
        }
        mayDiffer -= differingProperties(instance, *next++);
    }
}

}  // namespace

CrossingModel::CrossingModel(const std::vector<TraceEntry>& trace, Outcome cleanOutcome)
    : clean(std::move(cleanOutcome)) {
    Crossing now;
    for (const TraceEntry& entry : trace) {
        if (!entry.byPlugin) continue;
        now.call = entry.call;
        if (entry.call == "isAssociation") {
            now.stage = Stage::association;
            now.className = classArgument(entry);
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
        }
        made.push_back(now);
    }
}

std::string CrossingModel::describe(std::size_t crossing) const {
    const Crossing& at = made[crossing - 1];
    return "crossing " + std::to_string(crossing) + " of " + std::to_string(made.size()) + ", " + at.call +
           (at.className.empty() ? "" : " while serving " + at.className);
}

/// Many failures end it where the first one is reported or the next class is asked; behind the last class nothing is.
bool CrossingModel::endsTheRequest(const Crossing& at, const FaultPlan& plan) const {
    if (plan.kind == FaultKind::kNullResult) return false;
    if (at.stage <= Stage::name) return true;
    if (plan.fromThenOn) return !at.servesAssociation() || at.className != allClasses().back();
    return plan.kind == FaultKind::kForeignException && !at.servesAssociation();
}

void CrossingModel::expectOnlyItsClassSuffers(const FaultPlan& plan, const Outcome& actual) const {
    const Crossing& at = made[plan.crossing - 1];
    EXPECT_EQ(actual.failure.has_value(), endsTheRequest(at, plan)) << actual.failure.value_or("(none)");
    if (actual.failure && plan.kind == FaultKind::kForeignException) {
        EXPECT_EQ(*actual.failure, "the plug-in threw something that is no std::exception");
    } else if (actual.failure && !plan.fromThenOn) {
        EXPECT_EQ(*actual.failure, "planned failure of crossing " + std::to_string(plan.crossing) + ", " + at.call);
    } else if (actual.failure) {
        EXPECT_TRUE(contains(*actual.failure, "planned failure of crossing ")) << *actual.failure;
    }
    for (const std::string& className : allClasses()) expectClass(className, at, plan, actual);
    expectLog(at, plan, actual);
}

/// Before the class that was being served all is as usual. Behind it too, unless the request ended or all fails from
/// then on. The class itself may be cut short, and lacks nothing else.
void CrossingModel::expectClass(const std::string& className, const Crossing& at, const FaultPlan& plan,
                                const Outcome& actual) const {
    const auto placeOf = [](const std::string& name) {
        return name.empty() ? -1 : std::find(allClasses().begin(), allClasses().end(), name) - allClasses().begin();
    };
    const bool isLater = placeOf(className) > placeOf(at.className);
    const std::vector<Texts> due = isAssociationClass(className) ? pairsOf(className, actual) : clean.of(className);
    const std::vector<Texts>& left = actual.of(className);
    SCOPED_TRACE(className);
    if (className != at.className) {
        EXPECT_EQ(left, isLater && (actual.failure || plan.fromThenOn) ? std::vector<Texts>() : due);
        return;
    }
    const bool isHosts = plan.kind == FaultKind::kTalException && !plan.fromThenOn;
    const bool costsAProperty = isHosts && at.stage == Stage::property && !at.servesAssociation();
    expectPartOf(due, left, costsAProperty ? 1 : 0);
    const bool costsAnInstance =
        isHosts && (at.stage == Stage::commit || (at.stage > Stage::collecting && at.servesAssociation()));
    const bool isNullInstance = plan.kind == FaultKind::kNullResult && at.stage == Stage::creation && !plan.fromThenOn;
    if (costsAProperty) {
        EXPECT_EQ(left.size(), due.size());
    } else if (costsAnInstance || isNullInstance) {
        EXPECT_GE(left.size() + 1, due.size());
    }
}

/// Only lines of the class that was being served are missing, only lines about it or the failure are added; and the
/// failure of an instance class is never silent.
void CrossingModel::expectLog(const Crossing& at, const FaultPlan& plan, const Outcome& actual) const {
    if (actual.failure || plan.fromThenOn) {
        EXPECT_TRUE(isBeginningOf(actual.log, clean.log)) << ::testing::PrintToString(actual.log);
        return;
    }
    const std::vector<std::string> missing = without(clean.log, actual.log);
    const std::vector<std::string> added = without(actual.log, clean.log);
    EXPECT_LE(missing.size(), at.className == "VEXSG_DiskDrive" ? 2U : 1U) << ::testing::PrintToString(missing);
    EXPECT_LE(added.size(), 2U) << ::testing::PrintToString(added);
    for (const std::string& line : added) {
        EXPECT_TRUE(contains(line, at.className) || contains(line, "planned failure of crossing ")) << line;
    }
    const bool isThrown = plan.kind != FaultKind::kNullResult;
    if (isThrown && !at.servesAssociation()) {
        EXPECT_FALSE(added.empty());
    }
}

}  // namespace diskmgt_test
