# shellcheck shell=bash
# What the project needs from Debian, by purpose. Read by scripts/setup.sh; a list of names, nothing else.
# shellcheck disable=SC2034  # read by name

# Building and testing: cross compilers, Wine and a display to run what they make, a compiler for this
# machine, the test framework's source, and what the tests of the installed package use.
packages_build=(g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix libz-mingw-w64-dev libstb-dev g++ cmake ninja-build
    googletest git python3 pkg-config wine wine32:i386 wine64 xvfb xauth)

# The demo: a photograph in the public domain, and small tools that put pictures side by side.
packages_demo=(palapeli-data netpbm)

# ./run fuzz and the long round: the compiler of the fuzz targets, and its sanitizers and fuzzer.
packages_fuzz=(clang-14 libclang-rt-14-dev zlib1g-dev)

# The package's import libraries for Microsoft's linker; in the long round also the compilers other than
# MinGW's GCC that its callers may have.
packages_package=(llvm clang lld)

# The long round: pictures on many machines (docs/many-machines.md).
packages_many=(parallel openssh-server openssh-client iproute2 procps)

# Only for ./run lint.
packages_lint=(clang-format clang-tidy cppcheck shellcheck)

# Only for ./run bench: well-known libraries and programs to measure against, and photographs.
packages_bench=(libyuv-dev libopencv-core-dev libopencv-imgproc-dev libpixman-1-dev
    libzimg-dev libgegl-dev libswscale-dev qtbase5-dev python3-numpy
    imagemagick libvips-tools libjpeg-turbo-progs netpbm palapeli-data)

# Only for ./run docs: the builder of the site, its reader of Markdown and its theme.
packages_docs=(python3-sphinx python3-myst-parser furo)
