// The two 25-character forms of a CIM datetime: a point in time and an interval.
#pragma once

#include <string_view>

namespace refhost {

/// Why the text is not a datetime, for people; null when it is one. A point is `yyyymmddhhmmss.mmmmmmsutc` with the
/// sign `s` and the offset in minutes, an interval `ddddddddhhmmss.mmmmmm:000`. Unknown fields are asterisks,
/// from some field on to the end of the microseconds.
const char* datetimeFault(std::string_view text);

}  // namespace refhost
