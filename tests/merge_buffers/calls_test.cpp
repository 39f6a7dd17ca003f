// The locks that the buffer forms take, in their order, and each of them failing in turn.
#include "tests/merge_buffers/merge_fixture.h"

namespace q32::test {
namespace {

class LockCalls : public MergeTest {};

constexpr char destination_name = 'D', mask_name = 'M', overlay_name = 'O';

// The calls of a request from buffer to buffer.
EntryCalls calls_between(const std::vector<model::Piece> &pieces, bool masked) {
    EntryCalls calls;
    const auto on_both = [&](Entry entry, int argument) {
        calls.push_back({overlay_name, entry, argument});
        if (masked)
            calls.push_back({mask_name, entry, argument});
    };
    calls.push_back({destination_name, entry_lock, BUF32_WRITE_3});
    on_both(entry_lock, BUF32_READ);
    for (size_t i = 0; i < pieces.size(); ++i) {
        const int cell = pieces[i].destination_cell;
        if (i == 0 || pieces[i - 1].destination_cell != cell)
            calls.push_back({destination_name, entry_cell_lock, cell});
        on_both(entry_cell_lock, pieces[i].overlay_cell);
        on_both(entry_cell_unlock, pieces[i].overlay_cell);
        if (i + 1 == pieces.size() || pieces[i + 1].destination_cell != cell)
            calls.push_back({destination_name, entry_cell_unlock, cell});
    }
    on_both(entry_unlock, 0);
    calls.push_back({destination_name, entry_unlock, 0});
    return calls;
}

// And to memory. Cells outside the image are unlocked twice on the overlay, not at all on the mask.
EntryCalls calls_to_memory(const std::vector<model::Piece> &pieces, bool masked) {
    EntryCalls calls;
    const auto on_both = [&](Entry entry, int argument) {
        calls.push_back({overlay_name, entry, argument});
        if (masked)
            calls.push_back({mask_name, entry, argument});
    };
    on_both(entry_lock, BUF32_READ);
    for (const model::Piece &piece : pieces) {
        on_both(entry_cell_lock, piece.overlay_cell);
        if (piece.width > 0)
            on_both(entry_cell_unlock, piece.overlay_cell);
        else
            for (int i = 0; i < (masked ? 2 : 1); ++i)
                calls.push_back({overlay_name, entry_cell_unlock, piece.overlay_cell});
    }
    on_both(entry_unlock, 0);
    return calls;
}

bool is_lock(const EntryCall &call) {
    return call.entry == entry_lock || call.entry == entry_cell_lock;
}

// How many pieces are finished when the n-th lock is tried.
size_t finished_at(const EntryCalls &calls, int n) {
    size_t finished = 0;
    for (const EntryCall &call : calls) {
        if (is_lock(call) && --n == 0)
            break;
        finished += call.buffer == overlay_name && call.entry == entry_cell_unlock;
    }
    return finished;
}

// The calls up to the n-th lock.
EntryCalls up_to(const EntryCalls &calls, int n) {
    for (size_t i = 0; i < calls.size(); ++i)
        if (is_lock(calls[i]) && --n == 0)
            return EntryCalls(calls.begin(), calls.begin() + std::ptrdiff_t(i) + 1);
    return calls;
}

TEST_F(LockCalls, FromBufferToBufferByHand) {
    Random random(test_seed(), 1);
    Side overlay(24, 200, 200, random), destination(24, 200, 200, random),
        mask(8, 200, 200, random);
    // Columns 100 to 129 of the overlay go to columns 120 to 149: cut at 128 on both sides. Rows
    // stay in the lower band of the one and the upper of the other.
    const Request request{120, 10, {100, 130, 130, 140}};
    {
        LockWatch watch({{'D', destination}, {'M', mask}, {'O', overlay}});
        EXPECT_SUCCESS(merge(destination, mask, overlay, request));
        const EntryCalls expected{
            {'D', entry_lock, 3},        {'O', entry_lock, 1},        {'M', entry_lock, 1},
            {'D', entry_cell_lock, 0},   {'O', entry_cell_lock, 2},   {'M', entry_cell_lock, 2},
            {'O', entry_cell_unlock, 2}, {'M', entry_cell_unlock, 2}, {'D', entry_cell_unlock, 0},
            {'D', entry_cell_lock, 1},   {'O', entry_cell_lock, 2},   {'M', entry_cell_lock, 2},
            {'O', entry_cell_unlock, 2}, {'M', entry_cell_unlock, 2}, {'O', entry_cell_lock, 3},
            {'M', entry_cell_lock, 3},   {'O', entry_cell_unlock, 3}, {'M', entry_cell_unlock, 3},
            {'D', entry_cell_unlock, 1}, {'O', entry_unlock, 0},      {'M', entry_unlock, 0},
            {'D', entry_unlock, 0}};
        EXPECT_EQ(watch.calls(), expected);
    }
    {
        LockWatch watch({{'D', destination}, {'O', overlay}});
        EXPECT_SUCCESS(merge(destination, 0, overlay, {0, 0, {0, 0, 128, 128}}));
        const EntryCalls expected{{'D', entry_lock, 3},        {'O', entry_lock, 1},
                                  {'D', entry_cell_lock, 0},   {'O', entry_cell_lock, 0},
                                  {'O', entry_cell_unlock, 0}, {'D', entry_cell_unlock, 0},
                                  {'O', entry_unlock, 0},      {'D', entry_unlock, 0}};
        EXPECT_EQ(watch.calls(), expected);
    }
}

TEST_F(LockCalls, FromBufferToMemoryByHand) {
    Random random(test_seed(), 2);
    Side overlay(24, 200, 200, random), mask(8, 200, 200, random);
    Bytes image(28 * 40 * 3);
    // The second column of cells and the second band lie outside an image of 28 x 40 pixels.
    const Request request{0, 0, {100, 88, 150, 140}};
    {
        LockWatch watch({{'M', mask}, {'O', overlay}});
        EXPECT_SUCCESS(merge(image.data(), 28, 52, 3, 0, overlay, {0, 0, {100, 88, 128, 128}}));
        const EntryCalls expected{{'O', entry_lock, 1},
                                  {'O', entry_cell_lock, 0},
                                  {'O', entry_cell_unlock, 0},
                                  {'O', entry_unlock, 0}};
        EXPECT_EQ(watch.calls(), expected);
    }
    {
        LockWatch watch({{'M', mask}, {'O', overlay}});
        EXPECT_SUCCESS(merge(image.data(), 28, 40, 3, 0, overlay, request));
        const EntryCalls expected{{'O', entry_lock, 1},        {'O', entry_cell_lock, 0},
                                  {'O', entry_cell_unlock, 0}, {'O', entry_cell_lock, 1},
                                  {'O', entry_cell_unlock, 1}, {'O', entry_cell_lock, 2},
                                  {'O', entry_cell_unlock, 2}, {'O', entry_cell_lock, 3},
                                  {'O', entry_cell_unlock, 3}, {'O', entry_unlock, 0}};
        EXPECT_EQ(watch.calls(), expected);
    }
    {
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(api().buf32Lock(overlay, BUF32_READ, nullptr), 1);
        LockWatch watch({{'M', mask}, {'O', overlay}});
        EXPECT_SUCCESS(merge(image.data(), 28, 40, 3, mask, overlay, request));
        const EntryCalls expected{
            {'O', entry_lock, 1},        {'M', entry_lock, 1},        {'O', entry_cell_lock, 0},
            {'M', entry_cell_lock, 0},   {'O', entry_cell_unlock, 0}, {'M', entry_cell_unlock, 0},
            {'O', entry_cell_lock, 1},   {'M', entry_cell_lock, 1},   {'O', entry_cell_unlock, 1},
            {'O', entry_cell_unlock, 1}, {'O', entry_cell_lock, 2},   {'M', entry_cell_lock, 2},
            {'O', entry_cell_unlock, 2}, {'O', entry_cell_unlock, 2}, {'O', entry_cell_lock, 3},
            {'M', entry_cell_lock, 3},   {'O', entry_cell_unlock, 3}, {'O', entry_cell_unlock, 3},
            {'O', entry_unlock, 0},      {'M', entry_unlock, 0}};
        EXPECT_EQ(watch.calls(), expected);
    }
    EXPECT_EQ(overlay.locks(), 0u);
    EXPECT_EQ(mask.locks(), 3u);
    set_word(mask, field_lock_count, 0);
}

Request random_request(Random &random, int width, int height) {
    const int left = between(random, -5, 150), top = between(random, -5, 150);
    return {between(random, -40, width - 1),
            between(random, -40, height - 1),
            {left, top, left + between(random, 50, 250), top + between(random, 50, 250)},
            between(random, 1, 15),
            between(random, 0, 100)};
}

// These, and after a failure there is nothing left but to unlock.
void expect_calls(const LockWatch &watch, const EntryCalls &expected) {
    ASSERT_GE(watch.calls().size(), expected.size()) << "ends early";
    const auto end = watch.calls().begin() + std::ptrdiff_t(expected.size());
    EXPECT_EQ(EntryCalls(watch.calls().begin(), end), expected);
    EXPECT_TRUE(std::none_of(end, watch.calls().end(), is_lock));
}

TEST_F(LockCalls, FromBufferToBufferFailingInTurn) {
    random_cases(25, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(number);
        const Sort grid = number % 5 == 4 ? Sort::linear : Sort::tiled;
        Side overlay(grid, 24, 300, 280, random), mask(grid, 8, 300, 280, random);
        Side destination(24, 290, 310, random);
        const Request request = random_request(random, 290, 310);
        const bool masked = number % 2 == 0;
        const Placement place = model::place(request, 300, 280, 290, 310);
        const auto pieces = model::pieces_between(place, destination.cells(), overlay.cells());
        if (place.verdict != Placement::placed)
            return true;
        const EntryCalls expected = calls_between(pieces, masked);
        const auto all_locks = int(std::count_if(expected.begin(), expected.end(), is_lock));
        for (int n = 0; n <= all_locks + 1; ++n) {
            SCOPED_TRACE("lock " + std::to_string(n) + " of " + std::to_string(all_locks));
            const size_t finished = n == 0 ? pieces.size() : finished_at(expected, n);
            for (size_t i = 0; i < finished; ++i)
                model::merge_pictures(destination.picture, masked ? &mask.picture : nullptr,
                                      overlay.picture, placement_of(pieces[i]),
                                      call_of(request, 3));
            {
                LockWatch watch(
                    {{destination_name, destination}, {mask_name, mask}, {overlay_name, overlay}},
                    n);
                forget_reports();
                EXPECT_EQ(merge(destination, masked ? HBUF32(mask) : 0, overlay, request),
                          n == 0 || n > all_locks ? 1 : 0);
                expect_no_report();
                EXPECT_TRUE(watch.balanced());
                expect_calls(watch, n == 0 ? expected : up_to(expected, n));
            }
            for (const Side *side : {&overlay, &destination, &mask})
                EXPECT_EQ(side->locks(), 0u);
            destination.expect_picture();
            if (HasFailure())
                return false;
        }
        return true;
    });
}

TEST_F(LockCalls, FromBufferToMemoryFailingInTurn) {
    random_cases(25, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(number);
        const Sort grid = number % 5 == 4 ? Sort::linear : Sort::tiled;
        Side overlay(grid, 24, 300, 280, random), mask(grid, 8, 300, 280, random);
        Picture image = plain_picture(24, 600, 610, random);
        const Request request = random_request(random, 190, 210);
        const bool masked = number % 2 == 0;
        const Placement place = model::place(request, 300, 280, 600, 610);
        const auto pieces = model::pieces_to_memory(place, overlay.cells());
        if (place.verdict != Placement::placed)
            return true;
        const EntryCalls expected = calls_to_memory(pieces, masked);
        const auto all_locks = int(std::count_if(expected.begin(), expected.end(), is_lock));
        MemoryBlock memory(image.image.bytes().size(), random_fence(random), random);
        for (int n = 0; n <= all_locks + 1; ++n) {
            SCOPED_TRACE("lock " + std::to_string(n) + " of " + std::to_string(all_locks));
            memory.set(image.image.bytes());
            const size_t finished = n == 0 ? pieces.size() : finished_at(expected, n);
            for (size_t i = 0; i < finished; ++i)
                model::merge_pictures(image, masked ? &mask.picture : nullptr, overlay.picture,
                                      placement_of(pieces[i]), call_of(request, 3));
            {
                LockWatch watch({{mask_name, mask}, {overlay_name, overlay}}, n);
                forget_reports();
                EXPECT_EQ(
                    merge(memory.data(), 600, 610, 3, masked ? HBUF32(mask) : 0, overlay, request),
                    n == 0 || n > all_locks ? 1 : 0);
                expect_no_report();
                EXPECT_TRUE(watch.balanced());
                expect_calls(watch, n == 0 ? expected : up_to(expected, n));
            }
            EXPECT_EQ(overlay.locks(), 0u);
            EXPECT_EQ(mask.locks(), 0u);
            memory.expect(image.image.bytes());
            if (HasFailure())
                return false;
        }
        return true;
    });
}

