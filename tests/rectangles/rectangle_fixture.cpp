// The buffers of every kind and the checked calls of the rectangle tests.
#include "tests/rectangles/rectangle_fixture.h"

namespace q32::test {

// --- buffers of every kind -------------------------------------------------------------------

namespace {

// In the order of the enumeration.
constexpr struct {
    const char *name;
    uint32_t type;
} kinds[] = {
    {"tiled", BUF32_TILED},
    {"linear", BUF32_LINEAR},
    {"linear in memory", BUF32_LINEAR_MEMORY},
    {"linear that shrinks", BUF32_LINEAR_SHRINK},
    {"in a file", BUF32_TILED_FILE},
    {"duplicate", BUF32_TILED},
    {"with a duplicate", BUF32_TILED},
    {"linear duplicate", BUF32_LINEAR},
    {"over caller memory", BUF32_CALLER_MEMORY},
};

} // namespace

const char *name_of(Kind kind) {
    return kinds[size_t(kind)].name;
}

uint32_t type_of(Kind kind) {
    return kinds[size_t(kind)].type;
}

namespace {

// Caller memory has no cells: its rows are those of a linear image.
Geometry geometry_for(Kind kind, int bits, int width, int height) {
    return Geometry(width, height, bits,
                    kind == Kind::caller_memory ? BUF32_LINEAR : type_of(kind));
}

std::unique_ptr<Buffer> duplicate_of(HBUF32 source) {
    HBUF32 handle = 0;
    EXPECT_EQ(api().buf32DupBuf(source, &handle), 1);
    return std::make_unique<Buffer>(handle);
}

// A storage in virtual memory ends with its page, and the rest of the page belongs to nobody.
void expect_nothing_behind_the_storage(HBUF32 buffer) {
    const auto type = word(buffer, field_type);
    if (word(buffer, field_file) != 0 || word(buffer, field_storage) == 0 ||
        type == BUF32_CALLER_MEMORY || type == BUF32_ONE_COLOUR)
        return;
    const auto *const end = reinterpret_cast<const uint8_t *>(word(buffer, field_storage)) +
                            word(buffer, field_image_bytes);
    for (const uint8_t *at = end; uintptr_t(at) % FencedMemory::page != 0; ++at)
        if (*at != 0) {
            ADD_FAILURE() << "written behind the storage, at byte " << at - end;
            return;
        }
}

} // namespace

Subject::Subject(Kind kind, int bits, int width, int height, Random &random)
    : picture(geometry_for(kind, bits, width, height)), kind_(kind), original_(picture) {
    random.fill(picture.image.bytes());
    original_ = picture;
    if (kind == Kind::caller_memory) {
        memory_ = std::make_unique<MemoryBlock>(picture.image.bytes().size(), random_fence(random),
                                                random);
        memory_->set(picture.image.bytes());
        memory_->protect();
        const BUF32MEMORY memory{7, memory_->data()};
        buffer_ = std::make_unique<Buffer>(bits, width, height, BUF32_CALLER_MEMORY, &memory);
        return;
    }
    auto made = std::make_unique<Buffer>(bits, width, height, type_of(kind));
    store(*made, picture.image);
    switch (kind) {
    case Kind::duplicate:
    case Kind::linear_duplicate:
        buffer_ = duplicate_of(*made);
        partner_ = std::move(made);
        break;
    case Kind::shared:
        partner_ = duplicate_of(*made);
        buffer_ = std::move(made);
        break;
    default:
        buffer_ = std::move(made);
    }
}

void Subject::free() {
    buffer_.reset();
    partner_.reset();
}

void Subject::expect_picture() const {
    if (kind_ == Kind::caller_memory) {
        memory_->expect(picture.image.bytes());
        return;
    }
    expect_rows(*this, picture);
    expect_nothing_behind_the_storage(*this);
    if (partner_) {
        SCOPED_TRACE("the other one that shares");
        expect_rows(*partner_, original_);
        expect_nothing_behind_the_storage(*partner_);
    }
}

OneColourSubject::OneColourSubject(int bits, int width, int height, const uint8_t *colour)
    : picture(Geometry(width, height, bits, BUF32_ONE_COLOUR)),
      buffer_(bits, width, height, BUF32_ONE_COLOUR, colour) {
    picture.paint(colour);
}

void OneColourSubject::expect_picture() const {
    expect_same_pixels(picture_of(buffer_), picture);
}

PlainImage read_rows(HBUF32 buffer) {
    PlainImage image(geometry_of(buffer));
    const auto mode = word(buffer, field_access_mode);
    EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    for (size_t y = 0; y < image.rows(); ++y)
        EXPECT_EQ(api().buf32Line(buffer, int(y), BUF32_LINE_READ, image.row(y)), 1);
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
    set_word(buffer, field_access_mode, mode); // looking at a buffer leaves no trace
    return image;
}

void expect_rows(HBUF32 buffer, const Picture &picture) {
    PlainImage shown = read_rows(buffer);
    PlainImage expected = picture.image;
    ASSERT_EQ(shown.bytes().size(), expected.bytes().size());
    const auto at =
        std::mismatch(expected.bytes().begin(), expected.bytes().end(), shown.bytes().begin());
    const auto byte = size_t(at.first - expected.bytes().begin());
    EXPECT_EQ(at.first, expected.bytes().end())
        << "byte " << byte % expected.row_bytes() << " of row " << byte / expected.row_bytes()
        << " is " << int(*at.second) << ", not " << int(*at.first);
}

void expect_same_pixels(const Picture &shown, const Picture &expected) {
    ASSERT_EQ(shown.geometry.width, expected.geometry.width);
    ASSERT_EQ(shown.geometry.height, expected.geometry.height);
    ASSERT_EQ(shown.bits(), expected.bits());
    for (int64_t y = 0; y < expected.geometry.height; ++y)
        for (int64_t x = 0; x < expected.geometry.width; ++x) {
            uint8_t found[8] = {}, wanted[8] = {};
            move_pixel(shown.bits(), found, 0, shown.image.row(size_t(y)), shown.bit_of(x));
            move_pixel(shown.bits(), wanted, 0, expected.image.row(size_t(y)), expected.bit_of(x));
            ASSERT_EQ(std::memcmp(found, wanted, 8), 0)
                << "pixel (" << x << ", " << y << "): first byte " << int(found[0]) << ", not "
                << int(wanted[0]);
        }
}

Picture picture_of(HBUF32 buffer) {
    Picture picture(geometry_of(buffer));
    picture.image = read_rows(buffer);
    return picture;
}

// --- calls checked against the model ---------------------------------------------------------

void check_get_memory(const Subject &subject, const Area &area, MemoryBlock::Fence fence,
                      Random &random) {
    SCOPED_TRACE(text_of(area));
    MemoryBlock block(block_bytes(subject.bits(), area), fence, random);
    Bytes expected = block.contents();
    subject.picture.get(area, expected.data());
    EXPECT_SUCCESS(
        api().buf32GetMem(subject, area.x, area.y, area.width, area.height, block.data()));
    block.expect(expected);
}

void check_get_memory_with_background(const Subject &subject, const Area &area,
                                      MemoryBlock::Fence fence, Random &random) {
    SCOPED_TRACE(text_of(area));
    MemoryBlock block(block_bytes(subject.bits(), area), fence, random);
    MemoryBlock background(size_t(std::max(subject.bits() / 8, 1)), fence, random);
    background.protect();
    Bytes expected = block.contents();
    subject.picture.get_with_background(area, expected.data(), background.data());
    EXPECT_SUCCESS(api().buf32GetMemWithBC(subject, area.x, area.y, area.width, area.height,
                                           block.data(), background.data()));
    block.expect(expected);
}

void check_merge_memory(Subject &subject, const Area &area, MemoryBlock::Fence fence,
                        Random &random) {
    SCOPED_TRACE(text_of(area));
    MemoryBlock block(block_bytes(subject.bits(), area), fence, random);
    block.protect();
    subject.picture.merge(area, block.data());
    EXPECT_SUCCESS(
        api().buf32MergeMem(subject, area.x, area.y, block.data(), area.width, area.height));
}

std::vector<Area> rectangles_around(int width, int height) {
    const auto stops = [](int side) {
        std::vector<int> result;
        for (int stop : {-9, -1, 0, 1, 7, 8, side - 1, side, side + 1, side + 10})
            result.push_back(stop);
        for (int cell = 128; cell < side; cell += 128)
            for (int stop : {cell - 1, cell, cell + 1})
                result.push_back(stop);
        std::sort(result.begin(), result.end());
        result.erase(std::unique(result.begin(), result.end()), result.end());
        return result;
    };
    // Each pair of columns with one pair of rows, and the other way round.
    std::vector<std::pair<int, int>> columns, rows;
    for (int begin : stops(width))
        for (int end : stops(width))
            if (begin < end && begin < width && end > 0)
                columns.emplace_back(begin, end);
    for (int begin : stops(height))
        for (int end : stops(height))
            if (begin < end && begin < height && end > 0)
                rows.emplace_back(begin, end);
    std::vector<Area> result;
    for (size_t i = 0; i < std::max(columns.size(), rows.size()); ++i) {
        const auto &[left, right] = columns[i % columns.size()];
        const auto &[top, bottom] = rows[(i * 7 + i / rows.size()) % rows.size()];
        result.push_back({left, top, right - left, bottom - top});
    }
    return result;
}

Area random_area(Random &random, int width, int height) {
    const auto side = [&](int length, int &begin, int &size) {
        do {
            begin = between(random, -length / 2 - 20, length - 1);
            size = between(random, 1, length + 60);
        } while (begin + size <= 0);
    };
    Area area{};
    side(width, area.x, area.width);
    side(height, area.y, area.height);
    return area;
}

// --- what a call asks for --------------------------------------------------------------------

NoStorage::NoStorage() {
    api().buf32VMData(0, nullptr, nullptr, &directories_, nullptr, nullptr);
    set_memory_limit(1, 0);
    use_no_directory();
}

NoStorage::~NoStorage() {
    set_memory_limit(0, frame::no_limit);
    api().buf32VMData(1, nullptr, nullptr, &directories_, nullptr, nullptr);
}

} // namespace q32::test
