// Random sequences over bitmaps, bare blocks and their duplicates, beside plain images that share
// nothing: after every step every buffer holds what its image holds.
#include "tests/bitmaps/bitmap_fixture.h"

#include <list>
#include <memory>

namespace q32::test {
namespace {

class BitmapSequences : public BitmapTest {};

// A block that a buffer lies over, and what it gives when it is closed.
struct Ground {
    std::unique_ptr<FencedBitmap> bitmap;
    std::unique_ptr<FencedBlock> bare;
};

struct Image {
    HBUF32 handle;
    Bytes pixels; // packed
    Ground ground;
    int locks = 0;
};

class Sequence {
public:
    Sequence(Random &random, uint64_t number) : random_(random), header_(any_header(random)) {
        trace_ = header_.text() + "; " + rerun(number);
    }

    void run(int steps) {
        open();
        for (int i = 0; i < steps && !images_.empty() && !::testing::Test::HasFailure(); ++i) {
            step();
            check();
        }
        SCOPED_TRACE(trace_);
        for (Image &image : images_)
            for (; image.locks > 0; --image.locks)
                EXPECT_EQ(api().buf32Unlock(image.handle), 1);
        while (!images_.empty())
            close(images_.begin());
        check_grounds();
    }

private:
    using Place = std::list<Image>::iterator;

    static Header any_header(Random &random) {
        constexpr int depths[] = {1, 4, 8, 16, 24, 24, 32};
        return Header{{depths[random.below(std::size(depths))], between(random, 1, 40),
                       between(random, 1, 8)},
                      random.below(2) == 0 ? 40u : 20u,
                      rgb,
                      uint32_t(random.below(4))};
    }
    const Shape &shape() const { return header_.shape; }

    Place any() {
        auto place = images_.begin();
        std::advance(place, ptrdiff_t(random_.below(images_.size())));
        return place;
    }

    void note(const std::string &text) { trace_ += "\n  " + text; }
    std::string name(Place place) { return std::to_string(std::distance(images_.begin(), place)); }

    void open() {
        Image image{};
        const Bytes pixels = random_bytes(random_, shape().bitmap_bytes(false));
        image.pixels = packed_pixels(pixels, shape());
        if (random_.below(3) != 0) {
            image.ground.bitmap = std::make_unique<FencedBitmap>(block_of(header_, pixels));
            note("open");
            EXPECT_EQ(api().buf32DIBBufAlloc(&image.handle, *image.ground.bitmap), 1);
        } else {
            image.ground.bare = std::make_unique<FencedBlock>(pixels.size());
            std::copy(pixels.begin(), pixels.end(), image.ground.bare->data());
            note("open bare");
            EXPECT_EQ(api().buf32DIBMemBufAlloc(&image.handle, shape().bits, shape().width,
                                                shape().height, image.ground.bare->data()),
                      1);
        }
        if (image.handle != 0)
            images_.push_back(std::move(image));
    }

    // Gives the buffer back; what the library gives away is freed.
    void close(Place place) {
        const bool free = random_.below(2) == 0, duplicate = is_duplicate(place->handle);
        const auto own = reinterpret_cast<HGLOBAL>(word(place->handle, field_data_handle));
        note((free ? "free " : "close ") + name(place));
        SCOPED_TRACE(trace_);
        if (free) {
            EXPECT_EQ(api().buf32Free(place->handle), 1);
            if (place->ground.bitmap) {
                EXPECT_TRUE(place->ground.bitmap->freed());
            }
        } else {
            HGLOBAL given = nullptr;
            EXPECT_EQ(api().buf32DIBBufFree(place->handle, &given), 1);
            EXPECT_EQ(given, own);
            if (place->ground.bitmap) {
                EXPECT_EQ(given, static_cast<HGLOBAL>(*place->ground.bitmap));
                EXPECT_EQ(place->ground.bitmap->locks(), 0);
                EXPECT_FALSE(place->ground.bitmap->freed());
                if (!duplicate)
                    expect_in_bitmap_layout(place->ground.bitmap->data() + header_.pixels_at(),
                                            place->pixels);
            } else if (place->ground.bare) {
                EXPECT_EQ(given, nullptr);
                if (!duplicate)
                    expect_in_bitmap_layout(place->ground.bare->data(), place->pixels);
            } else {
                free_block(given);
            }
        }
        // Blocks stay to the end: nobody may touch them any more.
        if (place->ground.bitmap)
            closed_.emplace_back(place->ground.bitmap->bytes());
        else if (place->ground.bare)
            closed_.emplace_back(bytes_at(place->ground.bare->data(), place->ground.bare->size()));
        if (place->ground.bitmap || place->ground.bare)
            grounds_.push_back(std::move(place->ground));
        images_.erase(place);
    }

