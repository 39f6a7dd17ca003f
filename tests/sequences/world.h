// A few buffers of the library, and beside each a picture that shares nothing. A step picks an
// operation at random, does it to both, and compares result, reports, pixels and counters.
//
// A step depends on its own seed and on the buffers there are: any step can be left out of a
// sequence, and the rest still means something.
#pragma once

#include "tests/bitmaps/bitmap_fixture.h"
#include "tests/sequences/injection.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace q32::test {

// One buffer as it must be.
struct ModelBuffer {
    ModelBuffer(uint32_t type_in, int bits, int width, int height)
        : type(type_in),
          // Caller memory has no cells: its rows are those of a linear image.
          picture(Geometry(width, height, bits,
                           type_in == BUF32_CALLER_MEMORY ? BUF32_LINEAR : type_in)),
          capacity(height) {}

    HBUF32 handle = 0;
    uint32_t type;
    Picture picture;
    int capacity; // rows
    uint32_t locks = 0;
    int mode = BUF32_READ;

    uint8_t colour[8] = {};               // one colour
    std::shared_ptr<MemoryBlock> memory;  // pixels that are the caller's
    std::shared_ptr<FencedBitmap> bitmap; // that the test has made
    Header header;                        // its header

    bool is(uint32_t a_type) const { return type == a_type; }
    // Has no pixels but a colour or a pattern.
    bool is_special() const { return is(BUF32_ONE_COLOUR) || is(BUF32_PATTERN); }
    bool is_duplicate() const { return word(handle, field_share_marker) == 64; }
    bool is_large() const { return picture.width() > 128 || picture.height() > 128; }
    Shape shape() const { return {picture.bits(), picture.width(), picture.height()}; }
    bool has_resizable_height() const { return is(BUF32_LINEAR_MEMORY) || is(BUF32_LINEAR_SHRINK); }
};

class World {
public:
    World();
    ~World();
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    // What differs after this step, or nothing.
    std::optional<std::string> step(uint64_t seed);

    // What the last step was.
    const std::string &description() const { return description_; }

    // Unlocks and frees everything; what differs on the way, or nothing.
    std::optional<std::string> finish();

private:
    using Operation = void (World::*)();
    struct Choice {
        int weight;
        Operation operation;
    };
    static const std::vector<Choice> &choices();

    // --- life (life.cpp)
    void allocate();
    void allocate_by_type(ModelBuffer &buffer, const void *extra);
    void allocate_packed_bitmap(ModelBuffer &buffer);
    void allocate_over_pixels(ModelBuffer &buffer);
    void release();
    void release_bitmap();
    void bitmap_there_and_back();
    void resize();
    void change_policy();

    // --- locks and rows (locks.cpp)
    void lock();
    void unlock();
    void lock_cell();
    void read_row();
    void write_row();
    void poke();

    // --- rectangles of memory (rectangles.cpp)
    void get_memory();
    void get_memory_with_background();
    void merge_memory();

    // --- copies (copies.cpp)
    void get_buffer();
    void merge_buffer();
    void duplicate();
    ModelBuffer &destination_for(const ModelBuffer &source);
    // A buffer that a copy has made and the model does not know yet.
    ModelBuffer &adopt(HBUF32 handle, const ModelBuffer &source, uint32_t type, int width,
                       int height);
    // What duplicating into an existing buffer must report; nothing when it succeeds.
    struct DuplicateOutcome {
        bool done;
        std::vector<Failure> reports;
    };
    static DuplicateOutcome outcome_of_duplicate(const ModelBuffer &source,
                                                 const ModelBuffer &destination);
    static void take_pixels(ModelBuffer &destination, const ModelBuffer &source);
    // Whether a pixel of the rectangle lies in the source and lands in the destination.
    static bool meet(const Picture &source, const Area &area, const Picture &destination, int x,
                     int y);

    // --- fills (fills.cpp)
    void fill_one_colour();
    void fill_pattern();
    // A failed fill has given up the pixels when it found no memory for what it makes: what the
    // buffer shows then, and pixels for it again.
    static bool gave_up_pixels();
    void lose_pixels(ModelBuffer &buffer);
    void refill(ModelBuffer &buffer);

    // --- the two sides
    // The call's result and reports must be these, unless a system call was made to fail: then 0
    // is right too, whatever was reported. True when the call has done its work.
    bool called(int result, int expected, std::vector<Failure> reports = {});
    void differs(const std::string &what);
    void describe(const std::string &text) { description_ += text; }
    std::string name_of(const ModelBuffer &buffer) const;

    ModelBuffer &any();
    ModelBuffer *by_handle(HBUF32 handle);
    Area rectangle_in(const ModelBuffer &buffer);
    // Random pixels, written into a buffer whose pixels are not known.
    void overwrite(ModelBuffer &buffer);
    // What the buffer shows, of which nothing is known.
    Picture shown_by(const ModelBuffer &buffer);
    // A pattern of random size for a buffer.
    Pattern random_pattern(int bits);
    // A colour that is the same at every pixel: under 8 bits a byte that looks alike from each.
    void random_colour(int bits, uint8_t (&colour)[8]);
    // What the first write does to a buffer without storage.
    void become_ordinary(ModelBuffer &buffer);
    // Whether new storage goes to a swap file.
    bool goes_to_file(const ModelBuffer &buffer) const;
    // What a failed call may have changed: type and access mode, but no pixel.
    void resynchronise();
    void forget(ModelBuffer &buffer);

    // --- comparisons (checks.cpp)
    void compare_pixels(const ModelBuffer &buffer);
    // Cells, as they lie in the storage.
    void compare_storage(const ModelBuffer &buffer);
    void compare_cell(const ModelBuffer &buffer, int index, const void *address);
    void compare_records();
    void compare_sharing(const ModelBuffer &buffer);
    void compare_counters();

    // Lets one of the library's system calls to come fail, now and then.
    void maybe_inject();
    bool injected() const;

    std::vector<ModelBuffer> buffers_;
    std::unique_ptr<Injection> injection_;
    Random random_{0, 0};
    std::string description_;
    std::string difference_;
    bool limited_ = false;
};

} // namespace q32::test