// With cells outside the image, in any number: the calls are these and no others.
TEST_F(LockCalls, FromBufferToSmallImages) {
    random_cases(200, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(number);
        Side overlay(8, 300, 280, random), mask(8, 300, 280, random);
        const int width = between(random, 1, 300), height = between(random, 1, 300);
        Picture image = plain_picture(8, width, height, random);
        const Request request = random_request(random, width, height);
        const bool masked = number % 3 != 0;
        const Placement place = model::place(request, 300, 280, width, height);
        MemoryBlock memory(image.image.bytes().size(), random_fence(random), random);
        memory.set(image.image.bytes());
        if (place.verdict != Placement::placed)
            return true;
        const model::Call call = call_of(request, 1);
        std::vector<model::Piece> pieces = model::pieces_to_memory(place, overlay.cells());
        if (model::rectangles_have(call)) {
            model::merge_pictures(image, masked ? &mask.picture : nullptr, overlay.picture, place,
                                  call);
        } else {
            pieces.resize(1); // which lies in the image, and fails
        }
        set_word(overlay, field_lock_count, 100);
        {
            LockWatch watch({{mask_name, mask}, {overlay_name, overlay}});
            EXPECT_EQ(
                merge(memory.data(), width, height, 1, masked ? HBUF32(mask) : 0, overlay, request),
                model::rectangles_have(call) ? 1 : 0);
            EXPECT_EQ(watch.calls(), calls_to_memory(pieces, masked));
        }
        const auto outside =
            uint32_t(std::count_if(pieces.begin(), pieces.end(),
                                   [](const model::Piece &piece) { return piece.width == 0; }));
        EXPECT_EQ(overlay.locks(), 100 - (masked ? outside : 0));
        EXPECT_EQ(mask.locks(), masked ? outside : 0);
        memory.expect(image.image.bytes());
        set_word(overlay, field_lock_count, 0);
        set_word(mask, field_lock_count, 0);
        return !HasFailure();
    });
}

