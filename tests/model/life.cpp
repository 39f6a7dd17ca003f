// Buffers come, change their height, and go.
#include "tests/model/bitmaps.h"
#include "tests/model/world.h"

namespace q32::test {
namespace {

constexpr size_t most_buffers = 7;

// Around the sides of cells, and small; now and then several cells high.
int random_side(Random &random, bool width) {
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
    ModelBuffer made;
    made.type = types[random_.below(std::size(types))];
    made.bits = made.is(BUF32_DIB) ? bitmap_depths[random_.below(std::size(bitmap_depths))]
                                   : depths[random_.below(std::size(depths))];
    const int width = random_side(random_, true);
    made.image = Image(width, random_side(random_, false));
    made.capacity = made.image.height;
    describe("allocate " + std::to_string(made.bits) + " bits " + std::to_string(width) + "x" +
             std::to_string(made.image.height) + " type " + std::to_string(made.type) + " ");
    maybe_inject();
    switch (made.type) {
    case BUF32_ONE_COLOUR:
        made.handle = allocate_one_colour(made);
        break;
    case BUF32_PATTERN:
        made.handle = allocate_pattern(made);
        break;
    case BUF32_CALLER_MEMORY:
        made.handle = allocate_over_memory(made);
        break;
    case BUF32_DIB:
        made.handle =
            random_.below(2) == 0 ? allocate_packed_bitmap(made) : allocate_over_pixels(made);
        break;
    default:
        made.handle = allocate_ordinary(made);
        break;
    }
    injection_ = nullptr;
    if (made.handle == 0)
        return;
    const bool unknown =
        word(made.handle, field_storage) != 0 && !made.is(BUF32_DIB) && made.memory == nullptr;
    buffers_.push_back(std::move(made));
    if (unknown)
        overwrite(buffers_.back());
}

HBUF32 World::allocate_ordinary(ModelBuffer &buffer) {
    HBUF32 handle = 0;
    called(api().buf32Alloc(&handle, buffer.bits, buffer.image.width, buffer.image.height,
                            buffer.type, nullptr),
           1);
    return handle;
}

HBUF32 World::allocate_one_colour(ModelBuffer &buffer) {
    random_colour(buffer.bits, buffer.colour);
    paint(buffer.image, buffer.bits, buffer.colour);
    HBUF32 handle = 0;
    called(api().buf32Alloc(&handle, buffer.bits, buffer.image.width, buffer.image.height,
                            buffer.type, buffer.colour),
           1);
    return handle;
}

HBUF32 World::allocate_pattern(ModelBuffer &buffer) {
    Pattern pattern = random_pattern(buffer.bits);
    paint(buffer.image, buffer.bits, pattern);
    pattern.descriptor.pixels = pattern.bytes.data();
    HBUF32 handle = 0;
    called(api().buf32Alloc(&handle, buffer.bits, buffer.image.width, buffer.image.height,
                            buffer.type, &pattern.descriptor),
           1);
    return handle;
}

HBUF32 World::allocate_over_memory(ModelBuffer &buffer) {
    Block block(buffer.bits, buffer.image.width, buffer.image.height);
    random_.fill(block.bytes());
    buffer.image.paint([&](int x, int y) { return block.pixel(x, y); });
    buffer.memory = std::make_shared<FencedBlock>(block.bytes().size());
    std::copy(block.bytes().begin(), block.bytes().end(), buffer.memory->data());
    const BUF32MEMORY extra{7, buffer.memory->data()};
    HBUF32 handle = 0;
    called(api().buf32Alloc(&handle, buffer.bits, buffer.image.width, buffer.image.height,
                            buffer.type, &extra),
           1);
    return handle;
}

HBUF32 World::allocate_packed_bitmap(ModelBuffer &buffer) {
    Block block(buffer.bits, buffer.image.width, buffer.image.height);
    random_.fill(block.bytes());
    buffer.image.paint([&](int x, int y) { return block.pixel(x, y); });
    buffer.bitmap = make_packed_bitmap(buffer.bits, buffer.image);
    HBUF32 handle = 0;
    const int result = random_.below(2) == 0
                           ? api().buf32DIBBufAlloc(&handle, buffer.bitmap)
                           : api().buf32Alloc(&handle, buffer.bits, 1, 1, BUF32_DIB, buffer.bitmap);
    if (called(result, 1))
        return handle;
    const auto *const bytes = static_cast<const uint8_t *>(GlobalLock(buffer.bitmap));
    if (!holds_bitmap_rows(bytes + pixels_offset(buffer.bits), buffer.bits, buffer.image))
        differs("the refused bitmap");
    GlobalUnlock(buffer.bitmap);
    GlobalFree(buffer.bitmap);
    return 0;
}

HBUF32 World::allocate_over_pixels(ModelBuffer &buffer) {
    Block block(buffer.bits, buffer.image.width, buffer.image.height);
    random_.fill(block.bytes());
    buffer.image.paint([&](int x, int y) { return block.pixel(x, y); });
    buffer.memory = std::make_shared<FencedBlock>(bitmap_bytes(buffer.bits, buffer.image));
    write_bitmap_rows(buffer.memory->data(), buffer.bits, buffer.image);
    buffer.mode = 0;
    HBUF32 handle = 0;
    called(api().buf32DIBMemBufAlloc(&handle, buffer.bits, buffer.image.width, buffer.image.height,
                                     buffer.memory->data()),
           1);
    return handle;
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
            buffer.image.paint([](int, int) { return uint64_t(0); });
        return;
    }
    // Whoever still reads the memory reads something else from now on.
    if (buffer.memory != nullptr)
        std::fill_n(buffer.memory->data(), buffer.memory->size(), uint8_t(0xDD));
    forget(buffer);
}

// Gives a bitmap buffer back as a bitmap.
void World::release_bitmap() {
    ModelBuffer &buffer = any();
    const bool duplicate = word(buffer.handle, field_share_marker) == 64;
    if (!buffer.is(BUF32_DIB) || duplicate)
        return merge_memory();
    describe("free as a bitmap " + name_of(buffer));
    maybe_inject();
    HGLOBAL bitmap = &bitmap;
    if (!called(api().buf32DIBBufFree(buffer.handle, &bitmap), 1))
        return;
    if (buffer.locks > 0) {
        if (bitmap != &bitmap)
            differs("a locked buffer gave its bitmap");
        return;
    }
    if (buffer.memory != nullptr) {
        if (bitmap != nullptr)
            differs("a block of pixels gave a bitmap");
        if (!holds_bitmap_rows(buffer.memory->data(), buffer.bits, buffer.image))
            differs("the pixels that came back");
        std::fill_n(buffer.memory->data(), buffer.memory->size(), uint8_t(0xDD));
    } else {
        const bool ours = bitmap == buffer.bitmap;
        const auto *const bytes = static_cast<const uint8_t *>(GlobalLock(bitmap));
        const size_t offset =
            ours ? pixels_offset(buffer.bits) : private_pixels_offset(buffer.bits);
        if (bytes == nullptr || !holds_bitmap_rows(bytes + offset, buffer.bits, buffer.image))
            differs("the bitmap that came back");
        GlobalUnlock(bitmap);
        frame::forget_block(bitmap);
        if ((GlobalFlags(bitmap) & GMEM_LOCKCOUNT) != 0)
            differs("the bitmap is still locked");
        GlobalFree(bitmap);
    }
    forget(buffer);
}

void World::bitmap_there_and_back() {
    ModelBuffer &buffer = any();
    if (!buffer.is(BUF32_DIB) || word(buffer.handle, field_storage) == 0)
        return merge_memory();
    describe("to bitmap layout and back " + name_of(buffer));
    const auto bitmap = uint32_t(uintptr_t(api().buf32DIBBufToDIB(buffer.handle)));
    if (bitmap != word(buffer.handle, field_data_handle))
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
    const auto before = size_t(buffer.image.height) * size_t(buffer.image.width);
    buffer.image.set_rows(rows);
    std::vector<bool> known(buffer.image.pixels.size(), false);
    std::fill_n(known.begin(), std::min(before, known.size()), true);
    learn(buffer, known);
}

// Memory for large buffers is forbidden or allowed from now on.
void World::change_policy() {
    limited_ = !limited_;
    describe(limited_ ? "no memory for large buffers" : "memory for all buffers");
    set_memory_limit(limited_ ? 1 : 0, 0);
}

} // namespace q32::test
