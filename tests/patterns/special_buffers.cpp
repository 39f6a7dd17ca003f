// Filled buffers from outside.
#include "tests/patterns/special_buffers.h"

namespace q32::test {

const std::vector<Start> &starts() {
    static const std::vector<Start> all = {
        {"tiled", BUF32_TILED, false, false},
        {"tiled, in a file", BUF32_TILED, false, true},
        {"kept out of memory", BUF32_TILED_FILE, false, false},
        {"linear", BUF32_LINEAR, false, false},
        {"linear, in a file", BUF32_LINEAR, false, true},
        {"linear, in memory only", BUF32_LINEAR_MEMORY, false, true},
        {"linear, shrinking", BUF32_LINEAR_SHRINK, false, false},
        {"linear, shrinking, in a file", BUF32_LINEAR_SHRINK, false, true},
        {"one colour", BUF32_ONE_COLOUR, false, false},
        {"one colour with a block", BUF32_ONE_COLOUR, true, false},
        {"pattern", BUF32_PATTERN, false, false},
        {"pattern with a block", BUF32_PATTERN, true, false},
    };
    return all;
}

namespace {

Pattern random_pattern(int bits, int width, int height) {
    Random random(test_seed(), uint64_t(bits * 1000 + width));
    return Pattern(width, height, bits, random);
}

} // namespace

std::unique_ptr<Buffer> Start::make(int bits, int width, int height, Random &random) const {
    set_memory_limit(to_files ? 1 : 0, 0);
    const Pattern pattern(5, 3, bits, random);
    const BUF32PATTERN descriptor = pattern.descriptor();
    const void *extra = nullptr;
    if (type == BUF32_ONE_COLOUR)
        extra = pattern.pixels.data();
    if (type == BUF32_PATTERN)
        extra = &descriptor;
    auto buffer = std::make_unique<Buffer>(bits, width, height, type, extra);
    if (with_block) {
        EXPECT_EQ(api().buf32Lock(*buffer, BUF32_READ, nullptr), 1);
        EXPECT_EQ(api().buf32Unlock(*buffer), 1);
    } else if (extra == nullptr) {
        fill(*buffer, random);
    }
    set_memory_limit(0, 0);
    return buffer;
}

void fill_with(Picture &picture, const Pattern &pattern) {
    const BUF32PATTERN descriptor = pattern.descriptor();
    EXPECT_SUCCESS(api().buf32FillPattern(picture.buffer, &descriptor));
    picture.paint(pattern);
}

PatternBuffer::PatternBuffer(const Pattern &pattern_in, int width, int height, uint32_t origin,
                             bool filled)
    : pattern(pattern_in), descriptor(pattern.descriptor()),
      buffer(pattern.bits, width, height, origin, &descriptor),
      picture(buffer, Geometry(width, height, pattern.bits, origin)) {
    if (filled || origin != BUF32_PATTERN)
        EXPECT_SUCCESS(api().buf32FillPattern(buffer, &descriptor));
    picture.paint(pattern);
}

PatternBuffer::PatternBuffer(int bits, int width, int height, int pattern_width, int pattern_height,
                             uint32_t origin)
    : PatternBuffer(random_pattern(bits, pattern_width, pattern_height), width, height, origin) {}

namespace {

bool fails_with(const Failure &failure, int result) {
    const bool as_it_must = result == 0 && frame::reports() == std::vector<Failure>{failure};
    if (!as_it_must)
        ADD_FAILURE() << "result " << result << ", and reports "
                      << testing::PrintToString(frame::reports());
    forget_reports();
    return as_it_must;
}

int fill_with_pattern(HBUF32 buffer) {
    static constexpr uint8_t pixels[8 * 3 * 2] = {0x31, 0x8A, 0x5C, 0xE7, 0x02, 0x9B, 0x46};
    const BUF32PATTERN pattern{3, 2, pixels};
    return api().buf32FillPattern(buffer, &pattern);
}

bool colour_without_block(HBUF32 buffer) {
    forget_reports();
    const NoBlocks none;
    return fails_with(no_block, api().buf32FillOneColor(buffer, colour)) && none.refused() == 1;
}
bool pattern_without_block(HBUF32 buffer) {
    forget_reports();
    const NoBlocks none;
    return fails_with(no_block, fill_with_pattern(buffer)) && none.refused() == 1;
}
bool pattern_without_copy(HBUF32 buffer) {
    forget_reports();
    const FailingCall copy("malloc", 1, FailingCall::from_there_on);
    return fails_with(no_copy, fill_with_pattern(buffer)) && copy.happened();
}
// The block is asked for first.
bool pattern_without_both(HBUF32 buffer) {
    forget_reports();
    const NoBlocks none;
    const FailingCall copy("malloc", 1, FailingCall::from_there_on);
    return fails_with(no_block, fill_with_pattern(buffer)) && none.refused() == 1;
}

} // namespace

std::vector<Loss> losses_of(const Start &start) {
    std::vector<Loss> result = {{"a pattern without a block", pattern_without_block},
                                {"a pattern without a copy", pattern_without_copy},
                                {"a pattern without either", pattern_without_both}};
    if (start.type != BUF32_ONE_COLOUR)
        result.push_back({"one colour without a block", colour_without_block});
    return result;
}

void expect_what_is_left(Picture &picture, const Start &start) {
    if (start.type == BUF32_ONE_COLOUR) { // the colour is in the record
        expect_read_everywhere(picture);
    } else if (start.type == BUF32_PATTERN) { // the pattern, unless its copy has gone
        if (word(picture.buffer, field_external_data) == 0)
            picture.image = PlainImage(picture.geometry);
        expect_read_everywhere(picture);
    } else {
        expect_no_image(picture);
    }
}

uint32_t pattern_block_bytes(const Geometry &geometry, const Pattern &pattern) {
    return uint32_t(std::max(geometry.cell_bytes(), geometry.row_bytes() * pattern.height));
}

namespace {

void expect_operations_of(HBUF32 buffer, HBUF32 like) {
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(word(buffer, field_operations + i), word(like, field_operations + i)) << i;
}

// The layout is that of the buffer's origin; everything about a swap file has gone.
void expect_info(const Picture &picture, uint32_t type, int one_colour, BUF32INFO &info) {
    const Geometry &geometry = picture.geometry;
    ASSERT_EQ(api().buf32GetInfo(picture.buffer, &info), 1);
    EXPECT_EQ(info.type, type);
    EXPECT_EQ(info.one_colour, one_colour);
    EXPECT_EQ(info.data_handle, nullptr);
    EXPECT_EQ(info.bits_per_pixel, geometry.bits);
    EXPECT_EQ(info.bytes_per_pixel, geometry.bytes_per_pixel());
    EXPECT_EQ(info.width, geometry.width);
    EXPECT_EQ(info.height, geometry.height);
    EXPECT_EQ(info.capacity_rows, geometry.height);
    EXPECT_EQ(info.image_bytes, Geometry::shown(geometry.image_bytes()));
    EXPECT_EQ(info.reserved_bytes, Geometry::shown(geometry.image_bytes()));
    EXPECT_EQ(info.format_depth, 0);
    EXPECT_EQ(info.cell_count, geometry.cell_count());
    EXPECT_EQ(info.cell_columns, geometry.columns());
    EXPECT_EQ(info.cell_rows, geometry.bands());
    EXPECT_EQ(info.cell_width, geometry.cell_width());
    EXPECT_EQ(info.cell_height, geometry.cell_height());
    EXPECT_EQ(info.last_column_width, geometry.last_column_width());
    EXPECT_EQ(info.last_row_height, geometry.last_row_height());
    EXPECT_EQ(info.band_bytes, geometry.band_bytes());
    EXPECT_EQ(info.cell_bytes, geometry.cell_bytes());
}

// One block of committed memory, and neither file nor mapping.
void expect_block(HBUF32 buffer, uint32_t bytes) {
    EXPECT_EQ(memory_in_use(), bytes);
    EXPECT_EQ(mapped_bytes(), 0u);
    EXPECT_EQ(word(buffer, field_mapping), 0u);
    EXPECT_EQ(word(buffer, field_file), 0u);
    EXPECT_EQ(word(buffer, field_record_entry), 0xFFFFFFFF);
    const uintptr_t storage = word(buffer, field_storage);
    ASSERT_NE(storage, 0u);
    EXPECT_EQ(cell_address_word(buffer, 0), storage);
    MEMORY_BASIC_INFORMATION pages{};
    const auto *base = reinterpret_cast<const void *>(storage);
    ASSERT_NE(VirtualQuery(base, &pages, sizeof pages), 0u);
    EXPECT_EQ(pages.State, DWORD(MEM_COMMIT));
    EXPECT_EQ(pages.Protect, DWORD(PAGE_READWRITE));
    EXPECT_EQ(pages.AllocationBase, base);
    EXPECT_GE(pages.RegionSize, bytes);
    EXPECT_LT(pages.RegionSize, bytes + 4096);
}

} // namespace

void expect_filled_with(const Picture &picture, const uint8_t *bytes) {
    const HBUF32 buffer = picture.buffer;
    const Geometry &geometry = picture.geometry;
    BUF32INFO info;
    expect_info(picture, BUF32_ONE_COLOUR, 1, info);
    EXPECT_EQ(std::memcmp(info.colour, bytes, geometry.unit_bytes()), 0);
    const auto block_bytes = uint32_t(geometry.block_bytes());
    expect_block(buffer, block_bytes);
    Buffer like(8, 1, 1, BUF32_ONE_COLOUR, bytes);
    expect_operations_of(buffer, like);
    const int64_t pixels = std::max(geometry.width, geometry.cell_width() * geometry.cell_height());
    const size_t filled = geometry.bits < 8 ? block_bytes : size_t(pixels) * geometry.unit_bytes();
    const auto *block = reinterpret_cast<const uint8_t *>(word(buffer, field_storage));
    for (size_t i = 0; i < std::min<size_t>(filled, block_bytes); ++i)
        ASSERT_EQ(block[i], bytes[i % geometry.unit_bytes()]) << "byte " << i << " of the block";
}

void expect_filled_with(const Picture &picture, const Pattern &pattern) {
    const HBUF32 buffer = picture.buffer;
    const Geometry &geometry = picture.geometry;
    BUF32INFO info;
    expect_info(picture, BUF32_PATTERN, 1, info);
    EXPECT_EQ(info.colour[0], uint32_t(pattern.width) | uint32_t(pattern.height) << 16);
    const auto *copy = reinterpret_cast<const uint8_t *>(info.colour[1]);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, pattern.pixels.data());
    EXPECT_TRUE(same_bytes(pattern.pixels, copy));
    expect_block(buffer, pattern_block_bytes(geometry, pattern));
    const BUF32PATTERN descriptor = pattern.descriptor();
    Buffer like(int(geometry.bits), 1, 1, BUF32_PATTERN, &descriptor);
    expect_operations_of(buffer, like);
    // The block holds the pattern's rows over the full width, also those below the image.
    Picture rows(0, Geometry(int(geometry.width), pattern.height, int(geometry.bits),
                             geometry.linear ? BUF32_LINEAR : BUF32_TILED));
    rows.paint(pattern);
    if (geometry.is_dense()) {
        EXPECT_TRUE(same_rows(rows.image.bytes(),
                              reinterpret_cast<const uint8_t *>(word(buffer, field_storage)),
                              rows.image.row_bytes(), geometry.width * geometry.bits));
    }
}

