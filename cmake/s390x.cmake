# Toolchain file: IBM Z. Bytes of a number stand the other way round, and plain char has no sign.
set(machine s390x)
set(triplet s390x-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
