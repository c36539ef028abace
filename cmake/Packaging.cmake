# The Debian package, made from the install rules by CPack; script/package runs it.
#
# The program and its data go below /usr/local, where they look for each other. What Debian reads of a
# package (copyright, changelog, overrides) goes below /usr/share, see PackageDebianFiles.cmake.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME veltrana-dvx-tools)
set(CPACK_PACKAGE_VENDOR "Veltrana DVX Tools developers")
set(CPACK_PACKAGE_CONTACT "Veltrana DVX Tools developers <dvx-tools@veltrana.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
"Choose the folder for scans and the program that reads text in them, see the
scanners that answer on the local network, and put the name of this computer
on their lists of destinations.
.
The command dvx-probe does the same for scripts and without a display, and
explains why a scanner does not show up.")
set(CPACK_PACKAGE_HOMEPAGE_URL "${PROJECT_HOMEPAGE_URL}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr/local)
set(CPACK_STRIP_FILES ON)
# Two builds give the same file: all times in it are that of the last change, see below.
set(CPACK_THREADS 1)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION non-free/graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS xdg-utils)
# A capture's viewer, and what tells GTK 2 programs' contents to screen readers.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "tshark | wireshark, libgail-common, libatk-adaptor, at-spi2-core")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/data/debian/postrm)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/PackageDebianFiles.cmake)
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME ${CPACK_PACKAGE_NAME}-${PROJECT_VERSION})
set(CPACK_DEBIAN_FILES_DIR ${CMAKE_SOURCE_DIR}/data/debian)

include(CPack)

# cmake --build . --target uninstall takes away what the last install put there.
add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -D MANIFEST=${CMAKE_BINARY_DIR}/install_manifest.txt
          -P ${CMAKE_SOURCE_DIR}/cmake/Uninstall.cmake
  VERBATIM)
