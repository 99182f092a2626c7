// Serves nothing and logs an error for every class.
#include "tests/cli/plugins/test_plugin.h"

namespace {

class Complaining : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<NVEXTAL20::ICIMNamespace>, test_plugin::Classes& classes) override {
        for (const auto& cls : classes)
            NVEXTAL20::TRootObject::GetCoreLogger()->Log(NVEXTAL20::ILogger::kError,
                                                         "no luck with " + test_plugin::nameOf(*cls));
    }
};

const test_plugin::Registration<Complaining> registration;

}  // namespace
