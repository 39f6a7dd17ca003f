// Opening runs, bringing rows, and reading drawings.
#include "tests/display_runs/run_fixture.h"

#include <sstream>

namespace q32::test {

// --- sources ---------------------------------------------------------------------------------

int Source::bytes_of(int depth, int width, int first_column) {
    if (depth != 1)
        return width * (depth / 8);
    const int bit = (first_column % 8 + 8) % 8;
    return (bit + width + 7) / 8;
}

Source::Source(Random &random, int depth, int width, int row_count, int column, int row, int given,
               bool at_end)
    : first_column(column), first_row(row), rows(row_count) {
    const int bytes = bytes_of(depth, width, column);
    stride = given != 0 ? given : bytes;
    const int distance = std::abs(stride);
    const int size = std::max(0, row_count - 1) * distance + std::max(bytes, 0);
    memory_.emplace(std::size_t(std::max(size, 1)));
    std::uint8_t *const begin = at_end ? memory_->end() - size : memory_->begin();
    bytes_ = {begin, std::size_t(size)};
    random.fill(bytes_);
    // Where the first row's first pixel lies, and from there to column 0 of row 0.
    std::uint8_t *const first = stride < 0 ? begin + (row_count - 1) * distance : begin;
    const int column_bytes =
        depth != 1 ? column * (depth / 8) : (column >= 0 ? column / 8 : -((7 - column) / 8));
    image_ = reinterpret_cast<std::uint8_t *>(reinterpret_cast<std::uintptr_t>(first) -
                                              std::uintptr_t(column_bytes) -
                                              std::uintptr_t(stride) * std::uintptr_t(row));
}

std::vector<model::Rgb> some_colours(Random &random, int count) {
    std::vector<model::Rgb> colours;
    for (int i = 0; i < count; ++i)
        colours.push_back({random.byte(), random.byte(), random.byte()});
    return colours;
}

Entries entries_of(const std::vector<model::Rgb> &colours) {
    Entries entries;
    for (const model::Rgb &colour : colours)
        entries.push_back(
            {std::uint8_t(colour.red), std::uint8_t(colour.green), std::uint8_t(colour.blue)});
    return entries;
}

// --- runs ------------------------------------------------------------------------------------

void RunTest::SetUp() {
    DisplayTest::SetUp();
    start();
}

void RunTest::prepare(const RunSetup &setup) {
    const Gamma wanted{setup.gamma.red, setup.gamma.green, setup.gamma.blue};
    if (gamma() != wanted) {
        // The palettes of up to sixteen colours follow at a change of the type.
        EXPECT_SUCCESS(api().disp32SetDevType(setup.type == 4 ? 5 : 4));
        set_gamma(wanted);
    }
    EXPECT_SUCCESS(api().disp32SetDevType(setup.type));
    api().disp32BeHiColorDither(setup.dither);
}

int RunTest::try_open(const RunSetup &setup, HDISPRUN *run) {
    own_.reset();
    if (setup.palette)
        own_.emplace(test::entries_of(*setup.palette));
    if (setup.origin)
        return api().disp32ShowInitEx(run, dc(), setup.depth, setup.left, setup.top, setup.right,
                                      setup.bottom, palette(), setup.option, setup.force_background,
                                      (*setup.origin)[0], (*setup.origin)[1]);
    return api().disp32ShowInit(run, dc(), setup.depth, setup.left, setup.top, setup.right,
                                setup.bottom, palette(), setup.option, setup.force_background);
}

HDISPRUN RunTest::open(const RunSetup &setup) {
    HDISPRUN run = 0;
    EXPECT_SUCCESS(try_open(setup, &run));
    EXPECT_NE(run, 0u);
    return run;
}

int RunTest::show(HDISPRUN run, const Source &source) {
    return show(run, source, 0, source.rows);
}

int RunTest::show(HDISPRUN run, const Source &source, int from, int count) {
    return api().disp32ShowData(run, source.image(), source.first_column, source.first_row + from,
                                count, source.stride);
}

// --- drawings --------------------------------------------------------------------------------

void RunTest::check_header(const Drawing &drawing, const RunSetup &setup) {
    const BITMAPINFOHEADER &header = drawing.header;
    const bool places = model::strip_of(model::path_of(setup)) == model::Strip::places;
    EXPECT_EQ(header.biSize, 40u);
    EXPECT_EQ(header.biWidth, drawing.width);
    EXPECT_EQ(header.biHeight, drawing.rows);
    EXPECT_EQ(header.biPlanes, 1);
    EXPECT_EQ(header.biBitCount, places ? 8 : 24);
    EXPECT_EQ(header.biCompression, DWORD{BI_RGB});
    EXPECT_EQ(drawing.first_scan, 0u);
    EXPECT_EQ(int(drawing.scans), drawing.rows);
    EXPECT_EQ(drawing.source_x, 0);
    EXPECT_EQ(drawing.source_y, 0);
    if (places) {
        check_palette(drawing, setup);
    } else {
        EXPECT_EQ(drawing.usage, UINT{DIB_RGB_COLORS});
        EXPECT_EQ(header.biClrUsed, 0u);
    }
}

void RunTest::check_palette(const Drawing &drawing, const RunSetup &setup) {
    const Gamma gamma{setup.gamma.red, setup.gamma.green, setup.gamma.blue};
    Entries wanted;
    switch (model::palette_of(model::path_of(setup))) {
    case model::Shown::callers:
        EXPECT_EQ(drawing.palette, palette());
        wanted = test::entries_of(*setup.palette);
        break;
    case model::Shown::cube:
        wanted = corrected(colour_cube(3, 256), gamma);
        break;
    case model::Shown::greys_16:
        wanted = corrected(grey_ramp(16), gamma);
        break;
    default:
        wanted = corrected(grey_ramp(128), gamma);
        break;
    }
    EXPECT_EQ(test::entries_of(drawing.palette), wanted);
    EXPECT_EQ(drawing.header.biClrUsed, wanted.size());
    if (drawing.usage == DIB_PAL_COLORS) {
        for (unsigned i = 0; i < 256; ++i)
            ASSERT_EQ(drawing.table[2 * i] + 256u * drawing.table[2 * i + 1], i);
    } else {
        for (unsigned i = 0; i < std::min<std::size_t>(wanted.size(), 256); ++i) {
            const PaletteEntry entry{drawing.table[4 * i + 2], drawing.table[4 * i + 1],
                                     drawing.table[4 * i]};
            const PaletteEntry colour{wanted[i].red, wanted[i].green, wanted[i].blue};
            ASSERT_EQ(entry, colour) << i;
            ASSERT_EQ(drawing.table[4 * i + 3], 0) << i;
        }
    }
}

Flush RunTest::flush_of(const Drawing &drawing, const RunSetup &setup) {
    Flush flush{drawing.x, drawing.y, drawing.width, drawing.rows, {}};
    const auto strip = model::strip_of(model::path_of(setup));
    const int bytes = int(model::row_bytes(setup));
    const int plane = (drawing.width + 15) / 16 * 2;
    const bool independent = strip == model::Strip::places || strip == model::Strip::colours;
    EXPECT_GT(bytes, 0) << "an empty rectangle draws nothing";
    if (bytes <= 0)
        return flush;
    EXPECT_EQ(drawing.independent, independent);
    EXPECT_EQ(drawing.dc, dc());
    if (independent)
        check_header(drawing, setup);
    else {
        EXPECT_EQ(drawing.operation, DWORD{SRCCOPY});
        EXPECT_EQ(drawing.source_x, 0);
        EXPECT_GE(drawing.source_y, 0);
        EXPECT_EQ(drawing.bits.size() % unsigned(bytes), 0u);
        EXPECT_EQ(strip == model::Strip::bits, drawing.background == 0xFFFFFF && drawing.text == 0);
    }
    const int held = int(drawing.bits.size()) / bytes;
    EXPECT_LE(drawing.source_y + drawing.rows, held);
    if (independent != drawing.independent || drawing.source_y + drawing.rows > held)
        return flush;
    for (int y = 0; y < drawing.rows; ++y) {
        const int place = independent ? drawing.rows - 1 - y : drawing.source_y + y;
        const unsigned char *const row = drawing.bits.data() + place * bytes;
        for (int x = 0; x < drawing.width; ++x) {
            const auto bit = [&](int p) {
                return unsigned(row[p * plane + x / 8] >> (7 - x % 8) & 1);
            };
            switch (strip) {
            case model::Strip::bits:
                flush.pixels.push_back(bit(0));
                break;
            case model::Strip::planes:
                flush.pixels.push_back(bit(0) | bit(1) << 1 | bit(2) << 2 | bit(3) << 3);
                break;
            case model::Strip::places:
                flush.pixels.push_back(row[x]);
                break;
            default:
                flush.pixels.push_back(unsigned(row[3 * x + 2]) << 16 | row[3 * x + 1] << 8 |
                                       row[3 * x]);
            }
        }
        // Bits of no pixel are cleared.
        for (int x = drawing.width; strip == model::Strip::planes && x < plane * 8; ++x)
            for (int p = 0; p < 4; ++p)
                EXPECT_EQ(row[p * plane + x / 8] >> (7 - x % 8) & 1, 0) << x;
    }
    return flush;
}

std::vector<Flush> RunTest::drawn(GdiWatch &watch, const RunSetup &setup) {
    std::vector<Flush> flushes;
    for (const Drawing &drawing : watch.take_drawings())
        flushes.push_back(flush_of(drawing, setup));
    return flushes;
}

std::string difference(const std::vector<Flush> &drawn, const std::vector<Flush> &wanted) {
    std::ostringstream text;
    for (std::size_t i = 0; i < std::max(drawn.size(), wanted.size()); ++i) {
        if (i >= drawn.size() || i >= wanted.size()) {
            text << drawn.size() << " drawings instead of " << wanted.size();
            return text.str();
        }
        const Flush &is = drawn[i], &should = wanted[i];
        if (is == should)
            continue;
        text << "drawing " << i << ": (" << is.x << ", " << is.y << "), " << is.width << " x "
             << is.rows << ", wanted (" << should.x << ", " << should.y << "), " << should.width
             << " x " << should.rows;
        for (std::size_t p = 0; p < std::min(is.pixels.size(), should.pixels.size()); ++p)
            if (is.pixels[p] != should.pixels[p] && should.width > 0) {
                text << "; pixel (" << p % std::size_t(should.width) << ", "
                     << p / std::size_t(should.width) << ") " << std::hex << is.pixels[p]
                     << ", wanted " << should.pixels[p];
                break;
            }
        return text.str();
    }
    return {};
}

void RunTest::expect_drawn(GdiWatch &watch, const RunSetup &setup,
                           const std::vector<Flush> &wanted) {
    EXPECT_EQ(difference(drawn(watch, setup), wanted), "") << setup;
}

void RunTest::expect_as_model(const RunSetup &setup, Random &random) {
    std::ostringstream trace;
    trace << setup;
    SCOPED_TRACE(trace.str());
    prepare(setup);
    const Source source(random, setup.depth, int(setup.width()), int(setup.height()));
    model::ModelRun model(setup);
    GdiWatch watch(dc());
    const HDISPRUN run = open(setup);
    if (run == 0)
        return;
    EXPECT_SUCCESS(show(run, source));
    end(run);
    model.show(source.image(), 0, 0, source.rows, source.stride);
    model.end();
    expect_drawn(watch, setup, model.flushes());
}

// --- pictures --------------------------------------------------------------------------------

void Canvas::put(const std::vector<Flush> &flushes) {
    for (const Flush &flush : flushes)
        for (std::size_t i = 0; i < flush.pixels.size(); ++i) {
            const std::int64_t x = flush.x - left_ + std::int64_t(i) % flush.width,
                               y = flush.y - top_ + std::int64_t(i) / flush.width;
            const std::int64_t place = y * width_ + x;
            ASSERT_TRUE(x >= 0 && x < width_ && place >= 0 && place < std::int64_t(pixels_.size()));
            pixels_[std::size_t(place)] = flush.pixels[i];
        }
}

} // namespace q32::test
