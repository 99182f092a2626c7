// Gives the size of a drive as a text, and goes on as if the host had taken it.
#include "plugin/host/tal_exception.h"
#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class WrongType : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        NVEXTAL20::TCIMOptions options;
        const auto instance = made(cls, nameSpace, drive("/dev/sda"));
        NVEXTAL20::TCIMValue text(std::string("4096 bytes"));
        try {
            instance->SetProperty("Size", text, options);
        } catch (const NVEXTAL20::TTALException&) {
            text = NVEXTAL20::TCIMValue();
        }
        instance->AddToClass({});
    }
};

const Registration<WrongType> registration;

}  // namespace
