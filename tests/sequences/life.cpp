// Buffers come, change their height, and go.
#include "tests/sequences/world.h"

namespace q32::test {
namespace {

constexpr size_t most_buffers = 7;

// Around the sides of cells, and small; now and then several cells high or wide.
int random_side(Random &random, bool width) {
    if (random.below(60) == 0)
        return between(random, 254, 400);
    switch (random.below(width ? 4 : 8)) {
    case 0:
        return between(random, 126, 130);
    case 1:
        return width ? between(random, 254, 259) : between(random, 1, 40);
    default:
        return between(random, 1, width ? 40 : 12);
    }
}

} // namespace

void World::allocate() {
    static constexpr int depths[] = {1,  1,  2,  3,  4,  5,  6,  7,  8, 8,
                                     16, 24, 24, 24, 32, 40, 48, 56, 64};
    static constexpr int bitmap_depths[] = {1, 4, 8, 16, 24, 32};
    static constexpr uint32_t types[] = {BUF32_TILED,         BUF32_TILED,   BUF32_TILED,
                                         BUF32_ONE_COLOUR,    BUF32_LINEAR,  BUF32_LINEAR_MEMORY,
                                         BUF32_DIB,           BUF32_DIB,     BUF32_LINEAR_SHRINK,
                                         BUF32_CALLER_MEMORY, BUF32_PATTERN, BUF32_TILED_FILE,
                                         BUF32_TILED_FILE};
    if (buffers_.size() >= most_buffers) {
        release();
        return;
    }
    const uint32_t type = types[random_.below(std::size(types))];
    const int bits = type == BUF32_DIB ? bitmap_depths[random_.below(std::size(bitmap_depths))]
                                       : depths[random_.below(std::size(depths))];
    const int width = random_side(random_, true), height = random_side(random_, false);
    ModelBuffer made(type, bits, width, height);
    describe("allocate " + made.shape().text() + " type " + std::to_string(type) + " ");
    maybe_inject();
    if (made.is(BUF32_ONE_COLOUR)) {
        random_colour(bits, made.colour);
        made.picture.paint(made.colour);
        allocate_by_type(made, made.colour);
    } else if (made.is(BUF32_PATTERN)) {
        const Pattern pattern = random_pattern(bits);
        const BUF32PATTERN descriptor = pattern.descriptor();
        made.picture.paint(pattern);
        allocate_by_type(made, &descriptor);
    } else if (made.is(BUF32_CALLER_MEMORY)) {
        Bytes &pixels = made.picture.image.bytes();
        made.memory = std::make_shared<MemoryBlock>(pixels.size(), random_fence(random_), random_);
        pixels = made.memory->contents();
        made.memory->protect();
        const BUF32MEMORY extra{7, made.memory->data()};
        allocate_by_type(made, &extra);
    } else if (!made.is(BUF32_DIB)) {
        allocate_by_type(made, nullptr);
    } else if (random_.below(2) == 0) {
        allocate_packed_bitmap(made);
    } else {
        allocate_over_pixels(made);
    }
    if (made.handle != 0 && !injected() && !made.is_special() &&
        (word(made.handle, field_file) != 0) != goes_to_file(made))
        differs("storage in the wrong place");
    injection_ = nullptr;
    if (made.handle == 0)
        return;
    const bool unknown =
        word(made.handle, field_storage) != 0 && !made.is(BUF32_DIB) && made.memory == nullptr;
    buffers_.push_back(std::move(made));
    if (unknown)
        overwrite(buffers_.back());
}

void World::allocate_by_type(ModelBuffer &buffer, const void *extra) {
    const Shape shape = buffer.shape();
    called(
        api().buf32Alloc(&buffer.handle, shape.bits, shape.width, shape.height, buffer.type, extra),
        1);
}

void World::allocate_packed_bitmap(ModelBuffer &buffer) {
    buffer.header =
        Header{buffer.shape(), random_.below(2) == 0 ? 40u : 20u, rgb, uint32_t(random_.below(4))};
    const Shape &shape = buffer.header.shape;
    const Bytes pixels = random_bytes(random_, shape.bitmap_bytes(false));
    const Bytes block = block_of(buffer.header, pixels);
    buffer.picture.image.bytes() = packed_pixels(pixels, shape);
    buffer.bitmap = std::make_shared<FencedBitmap>(
        block, random_.below(2) == 0 ? FencedBitmap::ends_at_fence : FencedBitmap::begins_at_fence);
    const int result =
        random_.below(2) == 0
            ? api().buf32DIBBufAlloc(&buffer.handle, *buffer.bitmap)
            : api().buf32Alloc(&buffer.handle, shape.bits, 1, 1, BUF32_DIB, *buffer.bitmap);
    if (!called(result, 1) &&
        (buffer.bitmap->bytes() != block || buffer.bitmap->locks() != 0 || buffer.bitmap->freed()))
        differs("the refused bitmap");
}

void World::allocate_over_pixels(ModelBuffer &buffer) {
    const Shape shape = buffer.shape();
    const Bytes pixels = random_bytes(random_, shape.bitmap_bytes(false));
    buffer.picture.image.bytes() = packed_pixels(pixels, shape);
    buffer.memory = std::make_shared<MemoryBlock>(pixels.size(), random_fence(random_), random_);
    buffer.memory->set(pixels);
    buffer.mode = 0;
    called(api().buf32DIBMemBufAlloc(&buffer.handle, shape.bits, shape.width, shape.height,
                                     buffer.memory->data()),
           1);
}

void World::release() {
    ModelBuffer &buffer = any();
    describe("free " + name_of(buffer));
    maybe_inject();
    const bool refused = buffer.locks > 0 && !buffer.is(BUF32_CALLER_MEMORY);
    const bool done =
        called(api().buf32Free(buffer.handle), !refused,
               refused ? std::vector<Failure>{{5804, 1, 4, 12}} : std::vector<Failure>{});
    if (!done) {
        // A refused free loses the pattern.
        if (buffer.is(BUF32_PATTERN))
            buffer.picture.image = PlainImage(buffer.picture.geometry);
        return;
    }
    if (buffer.bitmap != nullptr && !buffer.bitmap->freed())
        differs("the bitmap has not been freed");
    called(api().buf32Free(buffer.handle), 0);
    forget(buffer); // whoever still touches the caller's memory finds a fence
}

// Gives a bitmap buffer back as a bitmap.
void World::release_bitmap() {
    ModelBuffer &buffer = any();
    if (!buffer.is(BUF32_DIB))
        return merge_memory();
    describe("free as a bitmap " + name_of(buffer));
    const bool duplicate = buffer.is_duplicate();
    const auto own = reinterpret_cast<HGLOBAL>(word(buffer.handle, field_data_handle));
    maybe_inject();
    HGLOBAL bitmap = &bitmap;
    if (!called(api().buf32DIBBufFree(buffer.handle, &bitmap), 1))
        return;
    if (buffer.locks > 0) {
        if (bitmap != &bitmap)
            differs("a locked buffer gave its bitmap");
        return;
    }
    if (bitmap != (buffer.bitmap != nullptr ? HGLOBAL(*buffer.bitmap) : own))
        differs("another bitmap came back");
    const Shape shape = buffer.shape();
    const auto compare = [&](const uint8_t *pixels) {
        const Bytes packed = packed_pixels(bytes_at(pixels, shape.bitmap_bytes(false)), shape);
        if (!duplicate && !same_rows(buffer.picture.image.bytes(), packed.data(), shape.row_bytes(),
                                     int64_t(shape.width) * shape.bits))
            differs("the pixels that came back");
    };
    if (buffer.memory != nullptr) {
        if (bitmap != nullptr)
            differs("a block of pixels gave a bitmap");
        compare(buffer.memory->data());
    } else if (buffer.bitmap != nullptr) {
        if (buffer.bitmap->locks() != 0 || buffer.bitmap->freed())
            differs("the bitmap is still locked, or freed");
        compare(buffer.bitmap->data() + buffer.header.pixels_at());
    } else if (bitmap != nullptr) { // of a duplicate's own, which says how long its header is
        if ((GlobalFlags(bitmap) & GMEM_LOCKCOUNT) != 0)
            differs("the bitmap is still locked");
        const auto *const block = static_cast<const uint8_t *>(GlobalLock(bitmap));
        Header header{shape};
        std::memcpy(&header.size, block, 4);
        std::memcpy(&header.colours_used, block + 32, 4);
        compare(block + header.own_pixels_at());
        free_block(bitmap);
    }
    forget(buffer);
}

void World::bitmap_there_and_back() {
    ModelBuffer &buffer = any();
    if (!buffer.is(BUF32_DIB))
        return merge_memory();
    describe("to bitmap layout and back " + name_of(buffer));
    const auto bitmap = uintptr_t(api().buf32DIBBufToDIB(buffer.handle));
    if (bitmap != word(buffer.handle, field_data_handle) || buffer.is_duplicate())
        differs("another bitmap");
    called(api().buf32DIBToDIBBuf(buffer.handle), 1);
}

void World::resize() {
    ModelBuffer &buffer = any();
    const int rows = between(random_, 1, buffer.capacity + 2);
    describe("change height of " + name_of(buffer) + " to " + std::to_string(rows));
    maybe_inject();
    const bool can = buffer.has_resizable_height() && rows <= buffer.capacity;
    if (!called(api().buf32ReAlloc(buffer.handle, rows), can,
                can ? std::vector<Failure>{} : std::vector<Failure>{{3200, 0, 4, 11}}))
        return;
    injection_.reset();
    const int before = buffer.picture.height();
    buffer.picture.set_rows(rows);
    if (rows > before) { // of what has come back nothing is known
        const Picture shown = shown_by(buffer);
        buffer.picture.merge(shown, {0, before, shown.width(), rows - before}, 0, before);
    }
    compare_pixels(buffer);
}

// Memory for large buffers is forbidden or allowed from now on.
void World::change_policy() {
    limited_ = !limited_;
    describe(limited_ ? "no memory for large buffers" : "memory for all buffers");
    set_memory_limit(limited_ ? 1 : 0, 0);
}

} // namespace q32::test
