# Run by CPack between installing into its own folder and packing that: adds what Debian reads of a
# package, and gives all files the time of the last change, so that a package can be made again.
if(NOT CPACK_GENERATOR STREQUAL DEB)
  return()
endif()
set(root ${CPACK_TEMPORARY_DIRECTORY})
set(doc ${root}/usr/share/doc/${CPACK_PACKAGE_NAME})
set(files ${CPACK_DEBIAN_FILES_DIR})

# The documentation belongs to the package, not to what the administrator keeps below /usr/local.
file(MAKE_DIRECTORY ${root}/usr/share/doc ${root}/usr/share/lintian/overrides)
file(RENAME ${root}/usr/local/share/doc/${CPACK_PACKAGE_NAME} ${doc})
file(REMOVE_RECURSE ${root}/usr/local/share/doc)
set(overrides ${root}/usr/share/lintian/overrides/${CPACK_PACKAGE_NAME})
# Not file(INSTALL), which looks at DESTDIR, which CPack sets.
file(COPY_FILE ${files}/copyright ${doc}/copyright)
file(COPY_FILE ${files}/lintian-overrides ${overrides})
file(CHMOD ${doc}/copyright ${overrides} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# compress(FILE NAME): FILE as NAME, with nothing in it that tells when.
function(compress from name)
  execute_process(COMMAND gzip --best --no-name --stdout ${from}
    OUTPUT_FILE ${name} COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD ${name} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

compress(${files}/changelog ${doc}/changelog.Debian.gz)
compress(${doc}/CHANGELOG.md ${doc}/changelog.gz)
file(REMOVE ${doc}/CHANGELOG.md)
file(GLOB manuals ${root}/usr/local/share/man/man1/*.1)
foreach(manual IN LISTS manuals)
  compress(${manual} ${manual}.gz)
  file(REMOVE ${manual})
endforeach()

set(when $ENV{SOURCE_DATE_EPOCH})
if(when)
  execute_process(COMMAND find ${root} -exec touch --no-dereference --date=@${when} {} +
    COMMAND_ERROR_IS_FATAL ANY)
endif()
