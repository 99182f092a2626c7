// What ends an operation with a CIM error, and a request that is not CIM-XML.
#pragma once

#include <stdexcept>
#include <string>

namespace diskmgt::serve {

enum class CimStatus {
    kFailed = 1,
    kInvalidNamespace = 3,
    kInvalidParameter = 4,
    kInvalidClass = 5,
    kNotFound = 6,
    kNotSupported = 7
};

/// `what()` is the description that the client gets: one sentence.
class CimFailure : public std::runtime_error {
public:
    CimFailure(CimStatus failureStatus, const std::string& description)
        : std::runtime_error(description), status(failureStatus) {}

    const CimStatus status;
};

/// The request is answered with HTTP 400. `what()` is a sentence for people.
class RequestRefusal : public std::runtime_error {
public:
    RequestRefusal(const char* headerWord, const std::string& reason)
        : std::runtime_error(reason), cimError(headerWord) {}

    const char* const cimError;  // the word for the header CIMError
};

/// Text of a client inside a description: in quotes, fit for one line, cut where it is long.
std::string quotedForClient(const std::string& text);

}  // namespace diskmgt::serve
