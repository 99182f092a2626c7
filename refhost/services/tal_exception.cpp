// The home of TTALException: its table and type information, the same for every library that throws or catches it.
#include "plugin/host/tal_exception.h"

namespace NVEXTAL20 {

TTALException::TTALException(const std::string& text) : std::runtime_error(text) {}
TTALException::~TTALException() = default;

}  // namespace NVEXTAL20
