// The kinds of argument, and the rows that say of which an export's call is made: one row for each
// export. A call is words as wide as an address, in the places where functions find their
// arguments, so that a row needs no types.
//
// Every argument stays inside what the headers promise to survive:
//
//     memory              exactly as long as the header says, or null where the header has an
//                         answer to null; never a wild address
//     buffers             live, 0, and wild or freed ones only where the header says that a handle
//                         is looked at; a bitmap that has been turned back (buf32DIBBufToDIB) only
//                         where it may go; the pixels under one live as long as it
//     display runs        open, or 0: runs are trusted. No run is open when the device type changes
//     contexts, palettes  anything: the system looks at them. Bars get real contexts or none: they
//                         leave their run open where nothing can be drawn
//     global blocks       the caller's own, none, or numbers that are no handle
//     texts               zero-terminated; directories as well
//     message queue       not made again over one of owner 0, whose messages are lost by that
//     tables              of q32InitResampleTable and vcResampleInit are freed once
//     callbacks           reply anything and call the library, but do not free, unlock, shrink or
//                         turn back buffers at work, nor free the coefficient table meanwhile; they
//                         let jobs end after some steps, as nobody waits for 2^32 of them
//     work                no more than somebody would wait for: bars and rows of display runs of
//                         about a million pixels
//     numbers             anything, but where memory behind a number cannot be null and there is
//                         not so much. There are no fractions among the arguments
//
// Exports are called between start and stop of the library only: who loads it cannot do otherwise.
#pragma once

#include "tests/hostile/memory.h"

#include <q32base.h>

#include <cstring>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace q32::test {

class World;
struct Row;

// An argument or a result; of a number its lower 32 bits count.
using Word = std::uintptr_t;

// A call while it is put together, and when it is made.
struct Draw {
    const Row &row;
    World &world;
    Random &random;
    Memory &memory;
    Word words[16] = {};
    unsigned percent = 0;                  // of its arguments that are hostile
    std::vector<HBUF32 *> slots = {};      // that may receive a handle
    std::vector<HBUF32> slots_before = {}; // and what they held

    bool is_hostile() { return random.below(100) < percent; }
    std::int64_t operator[](std::size_t place) const { return std::int32_t(words[place]); }
    std::uint32_t number(std::size_t place) const { return std::uint32_t(words[place]); }
    template <class Record>
    Record *at(std::size_t place) const {
        return reinterpret_cast<Record *>(words[place]);
    }
    // Of a RECT behind an argument; empty ones and null have none.
    std::int64_t area(std::size_t place) const;
    int between(int first, int last) {
        return first + int(random.below(std::size_t(last - first) + 1));
    }
};

using Drawn = std::optional<Word>; // nothing: no such call can be made
using Bytes64 = std::function<std::int64_t(const Draw &)>;

inline Word word_of(const void *pointer) {
    return reinterpret_cast<Word>(pointer);
}

struct Argument {
    // Numbers and handles are there before records, and those before what is as long as they say.
    enum Turn { number, record, memory };
    Turn turn;
    std::function<Drawn(Draw &, std::size_t place)> draw;
};

struct Row {
    const char *name;
    std::vector<Argument> arguments;
    unsigned weight = 4;
    // What the world has to know afterwards.
    std::function<void(Draw &, Word result)> after = nullptr;
    bool from_callbacks = true;
    std::function<void(Draw &)> before = nullptr;
    int rectangle = -1; // where the four numbers of one that is passed by value begin
};

// --- numbers -------------------------------------------------------------------------------------

int edge(Random &random);         // a number at which something begins or ends
int any_number(Random &random);   // edges, small ones, any at all
Argument number();                // tame: small
Argument side();                  // tame: some pixels
Argument coordinate();            // tame: about the size of an image
Argument count();                 // tame: some hundreds
Argument in(int first, int last); // tame: one of these
Argument among(std::vector<int> values);
Argument colour();

// --- memory --------------------------------------------------------------------------------------

// Whether the header has an answer to null in the place of memory.
enum class Null { allowed, refused };
Argument memory(Bytes64 bytes, Null null = Null::allowed);
// The same, which may begin inside the memory of an earlier argument where it fits.
Argument memory_over(std::size_t other, Bytes64 bytes, Null null = Null::allowed);
Argument bytes(std::size_t size, Null null = Null::allowed);

// A record that is filled in; null now and then.
template <class Record>
Argument record(std::function<void(Draw &, Record &)> fill, Null null = Null::allowed) {
    return {Argument::record, [=](Draw &draw, std::size_t) -> Drawn {
                if (null == Null::allowed && draw.is_hostile())
                    return 0;
                auto *const block = draw.memory.take(draw.random, sizeof(Record));
                Record filled{};
                fill(draw, filled);
                std::memcpy(block, &filled, sizeof filled);
                return word_of(block);
            }};
}
Argument rectangle();
RECT some_rectangle(Draw &draw);
std::int64_t area_of(const RECT &rectangle); // 0 of empty ones

// --- handles -------------------------------------------------------------------------------------

Argument buffer();                                 // a live one, or 0
Argument any_buffer();                             // freed and wild ones as well
Argument partner(std::size_t other, int bits = 0); // as any_buffer, of other's bits or so many
Argument idle_buffer();                            // that no call is at work with
Argument any_idle_buffer();                        // likewise
Argument turned_buffer(); // a bitmap that has been turned back, or a live buffer
Argument new_buffer_slot();
Argument buffer_slot(bool any = false); // holds 0 or a live buffer (or any handle)

// --- rows ----------------------------------------------------------------------------------------

std::span<const Row> bar_rows();
std::span<const Row> buffer_rows();
std::span<const Row> display_rows();
std::span<const Row> merge_rows();
std::span<const Row> plain_rows();
std::span<const Row> queue_rows();
std::span<const Row> resample_rows();

} // namespace q32::test
