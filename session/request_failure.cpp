#include "session/request_failure.h"

#include <algorithm>

#include "schema/vocabulary.h"

namespace diskmgt {

namespace {

using Kind = RequestFailure::Kind;

bool isError(const refhost::LogLine& line) { return line.severity == 0; }

/// The plug-in goes on with the next instance or class, and says so in a line for debugging.
bool saysExceptionWasCaught(const refhost::LogLine& line) {
    return line.text.find(diskmgt_col::kCollectionEncounteredException) != std::string::npos ||
           line.text.rfind(diskmgt_col::kAttemptedCreation, 0) == 0;
}

const char* openingOf(Kind kind) {
    switch (kind) {
        case Kind::kEndedEarly:
            return "the request ended early: ";
        case Kind::kErrorLogged:
            return "an error was logged: ";
        case Kind::kExceptionCaught:
            break;
    }
    return "an exception was logged: ";
}

}  // namespace

std::optional<RequestFailure> failureIn(const refhost::RequestResult& result) {
    if (result.failure) return RequestFailure{Kind::kEndedEarly, *result.failure};
    auto line = std::find_if(result.log.begin(), result.log.end(), isError);
    if (line != result.log.end()) return RequestFailure{Kind::kErrorLogged, line->text};
    line = std::find_if(result.log.begin(), result.log.end(), saysExceptionWasCaught);
    if (line != result.log.end()) return RequestFailure{Kind::kExceptionCaught, line->text};
    return std::nullopt;
}

std::string failureClause(const refhost::RequestResult& result) {
    const std::optional<RequestFailure> failure = failureIn(result);
    return failure ? openingOf(failure->kind) + failure->text : std::string();
}

}  // namespace diskmgt
