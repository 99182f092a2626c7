// The text form of an instance's identity: Class.Key="value",Key2="value", the keys in byte order.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "plugin/host/tal_api.h"

namespace refhost {

struct ObjectPath {
    std::string className;
    std::vector<std::pair<std::string, std::string>> keys;  // name and value, names in byte order; null keys left out
};

/// Appends the value in double quotes, with a backslash before each quote and backslash.
void appendQuoted(std::string& text, std::string_view value);

/// The text of a path; the class alone when it has no key. Values of every type are quoted, so one rule reads them all.
TAL_API std::string objectPathText(const ObjectPath& path);

/// Reads exactly what `objectPathText` writes. Throws `TTALException` saying why for anything else.
TAL_API ObjectPath parseObjectPath(std::string_view text);

}  // namespace refhost
