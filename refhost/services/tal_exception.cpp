// TTALException's virtual table and type information: one copy for all libraries that throw or catch it.
#include "plugin/host/tal_exception.h"

namespace NVEXTAL20 {

TTALException::TTALException(const std::string& text) : std::runtime_error(text) {}
TTALException::~TTALException() = default;

}  // namespace NVEXTAL20
