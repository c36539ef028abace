# For a machine of another kind: the part of the toolchain files that is the same for all. They set
# `machine`, as the kernel there calls itself, and `triplet`, as Debian names its libraries.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${machine})
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

# Debian keeps the libraries of all machines side by side, and their headers in one place.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${triplet}/pkgconfig:/usr/share/pkgconfig)

# Programs run in the emulator, with the libraries of that machine or, where there are none, with
# those that came with the compiler.
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-${machine})
if(NOT EXISTS /usr/lib/${triplet}/libc.so.6)
  list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -L /usr/${triplet})
endif()
