"""What numpy needs to pack and unpack bits: lines "job, pixels, nanoseconds of processor time"."""

import time

import numpy

ROUNDS = 25
SIZES = [512 * 512, 4000 * 3000]


def best_time(work):
    times = []
    for _ in range(ROUNDS):
        start = time.process_time_ns()
        work()
        times.append(time.process_time_ns() - start)
    return min(times)


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
