// Crashes when it is asked for its first class.
#include <csignal>

#include "tests/cli/plugins/test_plugin.h"

namespace {

class Crashing : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<NVEXTAL20::ICIMNamespace>, test_plugin::Classes& classes) override {
        (void)test_plugin::nameOf(*classes.front());
        (void)std::signal(SIGSEGV, SIG_DFL);  // of a sanitizer
        (void)std::raise(SIGSEGV);
    }
};

const test_plugin::Registration<Crashing> registration;

}  // namespace
