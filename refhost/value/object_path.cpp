#include "refhost/value/object_path.h"

#include "refhost/value/value_parser.h"

namespace refhost {

namespace {

bool mayBegin(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') || character == '_';
}

bool mayContinue(char character) { return mayBegin(character) || (character >= '0' && character <= '9'); }

class PathReader {
public:
    explicit PathReader(std::string_view pathText) : text(pathText) {}

    ObjectPath read() {
        ObjectPath path;
        path.className = name("a class name");
        if (atEnd()) return path;
        expect('.', "'.' after the class name");
        do {
            std::string key = name("a key name");
            if (!path.keys.empty() && path.keys.back().first >= key) refuse("its keys are not in byte order");
            expect('=', "'=' after a key name");
            path.keys.emplace_back(std::move(key), quoted());
        } while (continuesWithComma());
        return path;
    }

private:
    [[noreturn]] void refuse(const std::string& why) const { refuseText(CimType::kReference, text, why); }
    bool atEnd() const { return position == text.size(); }

    void expect(char character, const char* what) {
        if (atEnd() || text[position] != character) refuse(std::string("it lacks ") + what);
        ++position;
    }

    std::string name(const char* what) {
        const std::size_t begin = position;
        if (!atEnd() && mayBegin(text[position]))
            while (!atEnd() && mayContinue(text[position])) ++position;
        if (position == begin) refuse(std::string("it lacks ") + what);
        return std::string(text.substr(begin, position - begin));
    }

    std::string quoted() {
        expect('"', "the quote before a key value");
        std::string value;
        for (; !atEnd() && text[position] != '"'; ++position) {
            if (text[position] == '\\') {
                ++position;
                if (atEnd() || (text[position] != '"' && text[position] != '\\'))
                    refuse("a backslash is followed by neither a quote nor a backslash");
            }
            value += text[position];
        }
        expect('"', "the quote after a key value");
        return value;
    }

    bool continuesWithComma() {
        if (atEnd()) return false;
        expect(',', "',' between keys");
        return true;
    }

    std::string_view text;
    std::size_t position = 0;
};

}  // namespace

void appendQuoted(std::string& text, std::string_view value) {
    const auto needsMark = [](char character) { return character == '"' || character == '\\'; };
    text += '"';
    for (auto rest = value.begin(); rest != value.end();) {
        const auto end = std::find_if(rest, value.end(), needsMark);
        text.append(rest, end);
        rest = end;
        if (end != value.end()) {
            text += '\\';
            text += *rest++;
        }
    }
    text += '"';
}

std::string objectPathText(const ObjectPath& path) {
    std::string text = path.className;
    char separator = '.';
    for (const auto& [name, value] : path.keys) {
        text += separator;
        text += name;
        text += '=';
        appendQuoted(text, value);
        separator = ',';
    }
    return text;
}

ObjectPath parseObjectPath(std::string_view text) { return PathReader(text).read(); }

}  // namespace refhost
