// The load-time constructor, nothing else. It runs before the library's static constants are set up.
#include "plugin/entry/disk_mgt_callbacks.h"

namespace {

// 101 is the earliest priority open to programs; static constants come after every prioritised constructor.
__attribute__((constructor(101))) void registerPlugin() {
    // A host without a plug-in manager never learns of the object, which then stays for good.
    // The host's from here on; freed through PrepareForUnload.
    new diskmgt_col::TDiskMgtCallbacks;
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): not ours any more

}  // namespace
