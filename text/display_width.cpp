// Walks a text character by character, as the table library does when it escapes.
#include "text/display_width.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <vector>

#include "text/readable_text.h"

namespace diskmgt {

namespace {

constexpr std::size_t kEscapeWidth = 4;  // \xNN
constexpr std::size_t kEllipsisWidth = 3;

struct Piece {
    std::size_t bytes;
    std::size_t width;
};

/// The character at the beginning of a stretch of text that is not empty.
Piece firstPiece(const char* text, std::size_t length) {
    if (text[0] >= ' ' && text[0] <= '~' && text[0] != '\\') return {1, 1};         // nearly always
    if (length > 1 && text[0] == '\\' && text[1] == 'x') return {1, kEscapeWidth};  // else it would pass for an escape
    if (const std::size_t mark = directionMarkLength({text, length})) return {mark, 1};  // replaced in tables
    std::mbstate_t state{};
    wchar_t character = 0;
    const std::size_t bytes = std::mbrtowc(&character, text, length, &state);
    if (bytes == 0 || bytes > length) return {1, kEscapeWidth};  // no character of this locale
    if (std::iswprint(static_cast<std::wint_t>(character)) == 0) return {bytes, bytes * kEscapeWidth};
    const int width = ::wcwidth(character);
    return {bytes, width > 0 ? static_cast<std::size_t>(width) : 0};
}

std::vector<Piece> piecesOf(const std::string& text) {
    std::vector<Piece> pieces;
    pieces.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); at += pieces.back().bytes)
        pieces.push_back(firstPiece(text.data() + at, text.size() - at));
    return pieces;
}

/// The bytes of as many pieces as fit into `width`.
template <typename Iterator>
std::size_t bytesWithin(Iterator begin, Iterator end, std::size_t width) {
    std::size_t bytes = 0;
    for (; begin != end && begin->width <= width; ++begin) {
        width -= begin->width;
        bytes += begin->bytes;
    }
    return bytes;
}

}  // namespace

std::size_t displayWidth(const std::string& text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const Piece piece = firstPiece(text.data() + at, text.size() - at);
        at += piece.bytes;
        width += piece.width;
    }
    return width;
}

std::string shortened(const std::string& text, std::size_t width, Keep keep) {
    if (displayWidth(text) <= width) return text;
    if (width <= kEllipsisWidth) return std::string(width, '.');
    const std::vector<Piece> pieces = piecesOf(text);
    const std::size_t room = width - kEllipsisWidth;
    const std::size_t endWidth = keep == Keep::kBothEnds ? (room + 1) / 2 : 0;
    const std::size_t end = bytesWithin(pieces.rbegin(), pieces.rend(), endWidth);
    const std::size_t beginning = bytesWithin(pieces.begin(), pieces.end(), room - endWidth);
    return text.substr(0, beginning) + "..." + text.substr(text.size() - end);
}

}  // namespace diskmgt
