// Why a text cannot be written, before it is known which file the sentence names.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace diskmgt {

/// `what()` continues "cannot write FILE: ".
class WriteError : public std::runtime_error {
public:
    explicit WriteError(const std::string& reason) : std::runtime_error(reason) {}
    explicit WriteError(int errorNumber)
        : std::runtime_error(errorNumber == 0 ? "unknown error" : std::strerror(errorNumber)) {}
};

}  // namespace diskmgt
