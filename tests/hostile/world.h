// What a case holds between its calls: buffers, display runs, palettes, tables, blocks. It knows
// what there must be, and gives everything back at the end.
#pragma once

#include "tests/frame/canvas.h"
#include "tests/frame/fenced_memory.h"
#include "tests/frame/library.h"
#include "tests/hostile/draw.h"

#include <q32base.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace q32::test {

using frame::api;

// A live buffer, and its shape as it was made.
struct HeldBuffer {
    HBUF32 handle = 0;
    BUF32INFO info{};
    bool turned = false; // by buf32DIBBufToDIB

    std::int64_t row_bytes(std::int64_t pixels) const {
        return (pixels * info.bits_per_pixel + 7) / 8;
    }
    // Of a block of rows.
    std::int64_t block_bytes(std::int64_t width, std::int64_t height) const {
        return width < 1 || height < 1 ? 0 : row_bytes(width) * height;
    }
};

enum class Wanted { usable, idle, turned };

struct HeldRun {
    HDISPRUN handle;
    int depth;
    std::int64_t width, height;
};

// Tables of q32InitResampleTable or of a record; source and destination as they were then.
struct HeldTables {
    std::array<std::int32_t *, 4> tables{};
};

class World {
public:
    static constexpr std::size_t most_buffers = 14, most_runs = 3, most_palettes = 6;
    static constexpr std::int64_t most_image_bytes = 1 << 20;
    static constexpr std::size_t usual_limit = 8 << 20;

    World(); // with some buffers that fit one another
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    // --- buffers
    HBUF32 some_buffer(Random &random, Wanted wanted = Wanted::usable) const;
    HBUF32 freed_buffer(Random &random) const;
    const HeldBuffer *find(HBUF32 handle) const; // null: not live
    HeldBuffer *find(HBUF32 handle);
    // Pixels that must live as long as the buffer that is made over them.
    void *pixels_to_keep(Random &random, std::size_t size);
    // Compares the library's list with what is known, after a call: buffers come in slots only.
    // What is wrong; empty when nothing is.
    std::string settle(const Draw &draw);
    std::string wrong_counters() const;
    // Buffers that calls are at work with while a callback runs, and those of them that nobody has
    // been told of yet.
    struct AtWork {
        std::vector<HBUF32> buffers, unknown;
    };
    AtWork enter_callback(const Draw &outer); // gives what was so before
    void leave_callback(const AtWork &before) { at_work_ = before; }

    // --- the rest
    HDC dc() const { return canvas_.dc(); }
    std::vector<HeldRun> runs;
    std::vector<HPALETTE> palettes;
    std::vector<HeldTables> tables;
    std::vector<HGLOBAL> bitmaps; // the caller's own
    HGLOBAL some_bitmap(Random &random);

    void free_bitmap(HGLOBAL bitmap);
    void end_run(HDISPRUN run);
    void end_all_runs();
    void set_limits(std::size_t limit = usual_limit);

    std::vector<std::uint32_t> queue_owners;

    // How many calls callbacks may make, and steps that jobs may go on for, until the next call.
    int callback_calls = 0, callback_steps = 0;

    // Gives everything back; what is wrong then.
    std::string finish();

private:
    void drop_large(HBUF32 handle);
    std::string free_buffers();

    std::vector<HeldBuffer> buffers_;
    std::vector<HBUF32> freed_;
    AtWork at_work_;
    std::vector<std::unique_ptr<FencedMemory>> pixels_;
    frame::Canvas canvas_{64, 48};
};

} // namespace q32::test
