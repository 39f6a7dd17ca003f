// Windows callers align the stack to 4 bytes only: every buffer export is called once at each of
// the four alignments that a caller's stack can have.
#include "tests/buffer/buffer_fixture.h"

namespace q32::test {
namespace {

class MisalignedStack : public BufferTest, public ::testing::WithParamInterface<uint32_t> {
protected:
    template <typename Result, typename... Parameters>
    Result call(Result (*function)(Parameters...), std::type_identity_t<Parameters>... arguments) {
        return frame::call_at(GetParam(), function, arguments...);
    }
};

TEST_P(MisalignedStack, EveryExport) {
    const uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (uint32_t type : {0u, 1u, 2u, 4u, 16u, 0x80000000u}) {
        SCOPED_TRACE(type);
        HBUF32 handle = 0;
        ASSERT_EQ(call(api().buf32Alloc, &handle, 16, 300, 200, type, colour), 1);
        EXPECT_EQ(call(api().buf32CountBuf, nullptr), 1);
        EXPECT_EQ(call(api().IsBufClean), 0);
        BUF32INFO info;
        EXPECT_EQ(call(api().buf32GetInfo, handle, &info), 1);
        int width = 0, height = 0, unit = 0;
        EXPECT_EQ(call(api().buf32GetWHU, handle, &width, &height, &unit), 1);
        EXPECT_EQ(unit, 2);
        void *base = nullptr;
        EXPECT_EQ(call(api().buf32Lock, handle, 1, &base), 1);
        BUF32CELL cell;
        EXPECT_EQ(call(api().buf32CellLock, handle, 0, &base, &cell), 1);
        EXPECT_EQ(call(api().buf32CellUnlock, handle, 0), 1);
        std::vector<uint8_t> row(900);
        for (int mode = 1; mode <= 9; ++mode)
            EXPECT_EQ(call(api().buf32Line, handle, 3, mode, row.data()), 1);
        EXPECT_EQ(call(api().buf32Unlock, handle), 1);
        EXPECT_EQ(call(api().buf32PointAddr, handle, 1, 1) != nullptr, type != 0x80000000u);
        int x = 0, y = 0;
        EXPECT_EQ(call(api().buf32PointAddEx, handle, 1, 1, &base, &base, &x, &y), 0);
        EXPECT_EQ(call(api().buf32ReAlloc, handle, 100), type == 4 || type == 16);
        uint32_t memory = 0, mapped = 0;
        EXPECT_EQ(call(api().buf32GetVMDataExt, &memory, &mapped), &mapped);
        EXPECT_EQ(call(api().buf32VMData, 0, &memory, &mapped, nullptr, nullptr, nullptr), 1);
        void *block = nullptr;
        EXPECT_EQ(call(api().buf32GetMemSpace, handle, 2, 1, 0, &block, &memory), 1);
        frame::forget_block(block);
        GlobalFree(block);
        EXPECT_EQ(call(api().buf32Free, handle), 1);
        EXPECT_EQ(call(api().buf32Free, handle), 0);
        forget_reports();
    }
}

INSTANTIATE_TEST_SUITE_P(Offsets, MisalignedStack, ::testing::Values(0u, 4u, 8u, 12u));

} // namespace
} // namespace q32::test