    void expect_in_bitmap_layout(const uint8_t *memory, const Bytes &pixels) {
        EXPECT_EQ(packed_pixels(bytes_at(memory, shape().bitmap_bytes(false)), shape()), pixels);
    }

    void check_grounds() {
        for (size_t i = 0; i < grounds_.size(); ++i)
            EXPECT_EQ(grounds_[i].bitmap
                          ? grounds_[i].bitmap->bytes()
                          : bytes_at(grounds_[i].bare->data(), grounds_[i].bare->size()),
                      closed_[i]);
    }

    void step() {
        const Place place = any();
        const HBUF32 buffer = place->handle;
        SCOPED_TRACE(trace_);
        switch (random_.below(14)) {
        case 0:
            if (images_.size() < 8)
                open();
            break;
        case 1:
        case 2:
            if (images_.size() < 8) {
                note("duplicate " + name(place));
                Image image{};
                image.pixels = place->pixels;
                EXPECT_EQ(api().buf32DupBuf(buffer, &image.handle), 1);
                images_.push_back(std::move(image));
            }
            break;
        case 3:
            if (images_.size() > 1 && place->locks == 0)
                close(place);
            break;
        case 4: {
            const Place to = any();
            note("duplicate " + name(place) + " into " + name(to));
            if (to->locks > 0)
                break;
            HBUF32 handle = to->handle;
            const HBUF32 owner = is_duplicate(buffer) ? source_of(buffer) : buffer;
            const bool refused = handle == owner || handle == buffer ||
                                 (is_duplicate(handle) && source_of(handle) == owner);
            EXPECT_EQ(api().buf32DupBuf(buffer, &handle), !refused);
            EXPECT_EQ(handle, to->handle);
            if (!refused)
                to->pixels = place->pixels;
            break;
        }
        case 5: {
            note("row of " + name(place));
            Bytes row = random_bytes(random_, shape().row_bytes());
            const int y = int(random_.below(size_t(shape().height)));
            EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
            EXPECT_EQ(api().buf32Line(buffer, y, BUF32_LINE_WRITE, row.data()), 1);
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
            std::copy(row.begin(), row.end(),
                      place->pixels.begin() + ptrdiff_t(size_t(y) * row.size()));
            break;
        }
        case 6: {
            note("rectangle of " + name(place));
            Bytes memory = random_bytes(random_, shape().packed_bytes());
            EXPECT_EQ(
                api().buf32MergeMem(buffer, 0, 0, memory.data(), shape().width, shape().height), 1);
            take_pixels(*place, memory);
            break;
        }
        case 7: {
            note("one colour for " + name(place));
            const uint8_t colour = random_.byte();
            EXPECT_EQ(api().buf32FillOneColor(buffer, &colour), 1);
            fill(*place, colour);
            break;
        }
        case 8: {
            note("pattern for " + name(place));
            const uint8_t pixel[8] = {random_.byte(), random_.byte(), random_.byte()};
            const BUF32PATTERN pattern{1, 1, pixel};
            EXPECT_EQ(api().buf32FillPattern(buffer, &pattern), 1);
            Bytes memory(place->pixels.size());
            const Shape one{shape().bits, 1, 1};
            const uint64_t value = pixel_at(Bytes(pixel, pixel + 8), one, 0, 0);
            for (size_t i = 0; i < memory.size(); ++i)
                memory[i] = shape().bits < 8 ? uint8_t(value * (shape().bits == 1 ? 0xFF : 0x11))
                                             : pixel[i % shape().unit()];
            take_pixels(*place, memory);
            break;
        }
        case 9: {
            note("there and back " + name(place));
            const HGLOBAL block = api().buf32DIBBufToDIB(buffer);
            EXPECT_EQ(block, reinterpret_cast<HGLOBAL>(word(buffer, field_data_handle)));
            EXPECT_FALSE(is_duplicate(buffer));
            EXPECT_EQ(api().buf32DIBToDIBBuf(buffer), 1);
            break;
        }
        case 10: {
            const Place to = any();
            note("copy " + name(place) + " to " + name(to));
            HBUF32 handle = to->handle;
            EXPECT_EQ(api().buf32GetBuf(buffer, 0, 0, shape().width, shape().height, &handle), 1);
            EXPECT_EQ(handle, to->handle);
            if (to != place)
                take_pixels(*to, place->pixels);
            break;
        }
        case 11:
            note("lock " + name(place));
            EXPECT_EQ(api().buf32Lock(buffer, between(random_, 1, 4), nullptr), 1);
            ++place->locks;
            break;
        case 12:
            if (place->locks > 0) {
                note("unlock " + name(place));
                EXPECT_EQ(api().buf32Unlock(buffer), 1);
                --place->locks;
            }
            break;
        default: {
            // A write without memory: a copy that cannot be had changes nothing.
            note("write without memory " + name(place));
            FailingCall allocation("GlobalAlloc", 1, FailingCall::from_there_on);
            if (api().buf32Lock(buffer, BUF32_WRITE, nullptr) == 1)
                EXPECT_EQ(api().buf32Unlock(buffer), 1);
            else
                expect_report(no_private_block);
            break;
        }
        }
    }

