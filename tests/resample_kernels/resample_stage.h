// One block resampled by one form of the kernels in memory that cannot be left: source,
// destination, position tables and work memory each lie at a fence. The result is compared with the
// model's, the surroundings with what they were. A form that crashes says what it was doing.
#pragma once

#include "resample/kernels/resample_kernels.h"
#include "resample/kernels/row_resampler.h"

#include "tests/frame/random.h"
#include "tests/kernels/fenced_block.h"
#include "tests/kernels/levels.h"
#include "tests/models/resampling.h"

#include <string>

namespace q32::test {

using ResampleLevel = Level<resample::ResampleKernels>;

// The forms of one method on this machine, the scalar one first. A level without a form of its own
// has a lower one's, which is not tested twice.
const std::vector<ResampleLevel> &resample_levels(model::Method method);

const resample::MethodKernels &kernels_of(const resample::ResampleKernels &kernels,
                                          model::Method method);
const char *name_of(model::Method method);

// What is to be resampled.
struct Trial {
    model::Method method;
    model::Image source;
    model::Axis columns;
    model::Axis rows;
};
std::string describe(const Trial &trial);

// Where everything lies, and how far apart the rows.
struct Layout {
    bool source_at_end = true;
    bool destination_at_end = true;
    bool tables_at_end = true;
    std::size_t source_padding = 0; // bytes between rows
    std::size_t destination_padding = 0;
    std::size_t work_distance = 0; // bytes from the end of work memory to its fence
};
Layout random_layout(Random &random);

// Keeps its memory for the next trial.
class Stage {
public:
    // Adds at most one failure for each form; rows in one call, straight from the source, together
    // by lines, and one by one.
    bool run(const Trial &trial, const Layout &layout);
    // At every fence, and at some random places.
    bool run_everywhere(const Trial &trial, Random &random);

    // The largest image of a trial.
    static constexpr std::size_t most_bytes = std::size_t{1} << 20;

private:
    bool run_form(const char *name, const resample::MethodKernels &kernels, const Trial &trial,
                  const Layout &layout, const model::Image &expected);
    resample::Positions lay_down(const model::Axis &axis, FencedBlock *tables, bool at_end);

    FencedBlock source_{0}, destination_, work_{0};
    FencedBlock columns_[2] = {FencedBlock{0}, FencedBlock{0}};
    FencedBlock rows_[2] = {FencedBlock{0}, FencedBlock{0}};
    std::uint8_t noise_ = 7;
};

// --- random trials ---------------------------------------------------------------------------

int between(Random &random, int first, int last);

// How the source looks: noise, flat areas, black and white edges, ramps.
void paint(Random &random, model::Image &image);

// A whole side of an image, by a table or as cells have it.
model::Axis axis_of(Random &random, model::Method method, int destination, int source);

// The places of so many destination pixels, and the source pixels at hand for them.
struct Line {
    model::Axis axis;
    int first; // source pixel
    int count;
};
// As tables and cells make them: `count` pixels out of a larger axis at a ratio of 1/32 to 32.
Line line_by_ratio(Random &random, model::Method method, int count);
// Twice as many pixels as the source has, or half as many: their places follow one another as those
// of whole images do, but for a few jumps.
Line line_by_two(Random &random, model::Method method, int count);
// From left to right in steps of no, one or more pixels, in any mixture.
Line line_in_order(Random &random, model::Method method, int count);
// Any index of the source, in any order, with any fraction.
Line line_at_random(Random &random, model::Method method, int count);

} // namespace q32::test
