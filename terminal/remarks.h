// The one way sentences reach standard error.
#pragma once

#include <string>

namespace diskmgt {

/// Writes "diskmgt: " and the sentence as one line to standard error; control characters are escaped.
void writeRemark(const std::string& sentence);

/// From now on each sentence is offered to `takes` first, and is not written when it answers true.
void offerRemarksTo(bool (*takes)(const std::string& sentence));

}  // namespace diskmgt
