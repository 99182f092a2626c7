// A copy into a buffer of known size, of a length that only the caller knows: what checked copies are for.
#include <cstring>

extern "C" __attribute__((visibility("default"))) int firstOf(const char* bytes, std::size_t length);

extern "C" int firstOf(const char* bytes, std::size_t length) {
    char copy[16] = {};
    std::memcpy(copy, bytes, length);
    return copy[0];
}
