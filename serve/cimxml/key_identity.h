// One text for all spellings of an instance's name, so that instances are found by a hash.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "refhost/api/reference_host.h"
#include "serve/cimxml/class_tree.h"
#include "serve/cimxml/instance_name.h"

namespace diskmgt::serve {

/// A key value of a type in its one form: numbers by their value (any sign, zeros, hexadecimal), truths without case,
/// texts as clients read them. Nothing when the text is no value of the type. Not for references.
std::optional<std::string> canonicalKeyValue(const std::string& type, std::string_view text);

/// Throws `CimFailure` for any namespace but the one there is; an empty name means that one.
void checkNamespace(const std::string& nameSpace);

/// The class of the name. Throws `CimFailure` when there is none.
const CimClass& classOf(const ClassTree& tree, const std::string& className);

/// A key that is missing counts as null. Throws `CimFailure`: invalid namespace or class, invalid
/// parameter for what is no key of the class or is given twice, not found for a value that the key's type does not
/// have.
std::string identityOf(const ClassTree& tree, const InstanceName& name);
std::string identityOf(const ClassTree& tree, const CimClass& cls, const refhost::Instance& instance);

}  // namespace diskmgt::serve
