"""What the tools print, in short: the lines that scripts/proof/readers.py goes by, and others."""

TESTS = """\
Building win32
Building win32: 197 of 596, 1:01 min
Building native-asan
Internal ctest changing into directory: build/all
Test project build/all
        Start 231: tool.1
 1/6 Test #231: tool.1 ...........................   Passed   63.09 sec
 2/6 Test  #84: rectangles .......................   Passed   17.51 sec
 3/6 Test  #85: rectangles.guarded ...............   Passed   17.51 sec
 4/6 Test #130: patterns.guarded .................***Failed   17.51 sec
 5/6 Test #131: bars.guarded .....................***Timeout  90.00 sec
 6/6 Test   #2: row_kernels.native ...............***Not Run   0.00 sec

50% tests passed, 3 tests failed out of 6

Label Time Summary:
medium     = 818.61 sec*proc (59 tests)

Total Test time (real) = 451.00 sec

The following tests FAILED:
\t130 - patterns.guarded (Failed)
\t131 - bars.guarded (Timeout)
\t  2 - row_kernels.native (Not Run)
Errors while running CTest
"""

GOOD_TESTS = """\
Internal ctest changing into directory: build/all
1/1 Test #84: rectangles .......................   Passed   17.51 sec

100% tests passed, 0 tests failed out of 25
"""

FIGURES = (
    "count\ttests\t12\n"
    "count\tcalls of buf32Alloc\t3000\n"
    "value\tstart time\t1\tms\n"
    "report\t1001\t2\t61\t1\n"
    "count\tpixels compared, wide against scalar\t20000000000\n"
    "count\ttests\t30\n"
    "value\tstart time\t2.25\tms\n"
    "count\tpixels compared, wide against scalar\t4711000000\n"
)

DEATHS = """\
[ RUN      ] Of/Deaths.LeaveNoSlot/busy
busy, seed 20240517: 1000 deaths left 0 slots, 4 swap files, 1 record files
removed: swap file C:\\swap\\~QT291e.tmp, 0.0 KB, 3 seconds old
5 leftovers, 39.1 KB, removed.
busy: 0 files after q32tool leftovers --remove
[       OK ] Of/Deaths.LeaveNoSlot/busy (7121 ms)
paused, seed 20240517: 1000 deaths left 0 slots, 3 swap files, 0 record files
paused: 2 files after q32tool leftovers --remove
"""

SOAK = """\
[       OK ] Soak.TheMeasuresMeasure (979 ms)
[ RUN      ] Soak.TheProcessStaysAsItWas
seed 20240517: 2561 cycles, 1091563928 pixels
working set      :-==+++  18.41 to 18.66 MiB, first third 18.57, last third 18.65
handles          .......  32.00 to 32.00 , first third 32.00, last third 32.00
[       OK ] Soak.TheProcessStaysAsItWas (600982 ms)
[  PASSED  ] 2 tests.
"""

CHECKSUMS = """\
{"rows", 1000, 2036336, 0xFCECBD52B89017AA},
{"rows", 10000, 20445075, 0xBB8AFDB4FBC41F15},
{"bars", 200, 1473893, 0x9D270E9608C34495},
{"bars", 2000, 15334694, 0x1F3BB7A083CBB951},
"""

COVERAGE = """\
  Kernels                         lines, goal 100 %
  src/display/kernels         432 of   432  100.00 %
  src/simd                    221 of   221  100.00 %
  all                        3522 of  3522  100.00 %

  Drivers                          lines, goal 98 %      branches, goal 95 %
  src/bars                    194 of   196   98.97 %     90 of    93   96.77 %
  src/rows                      5 of     5  100.00 %      0 of     0         -
  all                        5636 of  5661   99.55 %   3130 of  3192   98.05 %

Not reached, beside the 25 lines and 62 branches in tests/coverage-exceptions.txt:
  nothing
"""

MUTATION = """\
520 changes, seed 2026
[  1/520]   0.0 min  killed     src/bars/bars.h:22 constant, by bars BarPictures.New earlier
[  2/520]   1.5 min  survived   src/merge/run.cpp:40 comparison
    - if (a < b)
    + if (a <= b)

folder                  killed    survived  equivalent      broken   score
src/bars                     1           0           2           1  100.0 %
src/merge                   96           3           1           0   97.0 %
all                         97           3           3           1   97.0 %

Survived:
src/merge/run.cpp:40
- if (a < b)
+ if (a <= b)
mutate: interrupted
"""

FUZZING = """\
fuzz rows: 1200000 executions in 60 seconds, corpus of 345 files
fuzz blend: 800000 executions in 61 seconds, corpus of 55 files
"""

HOSTILE = """\
[ RUN      ] Hostile.Calls
hostile calls: 2000000 calls of 108 exports, seed 20240517, 0 crashes
"""

BENCH = """\
The row kernels beside other libraries, 64 bits, on this machine
Nanoseconds of processor time for each pixel, the least of 9 samples taken turn by turn.

job                    pixels  memcpy  scalar    sse2   sse41    avx2  avx512    peer  best peer                  ours/peer
24-bit to 565          262144   0.064   1.708                   0.064           0.065  OpenCV RGB2BGR565              0.98
1-bit to 8-bit         262144   0.064   1.708   0.070           0.064   0.060   0.100  numpy unpackbits +             0.60
invert               12000000   0.064   1.708                   0.064           0.100  OpenCV bitwise_not             0.64
nobody                 262144   0.066   1.749                   0.066                                                  0.00

Resampling beside other libraries, 64 bits, on this machine
bicubic, 24, 2.5 times up     262144   0.066   1.752                   0.066           1.804  zimg, three planes *      0.04
"""

TABLES = """\
The Import Tables (interpreted .idata section contents)
 vma:            Hint    Time      Forward  DLL       First
                 Table   Stamp     Chain    Name      Thunk
 0010b000\t0010b078 00000000 00000000 0010bc30 0010b264

\tDLL Name: GDI32.dll
\tvma:  Hint/Ord Member-Name Bound-To
\t10b450\t   20  BitBlt
\t10b45a\t   34  ColorMatchToTarget

 0010b014\t0010b0e4 00000000 00000000 0010bd24 0010b2d0

\tDLL Name: q32comm.dll
\tvma:  Hint/Ord Member-Name Bound-To
\t10b46a\t   42  c32SetDLLErrInfo

[Ordinal/Name Pointer] Table
\t[   0] AddQueue
\t[   1] ClearQueue
\t[ 107] w

The Function Table
"""

DIGESTS = "\n".join(
    f"{digest * 64}  {folder}/build/win32/bin/{name}"
    for folder in ("build/proof/clone", "build/proof/another folder")
    for digest, name in (("a", "Q32BASE.DLL"), ("b", "q32comm.dll"))
)

FAILURES = """\
never provoked: 1001, 2, 61, 1 (merge: no_run_work_rows)
never provoked: 1001, 2, 61, 59 (merge: no_copy_multiply; merge: no_copy_relief)
144 of 146 failures provoked
"""

REASONS = """\
# What no test provokes.

Nothing comes to the end of this:
the system always has a row.
    1001, 2, 61, 1

Because of this.
    1001, 2, 61, 59
    3200, 0, 1, 1
"""
