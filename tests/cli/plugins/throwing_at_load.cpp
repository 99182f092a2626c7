// Throws while the library is being loaded.
#include <stdexcept>

namespace {

struct Thrower {
    Thrower() { throw std::runtime_error("not in the mood"); }
} thrower;

}  // namespace