// A cell that its lock gives no address.
TEST_F(LockCalls, ThatAreRefused) {
    Random random(test_seed(), 3);
    Subject over_caller_memory(Kind::caller_memory, 24, 200, 180, random);
    Subject weights_over_caller_memory(Kind::caller_memory, 8, 200, 180, random);
    Side overlay(24, 200, 180, random), destination(24, 200, 180, random);
    const Request request{0, 0, {0, 0, 200, 180}};
    Bytes image(200 * 180 * 3);
    // Its write lock; its cells.
    EXPECT_SILENT_FAILURE(merge(over_caller_memory, 0, overlay, request));
    EXPECT_EQ(overlay.mode(), Side::no_mode);
    EXPECT_SILENT_FAILURE(merge(destination, 0, over_caller_memory, request));
    EXPECT_SILENT_FAILURE(merge(destination, weights_over_caller_memory, overlay, request));
    EXPECT_SILENT_FAILURE(merge(image.data(), 200, 180, 3, 0, over_caller_memory, request));
    EXPECT_SILENT_FAILURE(
        merge(image.data(), 200, 180, 3, weights_over_caller_memory, overlay, request));
    for (HBUF32 buffer : {HBUF32(over_caller_memory), HBUF32(weights_over_caller_memory),
                          HBUF32(overlay), HBUF32(destination)})
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
    over_caller_memory.expect_picture();
    weights_over_caller_memory.expect_picture();
    destination.expect_picture();
    EXPECT_EQ(image, Bytes(200 * 180 * 3));
}

} // namespace
} // namespace q32::test
