// Windows callers align the stack to 4 bytes only: every export of both queues is called at each of
// the four alignments that a caller's stack can have.
#include "tests/queues/dispatch_fixture.h"

#include "tests/frame/misaligned.h"

namespace q32::test {
namespace {

class MisalignedQueues : public DispatchTest, public testing::WithParamInterface<std::uint32_t> {
protected:
    template <typename Result, typename... Parameters>
    Result call(Result (*function)(Parameters...), std::type_identity_t<Parameters>... arguments) {
        return frame::call_at(GetParam(), function, arguments...);
    }
};

TEST_P(MisalignedQueues, EveryExportOfTheMessageQueue) {
    EXPECT_EQ(call(api().CreateQueue, 9), 1);
    const std::uint8_t bytes[5] = {1, 2, 3, 4, 5};
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(call(api().AddQueue, bytes, 5), 1);
    std::uint8_t buffer[7] = {9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(call(api().GetFromQueue, buffer, -1), 5);
    EXPECT_EQ(call(api().GetFromQueue, buffer, 4), -1);
    EXPECT_EQ(call(api().GetFromQueue, buffer, 5), 5);
    EXPECT_EQ(Bytes(buffer, buffer + 7), (Bytes{1, 2, 3, 4, 5, 0, 0}));
    EXPECT_EQ(call(api().IsQueueEmpty), 0);
    EXPECT_EQ(call(api().ClearQueue), 39);
    EXPECT_EQ(call(api().IsQueueEmpty), 1);
    EXPECT_EQ(call(api().DeleteQueue, 8), 0);
    EXPECT_EQ(call(api().DeleteQueue, 9), 1);
}

int steps_made;
int Q32_CALL count_steps(int message, uint32_t owner, intptr_t parameter, intptr_t user_data) {
    // The compiler takes an aligned stack for granted here as well.
    alignas(16) volatile char aligned[16] = {};
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&aligned) % 16, 0u);
    EXPECT_EQ(user_data, 77);
    EXPECT_TRUE(owner == 1 || owner == 2);
    steps_made += message == 32 ? int(parameter) : 0;
    return 1;
}

TEST_P(MisalignedQueues, EveryExportOfTheDispatchQueue) {
    steps_made = 0;
    const RECT rectangle{0, 0, 300, 200}, end{1, 2, 3, 4};
    const DispatchDesc description{0, count_steps, 77, 1, 3};
    EXPECT_EQ(call(api().d32AddQueue, 1, &rectangle, 0, 5, 6, D32_STEPS, &description), 1);
    EXPECT_EQ(call(api().d32AddQueue, 2, &rectangle, 1, 5, 6, D32_STEPS, &description), 1);
    EXPECT_EQ(call(api().d32AddQueue, 2, &rectangle, 0, 5, 6, D32_STEPS, &description), 1);
    EXPECT_EQ(call(api().d32DispatchQueue), 1);
    EXPECT_EQ(steps_made, 1);
    HGLOBAL block = nullptr;
    EXPECT_EQ(call(api().d32GetCurQueue, &block), 1u);
    EXPECT_EQ(static_cast<const DispatchRects *>(block)->count, 1);
    frame::forget_block(block);
    ::GlobalFree(block);
    EXPECT_EQ(call(api().d32SetEndDispatchRect, 2, &rectangle, &end), 1);
    EXPECT_EQ(call(api().d32SetFirstService, 2), 1);
    EXPECT_EQ(call(api().d32IsInQueue, 2, 0), 1);
    EXPECT_EQ(call(api().d32IsInQueue, 1, 1), 1);
    EXPECT_EQ(steps_made, 6);
    EXPECT_EQ(call(api().d32IsInQueue, 1, 0), 0);
    EXPECT_EQ(call(api().d32DeleteQueue, 2), 1);
    EXPECT_EQ(call(api().d32DispatchQueue), 0);
    EXPECT_EQ(steps_made, 6);
}

INSTANTIATE_TEST_SUITE_P(Offsets, MisalignedQueues, testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
