// The file of figures (Q32BASE_BENCH_FILE), to which every program that measures adds lines of
// fields with tabs between them; scripts/bench reads it. Without that variable nothing is told.
//     version  name  version
//     level    best instruction set of this machine
//     time     program  job  pixels  kind  name  note  unit  samples with spaces between them
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace q32::bench {

// Who did a job: memcpy of its traffic, one of our instruction sets, or somebody else.
enum class Kind { memcpy, ours, peer };

struct Times {
    std::string job;
    std::size_t pixels;
    Kind kind;
    std::string name;            // "avx2", "OpenCV LUT"
    std::string note;            // what a reader should know of this peer, or nothing
    std::vector<double> samples; // nanoseconds for each pixel
};

void tell_version(const std::string &name, const std::string &version);
void tell_level(const std::string &name);
void tell_times(const Times &times);

} // namespace q32::bench
