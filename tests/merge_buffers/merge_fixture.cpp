// The buffers of every sort and the checked calls of the buffer forms' tests.
#include "tests/merge_buffers/merge_fixture.h"

#include <ostream>

namespace q32::test {

const char *name_of(Sort sort) {
    switch (sort) {
    case Sort::tiled:
        return "tiled";
    case Sort::linear:
        return "linear";
    case Sort::linear_memory:
        return "linear in memory";
    case Sort::linear_shrink:
        return "linear that shrinks";
    case Sort::file:
        return "in a file";
    case Sort::duplicate:
        return "duplicate";
    case Sort::shared:
        return "with a duplicate";
    case Sort::linear_duplicate:
        return "linear duplicate";
    case Sort::one_colour:
        return "of one colour";
    case Sort::filled:
        return "linear, filled with one colour";
    case Sort::pattern:
        return "of a pattern";
    case Sort::bitmap:
        return "over a bitmap";
    case Sort::bitmap_duplicate:
        return "duplicate of a bitmap";
    case Sort::bitmap_shared:
        return "bitmap with a duplicate";
    }
    return "?";
}

namespace {

uint32_t type_of(Sort sort) {
    switch (sort) {
    case Sort::linear:
    case Sort::linear_duplicate:
    case Sort::filled:
        return BUF32_LINEAR;
    case Sort::linear_memory:
        return BUF32_LINEAR_MEMORY;
    case Sort::linear_shrink:
        return BUF32_LINEAR_SHRINK;
    case Sort::file:
        return BUF32_TILED_FILE;
    case Sort::one_colour:
        return BUF32_ONE_COLOUR;
    case Sort::pattern:
        return BUF32_PATTERN;
    case Sort::bitmap:
    case Sort::bitmap_duplicate:
    case Sort::bitmap_shared:
        return BUF32_DIB;
    case Sort::tiled:
    case Sort::duplicate:
    case Sort::shared:
        break;
    }
    return BUF32_TILED;
}

bool is_bitmap(Sort sort) {
    return type_of(sort) == BUF32_DIB;
}

std::unique_ptr<Buffer> duplicate_of(HBUF32 source) {
    HBUF32 handle = 0;
    EXPECT_EQ(api().buf32DupBuf(source, &handle), 1);
    return std::make_unique<Buffer>(handle);
}

// Repeats a small picture over the whole one.
void repeat(Picture &picture, const uint8_t *pixels, int width, int height) {
    const int bits = picture.bits();
    for (int64_t y = 0; y < picture.geometry.height; ++y)
        for (int64_t x = 0; x < picture.geometry.width; ++x)
            move_pixel(bits, picture.image.row(size_t(y)), picture.bit_of(x),
                       pixels + (y % height) * ((width * bits + 7) / 8), x % width * bits);
}

} // namespace

Side::Side(Sort sort, int bits, int width, int height, Random &random)
    : picture(Geometry(width, height, bits, type_of(sort))), original_(picture) {
    if (sort == Sort::one_colour || sort == Sort::filled || sort == Sort::pattern) {
        make_special(sort, random);
    } else {
        std::unique_ptr<Buffer> made;
        if (is_bitmap(sort)) {
            memory_ = std::make_unique<MemoryBlock>(
                size_t((picture.geometry.row_bytes() + 3) / 4 * 4 * height), random_fence(random),
                random);
            HBUF32 handle = 0;
            EXPECT_EQ(api().buf32DIBMemBufAlloc(&handle, bits, width, height, memory_->data()), 1);
            made = std::make_unique<Buffer>(handle);
        } else {
            made = std::make_unique<Buffer>(bits, width, height, type_of(sort));
        }
        random.fill(picture.image.bytes());
        store(*made, picture.image);
        switch (sort) {
        case Sort::duplicate:
        case Sort::linear_duplicate:
        case Sort::bitmap_duplicate:
            buffer_ = duplicate_of(*made);
            partner_ = std::move(made);
            break;
        case Sort::shared:
        case Sort::bitmap_shared:
            partner_ = duplicate_of(*made);
            buffer_ = std::move(made);
            break;
        default:
            buffer_ = std::move(made);
        }
    }
    original_ = picture;
    set_word(*this, field_access_mode, no_mode);
}

void Side::make_special(Sort sort, Random &random) {
    const Geometry &geometry = picture.geometry;
    const int bits = picture.bits();
    const int width = sort == Sort::pattern ? between(random, 1, 40) : 1;
    const int height = sort == Sort::pattern ? between(random, 1, 30) : 1;
    Bytes pixels(std::max<size_t>(size_t((width * bits + 7) / 8 * height), 8));
    random.fill(pixels);
    repeat(picture, pixels.data(), width, height);
    if (bits < 8 && sort != Sort::pattern) // a colour is a byte of pixels
        std::fill(picture.image.bytes().begin(), picture.image.bytes().end(), pixels[0]);
    const BUF32PATTERN pattern{uint16_t(width), uint16_t(height), pixels.data()};
    buffer_ = std::make_unique<Buffer>(
        bits, int(geometry.width), int(geometry.height), type_of(sort),
        sort == Sort::pattern ? static_cast<const void *>(&pattern) : pixels.data());
    if (sort == Sort::filled) {
        EXPECT_EQ(api().buf32FillOneColor(*buffer_, pixels.data()), 1);
    }
}

Geometry Side::cells() const {
    const bool one = int64_t(word(*this, field_cell_width)) == picture.geometry.width &&
                     int64_t(word(*this, field_cell_height)) == picture.geometry.height;
    return Geometry(width(), height(), picture.bits(), one ? BUF32_LINEAR : BUF32_TILED);
}

void Side::expect_picture() const {
    expect_rows(*this, picture);
    if (partner_) {
        SCOPED_TRACE("the other one that shares");
        expect_rows(*partner_, original_);
    }
}

std::string text_of(const Request &request) {
    const RECT &rectangle = request.rectangle;
    return "(" + std::to_string(rectangle.left) + ", " + std::to_string(rectangle.top) + ", " +
           std::to_string(rectangle.right) + ", " + std::to_string(rectangle.bottom) + ") to (" +
           std::to_string(request.x) + ", " + std::to_string(request.y) + "), mode " +
           std::to_string(request.mode) + ", transparency " + std::to_string(request.transparency);
}

namespace {

uint8_t random_weight(Random &random) {
    const uint8_t usual[] = {0, 255, 127, 128};
    return random.below(3) == 0 ? usual[random.below(4)] : random.byte();
}

} // namespace

void make_mask(Side &mask, Random &random) {
    for (uint8_t &byte : mask.picture.image.bytes())
        byte = random_weight(random);
    store(mask, mask.picture.image);
    set_word(mask, field_access_mode, Side::no_mode);
}

Picture plain_picture(int bits, int width, int height, Random &random) {
    Picture picture(Geometry(width, height, bits, BUF32_LINEAR));
    random.fill(picture.image.bytes());
    return picture;
}

// --- a watch on locks ------------------------------------------------------------------------

std::ostream &operator<<(std::ostream &out, const EntryCall &call) {
    static const std::map<Entry, const char *> names = {{entry_lock, "lock"},
                                                        {entry_cell_lock, "lock cell"},
                                                        {entry_cell_unlock, "unlock cell"},
                                                        {entry_unlock, "unlock"}};
    return out << call.buffer << ' ' << names.at(call.entry) << ' ' << call.argument;
}

LockWatch::LockWatch(std::initializer_list<std::pair<char, HBUF32>> buffers, int fails_at)
    : fails_at_(fails_at) {
    current = this;
    for (const auto &[name, buffer] : buffers)
        if (buffer != 0 && buffers_.count(buffer) == 0)
            put_watch_on(buffer, buffers_[buffer] = {name, {}});
}

LockWatch::~LockWatch() {
    for (const auto &[buffer, state] : buffers_)
        for (size_t i = 0; i < std::size(watched); ++i)
            set_word(buffer, field_of(watched[i]), state.before[i]);
    current = nullptr;
}

bool LockWatch::balanced() const {
    return std::all_of(held_.begin(), held_.end(),
                       [](const auto &held) { return held.second == 0; });
}

// A buffer whose type changes gets its entries anew.
void LockWatch::put_watch_on(HBUF32 buffer, Watched &state) {
    const uintptr_t ours[] = {uintptr_t(&lock), uintptr_t(&cell_lock), uintptr_t(&cell_unlock),
                              uintptr_t(&unlock)};
    for (size_t i = 0; i < std::size(watched); ++i) {
        const uintptr_t entry = word(buffer, field_of(watched[i]));
        if (entry == ours[i])
            continue;
        state.before[i] = entry;
        set_word(buffer, field_of(watched[i]), ours[i]);
    }
}

LockWatch::Watched &LockWatch::note(HBUF32 buffer, Entry entry, int argument) {
    Watched &state = buffers_.at(buffer);
    calls_.push_back({state.name, entry, argument});
    return state;
}

// Every lock goes through here.
template <class Original>
int LockWatch::pass_lock(HBUF32 buffer, Entry entry, int argument, Original original) {
    Watched &state = note(buffer, entry, argument);
    if (++locks_ == fails_at_)
        return 0;
    const int result = original(state);
    put_watch_on(buffer, state);
    if (result != 0)
        ++held_[{state.name, entry, entry == entry_lock ? 0 : argument}];
    return result;
}

int LockWatch::lock(HBUF32 buffer, int mode, void **base) {
    if (base != nullptr)
        *base = nullptr;
    return current->pass_lock(buffer, entry_lock, mode, [=](const Watched &state) {
        return reinterpret_cast<int (*)(HBUF32, int, void **)>(state.before[0])(buffer, mode, base);
    });
}

int LockWatch::cell_lock(HBUF32 buffer, int index, void **address, BUF32CELL *cell) {
    if (address != nullptr)
        *address = nullptr;
    return current->pass_lock(buffer, entry_cell_lock, index, [=](const Watched &state) {
        return reinterpret_cast<int (*)(HBUF32, int, void **, BUF32CELL *)>(state.before[1])(
            buffer, index, address, cell);
    });
}

int LockWatch::cell_unlock(HBUF32 buffer, int index) {
    const Watched &state = current->note(buffer, entry_cell_unlock, index);
    --current->held_[{state.name, entry_cell_lock, index}];
    return reinterpret_cast<int (*)(HBUF32, int)>(state.before[2])(buffer, index);
}

int LockWatch::unlock(HBUF32 buffer) {
    const Watched &state = current->note(buffer, entry_unlock, 0);
    --current->held_[{state.name, entry_lock, 0}];
    return reinterpret_cast<int (*)(HBUF32)>(state.before[3])(buffer);
}

// --- fixture ---------------------------------------------------------------------------------

void MergeTest::SetUp() {
    frame::reset_comm();
    if (!loaded_with || *loaded_with != mmx_) {
        frame::drop_shared_library();
        frame::comm().mmx = mmx_;
        frame::shared_library();
        loaded_with = mmx_;
    }
    RectangleTest::SetUp();
}

void MergeTest::TearDown() {
    RectangleTest::TearDown();
    if (HasFailure())
        loaded_with.reset();
}

int merge(HBUF32 destination, HBUF32 mask, HBUF32 overlay, const Request &request) {
    return api().i32MergeBufToBuf(destination, request.x, request.y, mask, overlay,
                                  &request.rectangle, request.mode, request.transparency);
}

int merge(void *image, int width, int height, int bytes, HBUF32 mask, HBUF32 overlay,
          const Request &request) {
    return api().i32MergeBufToRam(image, request.x, request.y, width, height, bytes, mask, overlay,
                                  &request.rectangle, request.mode, request.transparency);
}

namespace {

HBUF32 handle_of(const Side *side) {
    return side ? HBUF32(*side) : 0;
}

// Lock counts and access modes of the buffers of a call, as they must be.
class States {
public:
    States(std::initializer_list<const Side *> sides) {
        for (const Side *side : sides)
            if (side)
                states_[side] = {side->locks(), side->mode()};
    }
    void lock(const Side *side, uint32_t mode) {
        if (side)
            states_[side].mode = mode;
    }
    void expect() const {
        for (const auto &[side, state] : states_) {
            EXPECT_EQ(side->locks(), state.locks);
            EXPECT_EQ(side->mode(), state.mode);
        }
    }

private:
    struct State {
        uint32_t locks, mode;
    };
    std::map<const Side *, State> states_;
};

} // namespace

void MergeTest::check_buffer_to_buffer(Side &destination, Side *mask, Side &overlay,
                                       const Request &request) {
    SCOPED_TRACE(text_of(request));
    const Placement place = model::place(request, overlay.width(), overlay.height(),
                                         destination.width(), destination.height());
    const model::Call call = call_of(request, overlay.bytes());
    States states{&destination, mask, &overlay};
    bool succeeds = place.verdict == Placement::nothing_left;
    if (place.verdict == Placement::placed) {
        states.lock(&destination, BUF32_WRITE_3);
        states.lock(&overlay, BUF32_READ);
        states.lock(mask, BUF32_READ);
        succeeds = model::rectangles_have(call);
        if (succeeds)
            model::merge_pictures(destination.picture, mask ? &mask->picture : nullptr,
                                  overlay.picture, place, call);
    }
    forget_reports();
    EXPECT_EQ(merge(destination, handle_of(mask), overlay, request), succeeds ? 1 : 0);
    expect_no_report();
    states.expect();
}

void MergeTest::check_buffer_to_memory(Picture &image, Side *mask, Side &overlay,
                                       const Request &request, MemoryBlock::Fence fence) {
    SCOPED_TRACE(text_of(request));
    const Geometry &size = image.geometry;
    const Placement place =
        model::place(request, overlay.width(), overlay.height(), size.width, size.height);
    const model::Call call = call_of(request, overlay.bytes());
    States states{mask, &overlay};
    Random random(0, 0);
    MemoryBlock memory(image.image.bytes().size(), fence, random);
    memory.set(image.image.bytes());
    bool succeeds = place.verdict == Placement::nothing_left;
    if (place.verdict == Placement::placed) {
        states.lock(&overlay, BUF32_READ);
        states.lock(mask, BUF32_READ);
        succeeds = model::rectangles_have(call);
        if (succeeds)
            model::merge_pictures(image, mask ? &mask->picture : nullptr, overlay.picture, place,
                                  call);
    }
    forget_reports();
    EXPECT_EQ(merge(memory.data(), int(size.width), int(size.height), overlay.bytes(),
                    handle_of(mask), overlay, request),
              succeeds ? 1 : 0);
    expect_no_report();
    states.expect();
    memory.expect(image.image.bytes());
}

} // namespace q32::test
