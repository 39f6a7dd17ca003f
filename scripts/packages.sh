# shellcheck shell=bash
# What the project needs from Debian, by purpose. Read by scripts/setup.sh; a list of names, nothing else.
# shellcheck disable=SC2034  # read by name

# Building Q32BASE.DLL and the programs beside it, and running them: compiler, Wine, a display.
packages_product=(g++-mingw-w64-i686-posix cmake ninja-build wine wine32:i386 xvfb xauth)

# Tests: kernels built for this machine, the test framework's source, the installed package's users.
packages_test=(g++ googletest python3 pkg-config)

# The demo: a photograph in the public domain, and small tools that put pictures side by side.
packages_demo=(palapeli-data netpbm)

# Only for ./run lint.
packages_lint=(clang-format clang-tidy cppcheck shellcheck)

# Only for ./run bench: well-known libraries to measure against.
packages_bench=(g++ libyuv-dev libopencv-core-dev libopencv-imgproc-dev python3-numpy)
