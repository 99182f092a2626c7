// One pass over the text. Every step moves forward, so it ends for any input.
#include "refhost/schema/mof_lexer.h"

#include <charconv>
#include <system_error>

#include "plugin/host/tal_exception.h"
#include "refhost/value/character.h"

namespace refhost {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool mayBeginName(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }
bool mayContinueName(char c) { return mayBeginName(c) || isDigit(c); }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/// A character in a message: itself, or its number when it is not printable.
std::string shown(char c) {
    if (c > ' ' && c <= '~') return std::string("'") + c + "'";
    return "the byte " + std::to_string(static_cast<unsigned int>(static_cast<unsigned char>(c)));
}

/// Decimal, real, 0x hexadecimal and binary with a trailing b.
bool isNumber(std::string_view text) {
    if (text.front() == '+' || text.front() == '-') text.remove_prefix(1);
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        for (const char c : text.substr(2))
            if (hexValue(c) < 0) return false;
        return true;
    }
    if (text.size() > 1 && (text.back() == 'b' || text.back() == 'B'))
        return text.find_first_not_of("01") == text.size() - 1;
    double value = 0;
    const std::from_chars_result read = std::from_chars(text.data(), text.data() + text.size(), value);
    return read.ec != std::errc::invalid_argument && read.ptr == text.data() + text.size();
}

}  // namespace

MofLexer::MofLexer(std::string_view mofText, std::string sourceName) : text(mofText), source(std::move(sourceName)) {}

void refuseMof(const std::string& source, std::size_t line, std::string why) {
    constexpr std::size_t kLongest = 300;  // it may quote a name of any length
    if (why.size() > kLongest) {
        std::size_t end = kLongest;
        while ((static_cast<unsigned char>(why[end]) & 0xC0U) == 0x80U) --end;  // not within a character
        why = why.substr(0, end) + "...";
    }
    throw NVEXTAL20::TTALException(source + ", line " + std::to_string(line) + ": " + why);
}

void MofLexer::refuse(std::size_t atLine, const std::string& why) const { refuseMof(source, atLine, why); }

void MofLexer::advance() {
    if (here() == '\n') ++line;
    ++position;
}

void MofLexer::skipLine() {
    while (!atEnd() && here() != '\n') ++position;
}

void MofLexer::skipBlanksAndComments() {
    while (!atEnd()) {
        if (isBlank(here())) {
            advance();
        } else if (startsWith("//") || startsWith("#pragma")) {
            skipLine();
        } else if (startsWith("/*")) {
            const std::size_t begunAt = line;
            position += 2;
            while (!atEnd() && !startsWith("*/")) advance();
            if (atEnd()) refuse(begunAt, "the comment that begins here has no end");
            position += 2;
        } else {
            return;
        }
    }
}

MofToken MofLexer::next() {
    skipBlanksAndComments();
    if (atEnd()) return {MofToken::Kind::kEnd, "", line};
    const char first = here();
    if (mayBeginName(first)) {
        const std::size_t begin = position;
        while (!atEnd() && mayContinueName(here())) ++position;
        constexpr std::size_t kLongestName = 255;  // every property has copies of the names of classes
        if (position - begin > kLongestName) refuse(line, "a name has more than 255 characters");
        return {MofToken::Kind::kName, std::string(text.substr(begin, position - begin)), line};
    }
    if (first == '\'') return quoted('\'', MofToken::Kind::kCharacter);
    if (first == '"') {
        MofToken joined = quoted('"', MofToken::Kind::kString);
        for (skipBlanksAndComments(); !atEnd() && here() == '"'; skipBlanksAndComments())
            joined.text += quoted('"', MofToken::Kind::kString).text;
        return joined;
    }
    if (isDigit(first) || first == '+' || first == '-' || first == '.') return number();
    if (std::string_view("[](){};:,=$").find(first) == std::string_view::npos)
        refuse(line, shown(first) + " has no meaning here");
    ++position;
    return {MofToken::Kind::kMark, std::string(1, first), line};
}

MofToken MofLexer::quoted(char quote, MofToken::Kind kind) {
    const std::size_t begunAt = line;
    MofToken token{kind, "", line};
    ++position;
    while (!atEnd() && here() != quote) {
        if (here() == '\n') break;
        if (here() == '\\') {
            appendEscape(token.text, begunAt);
            continue;
        }
        const std::size_t begin = position;
        while (!atEnd() && here() != quote && here() != '\n' && here() != '\\') ++position;
        token.text += text.substr(begin, position - begin);
    }
    if (atEnd() || here() != quote) refuse(begunAt, "the text that begins here has no closing quote on its line");
    ++position;
    if (kind == MofToken::Kind::kCharacter && !isOneBmpCharacter(token.text))
        refuse(begunAt, "single quotes hold exactly one character");
    return token;
}

void MofLexer::appendEscape(std::string& content, std::size_t begunAt) {
    ++position;
    if (atEnd()) refuse(begunAt, "the text that begins here has no closing quote on its line");
    constexpr std::string_view letters = "btnfr\"'\\";
    constexpr std::string_view meanings = "\b\t\n\f\r\"'\\";
    const char letter = here();
    const std::size_t known = letters.find(letter);
    if (known != std::string_view::npos) {
        content += meanings[known];
        ++position;
        return;
    }
    if (letter != 'x' && letter != 'X') refuse(line, "unknown escape: a backslash before " + shown(letter));
    ++position;
    unsigned int character = 0;
    int digits = 0;
    for (; digits < 4 && !atEnd() && hexValue(here()) >= 0; ++digits, ++position)
        character = character * 16U + static_cast<unsigned int>(hexValue(here()));
    if (digits == 0) refuse(line, "\\x without a hexadecimal digit");
    std::string bytes;
    appendUtf8(bytes, character);
    if (!isOneBmpCharacter(bytes)) refuse(line, "the escape names half of a surrogate pair");
    content += bytes;
}

MofToken MofLexer::number() {
    const std::size_t begin = position;
    ++position;
    while (!atEnd()) {
        const char before = text[position - 1];
        const bool exponentSign = (here() == '+' || here() == '-') && (before == 'e' || before == 'E');
        if (!mayContinueName(here()) && here() != '.' && !exponentSign) break;
        ++position;
    }
    MofToken token{MofToken::Kind::kNumber, std::string(text.substr(begin, position - begin)), line};
    if (!isNumber(token.text)) refuse(line, "\"" + token.text + "\" is no number");
    return token;
}

}  // namespace refhost
