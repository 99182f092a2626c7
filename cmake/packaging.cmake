# What is installed beside the programs, and the Debian package: `tools/dev package`.
#
# All paths are relative to the prefix, so that /usr/local and /usr both work.
install(DIRECTORY share/man/ DESTINATION share/man)
install(FILES share/completions/diskmgt.bash DESTINATION share/bash-completion/completions RENAME diskmgt)
install(FILES share/completions/diskmgt.zsh DESTINATION share/zsh/site-functions RENAME _diskmgt)
file(GLOB units CONFIGURE_DEPENDS share/systemd/*.service share/systemd/*.timer)
install(FILES ${units} DESTINATION lib/systemd/system)  # installed, not enabled
install(FILES share/inventory.schema.json DESTINATION share/diskmgt)
install(FILES share/prometheus/diskmgt.rules.yml DESTINATION share/diskmgt/prometheus)
install(FILES share/ansible/disks.yml DESTINATION share/diskmgt/ansible)
install(PROGRAMS share/facts/disks.fact DESTINATION share/diskmgt/facts)
file(GLOB documents CONFIGURE_DEPENDS docs/*.md)
install(FILES README.md DESTINATION share/doc/diskmgt)
install(FILES ${documents} DESTINATION share/doc/diskmgt/docs)  # next to it, where its links point

set(DISKMGT_MAINTAINER "The diskmgt maintainers <maintainers@diskmgt.example>" CACHE STRING "Maintainer of the package")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME diskmgt)
set(CPACK_PACKAGE_CONTACT ${DISKMGT_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "disk inventory in a CIM object model")
set(CPACK_PACKAGE_DESCRIPTION
    "Reports the disks of a server: drives, partitions (MBR with extended chains,
GPT), mounted file systems, and which of them rest on which.
.
The package has the command diskmgt, the plug-in libdiskmgt.pi.so that it and
other CIM hosts load, the reference host's libraries, and the headers for
writing plug-ins and hosts.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/${DISKMGT_LIBRARY_DIR})
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libboost-dev (>= 1.59)")  # for the headers
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Copyright, changelog and compressed pages, which only Debian requires.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/complete_tree.cmake)
set(CPACK_DISKMGT_DEBIAN_DIR ${PROJECT_SOURCE_DIR}/cmake/debian)
set(CPACK_DISKMGT_CHANGES ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/drop_scripts.cmake)
include(CPack)
