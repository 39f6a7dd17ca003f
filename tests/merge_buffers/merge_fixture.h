// What the tests of the buffer forms share: buffers of every sort with the picture that each must
// show, the checked calls, and a watch on the entries through which buffers are locked.
#pragma once

#include "tests/merge_buffers/placement_model.h"
#include "tests/rectangles/rectangle_fixture.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace q32::test {

using model::is_of_colour;
using model::Placement;
using model::rectangle_modes;
using model::Request;

// Pixels that have kernels of their own: grey and colour.
inline constexpr int usual_depths[] = {8, 24};

// --- buffers of every sort -------------------------------------------------------------------

enum class Sort {
    tiled,
    linear,        // type 2
    linear_memory, // type 4
    linear_shrink, // type 16
    file,          // type 0x80000000
    duplicate,     // of a tiled buffer
    shared,        // a tiled buffer that has a duplicate
    linear_duplicate,
    one_colour,
    filled, // a linear buffer, filled with one colour: one cell
    pattern,
    bitmap,
    bitmap_duplicate,
    bitmap_shared,
};
inline constexpr Sort all_sorts[] = {
    Sort::tiled,     Sort::linear, Sort::linear_memory,    Sort::linear_shrink, Sort::file,
    Sort::duplicate, Sort::shared, Sort::linear_duplicate, Sort::one_colour,    Sort::filled,
    Sort::pattern,   Sort::bitmap, Sort::bitmap_duplicate, Sort::bitmap_shared};

const char *name_of(Sort sort);

// A buffer of a sort, with random pixels as far as the sort has them, and the picture that it must
// show. What it shares its pixels with belongs to it. Its access mode is `no_mode`, so that every
// lock shows.
class Side {
public:
    static constexpr uint32_t no_mode = 7;

    Side(Sort sort, int bits, int width, int height, Random &random);
    // A tiled one.
    Side(int bits, int width, int height, Random &random)
        : Side(Sort::tiled, bits, width, height, random) {}

    operator HBUF32() const { return *buffer_; }
    HBUF32 partner() const { return partner_ ? HBUF32(*partner_) : 0; }
    int width() const { return int(picture.geometry.width); }
    int height() const { return int(picture.geometry.height); }
    int bytes() const { return int(picture.geometry.bytes_per_pixel()); }

    uint32_t locks() const { return uint32_t(word(*this, field_lock_count)); }
    uint32_t mode() const { return uint32_t(word(*this, field_access_mode)); }
    // Cells as they are, whatever type the buffer has become.
    Geometry cells() const;

    // The pixels are those of the picture, and the partner's what they were at the start.
    void expect_picture() const;

    Picture picture;

private:
    void make_special(Sort sort, Random &random);

    Picture original_;
    std::unique_ptr<MemoryBlock> memory_; // of a bitmap
    std::unique_ptr<Buffer> partner_, buffer_;
};

inline RECT whole(const Side &side) {
    return {0, 0, side.width(), side.height()};
}
std::string text_of(const Request &request);

// Random bytes, a third of which are 0, 255 or halves of the two.
void make_mask(Side &mask, Random &random);

// Pictures as the calls on plain memory take them.
Picture plain_picture(int bits, int width, int height, Random &random);

// --- a watch on locks ------------------------------------------------------------------------

// One call of an entry of a buffer's operation table.
struct EntryCall {
    char buffer; // as the watch was told
    Entry entry;
    int argument; // lock mode, index of a cell; 0
    bool operator==(const EntryCall &) const = default;
};
std::ostream &operator<<(std::ostream &out, const EntryCall &call);
using EntryCalls = std::vector<EntryCall>;

// Notes the locks and unlocks of some buffers, in order, and lets the n-th lock of any kind fail in
// silence (counted from 1; 0 fails none). One at a time.
class LockWatch {
public:
    explicit LockWatch(std::initializer_list<std::pair<char, HBUF32>> buffers, int fails_at = 0);
    ~LockWatch();
    LockWatch(const LockWatch &) = delete;
    LockWatch &operator=(const LockWatch &) = delete;

    const EntryCalls &calls() const { return calls_; }
    // Locks of buffers and of cells so far.
    int locks() const { return locks_; }
    // Whether every lock of every buffer, and of every cell, has been given back.
    bool balanced() const;

private:
    static constexpr Entry watched[] = {entry_lock, entry_cell_lock, entry_cell_unlock,
                                        entry_unlock};
    struct Watched {
        char name;
        uintptr_t before[4]; // entries
    };

    void put_watch_on(HBUF32 buffer, Watched &state);
    Watched &note(HBUF32 buffer, Entry entry, int argument);
    template <class Original>
    int pass_lock(HBUF32 buffer, Entry entry, int argument, Original original);

    static int lock(HBUF32 buffer, int mode, void **base);
    static int cell_lock(HBUF32 buffer, int index, void **address, BUF32CELL *cell);
    static int cell_unlock(HBUF32 buffer, int index);
    static int unlock(HBUF32 buffer);

    static inline LockWatch *current = nullptr;
    std::map<HBUF32, Watched> buffers_;
    EntryCalls calls_;
    std::map<std::tuple<char, Entry, int>, int> held_;
    int locks_ = 0;
    int fails_at_;
};

// --- fixture ---------------------------------------------------------------------------------

// Tests run with the MMX flag set unless they say otherwise: it is read once, when the library is
// attached.
class MergeTest : public RectangleTest {
protected:
    explicit MergeTest(bool mmx = true) : mmx_(mmx) {}
    void SetUp() override;
    void TearDown() override;

    bool mmx() const { return mmx_; }
    model::Call call_of(const Request &request, int bytes) const {
        return {request.mode, bytes, request.transparency, mmx_};
    }

    // i32MergeBufToBuf, silent; its result, the destination's pixels and the state of all buffers
    // must be what the model says. Any two sides may be the same.
    void check_buffer_to_buffer(Side &destination, Side *mask, Side &overlay,
                                const Request &request);
    // i32MergeBufToRam into fenced memory of the image's size, silent, with all of the rectangle
    // inside the image or to the left of it and above.
    void check_buffer_to_memory(Picture &image, Side *mask, Side &overlay, const Request &request,
                                MemoryBlock::Fence fence);

private:
    static inline std::optional<bool> loaded_with;
    bool mmx_;
};

class MergeTestWithMmxFlag : public MergeTest, public ::testing::WithParamInterface<bool> {
protected:
    MergeTestWithMmxFlag() : MergeTest(GetParam()) {}
};

inline std::string mmx_flag_name(const testing::TestParamInfo<bool> &flag) {
    return flag.param ? "set" : "clear";
}

int merge(HBUF32 destination, HBUF32 mask, HBUF32 overlay, const Request &request);
int merge(void *image, int width, int height, int bytes, HBUF32 mask, HBUF32 overlay,
          const Request &request);

} // namespace q32::test
