# Where the install rules put what is not where everybody puts it, below the prefix or as a whole path.
#
# They are of two components, so that each can be a package of its own: "window", the program with
# its texts and its place in the menu, and "probe", dvx-probe with what goes with it.

# The program, its texts and its switch files: the program knows them by their paths below
# /usr/local/share/veltrana/scanner and looks nowhere else. A package says so as a whole path.
set(VELTRANA_SCANNER_DIR share/veltrana/scanner CACHE STRING "Folder of the program and its texts")

# Wireshark and tshark load by themselves what is in a folder of theirs, which they do not have below
# /usr/local: there the dissector has to be named to them.
set(VELTRANA_WIRESHARK_DIR share/dvx-probe CACHE STRING "Folder of the Wireshark dissector")

# install_documents(COMPONENT DESTINATION file...)
# Installs pages of the documentation by their paths below the top of the tree. Those that only
# developers read are not installed: a link to one becomes plain text, and the part of README.md for
# developers is left out.
function(install_documents component destination)
  foreach(document IN LISTS ARGN)
    set(source ${CMAKE_SOURCE_DIR}/${document})
    set(made ${CMAKE_BINARY_DIR}/documents/${component}/${document})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    file(READ ${source} text)
    string(REGEX REPLACE "\n## Development\n.*" "" text "${text}")
    string(REGEX REPLACE
      "\\[([^]\n]+)\\]\\((docs/)?(CONTRIBUTING|[a-z-]*(architecture|kept-behaviours|performance|platforms|reliability|scanner-sim|translating))[.]md(#[a-z-]*)?\\)"
      "\\1" text "${text}")
    file(WRITE ${made}.new "${text}")
    file(COPY_FILE ${made}.new ${made} ONLY_IF_DIFFERENT)
    cmake_path(GET document PARENT_PATH folder)
    install(FILES ${made} DESTINATION ${destination}/${folder} COMPONENT ${component})
  endforeach()
endfunction()
