// MOF text to tokens: skips comments and pragma lines, joins adjacent strings, knows the line of everything.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace refhost {

struct MofToken {
    enum class Kind { kName, kString, kCharacter, kNumber, kMark, kEnd };
    Kind kind = Kind::kEnd;
    std::string text;  // of a string or character without quotes and escapes
    std::size_t line = 1;
};

/// Throws the `TTALException` that names the document, the line and what is wrong. A long reason is cut.
[[noreturn]] void refuseMof(const std::string& source, std::size_t line, std::string why);

class MofLexer {
public:
    /// `sourceName` is what errors name; the text must outlive the lexer.
    MofLexer(std::string_view mofText, std::string sourceName);

    /// The next token; at the end `kEnd`, every time. Throws `TTALException` naming the line.
    MofToken next();
    [[noreturn]] void refuse(std::size_t atLine, const std::string& why) const;

private:
    bool atEnd() const { return position == text.size(); }
    char here() const { return text[position]; }
    bool startsWith(std::string_view mark) const {  // false at the end
        return here() == mark.front() && text.substr(position, mark.size()) == mark;
    }
    void advance();
    void skipBlanksAndComments();
    void skipLine();
    MofToken quoted(char quote, MofToken::Kind kind);
    void appendEscape(std::string& content, std::size_t begunAt);
    MofToken number();

    std::string_view text;
    std::string source;
    std::size_t position = 0;
    std::size_t line = 1;
};

}  // namespace refhost
