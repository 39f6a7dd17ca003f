# As a part of another project. What is set here holds for this folder and below; the project around it
# keeps its own settings.
if(NOT WIN32)
  message(FATAL_ERROR "Q32BASE is a library for Windows, and this project is built for ${CMAKE_SYSTEM_NAME}.")
elseif(NOT MINGW)
  message(FATAL_ERROR "Q32BASE is compiled by MinGW's GCC or by Clang for MinGW, not by ${CMAKE_CXX_COMPILER_ID} as it is "
                      "here. Programs of every compiler use the installed package: find_package(q32base).")
endif()

# The DLLs lie together, with the project's programs where these have a folder of their own.
if(NOT CMAKE_RUNTIME_OUTPUT_DIRECTORY)
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
endif()

# Files of one folder have names in common, and another project's compiler may know other warnings.
set(CMAKE_UNITY_BUILD OFF)
set(CMAKE_COMPILE_WARNING_AS_ERROR ${Q32BASE_WERROR})
# Whoever looks for a DLL knows it by one name.
foreach(configuration IN ITEMS DEBUG RELEASE RELWITHDEBINFO MINSIZEREL)
  unset(CMAKE_${configuration}_POSTFIX)
endforeach()
