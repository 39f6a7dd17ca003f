// Bitmaps in memory, their layouts by definition, and buffers over them.
#include "tests/bitmaps/bitmap_fixture.h"

#include <map>
#include <memory>

namespace q32::test {

// --- layouts ---------------------------------------------------------------------------------

namespace {

// One row between the layouts: 3-byte pixels change the order of their channels.
void convert_row(uint8_t *row, const Shape &shape) {
    if (shape.unit() == 3)
        for (int x = 0; x < shape.width; ++x)
            std::swap(row[3 * x], row[3 * x + 2]);
}

} // namespace

Bytes packed_pixels(const Bytes &bitmap, const Shape &shape) {
    Bytes packed(shape.packed_bytes());
    for (size_t y = 0; y < size_t(shape.height); ++y) {
        uint8_t *row = packed.data() + y * shape.row_bytes();
        std::memcpy(row, bitmap.data() + (size_t(shape.height) - 1 - y) * shape.padded_row_bytes(),
                    shape.row_bytes());
        convert_row(row, shape);
    }
    return packed;
}

Bytes in_buffer_layout(const Bytes &bitmap, const Shape &shape) {
    Bytes result = bitmap;
    const Bytes packed = packed_pixels(bitmap, shape);
    std::copy(packed.begin(), packed.end(), result.begin());
    return result;
}

Bytes in_bitmap_layout(const Bytes &buffer, const Shape &shape) {
    Bytes result = buffer;
    for (size_t y = 0; y < size_t(shape.height); ++y) {
        uint8_t *row = result.data() + (size_t(shape.height) - 1 - y) * shape.padded_row_bytes();
        std::memcpy(row, buffer.data() + y * shape.row_bytes(), shape.row_bytes());
        convert_row(row, shape);
    }
    return result;
}

Bytes random_bytes(Random &random, size_t count) {
    Bytes bytes(count);
    random.fill(bytes);
    return bytes;
}

Bytes bytes_at(const void *from, size_t count) {
    const auto *const bytes = static_cast<const uint8_t *>(from);
    return Bytes(bytes, bytes + count);
}

uint64_t pixel_at(const Bytes &packed, const Shape &shape, int x, int y) {
    const uint8_t *row = packed.data() + size_t(y) * shape.row_bytes();
    uint64_t value = 0;
    if (shape.bits < 8) {
        for (int bit = x * shape.bits; bit < (x + 1) * shape.bits; ++bit)
            value = value << 1 | (row[bit / 8] >> (7 - bit % 8) & 1u);
        return value;
    }
    for (size_t i = 0; i < shape.unit(); ++i)
        value = value << 8 | row[size_t(x) * shape.unit() + i];
    return value;
}

// --- bitmaps ---------------------------------------------------------------------------------

namespace {

// The field is in the header from 36 bytes on; 0 says nothing.
bool says_colours(const Header &header) {
    return header.size >= 36 && header.colours_used != 0;
}

void put(Bytes &block, size_t at, uint32_t value, size_t bytes = 4) {
    std::memcpy(block.data() + at, &value, bytes);
}

} // namespace

uint64_t Header::pixels_at() const {
    if (says_colours(*this))
        return size + uint64_t(colours_used) * 4;
    return size + (shape.bits < 16 ? (uint64_t(1) << shape.bits) * 4 : 0);
}

uint64_t Header::own_pixels_at() const {
    if (says_colours(*this))
        return size + uint64_t(colours_used) * 4;
    return size + (shape.bits != 24 ? (uint64_t(1) << shape.bits % 32) * 4 : 0);
}

std::string Header::text() const {
    return shape.text() + ", header of " + std::to_string(size) + ", compression " +
           std::to_string(compression) + ", colours " + std::to_string(colours_used);
}

Bytes block_of(const Header &header, const Bytes &pixels) {
    Bytes block(std::max<size_t>(header.pixels_at(), 40) + pixels.size());
    Random random(test_seed(), header.size * 64u + uint32_t(header.shape.bits));
    random.fill(block);
    put(block, 0, header.size);
    put(block, 4, uint32_t(header.shape.width));
    put(block, 8, uint32_t(header.shape.height));
    put(block, 12, 1, 2);
    put(block, 14, uint32_t(header.shape.bits), 2);
    put(block, 16, header.compression);
    if (header.size >= 36)
        put(block, 32, header.colours_used);
    std::copy(pixels.begin(), pixels.end(), block.begin() + ptrdiff_t(header.pixels_at()));
    block.resize(header.pixels_at() + pixels.size());
    return block;
}

Bytes block_of(const Header &header, Random &random, bool padded_to_the_end) {
    return block_of(header, random_bytes(random, header.shape.bitmap_bytes(padded_to_the_end)));
}

Bitmap::Bitmap(const Bytes &bytes, UINT flags)
    : handle_(GlobalAlloc(flags, bytes.size())), size_(bytes.size()) {
    void *const memory = handle_ != nullptr ? GlobalLock(handle_) : nullptr;
    if (memory == nullptr)
        return;
    std::memcpy(memory, bytes.data(), bytes.size());
    GlobalUnlock(handle_);
}

Bitmap::~Bitmap() {
    free_block(handle_);
}

Bytes Bitmap::bytes() const {
    const void *const memory = GlobalLock(handle_);
    if (memory == nullptr) {
        ADD_FAILURE() << "a bitmap that cannot be locked";
        return {};
    }
    const Bytes bytes = bytes_at(memory, size_);
    GlobalUnlock(handle_);
    return bytes;
}

uintptr_t Bitmap::address() const {
    const auto address = uintptr_t(GlobalLock(handle_));
    GlobalUnlock(handle_);
    return address;
}

struct FencedBitmap::Gates {
    static inline std::map<HGLOBAL, FencedBitmap *> blocks;
    static inline std::unique_ptr<Gates> open; // while there are blocks

