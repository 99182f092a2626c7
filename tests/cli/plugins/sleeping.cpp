// Never comes back from its first class, as from a dead network file system.
#include <unistd.h>

#include "tests/cli/plugins/test_plugin.h"

namespace {

class Sleeping : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<NVEXTAL20::ICIMNamespace>, test_plugin::Classes& classes) override {
        (void)test_plugin::nameOf(*classes.front());
        for (;;) ::pause();
    }
};

const test_plugin::Registration<Sleeping> registration;

}  // namespace
