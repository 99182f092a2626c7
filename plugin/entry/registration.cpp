// The load-time constructor, nothing else. It runs before the library's static constants are set up.
#include "plugin/entry/disk_mgt_callbacks.h"

namespace {

// 101 is the earliest priority that programs may use; static constants are set up after all prioritised constructors.
__attribute__((constructor(101))) void registerPlugin() {
    // Without a plug-in manager the object is never registered and never freed.
    // Owned by the host from here on; freed through PrepareForUnload.
    new diskmgt_col::TDiskMgtCallbacks;
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): owned by the host

}  // namespace