    // Pixels, but not the bits behind the last of a row: those belong to nobody.
    void take_pixels(Image &image, const Bytes &from) {
        const size_t used = size_t(shape().width) * size_t(shape().bits);
        for (size_t y = 0; y < size_t(shape().height); ++y)
            for (size_t i = 0; i < shape().row_bytes(); ++i) {
                const size_t bits = std::min<size_t>(used - i * 8, 8);
                const auto mask = uint8_t(0xFF00u >> bits);
                uint8_t &to = image.pixels[y * shape().row_bytes() + i];
                to = uint8_t((to & ~mask) | (from[y * shape().row_bytes() + i] & mask));
            }
    }

    void fill(Image &image, uint8_t colour) {
        // The colour field of a buffer is zero but for its first byte.
        if (shape().bits < 8)
            std::fill_n(image.pixels.begin(),
                        (size_t(shape().width) + 7) / 8 * size_t(shape().height), colour);
        else
            for (size_t i = 0; i < image.pixels.size(); ++i)
                image.pixels[i] = i % shape().unit() == 0 ? colour : uint8_t(0);
    }

    void check() {
        SCOPED_TRACE(trace_);
        expect_no_report();
        for (auto image = images_.begin(); image != images_.end(); ++image) {
            const Bytes now = pixels_of(image->handle);
            for (int y = 0; y < shape().height; ++y)
                for (int x = 0; x < shape().width; ++x)
                    if (pixel_at(now, shape(), x, y) != pixel_at(image->pixels, shape(), x, y)) {
                        ADD_FAILURE() << "buffer " << name(image) << ", pixel " << x << ", " << y;
                        return;
                    }
            image->pixels = now; // with the loose ends of its rows
            EXPECT_EQ(word(image->handle, field_lock_count), uint32_t(image->locks));
            if (image->ground.bitmap) {
                EXPECT_EQ(image->ground.bitmap->locks(), 1);
            }
            if (is_duplicate(image->handle)) {
                EXPECT_FALSE(is_duplicate(source_of(image->handle)));
            }
        }
        EXPECT_EQ(memory_in_use(), 0u);
        EXPECT_EQ(mapped_bytes(), 0u);
    }

    Random &random_;
    const Header header_;
    std::list<Image> images_;
    std::vector<Ground> grounds_; // of closed buffers
    std::vector<Bytes> closed_;
    std::string trace_;
};

TEST_F(BitmapSequences, HoldWhatPlainImagesHold) {
    random_cases(250, [](Random &random, uint64_t number) {
        Sequence(random, number).run(60);
        return !::testing::Test::HasFailure();
    });
}

} // namespace
} // namespace q32::test
