// RecentValues: a few of the values made most recently. Equal values share one content, since the instances of a class
// differ in few of their properties.
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
    /// The place for scalars of this type and text. Holds such a value, another one or null; the caller puts a new
    /// value there.
    ValuePointer& placeOf(CimType type, std::string_view text) {
        return places[(std::hash<std::string_view>()(text) + static_cast<std::size_t>(type)) % places.size()];
    }

private:
    std::array<ValuePointer, 64> places;
};

}  // namespace refhost
