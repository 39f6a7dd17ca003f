// Drawing arguments.
#include "tests/hostile/draw.h"

#include "tests/hostile/world.h"

#include <climits>

namespace q32::test {
namespace {

constexpr int edges[] = {0,
                         1,
                         -1,
                         2,
                         -2,
                         7,
                         8,
                         9,
                         65,
                         127,
                         128,
                         129,
                         255,
                         256,
                         257,
                         -128,
                         -256,
                         32000,
                         32001,
                         -32000,
                         SHRT_MAX,
                         SHRT_MAX + 1,
                         SHRT_MIN,
                         USHRT_MAX,
                         USHRT_MAX + 1,
                         0xFFFFFF,
                         0x1000000,
                         INT_MAX / 8,
                         INT_MAX / 4 + 1,
                         INT_MAX / 3,
                         INT_MAX / 2 + 1,
                         INT_MIN / 2,
                         INT_MAX - 7,
                         INT_MAX - 1,
                         INT_MAX,
                         INT_MIN,
                         INT_MIN + 1};

template <class Tame>
Argument number_of(Tame tame) {
    return {Argument::number, [=](Draw &draw, std::size_t) -> Drawn {
                return std::uint32_t(draw.is_hostile() ? any_number(draw.random) : tame(draw));
            }};
}

Word wild_handle(Draw &draw) {
    const int which = draw.between(0, 5);
    if (which == 0)
        return std::uint32_t(any_number(draw.random));
    if (which == 1)
        return word_of(&draw); // readable, and no buffer
    if (which == 2)
        return word_of(draw.memory.take(draw.random, 0)); // a fence
    if (which == 3)
        return draw.world.freed_buffer(draw.random);
    if (which == 4)
        return draw.world.some_buffer(draw.random) + Word(std::intptr_t(edge(draw.random)));
    return word_of(draw.world.dc());
}

template <class Choose>
Argument buffer_of(Choose choose, bool any) {
    return {Argument::number, [=](Draw &draw, std::size_t) -> Drawn {
                if (draw.is_hostile())
                    return any && draw.random.below(4) != 0 ? wild_handle(draw) : 0;
                return Word(choose(draw));
            }};
}

HBUF32 some_buffer(Draw &draw) {
    return draw.world.some_buffer(draw.random);
}
HBUF32 some_idle_buffer(Draw &draw) {
    return draw.world.some_buffer(draw.random, Wanted::idle);
}

Drawn take_slot(Draw &draw, HBUF32 content) {
    auto *const slot = reinterpret_cast<HBUF32 *>(draw.memory.take(draw.random, sizeof(HBUF32)));
    std::memcpy(slot, &content, sizeof content);
    draw.slots.push_back(slot);
    draw.slots_before.push_back(content);
    return word_of(slot);
}

Drawn take_memory(Draw &draw, const Bytes64 &bytes, Null null) {
    if (null == Null::allowed && draw.is_hostile())
        return 0;
    const std::int64_t size = bytes(draw);
    if (size <= std::int64_t(Memory::most_bytes))
        return word_of(draw.memory.take(draw.random, std::size_t(size < 0 ? 0 : size)));
    return null == Null::allowed ? Drawn(0) : std::nullopt;
}

} // namespace

std::int64_t Draw::area(std::size_t place) const {
    if (words[place] == 0)
        return 0;
    RECT rectangle;
    std::memcpy(&rectangle, at<RECT>(place), sizeof rectangle);
    return area_of(rectangle);
}

std::int64_t area_of(const RECT &rectangle) {
    const std::int64_t width = std::int64_t{rectangle.right} - rectangle.left,
                       height = std::int64_t{rectangle.bottom} - rectangle.top;
    return width < 1 || height < 1 ? 0 : width * height;
}

int edge(Random &random) {
    return edges[random.below(std::size(edges))];
}

int any_number(Random &random) {
    const std::size_t which = random.below(4);
    if (which < 2)
        return edge(random);
    return which == 2 ? int(random.below(601)) - 300 : int(random.next());
}

Argument number() {
    return number_of([](Draw &draw) { return draw.between(-4, 20); });
}
Argument side() {
    return number_of([](Draw &draw) {
        return draw.random.below(4) == 0 ? draw.between(120, 270) : draw.between(1, 70);
    });
}
Argument coordinate() {
    return number_of([](Draw &draw) {
        return draw.random.below(4) == 0 ? draw.between(-40, 160) : draw.between(-8, 24);
    });
}
Argument count() {
    return number_of([](Draw &draw) { return draw.between(0, 500); });
}
Argument in(int first, int last) {
    return number_of([=](Draw &draw) { return draw.between(first, last); });
}
Argument among(std::vector<int> values) {
    return number_of([=](Draw &draw) { return values[draw.random.below(values.size())]; });
}
Argument colour() {
    return number_of([](Draw &draw) { return int(draw.random.next()); });
}

Argument memory(Bytes64 bytes, Null null) {
    return {Argument::memory,
            [=](Draw &draw, std::size_t) { return take_memory(draw, bytes, null); }};
}

Argument memory_over(std::size_t other, Bytes64 bytes, Null null) {
    return {Argument::memory, [=](Draw &draw, std::size_t) {
                const std::int64_t size = bytes(draw);
                const std::int64_t room = draw.memory.size_at(draw.words[other]);
                if (size >= 0 && room >= size && draw.random.below(5) == 0)
                    return Drawn(draw.words[other] +
                                 draw.random.below(std::size_t(room - size) + 1));
                return take_memory(draw, bytes, null);
            }};
}

Argument bytes(std::size_t size, Null null) {
    return memory([=](const Draw &) { return std::int64_t(size); }, null);
}

RECT some_rectangle(Draw &draw) {
    RECT rectangle;
    rectangle.left = draw.is_hostile() ? any_number(draw.random) : draw.between(-10, 30);
    rectangle.top = draw.is_hostile() ? any_number(draw.random) : draw.between(-10, 30);
    // Inside out now and then; sums may leave the range of int.
    const auto end = [&](LONG begin) {
        return draw.is_hostile() ? LONG(any_number(draw.random))
                                 : LONG(std::uint32_t(begin) + std::uint32_t(draw.between(0, 90)));
    };
    rectangle.right = end(rectangle.left);
    rectangle.bottom = end(rectangle.top);
    return rectangle;
}

Argument rectangle() {
    return record<RECT>([](Draw &draw, RECT &rectangle) { rectangle = some_rectangle(draw); });
}

Argument buffer() {
    return buffer_of(some_buffer, false);
}
Argument any_buffer() {
    return buffer_of(some_buffer, true);
}
Argument partner(std::size_t other, int bits) {
    return buffer_of(
        [=](Draw &draw) {
            const HeldBuffer *const held = draw.world.find(draw.words[other]);
            const int wanted = bits != 0 || held == nullptr ? bits : held->info.bits_per_pixel;
            HBUF32 choice = 0;
            for (int attempt = 0; attempt < 8; ++attempt) {
                choice = some_idle_buffer(draw);
                const HeldBuffer *const chosen = draw.world.find(choice);
                if (chosen == nullptr || chosen->info.bits_per_pixel == wanted)
                    break;
            }
            return choice;
        },
        true);
}
Argument idle_buffer() {
    return buffer_of(some_idle_buffer, false);
}
Argument any_idle_buffer() {
    return buffer_of(some_idle_buffer, true);
}
Argument turned_buffer() {
    return buffer_of([](Draw &draw) { return draw.world.some_buffer(draw.random, Wanted::turned); },
                     false);
}

Argument new_buffer_slot() {
    return {Argument::record, [](Draw &draw, std::size_t) -> Drawn {
                return draw.is_hostile() ? Drawn(0)
                                         : take_slot(draw, std::uint32_t(draw.random.next()));
            }};
}

Argument buffer_slot(bool any) {
    return {Argument::record, [=](Draw &draw, std::size_t) -> Drawn {
                if (draw.is_hostile())
                    return any && draw.random.below(2) == 0 ? take_slot(draw, wild_handle(draw))
                                                            : Drawn(0);
                return take_slot(draw, draw.random.below(2) == 0 ? 0 : some_buffer(draw));
            }};
}

} // namespace q32::test
