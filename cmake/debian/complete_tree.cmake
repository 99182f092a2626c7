# Run by CPack between installing and packing: adds to the tree in ${root} what Debian requires of a package.
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(documents ${root}/usr/share/doc/diskmgt)

# Debian reserves zsh's site-functions for the administrator.
if(EXISTS ${root}/usr/share/zsh/site-functions)
  file(RENAME ${root}/usr/share/zsh/site-functions ${root}/usr/share/zsh/vendor-completions)
endif()

function(compress)
  execute_process(COMMAND gzip -9nf ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(COPY_FILE ${CPACK_DISKMGT_DEBIAN_DIR}/copyright.txt ${documents}/copyright)
file(COPY_FILE ${CPACK_DISKMGT_CHANGES} ${documents}/changelog)
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${documents}/changelog.Debian "diskmgt (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * The changes are in changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
file(GLOB pages ${root}/usr/share/man/man*/*.?)
compress(${documents}/changelog ${documents}/changelog.Debian ${pages})

file(GLOB_RECURSE binaries ${root}/usr/lib/*.so ${root}/usr/bin/diskmgt)
execute_process(COMMAND strip --strip-unneeded --remove-section=.comment ${binaries} COMMAND_ERROR_IS_FATAL ANY)

file(MAKE_DIRECTORY ${root}/usr/share/lintian/overrides)
file(COPY_FILE ${CPACK_DISKMGT_DEBIAN_DIR}/lintian_overrides.txt ${root}/usr/share/lintian/overrides/diskmgt)

# Independent of the umask.
execute_process(COMMAND chmod -R u+rwX,go+rX,go-w ${root} COMMAND_ERROR_IS_FATAL ANY)
