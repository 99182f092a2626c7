# What is installed beside the programs. The Debian packages, made by `tools/dev package`, are made from it: debian/.
#
# All paths are relative to the prefix, so that /usr/local and /usr both work.
install(DIRECTORY share/man/man1 share/man/man5 DESTINATION share/man)  # man8 comes with the endpoint
install(FILES share/completions/diskmgt.bash DESTINATION share/bash-completion/completions RENAME diskmgt)
install(FILES share/completions/diskmgt.zsh DESTINATION share/zsh/site-functions RENAME _diskmgt)
file(GLOB units CONFIGURE_DEPENDS share/systemd/*.service share/systemd/*.timer)
install(FILES ${units} DESTINATION lib/systemd/system)  # installed, not enabled
install(FILES share/inventory.schema.json DESTINATION share/diskmgt)
install(FILES share/prometheus/diskmgt.rules.yml DESTINATION share/diskmgt/prometheus)
install(FILES share/ansible/disks.yml DESTINATION share/diskmgt/ansible)
install(PROGRAMS share/facts/disks.fact DESTINATION share/diskmgt/facts)
file(GLOB documents CONFIGURE_DEPENDS docs/*.md)
install(FILES README.md CHANGELOG.md DESTINATION share/doc/diskmgt)
install(FILES ${documents} DESTINATION share/doc/diskmgt/docs)  # next to it, where its links point
install(CODE "set(FOLDER \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share/doc/diskmgt\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/drop_dead_links.cmake\")")
