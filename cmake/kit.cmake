# The developer kit: what another project needs to build plug-ins and hosts with what is installed. Everything in it finds
# the rest relative to itself, so the tree may be moved.
include(CMakePackageConfigHelpers)

# The reference host for a program: both of its libraries, because the one depends on the other and neither has a run path.
add_library(diskmgt_host INTERFACE)
target_link_libraries(diskmgt_host INTERFACE host_interface
    -Wl,--push-state,--no-as-needed talcore talbase -Wl,--pop-state)
set_target_properties(diskmgt_host PROPERTIES EXPORT_NAME host)

install(DIRECTORY plugin/host DESTINATION include/diskmgt/plugin FILES_MATCHING PATTERN "*.h")
install(FILES refhost/api/reference_host.h DESTINATION include/diskmgt/refhost/api)
install(TARGETS talcore talbase host_interface diskmgt_host EXPORT diskmgt
    LIBRARY DESTINATION ${DISKMGT_LIBRARY_DIR})

set(package_dir lib/cmake/diskmgt)
install(EXPORT diskmgt NAMESPACE diskmgt:: FILE diskmgt-targets.cmake DESTINATION ${package_dir})
configure_package_config_file(cmake/diskmgt-config.cmake.in ${PROJECT_BINARY_DIR}/kit/diskmgt-config.cmake
    INSTALL_DESTINATION ${package_dir} PATH_VARS DISKMGT_LIBRARY_DIR DISKMGT_PLUGIN_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kit/diskmgt-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kit/diskmgt-config.cmake ${PROJECT_BINARY_DIR}/kit/diskmgt-config-version.cmake
    DESTINATION ${package_dir})

# In share: what is in it is the same on every processor, and a cross-compiling pkg-config searches there too.
configure_file(cmake/diskmgt-host.pc.in ${PROJECT_BINARY_DIR}/kit/diskmgt-host.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kit/diskmgt-host.pc DESTINATION share/pkgconfig)

install(DIRECTORY examples DESTINATION share/doc/diskmgt PATTERN build EXCLUDE)
