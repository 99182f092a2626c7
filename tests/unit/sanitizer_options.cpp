// Sanitizer settings of this program, however it is started: an allocation that cannot be satisfied answers null,
// as it does everywhere else. The settings of the environment come on top.
extern "C" {

__attribute__((visibility("default"))) const char* __asan_default_options();
__attribute__((visibility("default"))) const char* __tsan_default_options();

const char* __asan_default_options() { return "allocator_may_return_null=1"; }
const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

}  // extern "C"
