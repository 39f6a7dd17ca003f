// Seeded pieces of work over everything that the library makes of pixels, each with a digest of all
// that comes out. A piece depends on its random numbers only: the same again, on another thread or
// on another machine, gives the same digest.
#pragma once

#include "tests/frame/library.h"
#include "tests/frame/random.h"

#include <cstdint>
#include <mutex>
#include <ostream>
#include <shared_mutex>
#include <span>
#include <vector>

namespace q32::test {

using frame::api;

// FNV-1a of 64 bits over bytes. Beside it the cases: each is one pixel that came out (a sample or a
// pixel of bits counts as the pixel that it is).
class Digest {
public:
    void add(const void *bytes, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            value_ = (value_ ^ static_cast<const std::uint8_t *>(bytes)[i]) * 0x100000001B3u;
    }
    void add(std::uint32_t word) { add(&word, sizeof word); }
    void count(std::uint64_t pixels) { cases_ += pixels; }

    std::uint64_t value() const { return value_; }
    std::uint64_t cases() const { return cases_; }

private:
    std::uint64_t value_ = 0xCBF29CE484222325u, cases_ = 0;
};

// Memory of a run that begins at any place within 16 bytes, with bytes on both sides that go into
// the digest as well.
class Field {
public:
    // Pixels of all kinds: random ones, few levels, black and white, or all alike.
    Field(Random &random, std::size_t size);
    std::uint8_t *data() { return memory_.data() + begin_; }
    std::size_t size() const { return size_; }
    void into(Digest &digest) const { digest.add(memory_.data() + begin_ - 16, size_ + 32); }

private:
    std::vector<std::uint8_t> memory_;
    std::size_t begin_, size_;
};

// Draws are made one after the other in declarations and in braces, never in the arguments of one
// call, whose order is the compiler's.
inline int between(Random &random, int first, int last) {
    return first + int(random.below(std::size_t(last - first) + 1));
}

// Callers serialise what allocates and frees buffers, and let nothing look a handle up meanwhile
// (buffers.h): who runs pieces on several threads does so, too. The pieces hold it for the time of
// such calls, alone the former, and shared the latter.
inline std::shared_mutex buffer_list;

// Which threads may run pieces of an area at once.
enum class Where {
    any_thread,
    painting_thread // the state of the display is one for the process (display.h)
};

struct Area {
    const char *name;
    bool mmx; // what the common library must have said of the processor at the start
    Where where;
    void (*piece)(Random &random, Digest &digest);
};
inline void PrintTo(const Area &area, std::ostream *stream) {
    *stream << area.name;
}

// Before the first piece after a start of the library: tables that all threads share.
void prepare_work();
std::span<const Area> areas();

void rows_piece(Random &random, Digest &digest);
void whole_factors_piece(Random &random, Digest &digest);
void separation_piece(Random &random, Digest &digest);
void merge_piece(Random &random, Digest &digest);
void colours_piece(Random &random, Digest &digest);
void filter_piece(Random &random, Digest &digest);
void frames_piece(Random &random, Digest &digest);
void display_piece(Random &random, Digest &digest);
void bars_piece(Random &random, Digest &digest);
void buffers_piece(Random &random, Digest &digest);

} // namespace q32::test
