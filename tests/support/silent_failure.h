// SilentFailure: an exception of the host, or of the standard library, without any text.
#pragma once

#include <stdexcept>

#include "plugin/host/tal_exception.h"

namespace diskmgt_test {

template <typename Base>
class SilentFailure final : public Base {
public:
    SilentFailure() : Base("never seen") {}
    const char* what() const noexcept override { return nullptr; }
};

using SilentHostFailure = SilentFailure<NVEXTAL20::TTALException>;
using SilentStandardFailure = SilentFailure<std::runtime_error>;

}  // namespace diskmgt_test
