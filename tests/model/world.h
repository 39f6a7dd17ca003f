// A few buffers of the library, and beside each a plain image that shares nothing. A step picks an
// operation at random, does it to both, and compares result, reports, pixels and counters.
//
// A step depends on its own seed and on the buffers there are: any step can be left out of a
// sequence, and the rest still means something.
#pragma once

#include "tests/buffer/buffer_fixture.h"
#include "tests/model/injection.h"
#include "tests/model/plain_image.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace q32::test {

// One buffer as it must be.
struct ModelBuffer {
    HBUF32 handle = 0;
    uint32_t type = 0;
    int bits = 0;
    int capacity = 0; // rows
    Image image;
    uint32_t locks = 0;
    int mode = BUF32_READ;

    uint8_t colour[8] = {};              // one colour
    std::shared_ptr<FencedBlock> memory; // pixels that are the caller's
    HGLOBAL bitmap = nullptr;            // packed bitmap that the test has made

    bool is(uint32_t a_type) const { return type == a_type; }
    bool has_resizable_height() const { return is(BUF32_LINEAR_MEMORY) || is(BUF32_LINEAR_SHRINK); }
};

inline std::string area_text(int x, int y, int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height) + " at " + std::to_string(x) + "," +
           std::to_string(y);
}

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
    struct Rectangle {
        int x, y, width, height;
    };
    using Operation = void (World::*)();
    struct Choice {
        int weight;
        Operation operation;
    };
    static const std::vector<Choice> &choices();

    // --- life (life.cpp)
    void allocate();
    HBUF32 allocate_ordinary(ModelBuffer &buffer);
    HBUF32 allocate_one_colour(ModelBuffer &buffer);
    HBUF32 allocate_pattern(ModelBuffer &buffer);
    HBUF32 allocate_over_memory(ModelBuffer &buffer);
    HBUF32 allocate_packed_bitmap(ModelBuffer &buffer);
    HBUF32 allocate_over_pixels(ModelBuffer &buffer);
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
    // Copies what both images have of a rectangle; how many pixels that was.
    static int copy_common(const Image &source, const Rectangle &area, Image &destination,
                           int destination_x, int destination_y, std::vector<bool> *known);

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
    Rectangle rectangle_in(const ModelBuffer &buffer);
    std::vector<uint8_t> random_bytes(size_t count);
    // Random pixels, written into a buffer whose pixels are not known.
    void overwrite(ModelBuffer &buffer);
    // Takes the pixels as they are in rows of which nothing is known.
    void learn(ModelBuffer &buffer, const std::vector<bool> &known);
    // A pattern of random size for a buffer, and what it paints.
    struct Pattern {
        BUF32PATTERN descriptor;
        std::vector<uint8_t> bytes;
    };
    Pattern random_pattern(int bits);
    // A colour that is the same at every pixel: under 8 bits a byte that looks alike from each.
    void random_colour(int bits, uint8_t (&colour)[8]);
    static void paint(Image &image, int bits, const Pattern &pattern);
    static void paint(Image &image, int bits, const uint8_t *colour);
    // What the first write does to a buffer without storage.
    void become_ordinary(ModelBuffer &buffer);
    // What a failed call may have changed: type and access mode, but no pixel.
    void resynchronise();
    void forget(ModelBuffer &buffer);

    // --- comparisons (checks.cpp)
    void compare_pixels(ModelBuffer &buffer);
    void compare_records();
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
