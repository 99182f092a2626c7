// Reads the fields in order, because asterisks must continue to the end.
#include "refhost/value/datetime.h"

#include <cstddef>
#include <optional>

namespace refhost {

namespace {

constexpr std::size_t kLength = 25;
constexpr std::size_t kPointAt = 14;  // the dot before the microseconds
constexpr std::size_t kSignAt = 21;   // '+' or '-' of a point, ':' of an interval

bool isDigit(char character) { return character >= '0' && character <= '9'; }

class FieldReader {
public:
    explicit FieldReader(std::string_view datetime) : text(datetime) {}

    /// The next field's number; nothing for asterisks, or when the field is malformed (see `malformed`).
    std::optional<int> next(std::size_t width) {
        std::size_t digits = 0;
        int number = 0;
        while (digits < width && isDigit(text[position + digits]))
            number = number * 10 + (text[position + digits++] - '0');
        const bool full = digits == width;
        if (!full) requireAsterisks(width, digits, false);
        if (full && asterisksBegun) broken = true;
        position += width;
        return full ? std::optional<int>(number) : std::nullopt;
    }

    /// Microseconds: digits, then asterisks to the end.
    void skipMicroseconds() {
        std::size_t digits = 0;
        while (digits < 6 && isDigit(text[position + digits])) ++digits;
        if (asterisksBegun && digits > 0) broken = true;
        requireAsterisks(6, digits, true);
        position += 6;
    }

    void skipCharacter() { ++position; }
    bool malformed() const { return broken; }

private:
    void requireAsterisks(std::size_t width, std::size_t from, bool mayFollowDigits) {
        if (from > 0 && !mayFollowDigits) broken = true;
        for (std::size_t i = from; i < width; ++i)
            if (text[position + i] != '*') broken = true;
        if (from < width) asterisksBegun = true;
    }

    std::string_view text;
    std::size_t position = 0;
    bool asterisksBegun = false;
    bool broken = false;
};

bool inRange(const std::optional<int>& field, int first, int last) {
    return !field || (*field >= first && *field <= last);
}

int daysIn(int year, int month) {
    if (month == 2) return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0 ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

bool readsAsTimeOfDay(FieldReader& fields) {
    const std::optional<int> hour = fields.next(2);
    const std::optional<int> minute = fields.next(2);
    const std::optional<int> second = fields.next(2);
    return inRange(hour, 0, 23) && inRange(minute, 0, 59) && inRange(second, 0, 59);
}

bool readsAsDate(FieldReader& fields) {
    const std::optional<int> year = fields.next(4);
    const std::optional<int> month = fields.next(2);
    const std::optional<int> day = fields.next(2);
    if (!inRange(month, 1, 12)) return false;
    return inRange(day, 1, year && month ? daysIn(*year, *month) : 31);
}

}  // namespace

const char* datetimeFault(std::string_view text) {
    if (text.size() != kLength) return "it is not 25 characters long";
    const char sign = text[kSignAt];
    if (text[kPointAt] != '.' || (sign != '+' && sign != '-' && sign != ':'))
        return "it has neither the timestamp nor the interval form";
    FieldReader fields(text);
    const bool isInterval = sign == ':';
    if (isInterval) (void)fields.next(8);  // any number of days
    const bool dateFits = isInterval || readsAsDate(fields);
    const bool timeFits = readsAsTimeOfDay(fields);
    fields.skipCharacter();
    fields.skipMicroseconds();
    const std::string_view offset = text.substr(kSignAt + 1);
    for (const char digit : offset)
        if (!isDigit(digit)) return "its last three characters are no digits";
    if (fields.malformed()) return "a field is neither all digits nor all asterisks up to the end";
    if (!dateFits || !timeFits) return "a field is out of range";
    if (isInterval && offset != "000") return "an interval ends in :000";
    return nullptr;
}

}  // namespace refhost
