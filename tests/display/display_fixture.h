// A test of the display: palettes read back entry by entry, the palettes that the library keeps for
// itself, displays that this machine does not have, and what is to be expected of all of them.
#pragma once

#include "tests/library/library_fixture.h"
#include "tests/models/gamma.h"

#include <algorithm>
#include <compare>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <optional>
#include <vector>

namespace q32::test {

// --- palettes --------------------------------------------------------------------------------

struct PaletteEntry {
    std::uint8_t red, green, blue, flags = 0;
    auto operator<=>(const PaletteEntry &) const = default;
};
void PrintTo(const PaletteEntry &entry, std::ostream *stream);
using Entries = std::vector<PaletteEntry>;

Entries entries_of(HPALETTE palette);

// A palette of the test's own.
class OwnPalette {
public:
    explicit OwnPalette(const Entries &entries);
    ~OwnPalette();
    OwnPalette(const OwnPalette &) = delete;
    OwnPalette &operator=(const OwnPalette &) = delete;

    HPALETTE get() const { return palette_; }
    Entries entries() const { return entries_of(palette_); }
    // The handle, which names nothing from now on.
    HPALETTE deleted();

private:
    HPALETTE palette_;
};

// `count` entries of which no two are alike in any channel or flag for long.
Entries colourful(int count);

// --- what palettes must hold -----------------------------------------------------------------

Entries grey_ramp(int levels);
Entries colour_cube(int mode, int entries);
Entries sixteen_colours(int entries); // black beyond 16
Entries eight_colours();

// Percentages of gamma.
struct Gamma {
    int red = 100, green = 100, blue = 100;
    bool operator==(const Gamma &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Gamma &gamma);
Entries corrected(Entries entries, const Gamma &gamma);

// The palettes that the library keeps for a device type, sorted.
std::vector<Entries> library_palettes(int type, const Gamma &gamma = {});

// --- the display -----------------------------------------------------------------------------

// A display of this kind, whatever the machine has, for the time of its own life.
class PretendedDisplay {
public:
    PretendedDisplay(int bits, int planes);

private:
    Replaced<call::GetDeviceCaps> caps_;
};

// The palettes that the library has made since, and has not deleted: its own, as long as the test
// takes none. Set it up before the library starts.
class PaletteWatch {
public:
    PaletteWatch();

    const std::vector<HPALETTE> &held() const { return held_; } // oldest first
    std::vector<Entries> contents() const;                      // sorted

    // Calls since the last look.
    struct Counts {
        int created = 0, deleted = 0, rewritten = 0;
        bool operator==(const Counts &) const = default;
    };
    Counts look() { return std::exchange(counts_, {}); }

private:
    std::vector<HPALETTE> held_;
    Counts counts_;
    Replaced<call::CreatePalette> create_;
    Replaced<call::DeleteObject> delete_;
    Replaced<call::SetPaletteEntries> rewrite_;
};
std::ostream &operator<<(std::ostream &out, const PaletteWatch::Counts &counts);

class DisplayTest : public LibraryTest {
protected:
    // The entries of a palette that the library has created for the caller, which is deleted as if
    // by the library: it counts as held no longer.
    Entries take_entries(HPALETTE palette);

    DispDevInfo information();
    Gamma gamma();
    // The gamma tables as a palette: what each grey becomes.
    Entries tables();
    void expect_gamma(const Gamma &gamma);
    // Sets gamma by its percentages.
    void set_gamma(const Gamma &gamma);
    // Type, bits and planes.
    void expect_device(int type, int bits, int planes);

    // Runs an action with the first, second, third ... call of a function failing, until all of its
    // calls have had their turn. Returns how many failures there were.
    int each_failing(const char *function, const std::function<void()> &with_failure);
    // Whether the call to fail was met so far.
    bool failed() const { return failing_->happened(); }

private:
    std::optional<FailingCall> failing_;
};

// All information of a record but type, bits, planes and gamma, as this machine's display has it.
void expect_measures(const DispDevInfo &information);

} // namespace q32::test
