# Toolchain file: programs for Windows as Microsoft's compiler makes them, by Clang and LLD, on a machine
# that has neither Windows nor its SDK.
#     cmake -DCMAKE_TOOLCHAIN_FILE=.../tests/build/clang-msvc.cmake -DQ32_MSVC_ARCH=i686    or x86_64
# Calling conventions, layouts, names of C++, exceptions and object files are Microsoft's, and lld-link
# takes no object that link.exe would refuse. Headers of the system are MinGW's; import libraries of its
# DLLs and the start of a program are made for each build folder (microsoft/make_system.py). The C library
# is msvcrt.dll. Of C++ there are exceptions and what lies in headers (microsoft/standard.cpp).
set(CMAKE_SYSTEM_NAME Windows)
if(NOT Q32_MSVC_ARCH)
  set(Q32_MSVC_ARCH i686)
endif()
set(CMAKE_SYSTEM_PROCESSOR ${Q32_MSVC_ARCH})
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${Q32_MSVC_ARCH}-pc-windows-msvc)
set(CMAKE_CXX_COMPILER_TARGET ${Q32_MSVC_ARCH}-pc-windows-msvc)
set(CMAKE_AR llvm-ar)
set(CMAKE_RANLIB llvm-ranlib)
set(CMAKE_RC_COMPILER llvm-rc)
set(CMAKE_MT llvm-mt)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine-run")

# Projects with which CMake tries the compiler read this file too, and share what has been made.
if(NOT Q32_MSVC_SYSTEM)
  set(Q32_MSVC_SYSTEM "${CMAKE_BINARY_DIR}/microsoft-${Q32_MSVC_ARCH}")
endif()
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES Q32_MSVC_ARCH Q32_MSVC_SYSTEM)
if(NOT EXISTS "${Q32_MSVC_SYSTEM}/made")
  execute_process(
    COMMAND python3 -B "${CMAKE_CURRENT_LIST_DIR}/microsoft/make_system.py" "${Q32_MSVC_ARCH}" "${Q32_MSVC_SYSTEM}"
    COMMAND_ERROR_IS_FATAL ANY)
endif()

foreach(language IN ITEMS C CXX)
  file(STRINGS "${Q32_MSVC_SYSTEM}/${language}-flags" Q32_MSVC_FLAGS)
  set(CMAKE_${language}_FLAGS_INIT "${Q32_MSVC_FLAGS}")
  set(CMAKE_${language}_STANDARD_LIBRARIES
      "-lkernel32 -luser32 -lgdi32 -lshell32 -lole32 -ladvapi32 -lcomdlg32"
      CACHE STRING "What every program may use")
endforeach()
# There is one C library, for all configurations, and objects name it.
set(CMAKE_MSVC_RUNTIME_LIBRARY MultiThreadedDLL)
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-L\"${Q32_MSVC_SYSTEM}\"")
  if(Q32_MSVC_ARCH STREQUAL i686)
    # Every object has to list its exception handlers. Both linkers ask for that unless they are told not to.
    string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -Xlinker /safeseh")
  endif()
endforeach()
