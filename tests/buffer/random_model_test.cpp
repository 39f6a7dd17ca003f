// Random sequences of everything that can be done with buffers, beside plain arrays: after every
// step the record, the counters, the list and, now and then, all pixels must agree.
#include "tests/buffer/buffer_fixture.h"

namespace q32::test {
namespace {

class BufferModel : public BufferTest {};

// One buffer as it must be.
struct Expected {
    Expected(HBUF32 buffer, int bits, int width, int height, uint32_t type_in)
        : handle(buffer), type(type_in), geometry(width, height, bits, type_in), image(geometry),
          capacity(height) {}

    HBUF32 handle;
    uint32_t type;
    Geometry geometry;
    PlainImage image;
    int capacity;
    uint8_t colour[8] = {};
    bool file = false;
    bool block = false; // one colour: its block has been made
    uint32_t locks = 0;
    int mode = 1;

    bool one_colour() const { return type == BUF32_ONE_COLOUR; }
    uint32_t reserved() const { return uint32_t(capacity * geometry.row_bytes()); }
    uint32_t memory() const {
        if (one_colour())
            return block ? uint32_t(geometry.block_bytes()) : 0;
        return file ? 0 : reserved();
    }
    uint32_t mapped() const { return file ? reserved() : 0; }
    void set_rows(int rows) {
        geometry.height = rows;
        image.set_rows(size_t(rows));
    }
};

class Play {
public:
    explicit Play(Random &random) : random_(random) {}
    ~Play() {
        while (!buffers_.empty()) {
            unlock_all(buffers_.back());
            EXPECT_EQ(api().buf32Free(buffers_.back().handle), 1);
            buffers_.pop_back();
        }
        expect_counters();
    }

    void step() {
        if (buffers_.empty() || (buffers_.size() < 6 && random_.below(12) == 0)) {
            allocate();
        } else {
            Expected &buffer = buffers_[random_.below(buffers_.size())];
            switch (random_.below(12)) {
            case 0:
            case 1:
                lock(buffer);
                break;
            case 2:
            case 3:
                unlock(buffer);
                break;
            case 4:
            case 5:
                write_line(buffer);
                break;
            case 6:
                read_line(buffer);
                break;
            case 7:
            case 8:
                cell(buffer);
                break;
            case 9:
                resize(buffer);
                break;
            case 10:
                release(buffer);
                break;
            case 11:
                policy();
                break;
            }
        }
        expect_counters();
    }

private:
    void allocate() {
        constexpr uint32_t types[] = {0, 0, 1, 1, 2, 4, 16, 16, 0x80000000};
        constexpr int depths[] = {1, 2, 4, 8, 16, 24, 32, 48, 64};
        const uint32_t type = types[random_.below(std::size(types))];
        const int bits = depths[random_.below(std::size(depths))];
        const int width = between(random_, 1, 400), height = between(random_, 1, 300);
        Expected made(0, bits, width, height, type);
        random_.fill(made.colour);
        ASSERT_EQ(api().buf32Alloc(&made.handle, bits, width, height, type, made.colour), 1);
        const bool large = width > 128 || height > 128;
        made.file = large && (type == 0x80000000 || (limited_ && type != 4 && type != 1));
        if (!made.one_colour())
            overwrite(made);
        else
            paint(made);
        buffers_.push_back(std::move(made));
    }

    // New pixels for a buffer whose pixels are not known.
    void overwrite(Expected &buffer) {
        random_.fill(buffer.image.bytes());
        ASSERT_EQ(api().buf32Lock(buffer.handle, BUF32_OVERWRITE, nullptr), 1);
        for (int y = 0; y < int(buffer.geometry.height); ++y)
            ASSERT_EQ(
                api().buf32Line(buffer.handle, y, BUF32_LINE_WRITE, buffer.image.row(size_t(y))),
                1);
        ASSERT_EQ(api().buf32Unlock(buffer.handle), 1);
        buffer.mode = BUF32_WRITE;
    }

    void paint(Expected &buffer) {
        const size_t unit = size_t(std::max<int64_t>(buffer.geometry.bits / 8, 1));
        for (size_t y = 0; y < buffer.image.rows(); ++y)
            for (size_t i = 0; i < buffer.image.row_bytes(); ++i)
                buffer.image.row(y)[i] = buffer.colour[i % unit];
    }

