// RecentValues: a few of the values that were made last, so that equal ones can share one content. The instances of a
// class differ in few of their properties.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string_view>

#include "refhost/value/content.h"

namespace refhost {

/// For one thread.
class RecentValues {
public:
    /// The place of scalars of this type and text: holds such a value, another one or null. Whoever makes one puts it
    /// there.
    ValuePointer& placeOf(CimType type, std::string_view text) {
        return places[(std::hash<std::string_view>()(text) + static_cast<std::size_t>(type)) % places.size()];
    }

private:
    std::array<ValuePointer, 64> places;
};

}  // namespace refhost