void expect_given_up(HBUF32 buffer, const Start &start, const Geometry &geometry) {
    BUF32INFO info;
    expect_info(Picture(buffer, geometry), start.type, start.type == BUF32_ONE_COLOUR ? 1 : 0,
                info);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    for (int field :
         {int(field_storage), int(field_mapping), int(field_file), int(field_share_marker),
          int(field_source), int(field_first_sharer), int(field_last_sharer)})
        EXPECT_EQ(word(buffer, field), 0u) << "field " << field;
    EXPECT_EQ(word(buffer, field_record_entry), 0xFFFFFFFF);
    expect_no_swap_files();
    uint8_t pixel[8] = {};
    const BUF32PATTERN pattern{1, 1, pixel};
    const void *extra = start.type == BUF32_PATTERN ? static_cast<const void *>(&pattern) : colour;
    Buffer like(8, 1, 1, start.type, extra);
    expect_operations_of(buffer, like);
}

void expect_ordinary_again(const Picture &picture, bool file) {
    const HBUF32 buffer = picture.buffer;
    const Geometry &geometry = picture.geometry;
    BUF32INFO info;
    expect_info(picture, BUF32_TILED, 0, info);
    const auto bytes = uint32_t(geometry.image_bytes());
    EXPECT_EQ(memory_in_use(), file ? 0 : bytes);
    EXPECT_EQ(mapped_bytes(), file ? bytes : 0);
    EXPECT_EQ(word(buffer, field_file) != 0, file);
    EXPECT_EQ(word(buffer, field_mapping) != 0, file);
    EXPECT_EQ(word(buffer, field_record_entry) != 0xFFFFFFFF, file);
    const uintptr_t storage = word(buffer, field_storage);
    for (int i = 0; i < int(geometry.cell_count()); ++i)
        EXPECT_EQ(cell_address_word(buffer, i), storage + uint32_t(geometry.offset_of(i))) << i;
    Buffer like(8, 1, 1);
    expect_operations_of(buffer, like);
}

} // namespace q32::test
