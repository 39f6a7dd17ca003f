// Random sequences of rectangle calls on a handful of buffers of one depth, each beside a picture
// in plain memory; after every call every buffer must show its picture.
#include "tests/rectangles/rectangle_fixture.h"

namespace q32::test {
namespace {

class RandomRectangles : public RectangleTest {};

// One buffer of the handful.
struct Member {
    HBUF32 handle;
    Picture picture;
    std::unique_ptr<MemoryBlock> memory; // of one over caller memory
    bool over_memory() const { return memory != nullptr; }
    bool one_colour() const { return word(handle, field_type) == BUF32_ONE_COLOUR; }
};

class Handful {
public:
    Handful(Random &random, int bits) : random_(random), bits_(bits) {
        for (int i = 0; i < 4; ++i)
            add();
    }
    ~Handful() {
        while (!members_.empty())
            drop();
    }
    Handful(const Handful &) = delete;
    Handful &operator=(const Handful &) = delete;

    std::string step() {
        switch (random_.below(9)) {
        case 0:
            if (members_.size() > 2)
                drop();
            add();
            return "another buffer";
        case 1:
            return get_memory();
        case 2:
            return get_memory_with_background();
        case 3:
        case 4:
            return merge_memory();
        case 5:
            return get_buffer();
        case 6:
            return merge_buffer();
        case 7:
            return duplicate();
        default:
            return fill();
        }
    }

    void expect_pictures() const {
        for (size_t i = 0; i < members_.size(); ++i) {
            SCOPED_TRACE("buffer " + std::to_string(i));
            const Member &member = members_[i];
            if (member.over_memory())
                member.memory->expect(member.picture.image.bytes());
            Picture shown = picture_of(member.handle);
            shown.geometry = member.picture.geometry; // without cells over caller memory
            expect_same_pixels(shown, member.picture);
            EXPECT_EQ(word(member.handle, field_lock_count), 0u);
        }
    }

private:
    static constexpr uint32_t types[] = {BUF32_TILED,      BUF32_TILED,         BUF32_ONE_COLOUR,
                                         BUF32_LINEAR,     BUF32_LINEAR_SHRINK, BUF32_LINEAR_MEMORY,
                                         BUF32_TILED_FILE, BUF32_CALLER_MEMORY};

    Member &any() { return members_[random_.below(members_.size())]; }

    Area area_near(const Member &member) {
        if (random_.below(8) == 0)
            return {0, 0, int(member.picture.geometry.width), int(member.picture.geometry.height)};
        return random_area(random_, int(member.picture.geometry.width),
                           int(member.picture.geometry.height));
    }

    // Colours under 8 bits are bytes of equal pixels, so that every strip of one looks alike.
    Bytes some_random_colour() {
        Bytes colour(8);
        random_.fill(colour);
        if (bits_ < 8)
            colour[0] = random_.below(2) == 0 ? 0x00 : 0xFF;
        return colour;
    }

    static void paint(Picture &picture, const Bytes &colour) {
        for (size_t y = 0; y < picture.image.rows(); ++y) {
            if (picture.bits() < 8) {
                std::memset(picture.image.row(y), colour[0], picture.image.row_bytes());
                continue;
            }
            for (int64_t x = 0; x < picture.geometry.width; ++x)
                move_pixel(picture.bits(), picture.image.row(y), picture.bit_of(x), colour.data(),
                           0);
        }
    }

