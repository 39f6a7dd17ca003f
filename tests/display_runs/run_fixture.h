// A test of display runs: opening one as a model's, source rows at the very edge of their memory,
// and comparing what was drawn with what the model draws.
#pragma once

#include "tests/display_runs/gdi_watch.h"
#include "tests/display_runs/run_model.h"
#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"

namespace q32::test {

using model::Flush;
using model::RunSetup;
using Lines = std::vector<std::string>;

// A memory device context of the test's own.
class MemoryContext {
public:
    MemoryContext() : dc_(CreateCompatibleDC(nullptr)) {}
    ~MemoryContext() { DeleteDC(dc_); }
    MemoryContext(const MemoryContext &) = delete;
    MemoryContext &operator=(const MemoryContext &) = delete;
    HDC get() const { return dc_; }

private:
    HDC dc_;
};

// Source rows of which not a byte beside the wanted pixels can be touched at one of the ends.
class Source {
public:
    int first_column = 0, first_row = 0, rows = 0, stride = 0;

    // Random pixels for these rows and columns; stride 0 is one without gaps, a negative one lets
    // rows follow upwards.
    Source(Random &random, int depth, int width, int rows, int first_column = 0, int first_row = 0,
           int stride = 0, bool at_end = true);

    const std::uint8_t *image() const { return image_; }
    // The bytes of all pixels, from the lowest address on.
    std::span<std::uint8_t> bytes() const { return bytes_; }

    static int bytes_of(int depth, int width, int first_column);

private:
    std::optional<FencedMemory> memory_;
    std::span<std::uint8_t> bytes_;
    std::uint8_t *image_ = nullptr;
};

class RunTest : public DisplayTest {
protected:
    void SetUp() override;

    // Brings the library to the type, gamma and switch of a set-up.
    void prepare(const RunSetup &setup);

    // Opens without a model. The palette is kept until the test ends.
    int try_open(const RunSetup &setup, HDISPRUN *run);
    HDISPRUN open(const RunSetup &setup);
    HDC dc() const { return context_.get(); }
    HPALETTE palette() const { return own_ ? own_->get() : nullptr; }

    int show(HDISPRUN run, const Source &source);
    int show(HDISPRUN run, const Source &source, int from, int count);
    void end(HDISPRUN run) { EXPECT_SUCCESS(api().disp32ShowEnd(run)); }

    // All that was drawn, checked for what holds of every drawing of such a run.
    std::vector<Flush> drawn(GdiWatch &watch, const RunSetup &setup);
    void expect_drawn(GdiWatch &watch, const RunSetup &setup, const std::vector<Flush> &wanted);

    // Opens, brings the rows of a source that fits, ends, and compares with the model.
    void expect_as_model(const RunSetup &setup, Random &random);

private:
    void check_header(const Drawing &drawing, const RunSetup &setup);
    void check_palette(const Drawing &drawing, const RunSetup &setup);
    Flush flush_of(const Drawing &drawing, const RunSetup &setup);

    MemoryContext context_;
    std::optional<OwnPalette> own_;
};

// A palette in whose entries no channel is like another.
std::vector<model::Rgb> some_colours(Random &random, int count);
Entries entries_of(const std::vector<model::Rgb> &colours);

// Where two lists of drawings first differ; "" when nowhere.
std::string difference(const std::vector<Flush> &drawn, const std::vector<Flush> &wanted);

// A picture that drawings are put into.
class Canvas {
public:
    static constexpr std::uint32_t nothing = 0xFFFFFFFF;
    Canvas(int left, int top, int width, int height)
        : left_(left), top_(top), width_(width),
          pixels_(std::size_t(width) * std::size_t(height), nothing) {}
    void put(const std::vector<Flush> &flushes);
    bool operator==(const Canvas &) const = default;
    const std::vector<std::uint32_t> &pixels() const { return pixels_; }

private:
    int left_, top_, width_;
    std::vector<std::uint32_t> pixels_;
};

} // namespace q32::test
