// Loses memory twice: 37 bytes while it loads, 41 for every class it is asked for.
#include <cstddef>

#include "tests/cli/plugins/test_plugin.h"

namespace {

void lose(std::size_t bytes) {
    [[maybe_unused]] const char* volatile lost = new char[bytes];
    lost = nullptr;
}

class Leaking : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<NVEXTAL20::ICIMNamespace>, test_plugin::Classes& classes) override {
        for (std::size_t served = 0; served < classes.size(); ++served) lose(41);
    }
};

const test_plugin::Registration<Leaking> registration;

__attribute__((constructor)) void loseWhileLoading() { lose(37); }

}  // namespace
