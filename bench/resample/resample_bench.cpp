// Speed of the resampling kernels on plain memory: every instruction set of this processor, whole
// images, enlarged and reduced. Prints nanoseconds for each destination pixel and the ratio to
// memcpy of the same traffic (half of the bytes of source and destination).
//
//     resample_bench [part of a job's name] [seconds per measurement]
#include "bench/timing.h"
#include "library/process/cpu.h"
#include "resample/kernels/positions.h"
#include "resample/kernels/resample_kernels.h"
#include "resample/kernels/row_resampler.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace q32;
using namespace q32::resample;
using std::size_t;
using std::uint8_t;

struct Size {
    int width, height;
    size_t pixels() const { return size_t(width) * size_t(height); }
};

struct Scaling {
    Size source, destination;
};
constexpr Scaling scalings[] = {
    {{512, 512}, {1024, 1024}},
    {{1024, 1024}, {512, 512}},
    {{1600, 1200}, {4000, 3000}},
    {{4000, 3000}, {1600, 1200}},
};

enum class Method { nearest, bilinear, bicubic };

struct Job {
    const char *name;
    Method method;
    int samples; // bytes per pixel
    bool noise;  // instead of a picture: the worst for bicubic
};
constexpr Job jobs[] = {
    {"nearest, 24 bits", Method::nearest, 3, false},
    {"nearest, 8 bits", Method::nearest, 1, false},
    {"bilinear, 24 bits", Method::bilinear, 3, false},
    {"bilinear, 8 bits", Method::bilinear, 1, false},
    {"bicubic, 24 bits", Method::bicubic, 3, false},
    {"bicubic, 8 bits", Method::bicubic, 1, false},
    {"bicubic, 24 bits, noise", Method::bicubic, 3, true},
};

// A wave along one side of an image, for each of its samples.
std::vector<double> wave(int pixels, int samples, double step, double shift, double height) {
    std::vector<double> values;
    for (int i = 0; i < pixels; ++i)
        for (int sample = 0; sample < samples; ++sample)
            values.push_back(std::sin(i * step + sample * shift) * height);
    return values;
}

// Soft shapes with a little grain, as a photograph has, or nothing but grain.
std::vector<uint8_t> make_image(Size size, int samples, bool noise) {
    const std::vector<double> across = wave(size.width, samples, 0.013, 1, 60),
                              down = wave(size.height, samples, 0.017, -1, 50);
    std::vector<uint8_t> image(size.pixels() * size_t(samples));
    unsigned state = 20240517;
    auto *at = image.data();
    for (int y = 0; y < size.height; ++y)
        for (size_t x = 0; x < across.size(); ++x) {
            state = state * 1664525u + 1013904223u;
            const int grain = int(state >> 24);
            const double shape = across[x] + down[size_t(y * samples) + x % size_t(samples)];
            *at++ = uint8_t(noise ? grain : 128 + int(shape) + grain / 32);
        }
    return image;
}

// The tables of a scaling, as the drivers make them for a method.
class Tables {
public:
    Tables(const Scaling &scaling, Method method)
        : column_index_(size_t(scaling.destination.width)), column_fraction_(column_index_.size()),
          row_index_(size_t(scaling.destination.height)), row_fraction_(row_index_.size()) {
        const FractionBits bits =
            method == Method::bicubic ? FractionBits::eight : FractionBits::sixteen;
        table_positions(column_index_.data(), column_fraction_.data(), bits,
                        scaling.destination.width, scaling.source.width);
        table_positions(row_index_.data(), row_fraction_.data(), bits, scaling.destination.height,
                        scaling.source.height);
    }
    Positions columns() const {
        return {column_index_.data(), column_fraction_.data(), column_index_.size()};
    }
    Positions rows() const { return {row_index_.data(), row_fraction_.data(), row_index_.size()}; }

private:
    std::vector<std::int32_t> column_index_, column_fraction_, row_index_, row_fraction_;
};

class Picture {
public:
    Picture(const Scaling &scaling, const Job &job)
        : scaling_(scaling), job_(job), tables_(scaling, job.method),
          source_(make_image(scaling.source, job.samples, job.noise)),
          destination_(scaling.destination.pixels() * size_t(job.samples)) {}

    size_t traffic() const { return source_.size() + destination_.size(); }
    const std::vector<uint8_t> &destination() const { return destination_; }
    void clear() { std::fill(destination_.begin(), destination_.end(), uint8_t(0)); }

    void resample(const ResampleKernels &kernels) {
        switch (job_.method) {
        case Method::nearest:
            return resample_by(*kernels.nearest);
        case Method::bilinear:
            return resample_by(*kernels.bilinear);
        case Method::bicubic:
            return resample_by(*kernels.bicubic);
        }
    }

private:
    void resample_by(const MethodKernels &kernels) {
        const DestinationImage destination{destination_.data(),
                                           size_t(scaling_.destination.width * job_.samples),
                                           tables_.columns(), tables_.rows()};
        const SourceImage source{source_.data(),
                                 size_t(scaling_.source.width * job_.samples),
                                 {0, scaling_.source.width},
                                 {0, scaling_.source.height}};
        work_.resize(RowResampler::work_bytes(kernels, destination.columns.count, job_.samples));
        resample_image(kernels, destination, source, job_.samples, work_.data());
    }

    const Scaling &scaling_;
    const Job &job_;
    Tables tables_;
    std::vector<uint8_t> source_, destination_, work_;
};

// Whether all sets make the same picture.
bool measure(const Job &job, const Scaling &scaling, double budget) {
    Picture picture(scaling, job);
    std::vector<uint8_t> copied(picture.traffic() / 2), copy(copied.size());
    const auto memcpy_traffic = [&] { std::memcpy(copy.data(), copied.data(), copied.size()); };

    picture.resample(scalar_resample_kernels);
    const std::vector<uint8_t> expected = picture.destination();

    bool same = true;
    const auto print = [&](const char *name, const ResampleKernels &kernels) {
        const bench::PairedTime time =
            bench::time_paired([&] { picture.resample(kernels); }, memcpy_traffic, budget);
        std::printf("%-24s %4dx%4d to %4dx%4d %-8s %9.4f %8.2f\n", job.name, scaling.source.width,
                    scaling.source.height, scaling.destination.width, scaling.destination.height,
                    name, time.job * 1e9 / double(scaling.destination.pixels()), time.ratio());
        std::fflush(stdout);
        same = same && picture.destination() == expected;
        picture.clear();
    };
    print("scalar", scalar_resample_kernels);
    const int best = int(best_instruction_set(nullptr));
    for (int level = 0; level <= best; ++level)
        print(instruction_set_name(InstructionSet(level)), resample_kernels(InstructionSet(level)));
    if (!same)
        std::fprintf(stderr, "%s: the sets differ\n", job.name);
    return same;
}

} // namespace

int main(int argc, char **argv) {
    const char *part = argc > 1 ? argv[1] : "";
    const double budget = argc > 2 ? std::atof(argv[2]) : 0.3;
    bool same = true;
    std::printf("%-24s %22s %-8s %9s %8s\n", "job", "pixels", "level", "ns/pixel", "x memcpy");
    for (const Job &job : jobs)
        for (const Scaling &scaling : scalings)
            if (std::strstr(job.name, part) != nullptr)
                same = measure(job, scaling, budget) && same;
    return same ? 0 : 1;
}
