"""What numpy needs to pack and unpack bits: lines "job, pixels, nanoseconds of processor time". Its
version goes to the file of figures (figures.h)."""

import os
import time

import numpy

ROUNDS = int(os.environ.get("Q32BASE_BENCH_ROUNDS", 25))
SIZES = [512 * 512, 4000 * 3000]


def best_time(work):
    times = []
    for _ in range(ROUNDS):
        start = time.process_time_ns()
        work()
        times.append(time.process_time_ns() - start)
    return min(times)


if file := os.environ.get("Q32BASE_BENCH_FILE"):
    with open(file, "a") as figures:
        figures.write(f"version\tnumpy\t{numpy.__version__}\n")
generator = numpy.random.default_rng(1)
for pixels in SIZES:
    samples = generator.integers(0, 256, pixels, dtype=numpy.uint8)
    bits = numpy.packbits(samples > 127)
    jobs = {
        "1-bit to 8-bit": lambda: numpy.unpackbits(bits),
        "8-bit to 1-bit": lambda: numpy.packbits(samples > 127),
    }
    for job, work in jobs.items():
        print(job, pixels, best_time(work) / pixels, sep="\t")
