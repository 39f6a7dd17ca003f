# Toolchain file: programs for Windows by Clang with MinGW's headers, libraries and linker.
#     cmake -DCMAKE_TOOLCHAIN_FILE=.../tests/build/clang-mingw.cmake -DQ32_MINGW_ARCH=i686    or x86_64
# Clang does not know where Debian keeps the libraries of MinGW's GCC: it is told.
set(CMAKE_SYSTEM_NAME Windows)
if(NOT Q32_MINGW_ARCH)
  set(Q32_MINGW_ARCH i686)
endif()
if(NOT Q32_CLANG)
  set(Q32_CLANG clang)
endif()
set(CMAKE_SYSTEM_PROCESSOR ${Q32_MINGW_ARCH})
string(REPLACE clang clang++ CMAKE_CXX_COMPILER ${Q32_CLANG})
set(CMAKE_C_COMPILER ${Q32_CLANG})
set(CMAKE_C_COMPILER_TARGET ${Q32_MINGW_ARCH}-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET ${Q32_MINGW_ARCH}-w64-mingw32)
set(CMAKE_RC_COMPILER ${Q32_MINGW_ARCH}-w64-mingw32-windres)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES Q32_MINGW_ARCH Q32_CLANG)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine-run")

execute_process(
  COMMAND ${Q32_MINGW_ARCH}-w64-mingw32-g++-posix -print-file-name=include/c++
  OUTPUT_VARIABLE headers OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(libraries "${headers}/../.." ABSOLUTE)
set(CMAKE_CXX_FLAGS_INIT "-nostdinc++ -isystem ${headers} -isystem ${headers}/${Q32_MINGW_ARCH}-w64-mingw32 -Wno-unused-command-line-argument")
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-B${libraries} -L${libraries} -pthread")
endforeach()
