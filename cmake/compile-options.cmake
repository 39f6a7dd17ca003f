# The flags that every target of the project shares, as two interface targets:
#   q32_options        warnings, floating point, language rules
#   q32_dll_options    what our DLLs add: a stack that callers align to 4 bytes only, identical rebuilds
# with q32_place_dll, which says where a DLL is loaded, and q32_microsoft_library, which makes the import
# library of other linkers.

# Everything that ships comes in two editions, for 32-bit and for 64-bit Windows.
if(WIN32 AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(Q32_IS_64_BIT ON)
else()
  set(Q32_IS_64_BIT OFF)
endif()
add_library(q32_options INTERFACE)
target_compile_features(q32_options INTERFACE cxx_std_20)
target_include_directories(q32_options INTERFACE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/include")
target_compile_options(
  q32_options
  INTERFACE -Wall -Wextra -Wno-missing-field-initializers -Wshadow -Wundef -Wcast-qual -Wpointer-arith
            $<IF:$<BOOL:${Q32BASE_WERROR}>,-Werror,-Wno-error>
            $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Wextra-semi>
            -fno-strict-aliasing -ffp-contract=off
            "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
  # Clang knows other warnings by the same names: it takes the parameter of a nested function for a
  # shadow of a member, and has no idea of some of GCC's. Those who ship are held to GCC's.
  target_compile_options(q32_options INTERFACE -Wno-unknown-warning-option -Wno-shadow -Wno-psabi)
endif()
if(Q32_IS_64_BIT)
  # The stack is aligned to 16 bytes there, and GCC cannot align it further: what it keeps of vectors of
  # 32 and 64 bytes lies as it comes (GCC bug 54412). Moves that demand more become ones that do not, and
  # are as fast where the memory is aligned. Clang aligns what it keeps.
  target_compile_options(q32_options INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wa,-muse-unaligned-vector-move>)
  # The 64-bit <windows.h> would read all of the compiler's vector headers, two megabytes and half a
  # second for every file; what it needs of them it names itself. Whoever needs more includes it.
  target_compile_definitions(q32_options INTERFACE _X86INTRIN_H_INCLUDED)
endif()
if(WIN32)
  # Results must not depend on the processor: SSE2 arithmetic, never the x87 stack.
  target_compile_options(q32_options INTERFACE -msse2 -mfpmath=sse)
  target_compile_definitions(q32_options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
endif()
if(Q32BASE_SANITIZE)
  target_compile_options(q32_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(q32_options INTERFACE -fsanitize=address,undefined)
endif()
if(Q32BASE_FUZZ)
  # Distances in memory wrap around as addresses do: strides and columns may be negative.
  set(fuzz_sanitizers -fsanitize=address,undefined -fno-sanitize=pointer-overflow)
  target_compile_options(q32_options INTERFACE -O1 -g -fsanitize=fuzzer-no-link ${fuzz_sanitizers} -fno-sanitize-recover=all
                                               -fno-omit-frame-pointer)
  target_link_options(q32_options INTERFACE ${fuzz_sanitizers})
endif()

add_library(q32_kernel_options INTERFACE)
target_link_libraries(q32_kernel_options INTERFACE q32_options)
target_compile_options(q32_kernel_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
if(WIN32 AND NOT Q32_IS_64_BIT)
  # Windows callers guarantee a 4-byte aligned stack; the compiler assumes 16. In 64 bits both have 16.
  target_compile_options(q32_kernel_options INTERFACE -mstackrealign)
endif()

add_library(q32_dll_options INTERFACE)
target_link_libraries(q32_dll_options INTERFACE q32_kernel_options)
if(WIN32)
  # No time stamp and a fixed image base make two builds of one source identical.
  target_link_options(q32_dll_options INTERFACE -static -static-libgcc -static-libstdc++
                      -Wl,--no-insert-timestamp -Wl,--no-undefined)
endif()

# q32_ship(TARGET): a DLL or program that `cmake --install` takes, by way of the target q32base_product.
# It carries no debug sections; those of the C runtime would be half of it. Its twin (presets win32-symbols
# and win64-symbols) has them and is the same in all that is loaded, which scripts/package.py makes sure of
# before it splits them off; they name the sources as from a folder of the package's name.
option(Q32BASE_SYMBOLS "Build what ships with its debug sections" OFF)
if(Q32BASE_SYMBOLS)
  target_compile_options(q32_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-g1>
                                               "-fdebug-prefix-map=${PROJECT_SOURCE_DIR}=/q32base-${PROJECT_VERSION}")
endif()
add_custom_target(q32base_product)
function(q32_ship target)
  if(NOT Q32BASE_SYMBOLS)
    target_link_options(${target} PRIVATE $<$<CONFIG:Release>:-Wl,-s>)
  endif()
  # Debug sections that were split off belong to the file that was there.
  add_custom_command(
    TARGET ${target}
    POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E rm -f
            "${PROJECT_BINARY_DIR}/symbols/$<PATH:RELATIVE_PATH,$<TARGET_FILE:${target}>,${PROJECT_BINARY_DIR}/bin>.debug")
  add_dependencies(q32base_product ${target})
endfunction()

# q32_place_dll(TARGET BASE): eight hexadecimal digits, the address that the DLL is made for. That of the
# 64-bit edition lies above 4 GB, so that a pointer that has lost its upper half is none, and the system
# may choose another (the linker's default there).
function(q32_place_dll target base)
  if(Q32_IS_64_BIT)
    string(PREPEND base 3)
  endif()
  target_link_options(${target} PRIVATE -Wl,--image-base,0x${base})
endfunction()

# q32_microsoft_library(TARGET DEF): makes lib/TARGET.lib beside the import library of the DLL, for linkers
# of Microsoft's kind. They take ours for an object without its list of exception handlers (/safeseh).
# Nothing in the build needs it: without LLVM's dlltool there is none, and the package says so.
find_program(Q32BASE_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-19 llvm-dlltool-16 llvm-dlltool-15 llvm-dlltool-14
             DOC "Makes the import libraries for Microsoft's linker; not needed otherwise")
function(q32_microsoft_library target def)
  if(Q32BASE_LLVM_DLLTOOL)
    set(machine i386)
    if(Q32_IS_64_BIT)
      string(APPEND machine :x86-64)
    endif()
    set(library "${PROJECT_BINARY_DIR}/lib/${target}.lib")
    add_custom_command(
      TARGET ${target} POST_BUILD BYPRODUCTS "${library}" VERBATIM
      COMMAND "${Q32BASE_LLVM_DLLTOOL}" -m ${machine} -d "${CMAKE_CURRENT_SOURCE_DIR}/${def}" -l "${library}")
    set_target_properties(${target} PROPERTIES Q32_MICROSOFT_LIBRARY "${library}")
  endif()
endfunction()

# Programs of 32 bits that work on large pictures want all 4 GB of addresses.
set(Q32_LARGE_ADDRESSES $<$<NOT:$<BOOL:${Q32_IS_64_BIT}>>:-Wl,--large-address-aware>)

# q32_kernel_sources(TARGET FILE...): adds kernel files to a target; a file whose name ends in an
# instruction set is the only one that sees its flags, so that no other code can use it by accident.
function(q32_kernel_sources target)
  foreach(file IN LISTS ARGN)
    if(file MATCHES "_ssse3\\.cpp$")
      set(flags -mssse3)
    elseif(file MATCHES "_sse41\\.cpp$")
      set(flags -msse4.1)
    elseif(file MATCHES "_avx2\\.cpp$")
      set(flags -mavx2)
    elseif(file MATCHES "_avx512\\.cpp$")
      set(flags -mavx2 -mavx512f -mavx512bw -mavx512vl -mavx512dq -mavx512vbmi)
    else()
      set(flags "")
    endif()
    target_sources(${target} PRIVATE ${file})
    set_source_files_properties(${file} PROPERTIES COMPILE_OPTIONS "${flags}")
  endforeach()
endfunction()

# q32_join_sources(TARGET): the files of a program are compiled eight at a time, which takes less than
# half as long for all of them. Each still includes what it needs: the debug build compiles them apart.
# Not for a library of which programs take a part: they would get its neighbours, and what those import.
function(q32_join_sources target)
  if(Q32BASE_JOIN_SOURCES)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
  endif()
endfunction()
