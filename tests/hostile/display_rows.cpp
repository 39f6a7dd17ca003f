// Rows of the display (display.h).
#include "tests/hostile/world.h"

#include <algorithm>

namespace q32::test {
namespace {

Argument context() {
    return {Argument::number, [](Draw &draw, std::size_t) -> Drawn {
                return draw.is_hostile() ? std::uint32_t(any_number(draw.random))
                                         : word_of(draw.world.dc());
            }};
}

Argument palette() {
    return {Argument::number, [](Draw &draw, std::size_t) -> Drawn {
                const auto &palettes = draw.world.palettes;
                if (draw.is_hostile())
                    return draw.random.below(2) == 0 ? std::uint32_t(any_number(draw.random))
                                                     : word_of(draw.world.dc());
                return palettes.empty() || draw.random.below(3) == 0
                           ? 0
                           : word_of(palettes[draw.random.below(palettes.size())]);
            }};
}

// New ones; a palette that was rewritten is returned as well.
void keep_palette(Draw &draw, Word result) {
    if (result != 0 && result != draw.words[0])
        draw.world.palettes.push_back(reinterpret_cast<HPALETTE>(result));
}

// --- runs ----------------------------------------------------------------------------------------

Argument run() {
    return {Argument::number, [](Draw &draw, std::size_t) -> Drawn {
                const auto &runs = draw.world.runs;
                return runs.empty() || draw.is_hostile()
                           ? 0
                           : Word(runs[draw.random.below(runs.size())].handle);
            }};
}
const HeldRun *run_at(const Draw &draw, std::size_t place) {
    for (const HeldRun &held : draw.world.runs)
        if (held.handle == draw.words[place])
            return &held;
    return nullptr;
}

Argument run_slot() {
    return bytes(sizeof(HDISPRUN));
}

void make_room(Draw &draw) {
    if (draw.world.runs.size() >= World::most_runs)
        draw.world.end_run(draw.world.runs.front().handle);
}

// Those of huge rectangles hold memory that others may need.
void keep_run(Draw &draw, Word result) {
    if (result != 1)
        return;
    HDISPRUN handle;
    std::memcpy(&handle, draw.at<void>(0), sizeof handle);
    const std::int64_t width = draw[5] - draw[3], height = draw[6] - draw[4];
    draw.world.runs.push_back({handle, int(draw[2]), std::max<std::int64_t>(width, 0),
                               std::max<std::int64_t>(height, 0)});
    if (width > 4096)
        draw.world.end_run(handle);
}

// The columns of the rectangle in the rows that it has room for.
Drawn image_of_run(Draw &draw) {
    const HeldRun *const held = run_at(draw, 0);
    if (draw.is_hostile() && draw.random.below(2) == 0)
        return 0;
    const std::int64_t rows = held == nullptr ? 0 : std::min(draw[4], held->height);
    if (held == nullptr || held->width < 1 || rows < 1)
        return word_of(draw.memory.take(draw.random, 0));
    constexpr std::int64_t most_pixels = 1 << 20;
    if (rows > most_pixels / held->width)
        return 0;
    const std::int64_t left = draw[2] * held->depth, right = (draw[2] + held->width) * held->depth;
    const std::int64_t top = draw[3] * draw[5], bottom = (draw[3] + rows - 1) * draw[5];
    const std::int64_t first = std::min(top, bottom) + (left >> 3),
                       end = std::max(top, bottom) + ((right + 7) >> 3);
    if (end - first > std::int64_t(Memory::most_bytes))
        return 0;
    return word_of(draw.memory.take(draw.random, std::size_t(end - first))) - Word(first);
}

Argument depth() {
    return among({24, 24, 16, 8, 8, 1, 4, 32});
}

// --- colour management ---------------------------------------------------------------------------

Argument icm_settings() {
    return record<DispIcmMode>([](Draw &draw, DispIcmMode &settings) {
        const auto text = [&]() -> const char * {
            if (draw.random.below(3) == 0)
                return nullptr;
            const std::size_t length =
                draw.is_hostile() ? draw.random.below(5000) : draw.random.below(20);
            std::uint8_t *const begin = draw.memory.take(draw.random, length + 1);
            for (std::size_t i = 0; i < length; ++i)
                begin[i] = std::uint8_t(1 + draw.random.below(255));
            begin[length] = 0;
            return reinterpret_cast<const char *>(begin);
        };
        settings = {int(draw.random.next()),
                    text(),
                    text(),
                    text(),
                    text(),
                    text(),
                    draw.is_hostile() ? std::uint32_t(any_number(draw.random))
                                      : std::uint32_t(draw.between(0, 3)),
                    1,
                    2};
    });
}

const Row rows[] = {
    {"disp32BeHiColorDither", {in(0, 1)}, 2},
    {"disp32CreateColorPalette",
     {palette(), in(1, 4), among({2, 8, 16, 256, 300, 65535}), in(0, 1)},
     2,
     keep_palette},
    {"disp32CreateGrayPalette", {palette(), in(0, 257), in(0, 1)}, 2, keep_palette},
    {"disp32GammaColorPalette", {palette(), bytes(sizeof(DispDevInfo))}, 2, keep_palette},
    {"disp32GetDevInfo", {bytes(sizeof(DispDevInfo))}, 2},
    {"disp32GetICMMode", {bytes(sizeof(DispIcmMode))}, 2},
    {"disp32NewScreenGamma", {in(0, 400), in(0, 400), in(0, 400)}, 2},
    {"disp32PalDuplicate", {palette()}, 2, keep_palette},
    {"disp32PalSize", {palette()}, 2},
    {"disp32SetAttrib", {run(), in(0, 3), in(-2, 60)}},
    {"disp32SetDevType",
     {in(-1, 6)},
     3,
     nullptr,
     true,
     [](Draw &draw) { draw.world.end_all_runs(); }},
    {"disp32SetICMMode", {icm_settings()}, 2},
    {"disp32ShowData",
     {run(),
      {Argument::memory, [](Draw &draw, std::size_t) { return image_of_run(draw); }},
      coordinate(),
      coordinate(),
      coordinate(),
      in(-300, 300)},
     24},
    {"disp32ShowEnd",
     {run()},
     4,
     [](Draw &draw, Word) {
         std::erase_if(draw.world.runs,
                       [&](const HeldRun &held) { return held.handle == draw.words[0]; });
     }},
    {"disp32ShowInit",
     {run_slot(), context(), depth(), coordinate(), coordinate(), coordinate(), coordinate(),
      palette(), in(0, 1), in(0, 1)},
     8,
     keep_run,
     true,
     make_room},
    {"disp32ShowInitEx",
     {run_slot(), context(), depth(), coordinate(), coordinate(), coordinate(), coordinate(),
      palette(), in(0, 1), in(0, 1), coordinate(), coordinate()},
     8,
     keep_run,
     true,
     make_room},
};

} // namespace

std::span<const Row> display_rows() {
    return rows;
}

} // namespace q32::test
