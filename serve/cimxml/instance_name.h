// The name of an instance as clients give it: in XML, or as the text of an object path.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace diskmgt::serve {

struct KeyBinding;

/// The name of a class when it has no keys.
struct InstanceName {
    std::string nameSpace;  // empty: not given
    std::string className;
    std::vector<KeyBinding> keys;  // as given: any order and case, perhaps twice
};

struct KeyBinding {
    /// How the value was written. A text may be of any type: many clients say nothing of types.
    enum class Kind { kText, kNumber, kTruth, kReference };

    std::string name;
    Kind kind = Kind::kText;
    std::string text;                  // for all but a reference
    std::vector<InstanceName> target;  // one for a reference
};

/// Reads [//host/][namespace:]Class.key=value,...: values in quotes, with a backslash before each quote and backslash,
/// or plain numbers and truths. Nothing for any other text.
std::optional<InstanceName> instanceNameFromText(std::string_view path);

}  // namespace diskmgt::serve
