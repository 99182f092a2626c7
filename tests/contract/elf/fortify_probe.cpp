// A copy into memory whose size is only known when the program runs. Lower levels of checked copies do not check it.
#include <cstdlib>
#include <cstring>

extern "C" __attribute__((visibility("default"))) char* copyOf(const char* bytes, std::size_t length, std::size_t room);

extern "C" char* copyOf(const char* bytes, std::size_t length, std::size_t room) {
    auto* const copy = static_cast<char*>(std::malloc(room));
    if (copy != nullptr) std::memcpy(copy, bytes, length);
    return copy;
}
