// Has the compiler keep values in registers for as short as it can, in everything that follows: the
// colour kernels are long pieces of straight code, and 32-bit code has eight registers. Included
// before anything else.
#pragma once

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("live-range-shrinkage")
#endif
