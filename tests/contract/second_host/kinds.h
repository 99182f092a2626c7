// The CIM types that the second host knows: only those that the disk classes declare.
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "plugin/host/cim_value.h"

namespace NVEXTAL20 {
class ICIMInstance;
}

namespace second_host {

enum class Kind { kString, kBoolean, kUint16, kUint32, kUint64, kReference };

struct Array {
    Kind kind;
    std::vector<NVEXTAL20::TCIMValue> elements;
};

/// A reference is the instance itself: this host has no object paths.
using InstancePointer = boost::shared_ptr<NVEXTAL20::ICIMInstance>;

/// The alternatives up to the reference are in the order of `Kind`.
using Held = std::variant<std::string, bool, std::uint16_t, std::uint32_t, std::uint64_t, InstancePointer, Array>;

}  // namespace second_host

namespace NVEXTAL20 {

struct TCIMValue::TCIMType::Content {
    Content(second_host::Kind typeKind, bool isOfArray) : kind(typeKind), isArray(isOfArray) {}
    second_host::Kind kind;
    bool isArray;  // an array type and its element type differ but share a name
};

struct TCIMReference::Content {
    explicit Content(second_host::InstancePointer named) : instance(std::move(named)) {}
    second_host::InstancePointer instance;
};

struct TCIMValue::Content {
    explicit Content(second_host::Held value) : held(std::move(value)) {}
    second_host::Kind kind() const {
        const auto* const array = std::get_if<second_host::Array>(&held);
        return array != nullptr ? array->kind : static_cast<second_host::Kind>(held.index());
    }
    bool isArray() const { return std::holds_alternative<second_host::Array>(held); }
    second_host::Held held;
};

}  // namespace NVEXTAL20
