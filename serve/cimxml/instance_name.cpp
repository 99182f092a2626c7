#include "serve/cimxml/instance_name.h"

#include <utility>

#include "serve/cimxml/names.h"

namespace diskmgt::serve {

namespace {

bool isNameLetter(char letter) {
    return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z') || letter == '_' ||
           (letter >= '0' && letter <= '9');
}

class PathReader {
public:
    explicit PathReader(std::string_view pathText) : rest(pathText) {}

    std::optional<InstanceName> read() {
        InstanceName name;
        if (!skipHost()) return std::nullopt;
        readNamespace(name.nameSpace);
        if (!readName(name.className)) return std::nullopt;
        if (rest.empty()) return name;
        if (!skip('.')) return std::nullopt;
        do {
            KeyBinding key;
            if (!readName(key.name) || !skip('=') || !readValue(key)) return std::nullopt;
            name.keys.push_back(std::move(key));
        } while (skip(','));
        if (!rest.empty()) return std::nullopt;
        return name;
    }

private:
    bool skip(char expected) {
        if (rest.empty() || rest.front() != expected) return false;
        rest.remove_prefix(1);
        return true;
    }

    /// A host of any name: there is one server here. False when it does not end.
    bool skipHost() {
        for (const std::string_view scheme : {"http:", "https:"})
            if (rest.substr(0, scheme.size() + 2) == std::string(scheme) + "//") rest.remove_prefix(scheme.size());
        if (rest.substr(0, 2) != "//") return true;
        const std::size_t end = rest.find('/', 2);
        if (end == std::string_view::npos) return false;
        rest.remove_prefix(end + 1);
        return true;
    }

    void readNamespace(std::string& nameSpace) {
        const std::size_t colon = rest.substr(0, rest.find_first_of(".\"=")).find(':');
        if (colon == std::string_view::npos) return;
        nameSpace = rest.substr(0, colon);
        rest.remove_prefix(colon + 1);
    }

    bool readName(std::string& name) {
        std::size_t end = 0;
        while (end < rest.size() && isNameLetter(rest[end])) ++end;
        name = rest.substr(0, end);
        rest.remove_prefix(end);
        return end > 0;
    }

    bool readValue(KeyBinding& key) {
        if (skip('"')) return readQuoted(key.text);
        const std::size_t end = rest.find(',');
        key.text = rest.substr(0, end);
        rest.remove_prefix(key.text.size());
        const bool isTruth = sameName(key.text, "true") || sameName(key.text, "false");
        key.kind = isTruth ? KeyBinding::Kind::kTruth : KeyBinding::Kind::kNumber;
        return !key.text.empty();
    }

    /// Behind the opening quote.
    bool readQuoted(std::string& value) {
        while (!rest.empty() && rest.front() != '"') {
            if (rest.front() == '\\') {
                rest.remove_prefix(1);
                if (rest.empty() || (rest.front() != '"' && rest.front() != '\\')) return false;
            }
            value += rest.front();
            rest.remove_prefix(1);
        }
        return skip('"');
    }

    std::string_view rest;
};

}  // namespace

std::optional<InstanceName> instanceNameFromText(std::string_view path) { return PathReader(path).read(); }

}  // namespace diskmgt::serve
