// Windows callers align the stack to 4 bytes only: every buffer export is called once at each of
// the four alignments that a caller's stack can have.
#include "tests/buffer/buffer_fixture.h"

namespace q32::test {
namespace {

class MisalignedStack : public BufferTest, public ::testing::WithParamInterface<int> {
protected:
    // Calls a function whose return address lies at this parameter's offset from a multiple of 16.
    template <typename... Arguments>
    int call(const void *function, Arguments... arguments) {
        const uint32_t words[] = {as_word(arguments)..., 0};
        return call_at(function, words, sizeof...(arguments), uint32_t(GetParam()));
    }

private:
    static uint32_t as_word(int value) { return uint32_t(value); }
    static uint32_t as_word(uint32_t value) { return value; }
    static uint32_t as_word(std::nullptr_t) { return 0; }
    static uint32_t as_word(const void *value) { return uint32_t(uintptr_t(value)); }

    [[gnu::noinline]] static int call_at(const void *function, const uint32_t *words,
                                         uint32_t count, uint32_t offset) {
        int result;
        asm volatile("movl %%esp, %%edi\n\t"
                     "leal (,%%ecx,4), %%edx\n\t"
                     "subl $256, %%esp\n\t"
                     "andl $-16, %%esp\n\t"
                     "subl %%ebx, %%esp\n\t"
                     "addl %%edx, %%esi\n\t"
                     "1: testl %%ecx, %%ecx\n\t"
                     "jz 2f\n\t"
                     "subl $4, %%esi\n\t"
                     "pushl (%%esi)\n\t"
                     "decl %%ecx\n\t"
                     "jmp 1b\n\t"
                     "2: call *%%eax\n\t"
                     "movl %%edi, %%esp\n\t"
                     : "=a"(result), "+c"(count), "+S"(words)
                     : "a"(function), "b"(offset)
                     : "edx", "edi", "memory", "cc");
        return result;
    }
};

const void *code(auto *function) {
    return reinterpret_cast<const void *>(function);
}

TEST_P(MisalignedStack, EveryExport) {
    const uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (uint32_t type : {0u, 1u, 2u, 4u, 16u, 0x80000000u}) {
        SCOPED_TRACE(type);
        uint32_t handle = 0;
        ASSERT_EQ(call(code(buf32Alloc), &handle, 16, 300, 200, type, colour), 1);
        EXPECT_EQ(call(code(buf32CountBuf), nullptr), 1);
        EXPECT_EQ(call(code(IsBufClean)), 0);
        BUF32INFO info;
        EXPECT_EQ(call(code(buf32GetInfo), handle, &info), 1);
        int width = 0, height = 0, unit = 0;
        EXPECT_EQ(call(code(buf32GetWHU), handle, &width, &height, &unit), 1);
        EXPECT_EQ(unit, 2);
        void *base = nullptr;
        EXPECT_EQ(call(code(buf32Lock), handle, 1, &base), 1);
        BUF32CELL cell;
        EXPECT_EQ(call(code(buf32CellLock), handle, 0, &base, &cell), 1);
        EXPECT_EQ(call(code(buf32CellUnlock), handle, 0), 1);
        std::vector<uint8_t> row(900);
        for (int mode = 1; mode <= 9; ++mode)
            EXPECT_EQ(call(code(buf32Line), handle, 3, mode, row.data()), 1);
        EXPECT_EQ(call(code(buf32Unlock), handle), 1);
        EXPECT_EQ(call(code(buf32PointAddr), handle, 1, 1) != 0, type != 0x80000000u);
        int x = 0, y = 0;
        EXPECT_EQ(call(code(buf32PointAddEx), handle, 1, 1, &base, &base, &x, &y), 0);
        EXPECT_EQ(call(code(buf32ReAlloc), handle, 100), type == 4 || type == 16);
        uint32_t memory = 0, mapped = 0;
        EXPECT_EQ(uint32_t(call(code(buf32GetVMDataExt), &memory, &mapped)),
                  uint32_t(uintptr_t(&mapped)));
        EXPECT_EQ(call(code(buf32VMData), 0, &memory, &mapped, nullptr, nullptr, nullptr), 1);
        void *block = nullptr;
        EXPECT_EQ(call(code(buf32GetMemSpace), handle, 2, 1, 0, &block, &memory), 1);
        GlobalFree(block);
        EXPECT_EQ(call(code(buf32Free), handle), 1);
        EXPECT_EQ(call(code(buf32Free), handle), 0);
        forget_reports();
    }
}

INSTANTIATE_TEST_SUITE_P(Offsets, MisalignedStack, ::testing::Values(0, 4, 8, 12));

} // namespace
} // namespace q32::test
