// Random sequences on buffers some of which lose their pixels, over and over.
#include "tests/patterns/lost_pixels.h"

namespace q32::test {
namespace {

using namespace lost;

// A handful of buffers of one size, some of which lose their pixels over and over, in any order of
// everything that can be done with them. Nothing is known of what they show; but every byte of
// storage belongs to one of them, and in the end nothing is left.
class Handful {
public:
    explicit Handful(Random &random) : random_(random) {
        for (int i = 0; i < 5; ++i)
            add();
    }
    ~Handful() {
        while (!all_.empty())
            drop();
    }
    Handful(const Handful &) = delete;
    Handful &operator=(const Handful &) = delete;

    std::string step() {
        const HBUF32 buffer = any(), other = any();
        HBUF32 handle = other;
        const int x = between(random_, -40, 160), y = between(random_, -40, 150);
        uint8_t memory[40 * 30 * 3] = {};
        const BUF32PATTERN pattern{3, 2, pattern_pixels};
        switch (random_.below(14)) {
        case 0:
            if (all_.size() > 3)
                drop();
            add();
            return "another";
        case 1:
        case 2: {
            const auto losses = losses_of({"", uint32_t(word(buffer, field_type)), false, false});
            const Loss &loss = losses[random_.below(losses.size())];
            loss.take(buffer);
            return loss.name;
        }
        case 3:
            api().buf32FillOneColor(buffer, colour);
            return "one colour";
        case 4:
            api().buf32FillPattern(buffer, &pattern);
            return "pattern";
        case 5:
            api().buf32GetMem(buffer, x, y, 40, 30, memory);
            return "GetMem";
        case 6:
            api().buf32MergeMem(buffer, x, y, memory, 40, 30);
            return "MergeMem";
        case 7:
            api().buf32MergeBuf(buffer, x, y, 100, 90, other, y, x);
            return "MergeBuf";
        case 8:
            api().buf32GetBuf(buffer, x > 0 ? 0 : x, 0, width, height, &handle);
            return "GetBuf";
        case 9:
            api().buf32DupBuf(buffer, &handle);
            return "DupBuf";
        case 10: {
            handle = 0;
            if (all_.size() < 9 && api().buf32DupBuf(buffer, &handle) == 1)
                all_.push_back(handle);
            return "DupBuf, new";
        }
        case 11:
            return lock(buffer);
        case 12:
            if ((word(buffer, field_type) & 0x14) != 0)
                api().buf32ReAlloc(buffer, between(random_, 1, height));
            return "ReAlloc";
        default:
            set_memory_limit(uint32_t(random_.below(2)), 0);
            return "memory or files";
        }
    }

    // The counters are the sums over the records, and so is what the system has handed out, which
    // takes long to ask.
    void check(bool census) const {
        size_t memory = 0, mapped = 0;
        int reservations = 0, views = 0;
        for (HBUF32 buffer : all_) {
            EXPECT_EQ(word(buffer, field_lock_count), 0u);
            if (word(buffer, field_storage) == 0)
                continue;
            if (word(buffer, field_file) != 0) {
                mapped += word(buffer, field_reserved_bytes);
                ++views;
                continue;
            }
            ++reservations;
            const uintptr_t row = word(buffer, field_row_bytes);
            const uintptr_t cell = word(buffer, field_cell_bytes);
            if (word(buffer, field_type) == BUF32_ONE_COLOUR)
                memory += std::max(row, cell);
            else if (word(buffer, field_type) == BUF32_PATTERN)
                memory += std::max(row * (word(buffer, field_colour) >> 16), cell);
            else
                memory += word(buffer, field_reserved_bytes);
        }
        EXPECT_EQ(memory_in_use(), memory);
        EXPECT_EQ(mapped_bytes(), mapped);
        if (!census)
            return;
        const frame::Census now = frame::Census::now();
        EXPECT_EQ(now.reservations, before_.reservations + reservations);
        EXPECT_EQ(now.views, before_.views + views);
        EXPECT_EQ(now.files, before_.files + views);
        EXPECT_EQ(now.global_blocks, before_.global_blocks + int(all_.size()));
    }
    size_t without_pixels() const {
        return size_t(std::count_if(all_.begin(), all_.end(), [](HBUF32 buffer) {
            return word(buffer, field_storage) == 0 && word(buffer, field_source) == 0 &&
                   !is_special(word(buffer, field_type));
        }));
    }

private:
    HBUF32 any() { return all_[random_.below(all_.size())]; }

    void add() {
        constexpr uint32_t types[] = {BUF32_TILED,         BUF32_TILED,         BUF32_LINEAR,
                                      BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK, BUF32_TILED_FILE,
                                      BUF32_ONE_COLOUR,    BUF32_PATTERN};
        const uint32_t type = types[random_.below(std::size(types))];
        const BUF32PATTERN pattern{2, 3, pattern_pixels};
        const void *const extra =
            type == BUF32_PATTERN ? static_cast<const void *>(&pattern) : colour;
        HBUF32 handle = 0;
        ASSERT_EQ(api().buf32Alloc(&handle, plain_bits, width, height, type, extra), 1);
        all_.push_back(handle);
    }

    void drop() {
        const size_t i = random_.below(all_.size());
        EXPECT_EQ(api().buf32Free(all_[i]), 1);
        all_.erase(all_.begin() + std::ptrdiff_t(i));
    }

    // What a lock gives can be touched as far as it reaches.
    std::string lock(HBUF32 buffer) {
        void *base = nullptr, *address = nullptr;
        const int mode = between(random_, 1, 4);
        if (api().buf32Lock(buffer, mode, &base) == 1) {
            if (base != nullptr)
                touch(base, plain_row_bytes);
            BUF32CELL cell{};
            const int index = int(random_.below(word(buffer, field_cell_count)));
            if (api().buf32CellLock(buffer, index, &address, &cell) == 1) {
                if (address != nullptr)
                    touch(address, size_t(cell.bytes));
                api().buf32CellUnlock(buffer, index);
            }
            uint8_t row[plain_row_bytes] = {};
            api().buf32Line(buffer, between(random_, 0, height), between(random_, 1, 2), row);
            api().buf32Unlock(buffer);
        }
        return "lock in mode " + std::to_string(mode);
    }

    static constexpr uint8_t pattern_pixels[2 * 3 * 3] = {1, 2, 3, 4, 5, 6, 7, 8, 9};

    Random &random_;
    std::vector<HBUF32> all_;
    frame::Census before_ = frame::Census::now();
};

TEST_F(LostPixels, InRandomSequences) {
    size_t without_pixels = 0;
    random_cases(150, [&](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const frame::Census before = frame::Census::now();
        {
            Handful handful(random);
            std::string steps;
            for (int i = 0; i < 60; ++i) {
                steps += "\n  " + handful.step();
                forget_reports();
                handful.check(i % 10 == 9);
                without_pixels += handful.without_pixels();
                if (HasFailure()) {
                    ADD_FAILURE() << "after" << steps;
                    return false;
                }
            }
        }
        set_memory_limit(0, 0);
        EXPECT_EQ(memory_in_use(), 0u);
        EXPECT_EQ(mapped_bytes(), 0u);
        EXPECT_EQ(frame::Census::now(), before);
        return !HasFailure();
    });
    EXPECT_GT(without_pixels, 150u); // the sequences do what they are for
}

} // namespace
} // namespace q32::test
