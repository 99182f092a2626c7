// What a request to the plug-in says of failures: what the host knows, and what the plug-in logged that it caught.
#pragma once

#include <optional>
#include <string>

#include "refhost/api/reference_host.h"

namespace diskmgt {

struct RequestFailure {
    enum class Kind { kEndedEarly, kErrorLogged, kExceptionCaught };

    Kind kind = Kind::kEndedEarly;
    std::string text;  // of the exception or of the log line
};

/// The gravest failure of a request, the first of several alike; none when all was served.
std::optional<RequestFailure> failureIn(const refhost::RequestResult& result);

/// A clause for people: "an error was logged: ..."; empty when nothing failed.
std::string failureClause(const refhost::RequestResult& result);

}  // namespace diskmgt
