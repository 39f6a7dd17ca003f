// Reading palettes, and what they must hold.
#include "tests/display/display_fixture.h"

#include <algorithm>
#include <ostream>

namespace q32::test {
namespace {

struct Contents {
    LOGPALETTE header; // with the first entry
    PALETTEENTRY others[65534];
};

std::vector<PALETTEENTRY> raw(const Entries &entries) {
    std::vector<PALETTEENTRY> result;
    for (const PaletteEntry &entry : entries)
        result.push_back({entry.red, entry.green, entry.blue, entry.flags});
    return result;
}

} // namespace

void PrintTo(const PaletteEntry &entry, std::ostream *stream) {
    *stream << int(entry.red) << ' ' << int(entry.green) << ' ' << int(entry.blue);
    if (entry.flags != 0)
        *stream << " flags " << int(entry.flags);
}

std::ostream &operator<<(std::ostream &out, const Gamma &gamma) {
    return out << gamma.red << "%, " << gamma.green << "%, " << gamma.blue << '%';
}

std::ostream &operator<<(std::ostream &out, const PaletteWatch::Counts &counts) {
    return out << counts.created << " created, " << counts.deleted << " deleted, "
               << counts.rewritten << " rewritten";
}

// --- palettes --------------------------------------------------------------------------------

Entries entries_of(HPALETTE palette) {
    WORD count = 0;
    EXPECT_NE(GetObjectA(palette, sizeof count, &count), 0) << palette;
    std::vector<PALETTEENTRY> read(count);
    EXPECT_EQ(GetPaletteEntries(palette, 0, count, read.data()), count);
    Entries entries;
    for (const PALETTEENTRY &entry : read)
        entries.push_back({entry.peRed, entry.peGreen, entry.peBlue, entry.peFlags});
    return entries;
}

OwnPalette::OwnPalette(const Entries &entries) {
    static Contents contents;
    contents.header.palVersion = 0x300;
    contents.header.palNumEntries = WORD(entries.size());
    std::ranges::copy(raw(entries), contents.header.palPalEntry);
    palette_ = CreatePalette(&contents.header);
    EXPECT_NE(palette_, nullptr);
}

OwnPalette::~OwnPalette() {
    if (palette_ != nullptr) {
        EXPECT_TRUE(DeleteObject(palette_));
    }
}

HPALETTE OwnPalette::deleted() {
    const HPALETTE palette = std::exchange(palette_, nullptr);
    EXPECT_TRUE(DeleteObject(palette));
    return palette; // cppcheck-suppress deallocret
}

Entries colourful(int count) {
    constexpr std::uint8_t flags[] = {0, PC_RESERVED, PC_EXPLICIT, PC_NOCOLLAPSE};
    Entries entries;
    for (int i = 0; i < count; ++i)
        entries.push_back({std::uint8_t(i * 7 + 3), std::uint8_t(i * 13 + 101),
                           std::uint8_t(255 - i * 11), flags[i % 4]});
    return entries;
}

// --- what palettes must hold -----------------------------------------------------------------

Entries grey_ramp(int levels) {
    Entries entries;
    for (int i = 0; i < levels; ++i) {
        const auto level = std::uint8_t(i * 255 / (levels - 1));
        entries.push_back({level, level, level});
    }
    return entries;
}

Entries colour_cube(int mode, int count) {
    using Steps = std::vector<std::uint8_t>;
    static const Steps four{0, 85, 170, 255}, six{0, 51, 102, 153, 204, 255},
        seven{0, 43, 85, 128, 170, 213, 255}, eight{0, 36, 73, 109, 146, 182, 219, 255};
    const Steps &reds = mode == 2 || mode == 3 ? six : eight;
    const Steps &greens = mode == 2 ? seven : mode == 3 ? six : eight;
    const Steps &blues = mode == 2 || mode == 3 ? six : four;
    Entries entries;
    for (std::uint8_t red : reds)
        for (std::uint8_t green : greens)
            for (std::uint8_t blue : blues)
                entries.push_back({red, green, blue});
    entries.resize(256, {255, 255, 255});
    entries.resize(std::size_t(count), {0, 0, 0});
    return entries;
}

Entries sixteen_colours(int count) {
    Entries entries = {{0, 0, 0},       {128, 0, 0},   {0, 128, 0},   {128, 128, 0},
                       {0, 0, 128},     {128, 0, 128}, {0, 128, 128}, {128, 128, 128},
                       {192, 192, 192}, {255, 0, 0},   {0, 255, 0},   {255, 255, 0},
                       {0, 0, 255},     {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};
    entries.resize(std::size_t(count), {0, 0, 0});
    return entries;
}

Entries eight_colours() {
    return {{0, 0, 0},   {255, 0, 0},   {0, 255, 0},   {255, 255, 0},
            {0, 0, 255}, {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};
}

Entries corrected(Entries entries, const Gamma &gamma) {
    const model::Levels red = model::gamma_levels(gamma.red),
                        green = model::gamma_levels(gamma.green),
                        blue = model::gamma_levels(gamma.blue);
    for (PaletteEntry &entry : entries)
        entry = {red[entry.red], green[entry.green], blue[entry.blue], entry.flags};
    return entries;
}

std::vector<Entries> library_palettes(int type, const Gamma &gamma) {
    std::vector<Entries> palettes;
    if (type == DISP32_TRUE_COLOUR)
        palettes = {grey_ramp(256)};
    else if (type == DISP32_HIGH_COLOUR)
        palettes = {grey_ramp(128)};
    else
        palettes = {colour_cube(DISP32_CUBE_666, 256), grey_ramp(16), grey_ramp(128)};
    for (Entries &entries : palettes)
        entries = corrected(entries, gamma);
    std::ranges::sort(palettes);
    return palettes;
}

// --- the display -----------------------------------------------------------------------------

PretendedDisplay::PretendedDisplay(int bits, int planes)
    : caps_([=](HDC dc, int index) {
          return index == BITSPIXEL ? bits
                 : index == PLANES  ? planes
                                    : call::GetDeviceCaps::real(dc, index);
      }) {}

PaletteWatch::PaletteWatch()
    : create_([this](const LOGPALETTE *contents) {
          const HPALETTE palette = call::CreatePalette::real(contents);
          EXPECT_EQ(contents->palVersion, 0x300);
          ++counts_.created;
          if (palette != nullptr)
              held_.push_back(palette);
          return palette;
      }),
      delete_([this](HGDIOBJ object) {
          counts_.deleted += int(std::erase(held_, object));
          return call::DeleteObject::real(object);
      }),
      rewrite_([this](auto... arguments) {
          ++counts_.rewritten;
          return call::SetPaletteEntries::real(arguments...);
      }) {}

std::vector<Entries> PaletteWatch::contents() const {
    std::vector<Entries> palettes;
    for (HPALETTE palette : held_)
        palettes.push_back(entries_of(palette));
    std::ranges::sort(palettes);
    return palettes;
}

Entries DisplayTest::take_entries(HPALETTE palette) {
    EXPECT_NE(palette, nullptr);
    if (palette == nullptr)
        return {};
    Entries entries = entries_of(palette);
    void *const deletes = *library().import_slot("gdi32.dll", "DeleteObject");
    EXPECT_TRUE(reinterpret_cast<decltype(&DeleteObject)>(deletes)(palette));
    return entries;
}

DispDevInfo DisplayTest::information() {
    DispDevInfo record;
    std::memset(&record, 0xA5, sizeof record);
    EXPECT_SUCCESS(api().disp32GetDevInfo(&record));
    return record;
}

Gamma DisplayTest::gamma() {
    const DispDevInfo record = information();
    return {record.red_gamma, record.green_gamma, record.blue_gamma};
}

Entries DisplayTest::tables() {
    static const OwnPalette levels{grey_ramp(256)};
    return take_entries(api().disp32GammaColorPalette(levels.get(), nullptr));
}

void DisplayTest::expect_gamma(const Gamma &wanted) {
    EXPECT_EQ(gamma(), wanted);
    EXPECT_EQ(tables(), corrected(grey_ramp(256), wanted)) << wanted;
}

void DisplayTest::set_gamma(const Gamma &gamma) {
    EXPECT_SUCCESS(api().disp32NewScreenGamma(model::gamma_of_percent(gamma.red),
                                              model::gamma_of_percent(gamma.green),
                                              model::gamma_of_percent(gamma.blue)));
}

void DisplayTest::expect_device(int type, int bits, int planes) {
    const DispDevInfo record = information();
    EXPECT_EQ(record.type, type);
    EXPECT_EQ(record.bits_per_pixel, bits);
    EXPECT_EQ(record.planes, planes);
}

void expect_measures(const DispDevInfo &information) {
    const HDC display = CreateICA("DISPLAY", nullptr, nullptr, nullptr);
    EXPECT_EQ(information.width_mm, GetDeviceCaps(display, HORZSIZE));
    EXPECT_EQ(information.height_mm, GetDeviceCaps(display, VERTSIZE));
    EXPECT_EQ(information.dpi_x, GetDeviceCaps(display, LOGPIXELSX));
    EXPECT_EQ(information.dpi_y, GetDeviceCaps(display, LOGPIXELSY));
    EXPECT_EQ(information.width, GetDeviceCaps(display, HORZRES));
    EXPECT_EQ(information.height, GetDeviceCaps(display, VERTRES));
    DeleteDC(display);
}

int DisplayTest::each_failing(const char *function, const std::function<void()> &with_failure) {
    for (int n = 1;; ++n) {
        SCOPED_TRACE(std::string(function) + " number " + std::to_string(n));
        failing_.emplace(function, n);
        with_failure();
        const bool happened = failing_->happened();
        failing_.reset();
        if (!happened)
            return n - 1;
        if (n == 60) {
            ADD_FAILURE() << "without end";
            return n;
        }
    }
}

} // namespace q32::test
