# diskmgt_flags: warnings, hardening and instrumentation, the same for every target of the project.
#
# A target with DISKMGT_TEST_CODE set is compiled without optimisation, because the frameworks' templates take most of
# the build time. The product under test keeps its flags.
define_property(TARGET PROPERTY DISKMGT_TEST_CODE INITIALIZE_FROM_VARIABLE DISKMGT_TEST_CODE)
set(is_test_code $<BOOL:$<TARGET_PROPERTY:DISKMGT_TEST_CODE>>)
set(is_product_code $<NOT:${is_test_code}>)

add_library(diskmgt_flags INTERFACE)
target_compile_options(diskmgt_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror -fstack-protector-strong)
# Unique symbols would keep a plug-in mapped after dlclose, so the process could not load it a second time.
target_compile_options(diskmgt_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
target_link_options(diskmgt_flags INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
check_cxx_compiler_flag(-fstack-clash-protection HAS_STACK_CLASH_PROTECTION)
if(HAS_STACK_CLASH_PROTECTION)
  target_compile_options(diskmgt_flags INTERFACE $<${is_product_code}:-fstack-clash-protection>)
endif()
check_cxx_compiler_flag(-fcf-protection=full HAS_CONTROL_FLOW_PROTECTION)  # x86 only
if(HAS_CONTROL_FLOW_PROTECTION)
  target_compile_options(diskmgt_flags INTERFACE $<${is_product_code}:-fcf-protection=full>)
  # For a shared library. Debian's start-up files lack the note, so the linker omits it. They lack it because `_init` and
  # `_fini` have no landing mark. Our libraries do not need these two: their constructors and destructors are in arrays.
  set(DISKMGT_CONTROL_FLOW_NOTE -Wl,-z,ibt,-z,shstk -Wl,-init=none_is_called -Wl,-fini=none_is_called)
endif()

if(DISKMGT_SANITIZE)
  target_compile_options(diskmgt_flags INTERFACE
      -fsanitize=${DISKMGT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1)
  target_link_options(diskmgt_flags INTERFACE -fsanitize=${DISKMGT_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Instrumented code hides from GCC what the library sets, so it warns of members that are never read.
    target_compile_options(diskmgt_flags INTERFACE -Wno-maybe-uninitialized)
  endif()
else()
  # glibc's checked copies need an optimised build; sanitizers check more and cannot be combined with them. Level 3 also
  # checks buffers whose size is known only at run time.
  set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("
      #include <features.h>
      #if __USE_FORTIFY_LEVEL < 3
      #error \"treated like a lower level\"
      #endif
      int main() {}" HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  set(fortify_level $<IF:$<BOOL:${HAS_FORTIFY_3}>,3,2>)
  target_compile_options(diskmgt_flags INTERFACE
      $<$<AND:$<CONFIG:Release,RelWithDebInfo>,${is_product_code}>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify_level}>)
endif()
if(DISKMGT_COVERAGE)
  target_compile_options(diskmgt_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(diskmgt_flags INTERFACE --coverage)
endif()
target_compile_options(diskmgt_flags INTERFACE $<${is_test_code}:-O0 -g1>)
