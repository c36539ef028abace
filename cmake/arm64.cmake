# Toolchain file: 64-bit ARM. Plain char has no sign there.
set(machine aarch64)
set(triplet aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