    // What a write lock does to one colour.
    void become_ordinary(Expected &buffer) {
        if (!buffer.one_colour())
            return;
        buffer.type = BUF32_TILED;
        buffer.block = false;
        buffer.file = limited_ && (buffer.geometry.width > 128 || buffer.geometry.height > 128);
    }

    void lock(Expected &buffer) {
        const int mode = random_.below(4) == 0 ? between(random_, -3, 9) : between(random_, 1, 4);
        const bool write = mode >= 2 && mode <= 4, was_one_colour = buffer.one_colour();
        void *base = nullptr;
        ASSERT_EQ(api().buf32Lock(buffer.handle, mode, &base), 1);
        if (write)
            become_ordinary(buffer);
        buffer.block = buffer.one_colour();
        buffer.mode = mode;
        ++buffer.locks;
        EXPECT_EQ(uint32_t(uintptr_t(base)), word(buffer.handle, field_storage));
        if (was_one_colour && mode == BUF32_OVERWRITE)
            overwrite(buffer);
        if (random_.below(3) == 0)
            expect_stored(buffer);
    }

    void unlock(Expected &buffer) {
        const bool by_cell = random_.below(2) == 0;
        const int result = by_cell
                               ? api().buf32CellUnlock(buffer.handle, int(random_.below(20)) - 5)
                               : api().buf32Unlock(buffer.handle);
        EXPECT_EQ(result, buffer.locks > 0);
        if (buffer.locks > 0)
            --buffer.locks;
        else if (buffer.one_colour())
            expect_report(5804, 0, 2, by_cell ? 3 : 6);
        else if (by_cell)
            expect_report(5804, 0, 3, 2);
        else
            expect_report(5804, 1, 3, 4);
    }

    void write_line(Expected &buffer) {
        const int y = between(random_, -3, int(buffer.geometry.height) + 3);
        const auto row = size_t(std::clamp<int64_t>(y, 0, buffer.geometry.height - 1));
        std::vector<uint8_t> memory(buffer.image.row_bytes());
        random_.fill(memory);
        EXPECT_EQ(api().buf32Line(buffer.handle, y, BUF32_LINE_WRITE, memory.data()),
                  buffer.locks > 0);
        if (buffer.locks == 0) {
            expect_report(5804, 1, 3, 3);
            return;
        }
        become_ordinary(buffer);
        buffer.mode = BUF32_WRITE;
        std::memcpy(buffer.image.row(row), memory.data(), memory.size());
    }

    void read_line(Expected &buffer) {
        const int y = between(random_, -3, int(buffer.geometry.height) + 3);
        const auto row = size_t(std::clamp<int64_t>(y, 0, buffer.geometry.height - 1));
        FencedBlock memory(buffer.image.row_bytes());
        EXPECT_EQ(api().buf32Line(buffer.handle, y, BUF32_LINE_READ, memory.data()),
                  buffer.locks > 0);
        if (buffer.locks == 0) {
            expect_report(5804, 1, 3, 3);
            return;
        }
        buffer.mode = BUF32_READ;
        buffer.block = buffer.one_colour();
        EXPECT_EQ(std::memcmp(memory.data(), buffer.image.row(row), memory.size()), 0) << row;
    }

    void cell(Expected &buffer) {
        const int index = between(random_, -1, int(buffer.geometry.cell_count()));
        void *address = &address;
        BUF32CELL cell{};
        const bool valid = index >= 0 && index < buffer.geometry.cell_count();
        EXPECT_EQ(api().buf32CellLock(buffer.handle, index, &address, &cell), valid);
        if (!valid) {
            EXPECT_EQ(address, nullptr);
            if (buffer.one_colour())
                expect_report(5805, 0, 2, 1);
            else
                expect_report(5804, 0, 3, 1);
            return;
        }
        ++buffer.locks;
        const BUF32CELL expected = buffer.geometry.description(index);
        EXPECT_EQ(std::memcmp(&cell, &expected, sizeof cell), 0);
        if (buffer.one_colour()) {
            buffer.block = true;
            return;
        }
        // Some bytes of the cell, through its address.
        auto *bytes = static_cast<uint8_t *>(address);
        for (int i = 0; i < 10; ++i) {
            const int y = between(random_, 0, cell.height - 1);
            const int at = between(random_, 0, cell.row_bytes - 1);
            uint8_t &pixel = buffer.image.row(
                size_t(cell.y + y))[size_t(cell.x) * size_t(cell.bits_per_pixel) / 8 + size_t(at)];
            EXPECT_EQ(bytes[y * cell.row_bytes + at], pixel);
            pixel = bytes[y * cell.row_bytes + at] = random_.byte();
        }
    }

