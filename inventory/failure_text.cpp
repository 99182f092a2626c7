#include "inventory/failure_text.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace diskmgt {

std::string errorText(int errorNumber) { return std::strerror(errorNumber); }

bool isRefusal(int errorNumber) { return errorNumber == EACCES || errorNumber == EPERM; }

std::string failureText(int errorNumber) {
    if (!isRefusal(errorNumber)) return errorText(errorNumber);
    return errorText(errorNumber) +
           (::geteuid() == 0 ? " (even for root: a container or security policy forbids it)" : "; run as root");
}

}  // namespace diskmgt
