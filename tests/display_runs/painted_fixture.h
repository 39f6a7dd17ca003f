// Runs that paint for real: onto bitmaps whose pixels can be read, and onto windows. What they must
// show is the model's pixels as colours.
#pragma once

#include "tests/display_runs/run_fixture.h"

namespace q32::test {

using Colours = std::vector<std::uint32_t>; // 0xRRGGBB, row by row from the top

// A bitmap with pixels in memory, selected into a context of its own; grey 0x80 first.
class Section {
public:
    // 8 bits have these colours.
    Section(int bits, int width, int height, const Entries &colours = {});
    ~Section();
    Section(const Section &) = delete;
    Section &operator=(const Section &) = delete;

    HDC dc() const { return dc_; }
    Colours colours() const;

private:
    int bits_, width_, height_;
    std::vector<std::uint32_t> table_;
    HDC dc_;
    HBITMAP bitmap_;
    HGDIOBJ before_;
    std::uint8_t *pixels_ = nullptr;
};

class PaintedRuns : public RunTest {
protected:
    // Draws all rows of a source, in pieces of `rows` at a time.
    void paint(HDC target, const RunSetup &setup, const Source &source, int rows = 1000,
               int direction = 1);

    // What the model's picture shows, as colours; planes have none.
    Colours wanted(const RunSetup &setup, const Source &source);

    // What is expected of a context of this size that was grey before: the picture, cut at its
    // edges.
    static Colours placed(const RunSetup &setup, const Colours &picture, int width, int height);
    static constexpr std::uint32_t grey = 0x808080;

    static Entries shown_palette(const RunSetup &setup);
};

// The pixels of any context, as the system converts them.
Colours colours_of(HDC dc, int left, int top, int width, int height);

// "" or the first difference.
std::string difference(const Colours &is, const Colours &should, int width);

} // namespace q32::test
