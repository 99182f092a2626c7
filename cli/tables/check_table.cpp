#include "cli/tables/check_table.h"

#include <cstdio>
#include <map>
#include <vector>

#include "cli/tables/text_table.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using Outcome = CheckResult::Outcome;

const char* shown(Outcome outcome) { return outcome == Outcome::kNotChecked ? "not checked" : nameOf(outcome); }

const char* colorOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::kGood:
            return "green";
        case Outcome::kFailed:
            return "red";
        default:
            return "yellow";
    }
}

std::string textOf(const CheckFinding& finding, Outcome outcome) {
    const std::string mark = outcome == Outcome::kFailed && !finding.isFailure ? "remark: " : "";
    return mark + (finding.className.empty() ? "" : finding.className + ": ") + finding.text;
}

/// Of each class a few; the rest is counted.
std::vector<std::string> textsOf(const CheckResult& result) {
    constexpr std::size_t kMostOfClass = 5;
    std::map<std::string, std::size_t> counts;
    std::vector<std::string> texts;
    std::size_t unsaid = 0;
    for (const CheckFinding& finding : result.findings)
        if (++counts[finding.className] <= kMostOfClass)
            texts.push_back(textOf(finding, result.outcome));
        else
            ++unsaid;
    if (unsaid > 0) texts.push_back(std::to_string(unsaid) + " more like these: --format json has all");
    return texts;
}

std::string tableOfChecks(const CheckReport& report, const TableStyle& style) {
    TextTable table(style);
    table.addColumns({"Check", "Result", "Found"});
    for (const CheckResult& result : report.results) {
        std::vector<std::string> found = textsOf(result);
        const bool isNoteAnAnswer = result.outcome != Outcome::kFailed && !result.note.empty();
        if (found.empty() || isNoteAnAnswer) found.insert(found.begin(), result.note);
        for (std::size_t i = 0; i < found.size(); ++i) {
            libscols_line* const row = table.addRow();
            table.set(row, 2, found[i]);
            if (i > 0) continue;
            table.set(row, 0, nameOf(result.check));
            table.set(row, 1, shown(result.outcome));
            table.paint(row, 1, colorOf(result.outcome));
        }
    }
    return table.print();
}

std::string milliseconds(double seconds) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.3f ms", seconds * 1000);
    return text;
}

/// Classes with an instance or a log line; the rest is counted.
std::string tableOfClasses(const std::vector<ServedFacts>& served, const TableStyle& style) {
    using Column = TextTable::Column;
    TextTable table(style);
    table.addColumn("Class");
    for (const char* const heading : {"Instances", "Log lines", "Crossings", "Time"})
        table.addColumn(heading, Column::kNumber);
    std::size_t silent = 0;
    for (const ServedFacts& facts : served) {
        if (facts.instances == 0 && facts.log.empty()) {
            ++silent;
            continue;
        }
        table.addRow({facts.className, std::to_string(facts.instances), std::to_string(facts.log.size()),
                      std::to_string(facts.crossings), milliseconds(facts.seconds)});
    }
    const std::string rest = silent == 0 ? ""
                                         : std::to_string(silent) + (silent == 1 ? " class" : " classes") +
                                               " without an instance or a log line.\n";
    return silent == served.size() ? rest : table.print() + rest;
}

std::string verdictSentence(const CheckReport& report) {
    std::vector<std::string> failed;
    std::size_t good = 0;
    std::size_t remarks = 0;
    for (const CheckResult& result : report.results) {
        if (result.outcome == Outcome::kFailed) failed.emplace_back(nameOf(result.check));
        if (result.outcome == Outcome::kGood || result.outcome == Outcome::kRemark) ++good;
        if (result.outcome == Outcome::kRemark) ++remarks;
    }
    const std::string which = failed.empty() ? "the check did not come to its end" : listed(failed);
    switch (report.verdict) {
        case CheckReport::Verdict::kGood:
            return "Good: " + counted(good, "check") + " passed" +
                   (remarks == 0 ? "" : ", " + std::to_string(remarks) + " with a remark") + ".\n";
        case CheckReport::Verdict::kFailed:
            return "Failed: " + which + ".\n";
        case CheckReport::Verdict::kUnusable:
            return "Not usable: " + which + ".\n";
        case CheckReport::Verdict::kTimedOut:
            break;
    }
    return "Timed out: " + which + ".\n";
}

}  // namespace

std::string checkTables(const CheckReport& report, const TableStyle& style) {
    std::string text = tableOfChecks(report, style) + "\n";
    if (!report.served.empty()) text += tableOfClasses(report.served, style) + "\n";
    return text + verdictSentence(report);
}

}  // namespace diskmgt