    void add() {
        const int sides[] = {1, 7, 60, 127, 128, 129, 150, 257};
        const int width = sides[random_.below(8)], height = sides[random_.below(8)];
        uint32_t type = types[random_.below(std::size(types))];
        Picture picture(
            Geometry(width, height, bits_, type == BUF32_CALLER_MEMORY ? BUF32_LINEAR : type));
        random_.fill(picture.image.bytes());
        const Bytes colour = some_random_colour();
        std::unique_ptr<MemoryBlock> memory;
        BUF32MEMORY descriptor{};
        const void *extra = colour.data();
        if (type == BUF32_CALLER_MEMORY) {
            memory = std::make_unique<MemoryBlock>(picture.image.bytes().size(),
                                                   random_fence(random_), random_);
            memory->set(picture.image.bytes());
            memory->protect();
            descriptor.pixels = memory->data();
            extra = &descriptor;
        }
        HBUF32 handle = 0;
        ASSERT_EQ(api().buf32Alloc(&handle, bits_, width, height, type, extra), 1);
        if (type == BUF32_ONE_COLOUR)
            paint(picture, colour);
        else if (type != BUF32_CALLER_MEMORY)
            store(handle, picture.image);
        members_.push_back({handle, picture, std::move(memory)});
    }

    void drop() {
        const size_t i = random_.below(members_.size());
        EXPECT_EQ(api().buf32Free(members_[i].handle), 1);
        members_.erase(members_.begin() + std::ptrdiff_t(i));
    }

    std::string get_memory() {
        const Member &member = any();
        const Area area = area_near(member);
        MemoryBlock block(block_bytes(bits_, area), random_fence(random_), random_);
        Bytes expected = block.contents();
        if (member.one_colour()) {
            const auto *const colour =
                reinterpret_cast<const uint8_t *>(member.handle + field_offset(field_colour));
            for (size_t i = 0; i < expected.size(); ++i)
                expected[i] = colour[i % size_t(std::max(bits_ / 8, 1))];
        } else {
            member.picture.get(area, expected.data());
        }
        EXPECT_SUCCESS(api().buf32GetMem(member.handle, area.x, area.y, area.width, area.height,
                                         block.data()));
        block.expect(expected);
        return "GetMem " + text_of(area);
    }

    std::string get_memory_with_background() {
        const Member &member = any();
        Area area = area_near(member);
        if (random_.below(4) == 0)
            area.x -= 300; // often outside
        const Bytes background = some_random_colour();
        MemoryBlock block(block_bytes(bits_, area), random_fence(random_), random_);
        Bytes expected = block.contents();
        member.picture.get_with_background(area, expected.data(), background.data());
        EXPECT_SUCCESS(api().buf32GetMemWithBC(member.handle, area.x, area.y, area.width,
                                               area.height, block.data(), background.data()));
        block.expect(expected);
        return "GetMemWithBC " + text_of(area);
    }

    std::string merge_memory() {
        Member &member = any();
        const Area area = area_near(member);
        MemoryBlock block(block_bytes(bits_, area), random_fence(random_), random_);
        block.protect();
        const int result = api().buf32MergeMem(member.handle, area.x, area.y, block.data(),
                                               area.width, area.height);
        if (member.over_memory()) {
            EXPECT_EQ(result, 0);
            expect_report(5800, 0, 50, 64);
        } else {
            EXPECT_EQ(result, 1);
            member.picture.merge(area, block.data());
        }
        return "MergeMem " + text_of(area);
    }

