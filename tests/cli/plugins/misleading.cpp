// Publishes mounts whose texts mean more than they show: marks of writing direction, and what a spreadsheet takes for a
// formula. Says such a text in the log too.
#include "tests/cli/plugins/test_plugin.h"

namespace {

using namespace NVEXTAL20;

/// C1's "control sequence introducer" and marks that turn a part of the name around.
constexpr const char* kTurned =
    "/dev/\xE2\x80\xAE"
    "1ads\xE2\x80\xAC\xD8\x9C\xE2\x81\xA6\xC2\x9B"
    "31m";
constexpr const char* kSources[] = {kTurned, "=cmd|' /C calc'!A0", "+1", "-1", "@SUM(A1)", "\t=1", "\r=1", "plain=1"};

class Misleading : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<ICIMNamespace> nameSpace, test_plugin::Classes& classes) override {
        for (const auto& cls : classes) serve(*cls, nameSpace);
    }

private:
    static void serve(ICIMClass& cls, const boost::shared_ptr<ICIMNamespace>& nameSpace) {
        TRootObject::GetCoreLogger()->Log(ILogger::kStatus, kTurned);
        if (test_plugin::nameOf(cls) != "VEXSG_LogicalDisk") return;
        TCIMOptions options;
        for (std::string source : kSources) {
            const auto instance = cls.CreateInstance(options);
            const std::string type = instance->GetProperty("DeviceID", options)->GetType(options).ToString();
            TCIMValue value(TCIMValue::TCIMType(type), source, nameSpace);
            instance->SetProperty("DeviceID", value, options);
            instance->AddToClass({});
        }
    }
};

const test_plugin::Registration<Misleading> registration;

}  // namespace
