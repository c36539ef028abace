# The two ways in which this tree makes a target: a library per folder and a test per source file.

option(VELTRANA_WARNINGS_AS_ERRORS "Stop at the first compiler warning" OFF)
set(VELTRANA_SANITIZE "" CACHE STRING "Value for -fsanitize=, empty for none")

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_library(veltrana_options INTERFACE)
target_include_directories(veltrana_options INTERFACE ${CMAKE_SOURCE_DIR})
# A 32-bit program would not even open a small file whose inode has a number of more than 32 bits.
target_compile_definitions(veltrana_options INTERFACE _GNU_SOURCE
  $<$<EQUAL:${CMAKE_SIZEOF_VOID_P},4>:_FILE_OFFSET_BITS=64>)
target_compile_options(veltrana_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -fno-omit-frame-pointer
  $<$<BOOL:${VELTRANA_WARNINGS_AS_ERRORS}>:-Werror>)
if(VELTRANA_SANITIZE)
  target_compile_options(veltrana_options INTERFACE
    -fsanitize=${VELTRANA_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(veltrana_options INTERFACE -fsanitize=${VELTRANA_SANITIZE})
endif()
# What every program of such a build has besides its own code.
set(sanitizer_support "")
if(VELTRANA_SANITIZE STREQUAL "address,undefined")
  set(sanitizer_support asan_options)
elseif(VELTRANA_SANITIZE STREQUAL "thread")
  set(sanitizer_support glib_threads)
endif()
if(sanitizer_support)
  add_library(${sanitizer_support} OBJECT
    ${CMAKE_SOURCE_DIR}/tests/support/${sanitizer_support}.cc)
  target_compile_definitions(${sanitizer_support} PRIVATE _GNU_SOURCE)
  target_compile_options(${sanitizer_support} PRIVATE
    -fsanitize=${VELTRANA_SANITIZE} -fno-omit-frame-pointer)
  target_link_libraries(veltrana_options INTERFACE $<TARGET_OBJECTS:${sanitizer_support}>)
endif()

# What tests with a display leave, in a sanitizer build, to the libraries that they use.
set(sanitizer_options
  LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/lsan.supp:print_suppressions=0
  TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/tsan.supp
  FONTCONFIG_FILE=${CMAKE_SOURCE_DIR}/tests/support/fonts.conf)

# veltrana_library(NAME [STRICT_CONVERSIONS] SOURCES file... [LINKS target...])
# A static library of a room, which links nothing that the room may not use (cmake/rooms.txt). Headers
# are included by their path from the top of the tree.
# STRICT_CONVERSIONS adds -Wconversion, for the folders that handle bytes from the network.
function(veltrana_library name)
  cmake_parse_arguments(ARG "STRICT_CONVERSIONS" "" "SOURCES;LINKS" ${ARGN})
  veltrana_check_links(${name} ${ARG_LINKS})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC veltrana_options ${ARG_LINKS})
  if(ARG_STRICT_CONVERSIONS)
    target_compile_options(${name} PRIVATE -Wconversion)
  endif()
endfunction()

# veltrana_test(NAME SOURCES file... LIBRARY target [LINKS target...] [LAB [arg...]])
# A GoogleTest program. The library under test is linked whole, so that an object of it that uses
# something its folder does not build on fails to link here.
# Without LAB every test case is a CTest test of its own, named NAME.Suite.Case. With LAB the whole
# program is one CTest test, run inside a private network; the words after LAB are passed to
# script/lab (for instance --display for an X server with a window manager).
function(veltrana_test name)
  cmake_parse_arguments(ARG "" "LIBRARY" "SOURCES;LINKS;LAB" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE
    $<LINK_LIBRARY:WHOLE_ARCHIVE,${ARG_LIBRARY}> ${ARG_LINKS} GTest::gtest_main GTest::gmock)
  # The code under test is built as it ships; optimising the tests too doubles the time to build.
  target_compile_options(${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O0>)
  target_compile_definitions(${name} PRIVATE
    VELTRANA_SOURCE_DIR="${CMAKE_SOURCE_DIR}" VELTRANA_BINARY_DIR="${CMAKE_BINARY_DIR}")
  set(results ${CMAKE_BINARY_DIR}/test-results)
  if(DEFINED ARG_LAB OR "LAB" IN_LIST ARG_KEYWORDS_MISSING_VALUES)
    add_test(NAME ${name}
      COMMAND ${CMAKE_SOURCE_DIR}/script/lab ${ARG_LAB} --
              ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}>
              --gtest_output=xml:${results}/${name}.xml)
    # The leak checker follows the stack through GTK, which has no frame pointers, and up to the
    # functions of fontconfig that lsan.supp names.
    set(labels ${ARG_LIBRARY} lab)
    if("--display" IN_LIST ARG_LAB)
      list(APPEND labels display)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT 300 LABELS "${labels}" ENVIRONMENT
      "${sanitizer_options};ASAN_OPTIONS=fast_unwind_on_malloc=0:malloc_context_size=10")
  else()
    gtest_discover_tests(${name} TEST_PREFIX ${name}. XML_OUTPUT_DIR ${results}/
      DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 60 LABELS ${ARG_LIBRARY})
  endif()
endfunction()

# veltrana_command(VARIABLE PROGRAM)
# How tests start a program of this build: by its path, or where that is for a machine of another
# kind by a script that starts it in the emulator.
function(veltrana_command variable program)
  set(command $<TARGET_FILE:${program}>)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    set(script ${CMAKE_BINARY_DIR}/emulated/${program})
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    get_property(scripts GLOBAL PROPERTY VELTRANA_EMULATED)
    if(NOT program IN_LIST scripts)
      set_property(GLOBAL APPEND PROPERTY VELTRANA_EMULATED ${program})
      file(GENERATE OUTPUT ${script}
        CONTENT "#!/bin/sh\nexec ${emulator} ${command} \"$@\"\n"
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    endif()
    set(command ${script})
  endif()
  set(${variable} ${command} PARENT_SCOPE)
endfunction()
