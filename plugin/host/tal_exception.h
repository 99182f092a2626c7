// TTALException: how the host reports its failures.
#pragma once

#include <stdexcept>
#include <string>

#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

/// A failure inside the host. `what()` is one sentence for people. Caught by reference, ahead of any
/// `std::exception` handler.
class TAL_API TTALException : public std::runtime_error {
public:
    explicit TTALException(const std::string& text);
    TTALException(const TTALException&) = default;
    TTALException& operator=(const TTALException&) = default;
    ~TTALException() override;
};

}  // namespace NVEXTAL20