    std::string get_buffer() {
        const Member &source = any();
        const Area area = area_near(source);
        if (random_.below(3) == 0) {
            HBUF32 handle = 0;
            EXPECT_SUCCESS(
                api().buf32GetBuf(source.handle, area.x, area.y, area.width, area.height, &handle));
            Member made{handle, picture_of(handle), nullptr};
            if (source.one_colour()) {
                Picture &picture = made.picture; // the source's colour, also outside of it
                Bytes colour(8);
                std::memcpy(
                    colour.data(),
                    reinterpret_cast<const void *>(source.handle + field_offset(field_colour)), 8);
                paint(picture, colour);
            }
            made.picture.merge(source.picture, area, 0, 0);
            members_.push_back(std::move(made));
            return "GetBuf, new, " + text_of(area);
        }
        Member &destination = any();
        HBUF32 handle = destination.handle;
        const bool colours = source.one_colour() && destination.one_colour() &&
                             area == Area{0, 0, int(destination.picture.geometry.width),
                                          int(destination.picture.geometry.height)} &&
                             source.picture.geometry.width == area.width &&
                             source.picture.geometry.height == area.height;
        const bool same = &source == &destination;
        const int result =
            api().buf32GetBuf(source.handle, area.x, area.y, area.width, area.height, &handle);
        EXPECT_EQ(handle, destination.handle);
        if (destination.over_memory() && result == 0) {
            expect_report(5800, 0, 50, 64);
        } else if (colours && !same) {
            // Both are of one colour: all but its first byte is taken over.
            Picture kept = destination.picture;
            destination.picture.merge(source.picture, area, 0, 0);
            for (size_t y = 0; y < kept.image.rows(); ++y)
                for (int64_t x = 0; x < kept.geometry.width; ++x) {
                    const int64_t first_byte = kept.bit_of(x) / 8;
                    destination.picture.image.row(y)[first_byte] = kept.image.row(y)[first_byte];
                }
            EXPECT_EQ(result, 1);
        } else {
            EXPECT_EQ(result, 1);
            if (!destination.over_memory())
                destination.picture.merge(source.picture, area, 0, 0);
        }
        return "GetBuf " + text_of(area);
    }

    std::string merge_buffer() {
        const Member &source = any();
        Member &destination = any();
        const Area area = area_near(source);
        const int x = between(random_, -150, 200), y = between(random_, -150, 200);
        const bool copies = meet(source.picture, area, destination.picture, x, y);
        const int result = api().buf32MergeBuf(source.handle, area.x, area.y, area.width,
                                               area.height, destination.handle, x, y);
        if (source.over_memory() || (destination.over_memory() && copies)) {
            EXPECT_EQ(result, 0);
            expect_report(5800, 0, 50, source.over_memory() ? 63 : 64);
        } else if (destination.over_memory()) {
            EXPECT_EQ(result, 1);
        } else {
            EXPECT_EQ(result, 1);
            destination.picture.merge(source.picture, area, x, y);
        }
        return "MergeBuf " + text_of(area) + " to " + std::to_string(x) + ", " + std::to_string(y);
    }

    // Whether a rectangle of one image has a pixel that lands in the other.
    static bool meet(const Picture &source, const Area &area, const Picture &destination, int x,
                     int y) {
        bool any = false;
        source.for_each_inside(
            area, [&](int64_t dx, int64_t dy) { any = any || destination.holds(x + dx, y + dy); });
        return any;
    }

    std::string duplicate() {
        const Member &source = any();
        HBUF32 handle = 0;
        const int result = api().buf32DupBuf(source.handle, &handle);
        EXPECT_EQ(result, source.over_memory() ? 0 : 1);
        if (result == 1)
            members_.push_back(Member{handle, source.picture, nullptr});
        return "DupBuf";
    }

    std::string fill() {
        Member &member = any();
        const Bytes colour = some_random_colour();
        if (member.over_memory())
            return "nothing";
        EXPECT_SUCCESS(api().buf32FillOneColor(member.handle, colour.data()));
        // A linear buffer keeps its one cell, whatever it has become.
        paint(member.picture, colour);
        return "FillOneColor";
    }

    Random &random_;
    int bits_;
    std::vector<Member> members_;
};

TEST_F(RandomRectangles, ShowWhatThePicturesShow) {
    random_cases(140, [](Random &random, uint64_t number) {
        const int depths[] = {1, 2, 4, 8, 16, 24, 32, 48, 64, 3, 7};
        const int bits = depths[random.below(std::size(depths))];
        SCOPED_TRACE(std::to_string(bits) + " bits; " + rerun(number));
        Handful handful(random, bits);
        std::string steps;
        for (int i = 0; i < 14; ++i) {
            steps += "\n  " + handful.step();
            handful.expect_pictures();
            expect_no_report();
            if (::testing::Test::HasFailure()) {
                ADD_FAILURE() << "after" << steps;
                return false;
            }
        }
        return true;
    });
}

} // namespace
} // namespace q32::test
