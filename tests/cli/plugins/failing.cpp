// Every request ends with an exception whose text would reach a terminal raw.
#include <stdexcept>

#include "tests/cli/plugins/test_plugin.h"

namespace {

class Failing : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<NVEXTAL20::ICIMNamespace>, test_plugin::Classes&) override {
        throw std::runtime_error("first line\nsecond \033[31mline");
    }
};

const test_plugin::Registration<Failing> registration;

}  // namespace