    static FencedBitmap *find(HGLOBAL block) {
        const auto found = blocks.find(block);
        return found != blocks.end() ? found->second : nullptr;
    }

    frame::Replaced<frame::call::GlobalLock> lock{[](HGLOBAL block) -> LPVOID {
        FencedBitmap *const fenced = find(block);
        if (fenced == nullptr)
            return GlobalLock(block);
        ++fenced->locks_;
        return fenced->data_;
    }};
    frame::Replaced<frame::call::GlobalUnlock> unlock{[](HGLOBAL block) -> BOOL {
        FencedBitmap *const fenced = find(block);
        if (fenced == nullptr)
            return GlobalUnlock(block);
        EXPECT_GT(fenced->locks_, 0) << "unlocked once too often";
        SetLastError(NO_ERROR);
        return --fenced->locks_ > 0;
    }};
    frame::Replaced<frame::call::GlobalSize> size{[](HGLOBAL block) -> SIZE_T {
        const FencedBitmap *const fenced = find(block);
        return fenced == nullptr ? GlobalSize(block) : fenced->size_;
    }};
    frame::Replaced<frame::call::GlobalFlags> flags{[](HGLOBAL block) -> UINT {
        const FencedBitmap *const fenced = find(block);
        return fenced == nullptr ? GlobalFlags(block) : UINT(fenced->locks_);
    }};
    frame::Replaced<frame::call::GlobalFree> free{[](HGLOBAL block) -> HGLOBAL {
        FencedBitmap *const fenced = find(block);
        if (fenced == nullptr)
            return GlobalFree(block);
        EXPECT_FALSE(fenced->freed_) << "freed twice";
        EXPECT_EQ(fenced->locks_, 0) << "freed while it is locked";
        fenced->freed_ = true;
        return nullptr;
    }};
};

FencedBitmap::FencedBitmap(const Bytes &bytes, Side side)
    : handle_(GlobalAlloc(GMEM_MOVEABLE, 1)), size_(bytes.size()),
      memory_(std::max<size_t>(bytes.size(), 1)),
      data_(side == ends_at_fence ? memory_.end() - bytes.size() : memory_.begin()) {
    std::copy(bytes.begin(), bytes.end(), data_);
    if (Gates::blocks.empty())
        Gates::open = std::make_unique<Gates>();
    Gates::blocks[handle_] = this;
}

FencedBitmap::~FencedBitmap() {
    Gates::blocks.erase(handle_);
    if (Gates::blocks.empty())
        Gates::open.reset();
    GlobalFree(handle_);
}

// --- buffers ---------------------------------------------------------------------------------

Opened::Opened(HGLOBAL bitmap) : over_(bitmap) {
    EXPECT_SUCCESS(api().buf32DIBBufAlloc(&handle_, bitmap));
}

Opened::Opened(const Shape &shape, void *pixels) : over_(nullptr) {
    EXPECT_SUCCESS(
        api().buf32DIBMemBufAlloc(&handle_, shape.bits, shape.width, shape.height, pixels));
}

Opened::~Opened() {
    if (handle_ == 0)
        return;
    if (::testing::Test::HasFailure()) // a test that ended early may have left it locked
        set_word(handle_, field_lock_count, 0);
    if (!over_) {
        free();
        return;
    }
    EXPECT_EQ(close(), *over_);
}

HGLOBAL Opened::close() {
    HGLOBAL bitmap = nullptr;
    EXPECT_SUCCESS(api().buf32DIBBufFree(handle_, &bitmap));
    handle_ = 0;
    return bitmap;
}

void Opened::free() {
    EXPECT_SUCCESS(api().buf32Free(handle_));
    handle_ = 0;
}

void free_block(HGLOBAL block) {
    if (block == nullptr)
        return;
    while ((GlobalFlags(block) & GMEM_LOCKCOUNT) != 0)
        GlobalUnlock(block);
    frame::forget_block(block);
    GlobalFree(block);
}

Shape shape_of(HBUF32 buffer) {
    return {int(word(buffer, field_bits_per_pixel)), int(word(buffer, field_width)),
            int(word(buffer, field_height))};
}

Bytes pixels_of(HBUF32 buffer) {
    void *base = nullptr;
    EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, &base), 1);
    if (base == nullptr) {
        ADD_FAILURE() << "no pixels";
        return {};
    }
    const Bytes pixels = bytes_at(base, shape_of(buffer).packed_bytes());
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
    return pixels;
}

Bytes read_pixels(HBUF32 buffer) {
    const Shape shape = shape_of(buffer);
    FencedBlock memory(shape.packed_bytes());
    std::memset(memory.data(), 0, memory.size());
    EXPECT_EQ(api().buf32GetMem(buffer, 0, 0, shape.width, shape.height, memory.data()), 1);
    return bytes_at(memory.data(), memory.size());
}

void write_pixels(HBUF32 buffer, const Bytes &packed) {
    void *base = nullptr;
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_WRITE, &base), 1);
    std::copy(packed.begin(), packed.end(), static_cast<uint8_t *>(base));
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
}

bool is_duplicate(HBUF32 buffer) {
    return word(buffer, field_share_marker) == 64;
}

HBUF32 source_of(HBUF32 buffer) {
    return word(buffer, field_source);
}

HBUF32 duplicate_of(HBUF32 source) {
    HBUF32 handle = 0;
    EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
    return handle;
}

} // namespace q32::test
