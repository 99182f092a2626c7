// What the host's types, references and values hold. Contents never change once made, so copies share them.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "plugin/host/cim_value.h"
#include "refhost/value/cim_type.h"

namespace NVEXTAL20 {

struct TCIMValue::TCIMType::Content {
    Content(refhost::CimType typeKind, std::string typeName) : kind(typeKind), name(std::move(typeName)) {}

    refhost::CimType kind;
    std::string name;
};

struct TCIMReference::Content {
    explicit Content(std::string pathText) : path(std::move(pathText)) {}

    /// The class of the instance that is named. No class name has a dot.
    std::string_view className() const { return std::string_view(path).substr(0, path.find('.')); }

    std::string path;
};

/// A non-null value. Its texts are canonical: plain decimal integers, "true" and "false", object paths.
struct TCIMValue::Content {
    using Elements = std::vector<std::string>;
    using Reference = boost::shared_ptr<const TCIMReference::Content>;

    Content(refhost::CimType kind, std::string text) : type(kind), held(std::move(text)) {}
    Content(refhost::CimType kind, Elements elements) : type(kind), held(std::move(elements)) {}
    explicit Content(Reference reference) : type(refhost::CimType::kReference), held(std::move(reference)) {}

    bool isArray() const { return std::holds_alternative<Elements>(held); }
    /// The elements of an array; null for a scalar.
    const Elements* elements() const { return std::get_if<Elements>(&held); }
    /// The text of a scalar; not for an array.
    const std::string& text() const {
        if (const auto* reference = std::get_if<Reference>(&held)) return (*reference)->path;
        return std::get<std::string>(held);
    }

    refhost::CimType type;
    std::variant<std::string, Elements, Reference> held;
};

}  // namespace NVEXTAL20

namespace refhost {

using ValuePointer = boost::shared_ptr<const NVEXTAL20::TCIMValue::Content>;

}  // namespace refhost
