#include "formats/check_json.h"

#include <cstdio>

#include "formats/json_writer.h"

namespace diskmgt::json {

namespace {

void writeIdentity(JsonWriter& out, const CheckReport& report) {
    out.key("plugin").beginObject().textField("file", report.identity ? report.identity->file : report.file);
    if (report.identity) {
        out.textField("name", report.identity->name).textField("version", report.identity->version);
        out.textField("interfaceVersion", report.identity->interfaceVersion);
        out.numberField("type", report.identity->type);
    }
    out.endObject();
}

void writeFindings(JsonWriter& out, const CheckResult& result, const char* name, bool areFailures) {
    out.key(name).beginArray();
    for (const CheckFinding& finding : result.findings) {
        if (finding.isFailure != areFailures) continue;
        out.beginObject();
        if (!finding.className.empty()) out.textField("class", finding.className);
        out.textField("text", finding.text).endObject();
    }
    out.endArray();
}

void writeServed(JsonWriter& out, const ServedFacts& facts) {
    char seconds[32];
    (void)std::snprintf(seconds, sizeof seconds, "%.6f", facts.seconds);
    out.beginObject().textField("name", facts.className).truthField("association", facts.isAssociation);
    out.numberField("instances", facts.instances).numberField("crossings", facts.crossings);
    out.key("seconds").plain(seconds);
    out.key("log").beginArray();
    for (const refhost::LogLine& line : facts.log)
        out.beginObject().key("severity").signedNumber(line.severity).textField("text", line.text).endObject();
    out.endArray().endObject();
}

}  // namespace

std::string checkDocument(const CheckReport& report) {
    JsonWriter out;
    out.beginObject();
    writeIdentity(out, report);
    out.textField("verdict", nameOf(report.verdict)).truthField("thorough", report.isThorough);
    out.key("checks").beginArray();
    for (const CheckResult& result : report.results) {
        out.beginObject().textField("name", nameOf(result.check)).textField("result", nameOf(result.outcome));
        if (!result.note.empty()) out.textField("note", result.note);
        writeFindings(out, result, "failures", true);
        writeFindings(out, result, "remarks", false);
        out.endObject();
    }
    out.endArray().key("classes").beginArray();
    for (const ServedFacts& facts : report.served) writeServed(out, facts);
    out.endArray().endObject();
    return out.take();
}

}  // namespace diskmgt::json