    void resize(Expected &buffer) {
        const int rows = between(random_, 1, buffer.capacity + 2);
        const bool can = (buffer.type == 4 || buffer.type == 16) && rows <= buffer.capacity;
        EXPECT_EQ(api().buf32ReAlloc(buffer.handle, rows), can);
        if (!can) {
            expect_report(3200, 0, 4, 11);
            return;
        }
        const auto before = size_t(buffer.geometry.height);
        buffer.set_rows(rows);
        if (size_t(rows) > before) { // rows that have come back: their pixels are not known
            ASSERT_EQ(api().buf32Lock(buffer.handle, BUF32_WRITE, nullptr), 1);
            for (size_t y = before; y < size_t(rows); ++y) {
                for (size_t i = 0; i < buffer.image.row_bytes(); ++i)
                    buffer.image.row(y)[i] = random_.byte();
                ASSERT_EQ(
                    api().buf32Line(buffer.handle, int(y), BUF32_LINE_WRITE, buffer.image.row(y)),
                    1);
            }
            ASSERT_EQ(api().buf32Unlock(buffer.handle), 1);
            buffer.mode = BUF32_WRITE;
        }
    }

    void release(Expected &buffer) {
        EXPECT_EQ(api().buf32Free(buffer.handle), buffer.locks == 0);
        if (buffer.locks > 0) {
            expect_report(5804, 1, 4, 12);
            return;
        }
        EXPECT_EQ(api().buf32Free(buffer.handle), 0);
        buffers_.erase(buffers_.begin() + (&buffer - buffers_.data()));
    }

    // Memory for large buffers is forbidden or allowed from now on.
    void policy() {
        limited_ = !limited_;
        set_memory_limit(limited_ ? 1 : 0, 0);
    }

    void unlock_all(Expected &buffer) {
        expect_stored(buffer);
        for (; buffer.locks > 0; --buffer.locks)
            EXPECT_EQ(api().buf32Unlock(buffer.handle), 1);
    }

    void expect_stored(const Expected &buffer) {
        if (buffer.one_colour())
            return;
        const std::vector<uint8_t> storage = storage_of(buffer.image, buffer.geometry);
        EXPECT_EQ(std::memcmp(reinterpret_cast<const void *>(word(buffer.handle, field_storage)),
                              storage.data(), storage.size()),
                  0);
    }

    void expect_counters() {
        uint32_t memory = 0, mapped = 0;
        for (const Expected &buffer : buffers_) {
            memory += buffer.memory();
            mapped += buffer.mapped();
            EXPECT_EQ(word(buffer.handle, field_type), buffer.type);
            EXPECT_EQ(word(buffer.handle, field_lock_count), buffer.locks);
            EXPECT_EQ(word(buffer.handle, field_access_mode), uint32_t(buffer.mode));
            EXPECT_EQ(word(buffer.handle, field_height), uint32_t(buffer.geometry.height));
            EXPECT_EQ(word(buffer.handle, field_file) != 0, buffer.file);
        }
        EXPECT_EQ(memory_in_use(), memory);
        EXPECT_EQ(mapped_bytes(), mapped);
        std::vector<HBUF32> listed(buffers_.size() + 1);
        ASSERT_EQ(size_t(api().buf32CountBuf(nullptr)), buffers_.size());
        api().buf32CountBuf(listed.data());
        for (size_t i = 0; i < buffers_.size(); ++i)
            EXPECT_EQ(listed[i], buffers_[i].handle);
        expect_no_report();
    }

    Random &random_;
    std::vector<Expected> buffers_;
    bool limited_ = false;
};

TEST_F(BufferModel, AgreesWithPlainArrays) {
    random_cases(60, [](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        set_memory_limit(0, 0);
        Play play(random);
        for (int step = 0; step < 150; ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            play.step();
            if (HasFailure())
                return false;
        }
        return true;
    });
}

} // namespace
} // namespace q32::test
