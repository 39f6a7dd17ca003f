// Lines are added as they come, so that runs one after another share a file.
#include "bench/peers/figures.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace q32::bench {
namespace {

constexpr const char *kind_names[] = {"memcpy", "ours", "peer"};

void add(const std::string &line) {
    const char *const path = std::getenv("Q32BASE_BENCH_FILE");
    if (path == nullptr || *path == '\0')
        return;
    std::FILE *const file = std::fopen(path, "a");
    if (file == nullptr || std::fprintf(file, "%s\n", line.c_str()) < 0 || std::fclose(file) != 0) {
        std::perror(path);
        std::exit(1);
    }
}

} // namespace

void tell_version(const std::string &name, const std::string &version) {
    add("version\t" + name + '\t' + version);
}

void tell_level(const std::string &name) {
    add("level\t" + name);
}

void tell_times(const Times &times) {
    std::string samples;
    for (const double sample : times.samples) {
        char text[32];
        std::snprintf(text, sizeof text, "%s%.5g", samples.empty() ? "" : " ", sample);
        samples += text;
    }
    std::string line = "time";
    for (const std::string &field :
         {std::string(program_invocation_short_name), times.job, std::to_string(times.pixels),
          std::string(kind_names[static_cast<int>(times.kind)]), times.name, times.note,
          std::string("ns/pixel"), samples})
        line += '\t' + field;
    add(line);
}

} // namespace q32::bench
