# Cross compiler for 32-bit Windows.
set(CMAKE_SYSTEM_PROCESSOR i686)
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw.cmake")
