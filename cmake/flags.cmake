# diskmgt_flags: warnings, hardening and instrumentation, the same for every target of the project.
#
# A target with DISKMGT_TEST_CODE set is compiled without optimisation: the frameworks' templates cost most of a build,
# and the product under test keeps its own flags.
define_property(TARGET PROPERTY DISKMGT_TEST_CODE INITIALIZE_FROM_VARIABLE DISKMGT_TEST_CODE)
set(is_test_code $<BOOL:$<TARGET_PROPERTY:DISKMGT_TEST_CODE>>)

add_library(diskmgt_flags INTERFACE)
target_compile_options(diskmgt_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror -fstack-protector-strong)
# Unique symbols would keep a plug-in mapped after dlclose, and it could not be loaded a second time in the process.
target_compile_options(diskmgt_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
target_link_options(diskmgt_flags INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)

if(DISKMGT_SANITIZE)
  target_compile_options(diskmgt_flags INTERFACE
      -fsanitize=${DISKMGT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1)
  target_link_options(diskmgt_flags INTERFACE -fsanitize=${DISKMGT_SANITIZE})
else()
  # glibc's checked copies need an optimising build; sanitizers check more and do not mix with them.
  target_compile_options(diskmgt_flags INTERFACE
      $<$<AND:$<CONFIG:Release,RelWithDebInfo>,$<NOT:${is_test_code}>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
endif()
if(DISKMGT_COVERAGE)
  target_compile_options(diskmgt_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(diskmgt_flags INTERFACE --coverage)
endif()
target_compile_options(diskmgt_flags INTERFACE $<${is_test_code}:-O0 -g1>)
