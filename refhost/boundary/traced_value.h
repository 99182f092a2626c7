// How CIM values show in a trace.
#pragma once

#include "refhost/api/reference_host.h"
#include "refhost/value/content.h"

namespace refhost {

/// Null, the list of an array's texts, or the scalar's text.
inline TraceValue tracedValue(const ValuePointer& value) {
    if (!value) return {};
    if (const auto* const elements = value->elements()) return *elements;
    return value->text();
}

}  // namespace refhost
