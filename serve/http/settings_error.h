// What is wrong with a setting of the server.
#pragma once

#include <stdexcept>

namespace diskmgt::serve {

/// Settings that cannot be used. `what()` is one sentence: what, and what to do.
class SettingsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace diskmgt::serve
