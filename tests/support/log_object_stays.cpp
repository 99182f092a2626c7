// Linked into the plug-in only under AddressSanitizer. The log object is created at load and never deleted, so after
// unloading it looks leaked. This exempts that one object from leak detection.
#include <sanitizer/lsan_interface.h>

#include "plugin/log/log_message.h"

namespace {

// After registration, which has created the object by then.
__attribute__((constructor)) void exemptTheLogObject() { __lsan_ignore_object(diskmgt_col::LogMessage::getInstance()); }

}  // namespace
