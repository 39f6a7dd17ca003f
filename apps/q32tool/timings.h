// Where the time went and what the library was asked to do, for --timings.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace apps::q32tool {

// Three parts that never overlap: the system's decoder, the library, the system's encoder.
enum class Part { reading, library, writing };

class Timings {
public:
    void add(Part part, double seconds) { seconds_[static_cast<int>(part)] += seconds; }

    void add(const Timings &others); // of another process

    uint64_t buffers = 0;        // buf32Alloc, buf32DIBBufAlloc, and new ones of buf32GetBuf
    uint64_t rectangles = 0;     // buf32GetBuf, buf32MergeBuf, buf32GetMem..., buf32MergeMem
    uint64_t fills = 0;          // buf32FillOneColor, buf32FillPattern
    uint64_t rows_moved = 0;     // buf32Line
    uint64_t rows_converted = 0; // mem32 functions and RGBToBGR

    std::string summary() const; // lines, each with its end

private:
    double seconds_[3] = {};
};

// Of this run of the program.
Timings &timings();

// Adds the time of its own life to one part.
class Timed {
public:
    explicit Timed(Part part) : part_(part) {}
    ~Timed() { timings().add(part_, std::chrono::duration<double>(Clock::now() - start_).count()); }
    Timed(const Timed &) = delete;
    Timed &operator=(const Timed &) = delete;

private:
    using Clock = std::chrono::steady_clock;
    Part part_;
    Clock::time_point start_ = Clock::now();
};

} // namespace apps::q32tool
