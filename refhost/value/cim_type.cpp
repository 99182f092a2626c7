#include "refhost/value/cim_type.h"

#include <vector>

#include "refhost/value/content.h"

namespace refhost {

namespace {

using TypeContent = NVEXTAL20::TCIMValue::TCIMType::Content;

using TypePointer = boost::shared_ptr<const TypeContent>;

/// One content a type, in the order of CimType.
const std::vector<TypePointer>& allContents() {
    // Never destroyed: plug-ins may hold types until the process ends. So the pointers own nothing, and to copy one
    // takes no counting.
    static const auto& contents = *[] {
        static const char* const words[] = {"string", "boolean", "uint8",  "uint16",   "uint32",
                                            "uint64", "sint8",   "sint16", "sint32",   "sint64",
                                            "real32", "real64",  "char16", "datetime", "reference"};
        auto* const made = new std::vector<TypePointer>;
        for (const char* word : words)
            made->push_back(TypePointer(TypePointer(), new TypeContent(static_cast<CimType>(made->size()), word)));
        return made;
    }();
    return contents;
}

}  // namespace

const boost::shared_ptr<const TypeContent>& typeContent(CimType type) {
    return allContents()[static_cast<std::size_t>(type)];
}

const std::string& nameOf(CimType type) { return typeContent(type)->name; }

std::optional<CimType> cimTypeNamed(std::string_view word) {
    for (const auto& content : allContents())
        if (content->name == word) return content->kind;
    return std::nullopt;
}

}  // namespace refhost
