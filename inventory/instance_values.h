// Values of published instances by property name.
#pragma once

#include <charconv>
#include <optional>
#include <string>

#include "refhost/api/reference_host.h"

namespace diskmgt {

/// Null when the class has no such property or its value is null.
inline const refhost::PropertyValue* find(const refhost::Instance& instance, const std::string& name) {
    for (const refhost::PropertyValue& property : instance.properties)
        if (property.declaration->name == name) return property.isNull ? nullptr : &property;
    return nullptr;
}

/// The first element; empty when there is none.
inline const std::string& textOf(const refhost::Instance& instance, const std::string& name) {
    static const std::string none;
    const refhost::PropertyValue* const property = find(instance, name);
    return property == nullptr || property->elements.empty() ? none : property->elements.front();
}

/// Absent when the value is null or out of the type's range.
template <typename Number>
std::optional<Number> numberOf(const refhost::Instance& instance, const std::string& name) {
    const std::string& text = textOf(instance, name);
    Number value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
    return value;
}

}  // namespace diskmgt
