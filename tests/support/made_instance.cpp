#include "tests/support/made_instance.h"

#include <algorithm>

#include "refhost/value/object_path.h"

namespace diskmgt_test {

refhost::Instance instanceOf(const refhost::ClassDeclaration& declaration,
                             const std::vector<std::pair<std::string, std::string>>& properties) {
    refhost::Instance instance;
    instance.className = declaration.name;
    refhost::ObjectPath path{declaration.name, {}};
    for (const refhost::PropertyDeclaration& declared : declaration.properties) {
        refhost::PropertyValue value{&declared, true, {}};
        for (const auto& [name, text] : properties) {
            if (name != declared.name) continue;
            value.isNull = false;
            value.elements.push_back(text);
            if (declared.isKey) path.keys.emplace_back(name, text);
        }
        instance.properties.push_back(std::move(value));
    }
    std::sort(path.keys.begin(), path.keys.end());
    instance.path = refhost::objectPathText(path);
    return instance;
}

}  // namespace diskmgt_test
