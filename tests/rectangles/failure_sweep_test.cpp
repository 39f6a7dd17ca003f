// Every rectangle call with every system call failing: the first call of a kind, the second, and so
// on, alone or with all after it, until the call succeeds. Whatever fails, nothing is left behind
// and all pixels are as before.
#include "tests/rectangles/rectangle_fixture.h"

#include <functional>

namespace q32::test {
namespace {

class RectangleSweep : public RectangleTest {};

// The buffers that a scenario acts on. The pictures are those before the call.
struct Stage {
    Subject source, destination;
    OneColourSubject one_colour, other_colour;

    Stage(Kind from, Kind into, int bits, Random &random)
        : source(from, bits, 200, 150, random), destination(into, bits, 200, 140, random),
          one_colour(bits, 200, 150), other_colour(bits, 200, 150, test::other_colour) {}

    void expect_as_before() const {
        source.expect_picture();
        destination.expect_picture();
        // Looking at the pixels would take a block.
        EXPECT_EQ(word(one_colour, field_type), BUF32_ONE_COLOUR);
        EXPECT_EQ(word(other_colour, field_type), BUF32_ONE_COLOUR);
        for (HBUF32 buffer :
             {HBUF32(source), HBUF32(destination), HBUF32(one_colour), HBUF32(other_colour)})
            EXPECT_EQ(word(buffer, field_lock_count), 0u);
        EXPECT_EQ(std::memcmp(reinterpret_cast<const void *>(HBUF32(one_colour) +
                                                             field_offset(field_colour)),
                              some_colour, size_t(one_colour.picture.bits() + 7) / 8),
                  0);
        EXPECT_EQ(std::memcmp(reinterpret_cast<const void *>(HBUF32(other_colour) +
                                                             field_offset(field_colour)),
                              test::other_colour, size_t(one_colour.picture.bits() + 7) / 8),
                  0);
    }
};

struct Scenario {
    const char *name;
    // The one call. Handles that it makes go into `made`.
    std::function<int(Stage &, HBUF32 &made)> call;
    // Brings the pictures to what they must be after success, and looks at what was made.
    std::function<void(Stage &, HBUF32 made)> succeed;

