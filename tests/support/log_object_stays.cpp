// Linked into the plug-in only under AddressSanitizer. The log object is created at load and never deleted, and after
// unloading nothing points at it. This exempts that one object from the search for leaks.
#include <sanitizer/lsan_interface.h>

#include "plugin/log/log_message.h"

namespace {

// After registration, which has created the object by then.
__attribute__((constructor)) void exemptTheLogObject() { __lsan_ignore_object(diskmgt_col::LogMessage::getInstance()); }

}  // namespace
