// The buffer forms with the system failing them: memory for work rows and stand-in masks, and
// storage for destinations, overlays and masks that need some first.
#include "tests/merge_buffers/merge_fixture.h"

namespace q32::test {
namespace {

class MergeFailures : public MergeTest {};

// What a request asks of the runtime's heap and of the global one.
struct Asked {
    std::vector<SIZE_T> runtime;
    std::vector<std::pair<UINT, SIZE_T>> global;
    bool operator==(const Asked &) const = default;
};

void PrintTo(const Asked &asked, std::ostream *out) {
    *out << testing::PrintToString(asked.runtime) << ", " << testing::PrintToString(asked.global);
}

template <class Call>
Asked asked_by(Call call) {
    Asked asked;
    Replaced<frame::call::malloc> runtime([&](size_t bytes) {
        asked.runtime.push_back(bytes);
        return malloc(bytes);
    });
    Replaced<frame::call::GlobalAlloc> global([&](UINT flags, SIZE_T bytes) {
        asked.global.emplace_back(flags, bytes);
        return GlobalAlloc(flags, bytes);
    });
    EXPECT_EQ(call(), 1);
    return asked;
}

// Each piece without a mask: as many bytes as its rows have pixels to the end of the overlay's
// cell, and two. In modes 2 to 5: three work rows.
TEST_F(MergeFailures, WhatPiecesAskFor) {
    Random random(test_seed(), 1);
    Side overlay(24, 200, 200, random), destination(24, 300, 300, random),
        mask(8, 200, 200, random);
    Bytes image(300 * 300 * 3);
    const RECT area{100, 100, 180, 150};
    // Pieces of 28 and 52 pixels in cells of 128 and 72, of 28 and 22 rows.
    const std::vector<SIZE_T> stand_ins{128 * 28 + 2, 72 * 28 + 2, 128 * 22 + 2, 72 * 22 + 2};
    const std::vector<std::pair<UINT, SIZE_T>> rows{
        {0x40, 28 * 12}, {0x40, 28 * 12}, {0x40, 28 * 3},  {0x40, 52 * 12},
        {0x40, 52 * 12}, {0x40, 52 * 3},  {0x40, 28 * 12}, {0x40, 28 * 12},
        {0x40, 28 * 3},  {0x40, 52 * 12}, {0x40, 52 * 12}, {0x40, 52 * 3}};
    for (const int mode : rectangle_modes) {
        SCOPED_TRACE(mode);
        const bool fields = is_of_colour(mode);
        for (bool masked : {false, true}) {
            const Asked expected{masked ? std::vector<SIZE_T>{} : stand_ins,
                                 fields ? rows : std::vector<std::pair<UINT, SIZE_T>>{}};
            const HBUF32 weights = masked ? HBUF32(mask) : 0;
            EXPECT_EQ(asked_by([&] {
                          return merge(destination, weights, overlay, {3, 4, area, mode});
                      }),
                      expected);
            EXPECT_EQ(
                asked_by([&] {
                    return merge(image.data(), 300, 300, 3, weights, overlay, {3, 4, area, mode});
                }),
                expected);
        }
    }
    Side grey(8, 200, 200, random), grey_destination(8, 300, 300, random);
    EXPECT_EQ(asked_by([&] {
                  return merge(grey_destination, 0, grey, {3, 4, area});
              }),
              (Asked{stand_ins, {}}));
}

// A piece that is in the way fails the call; those before it are merged.
class FailingPiece : public MergeTest, public testing::WithParamInterface<int> {};

TEST_P(FailingPiece, OfBuffersAndOfMemory) {
    const int mode = GetParam();
    const bool fields = is_of_colour(mode);
    Random random(test_seed(), 2);
    Side overlay(24, 300, 200, random), destination(24, 300, 200, random),
        mask(8, 300, 200, random);
    make_mask(mask, random);
    const Request request{20, 30, {10, 15, 290, 190}, mode, 15};
    const Placement place = model::place(request, 300, 200, 300, 200);
    const struct {
        const char *function;
        bool masked;
        int per_piece;
        std::vector<Failure> reports;
    } cases[] = {{"malloc", false, 1, {}},
                 {"GlobalAlloc", false, fields ? 3 : 0, {{1001, 2, 61, 2}}},
                 {"GlobalAlloc", true, fields ? 3 : 0, {{1001, 2, 61, 2}}}};
    for (const auto &[function, masked, per_piece, reports] : cases)
        for (bool to_memory : {false, true}) {
            SCOPED_TRACE(std::string(function) + (masked ? ", masked" : "") +
                         (to_memory ? ", to memory" : ""));
            const auto pieces =
                to_memory ? model::pieces_to_memory(model::place(request, 300, 200, 310, 240),
                                                    overlay.cells())
                          : model::pieces_between(place, destination.cells(), overlay.cells());
            const int calls = int(pieces.size()) * per_piece;
            for (auto extent : {FailingCall::only_there, FailingCall::from_there_on})
                for (int n = 1; n <= calls; ++n) {
                    SCOPED_TRACE("call " + std::to_string(n) + " of " + std::to_string(calls));
                    Picture image = plain_picture(24, 310, 240, random);
                    MemoryBlock memory(image.image.bytes().size(), random_fence(random), random);
                    memory.set(image.image.bytes());
                    Picture &result = to_memory ? image : destination.picture;
                    for (int i = 0; i < (n - 1) / per_piece; ++i)
                        model::merge_pictures(result, masked ? &mask.picture : nullptr,
                                              overlay.picture, placement_of(pieces[size_t(i)]),
                                              call_of(request, 3));
                    const Census before = Census::now();
                    forget_reports();
                    {
                        FailingCall failing(function, n, extent);
                        const HBUF32 weights = masked ? HBUF32(mask) : 0;
                        EXPECT_EQ(to_memory
                                      ? merge(memory.data(), 310, 240, 3, weights, overlay, request)
                                      : merge(destination, weights, overlay, request),
                                  0);
                        EXPECT_TRUE(failing.happened());
                    }
                    EXPECT_EQ(frame::reports(), reports);
                    forget_reports();
                    EXPECT_EQ(Census::now(), before);
                    for (const Side *side : {&overlay, &destination, &mask})
                        EXPECT_EQ(side->locks(), 0u);
                    EXPECT_EQ(overlay.mode(), uint32_t(BUF32_READ));
                    destination.expect_picture();
                    if (to_memory)
                        memory.expect(image.image.bytes());
                    ASSERT_FALSE(HasFailure());
                }
        }
}

INSTANTIATE_TEST_SUITE_P(Modes, FailingPiece, testing::Values(1, 4, 8));

// --- storage ---------------------------------------------------------------------------------

TEST_F(MergeFailures, NoStorageForTheDestination) {
    Random random(test_seed(), 3);
    const struct {
        Sort sort;
        std::vector<Failure> reports;
    } cases[] = {{Sort::one_colour, {{1001, 0, 4, 3}, {1001, 0, 2, 4}}},
                 {Sort::filled, {{1001, 0, 4, 3}, {1001, 0, 2, 4}}},
                 {Sort::pattern, {{1001, 0, 4, 3}}},
                 {Sort::duplicate, {{1001, 0, 4, 3}}},
                 {Sort::shared, {{1001, 0, 4, 3}}}};
    for (const auto &[sort, reports] : cases) {
        SCOPED_TRACE(name_of(sort));
        Side overlay(24, 190, 150, random), mask(8, 190, 150, random);
        Side destination(sort, 24, 200, 160, random);
        const auto type = word(destination, field_type);
        {
            const NoStorage none;
            const Census before = Census::now();
            forget_reports();
            EXPECT_EQ(merge(destination, mask, overlay, {0, 0, {0, 0, 190, 150}}), 0);
            EXPECT_EQ(frame::reports(), reports);
            forget_reports();
            EXPECT_EQ(Census::now(), before);
        }
        EXPECT_EQ(word(destination, field_type), type);
        for (const Side *side : {&overlay, &destination, &mask}) {
            EXPECT_EQ(side->locks(), 0u);
            EXPECT_EQ(side->mode(), Side::no_mode);
        }
        destination.expect_picture();
        check_buffer_to_buffer(destination, &mask, overlay, {0, 0, {0, 0, 190, 150}});
        destination.expect_picture();
    }
}

// The destination is locked first, then the overlay, then the mask.
TEST_F(MergeFailures, NoBlockForTheOverlayOrTheMask) {
    Random random(test_seed(), 4);
    const std::pair<Sort, Failure> cases[] = {{Sort::one_colour, {1001, 0, 2, 5}},
                                              {Sort::pattern, {1001, 1, 4, 21}}};
    for (const auto &[sort, failure] : cases)
        for (bool to_memory : {false, true}) {
            SCOPED_TRACE(name_of(sort));
            Side overlay(24, 190, 150, random), special(sort, 24, 190, 150, random);
            Side mask(8, 190, 150, random), special_mask(sort, 8, 190, 150, random);
            Side destination(Sort::duplicate, 24, 200, 160, random);
            // A destination with pixels of its own needs nothing.
            EXPECT_EQ(merge(destination, 0, overlay, {0, 0, {0, 0, 1, 1}, 1, 100}), 1);
            set_word(destination, field_access_mode, Side::no_mode);
            set_word(overlay, field_access_mode, Side::no_mode);
            Bytes image(200 * 160 * 3);
            const Request request{0, 0, {0, 0, 190, 150}};
            for (bool in_mask : {false, true}) {
                FailingCall failing("VirtualAlloc", 1, FailingCall::from_there_on);
                const HBUF32 from = in_mask ? overlay : special,
                             weights = in_mask ? special_mask : mask;
                forget_reports();
                EXPECT_EQ(to_memory ? merge(image.data(), 200, 160, 3, weights, from, request)
                                    : merge(destination, weights, from, request),
                          0);
                expect_report(failure);
            }
            EXPECT_EQ(destination.mode(), to_memory ? Side::no_mode : uint32_t(BUF32_WRITE_3));
            EXPECT_EQ(special.mode(), Side::no_mode);
            EXPECT_EQ(overlay.mode(), uint32_t(BUF32_READ));
            EXPECT_EQ(special_mask.mode(), Side::no_mode);
            EXPECT_EQ(mask.mode(), Side::no_mode);
            for (const Side *side : {&overlay, &special, &mask, &special_mask, &destination})
                EXPECT_EQ(side->locks(), 0u);
            destination.expect_picture();
            EXPECT_EQ(image, Bytes(200 * 160 * 3));
        }
    forget_memory_in_use();
}

// Every call of the system that a request makes fails in turn, alone or with all after it.
struct Scenario {
    Sort destination, overlay, mask;
    bool masked;
    bool to_files;
};

void sweep(MergeTest &, const Scenario &scenario, const model::Call &call) {
    const Request request{20, 30, {10, 15, 190, 150}, call.mode, call.transparency};
    uint64_t number = 0;
    for (const char *function : acquiring_calls)
        for (auto extent : {FailingCall::only_there, FailingCall::from_there_on})
            for (int n = first_in_this_round(number++);; n += int(one_in_the_round())) {
                SCOPED_TRACE(std::string(name_of(scenario.overlay)) + " into " +
                             name_of(scenario.destination) + ", call " + std::to_string(n) +
                             " of " + function + " failing");
                ASSERT_LT(n, 100);
                set_memory_limit(scenario.to_files, 0);
                Random random(test_seed(), 5);
                Side overlay(scenario.overlay, 24, 190, 150, random);
                Side mask(scenario.mask, 8, 190, 150, random);
                Side destination(scenario.destination, 24, 200, 160, random);
                const HBUF32 weights = scenario.masked ? HBUF32(mask) : 0;
                const int live = api().buf32CountBuf(nullptr);
                bool reached;
                int result;
                forget_reports();
                {
                    FailingCall failing(function, n, extent);
                    result = merge(destination, weights, overlay, request);
                    reached = failing.happened();
                }
                EXPECT_TRUE(reached || result == 1) << "fails with nothing failing";
                const bool silent = std::string(function) == "malloc" && !scenario.masked;
                EXPECT_EQ(frame::reports().empty(), result == 1 || silent);
                forget_reports();
                EXPECT_EQ(api().buf32CountBuf(nullptr), live);
                for (const Side *side : {&overlay, &destination, &mask})
                    EXPECT_EQ(side->locks(), 0u);
                if (result != 1 && !silent) {
                    destination.expect_picture();
                    EXPECT_SUCCESS(merge(destination, weights, overlay, request));
                }
                if (result == 1 || !silent) {
                    model::merge_pictures(
                        destination.picture, scenario.masked ? &mask.picture : nullptr,
                        overlay.picture, model::place(request, 190, 150, 200, 160), call);
                    destination.expect_picture();
                }
                overlay.expect_picture();
                mask.expect_picture();
                if (testing::Test::HasFailure())
                    return;
                if (!reached)
                    break;
            }
}

TEST_F(MergeFailures, EveryCallInTurn) {
    for (const Scenario &scenario :
         {Scenario{Sort::tiled, Sort::tiled, Sort::tiled, true, false},
          Scenario{Sort::duplicate, Sort::one_colour, Sort::pattern, true, false},
          Scenario{Sort::shared, Sort::pattern, Sort::one_colour, true, false},
          Scenario{Sort::one_colour, Sort::duplicate, Sort::tiled, false, false},
          Scenario{Sort::pattern, Sort::shared, Sort::tiled, true, false},
          Scenario{Sort::bitmap_duplicate, Sort::tiled, Sort::one_colour, true, false},
          Scenario{Sort::duplicate, Sort::one_colour, Sort::tiled, true, true},
          Scenario{Sort::one_colour, Sort::pattern, Sort::tiled, true, true},
          Scenario{Sort::pattern, Sort::tiled, Sort::tiled, false, true}}) {
        sweep(*this, scenario, {MERGE_NORMAL, 3, 20, true});
        if (HasFailure())
            return;
    }
    forget_memory_in_use();
}

} // namespace
} // namespace q32::test
