// One job done by several contenders on the same pixels, turn by turn: measures processor time and
// prints a line of a table. Knows nothing of the libraries that take part.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace q32::bench {

// Our forms of a conversion, slowest first. A level that has no form of its own is left out.
inline constexpr std::array level_names = {"scalar", "sse2", "sse41", "avx2", "avx512"};

struct Contender {
    std::string name;
    std::function<void()> run; // the whole job, once
};

struct Job {
    std::string name;
    std::size_t pixels;
    std::size_t bytes_written; // by the whole job; what is compared between contenders
    double bytes_moved;        // read and written, for memcpy of the same traffic
    std::array<std::function<void()>, level_names.size()> ours;
    std::vector<Contender> peers;
    std::vector<std::pair<std::string, double>> measured_elsewhere; // nanoseconds for each pixel
};

struct Memory {
    std::span<std::uint8_t> source;
    std::span<std::uint8_t> destination;
};

void print_heading();

// Contenders start from the same contents of both blocks. A peer whose bytes differ from those of
// our scalar form is marked: it does a similar job, not the same one.
void hold(const Job &job, Memory memory);

} // namespace q32::bench