    // Caller memory is no source of MergeBuf.
    bool applies(Kind from) const {
        return from != Kind::caller_memory || std::string(name).find("MergeBuf") != 0;
    }
};

// A new buffer shows what of the rectangle lies in the source.
void expect_copy(HBUF32 made, const Picture &source, const Area &area) {
    ASSERT_NE(made, 0u);
    Picture expected(geometry_of(made));
    expected.image = read_rows(made);
    const Picture shown = expected;
    expected.merge(source, area, 0, 0);
    expect_same_pixels(shown, expected);
}

uint8_t pixels[50 * 40 * 8];

std::vector<Scenario> scenarios() {
    for (size_t i = 0; i < sizeof pixels; ++i)
        pixels[i] = uint8_t(i * 7 + i / 256);
    const auto nothing = [](Stage &, HBUF32) {};
    const Area area{100, 110, 50, 40};
    return {
        {"GetMem",
         [](Stage &stage, HBUF32 &) {
             static uint8_t memory[50 * 40 * 8];
             return api().buf32GetMem(stage.source, 100, 110, 50, 40, memory);
         },
         nothing},
        {"GetMemWithBC",
         [](Stage &stage, HBUF32 &) {
             static uint8_t memory[50 * 40 * 8];
             return api().buf32GetMemWithBC(stage.source, 100, 120, 50, 40, memory, some_colour);
         },
         nothing},
        {"GetMemWithBC of one colour",
         [](Stage &stage, HBUF32 &) {
             static uint8_t memory[50 * 40 * 8];
             return api().buf32GetMemWithBC(stage.one_colour, 100, 120, 50, 40, memory,
                                            some_colour);
         },
         nothing},
        {"MergeMem",
         [](Stage &stage, HBUF32 &) {
             return api().buf32MergeMem(stage.destination, 100, 110, pixels, 50, 40);
         },
         [area](Stage &stage, HBUF32) { stage.destination.picture.merge(area, pixels); }},
        {"MergeMem into one colour",
         [](Stage &stage, HBUF32 &) {
             return api().buf32MergeMem(stage.one_colour, 100, 110, pixels, 50, 40);
         },
         [area](Stage &stage, HBUF32) { stage.one_colour.picture.merge(area, pixels); }},
        {"GetBuf",
         [](Stage &stage, HBUF32 &) {
             HBUF32 handle = stage.destination;
             const int result = api().buf32GetBuf(stage.source, 5, 6, 150, 140, &handle);
             EXPECT_EQ(handle, HBUF32(stage.destination));
             return result;
         },
         [](Stage &stage, HBUF32) {
             stage.destination.picture.merge(stage.source.picture, {5, 6, 150, 140}, 0, 0);
         }},
        {"GetBuf, new",
         [](Stage &stage, HBUF32 &made) {
             return api().buf32GetBuf(stage.source, 5, 6, 150, 140, &made);
         },
         [](Stage &stage, HBUF32 made) {
             expect_copy(made, stage.source.picture, {5, 6, 150, 140});
         }},
        {"GetBuf of the whole, new",
         [](Stage &stage, HBUF32 &made) {
             return api().buf32GetBuf(stage.source, 0, 0, 200, 150, &made);
         },
         [](Stage &stage, HBUF32 made) {
             expect_copy(made, stage.source.picture, {0, 0, 200, 150});
         }},
        {"GetBuf of one colour, new",
         [](Stage &stage, HBUF32 &made) {
             return api().buf32GetBuf(stage.one_colour, 8, 6, 150, 140, &made);
         },
         [](Stage &stage, HBUF32 made) {
             expect_copy(made, stage.one_colour.picture, {8, 6, 150, 140});
         }},
        {"GetBuf of one whole colour, new",
         [](Stage &stage, HBUF32 &made) {
             return api().buf32GetBuf(stage.one_colour, 0, 0, 200, 150, &made);
         },
         [](Stage &stage, HBUF32 made) {
             expect_copy(made, stage.one_colour.picture, {0, 0, 200, 150});
         }},
        {"GetBuf into one colour",
         [](Stage &stage, HBUF32 &) {
             HBUF32 handle = stage.one_colour;
             const int result = api().buf32GetBuf(stage.source, 0, 0, 200, 150, &handle);
             EXPECT_EQ(handle, HBUF32(stage.one_colour));
             return result;
         },
         [](Stage &stage, HBUF32) {
             stage.one_colour.picture.merge(stage.source.picture, {0, 0, 200, 150}, 0, 0);
         }},
        {"MergeBuf",
         [](Stage &stage, HBUF32 &) {
             return api().buf32MergeBuf(stage.source, 5, 6, 150, 60, stage.destination, 7, 8);
         },
         [](Stage &stage, HBUF32) {
             stage.destination.picture.merge(stage.source.picture, {5, 6, 150, 60}, 7, 8);
         }},
        {"MergeBuf into one colour",
         [](Stage &stage, HBUF32 &) {
             return api().buf32MergeBuf(stage.source, 5, 6, 150, 60, stage.other_colour, 7, 8);
         },
         [](Stage &stage, HBUF32) {
             stage.other_colour.picture.merge(stage.source.picture, {5, 6, 150, 60}, 7, 8);
         }},
        {"DupBuf of one colour",
         [](Stage &stage, HBUF32 &made) { return api().buf32DupBuf(stage.one_colour, &made); },
         [](Stage &stage, HBUF32 made) {
             expect_copy(made, stage.one_colour.picture, {0, 0, 200, 150});
         }},
    };
}

// One call on a fresh stage, with the n-th call of a function failing. Returns whether that call of
// the function was reached.
bool run(const Scenario &scenario, Kind from, Kind into, int bits, const std::string &function,
         int n, FailingCall::Extent extent) {
    Random random(test_seed(), uint64_t(bits));
    Stage stage(from, into, bits, random);
    const int live = api().buf32CountBuf(nullptr);
    const size_t in_use = memory_in_use(), mapped = mapped_bytes();
    const Census before = Census::now();
    HBUF32 made = 0;
    bool reached;
    int result;
    forget_reports();
    {
        FailingCall failing(function, n, extent);
        result = scenario.call(stage, made);
        reached = failing.happened();
    }
    const bool reported = !frame::reports().empty();
    forget_reports();
    EXPECT_TRUE(reached || result == 1) << "fails with nothing failing";
    EXPECT_TRUE(result == 1 || reported) << "failed in silence";
    if (result == 1) {
        scenario.succeed(stage, made);
        stage.source.expect_picture();
        stage.destination.expect_picture();
        stage.one_colour.expect_picture();
        stage.other_colour.expect_picture();
        const Buffer free_made(made);
    } else {
        EXPECT_EQ(Census::now(), before) << "left behind";
        EXPECT_EQ(made, 0u);
        EXPECT_EQ(api().buf32CountBuf(nullptr), live);
        if (function != "VirtualAlloc") { // a refused commit leaves its bytes counted
            EXPECT_EQ(memory_in_use(), in_use);
        }
        EXPECT_EQ(mapped_bytes(), mapped);
        stage.expect_as_before();
        // What failed once works the next time.
        EXPECT_EQ(scenario.call(stage, made), 1);
        expect_no_report();
        scenario.succeed(stage, made);
        stage.destination.expect_picture();
        stage.one_colour.expect_picture();
        stage.other_colour.expect_picture();
        const Buffer free_made(made);
    }
    return reached;
}

// Those of the calls above that a scenario makes when nothing fails.
std::map<std::string, int> calls_of(const Scenario &scenario, Kind from, Kind into, int bits) {
    Random random(test_seed(), uint64_t(bits));
    Stage stage(from, into, bits, random);
    HBUF32 made = 0;
    auto result = frame::acquiring_calls_of([&] { EXPECT_EQ(scenario.call(stage, made), 1); });
    const Buffer free_made(made);
    return result;
}

void sweep(Kind from, Kind into, int bits) {
    uint64_t number = 0;
    for (const Scenario &scenario : scenarios()) {
        if (!scenario.applies(from))
            continue;
        for (const auto &[function, count] : calls_of(scenario, from, into, bits))
            for (auto extent : {FailingCall::only_there, FailingCall::from_there_on})
                for (int n = first_in_this_round(number++);; n += int(one_in_the_round())) {
                    SCOPED_TRACE(std::string(scenario.name) + " from " + name_of(from) + " into " +
                                 name_of(into) + ", " + std::to_string(bits) + " bits, call " +
                                 std::to_string(n) + " of " + function + " failing" +
                                 (extent == FailingCall::only_there ? "" : " and all after it"));
                    ASSERT_LT(n, 100) << "the call never succeeds";
                    const bool reached = run(scenario, from, into, bits, function, n, extent);
                    if (::testing::Test::HasFailure())
                        return;
                    if (!reached)
                        break;
                }
    }
}

TEST_F(RectangleSweep, InMemory) {
    sweep(Kind::tiled, Kind::tiled, 24);
    sweep(Kind::duplicate, Kind::duplicate, 8);
    sweep(Kind::linear, Kind::linear_memory, 1);
    sweep(Kind::caller_memory, Kind::shared, 4);
    sweep(Kind::shared, Kind::linear_duplicate, 16);
    forget_memory_in_use();
}

TEST_F(RectangleSweep, InFiles) {
    set_memory_limit(1, 0);
    sweep(Kind::file, Kind::file, 24);
    sweep(Kind::tiled, Kind::duplicate, 8);
    sweep(Kind::linear, Kind::shared, 1);
    forget_memory_in_use();
}

} // namespace
} // namespace q32::test
