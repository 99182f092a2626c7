// Points in time as texts.
#pragma once

#include <ctime>
#include <string>

namespace diskmgt {

/// ISO 8601 to the second, such as 2024-02-29T23:59:59Z; empty when the year is out of reach.
inline std::string utcText(std::time_t moment) {
    std::tm parts{};
    char text[32] = "";
    if (::gmtime_r(&moment, &parts) != nullptr) (void)std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

}  // namespace diskmgt
