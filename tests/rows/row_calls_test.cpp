// How the row conversions may be called: on any stack, from several threads at once, and without
// the processor being left in its multimedia state.
#include "tests/rows/row_fixture.h"

#include "tests/frame/misaligned.h"
#include "tests/frame/random.h"
#include "tests/kernels/row_models.h"

#include <atomic>
#include <thread>

namespace q32::test {
namespace {

using frame::call_at;
using model::Bytes;

class RowCalls : public RowTestWithMmxFlag {};

INSTANTIATE_TEST_SUITE_P(Mmx, RowCalls, testing::Bool(), mmx_flag_name);

// --- stacks ---

// Callers built with other compilers keep the stack at multiples of 4 only.
constexpr std::uint32_t stack_remainders[] = {0, 4, 8, 12};

TEST_P(RowCalls, OnEveryStack) {
    constexpr int count = 333;
    Bytes source(6 * count);
    Random{test_seed(), 1}.fill(source);
    Bytes tables(768);
    Random{test_seed(), 2}.fill(tables);
    const model::View from{source};
    const auto &r = rows();
    std::uint8_t *const s = source.data();
    const std::uint8_t *const t = tables.data();

    struct Call {
        const char *name;
        std::function<int(std::uint32_t stack, std::uint8_t *to)> run;
        Bytes expected;
    };
    const auto conversion = [=](const char *name, int (*function)(void *, const void *, int),
                                const Bytes &expected) {
        return Call{name,
                    [=](std::uint32_t stack, std::uint8_t *to) {
                        return call_at(stack, function, to, s, count);
                    },
                    expected};
    };
    const auto mapping = [&](const char *name, int type, const Bytes &expected) {
        return Call{name,
                    [=, &r](std::uint32_t stack, std::uint8_t *to) {
                        return call_at(stack, r.mem32Map, to, s, t, type, count);
                    },
                    expected};
    };
    const std::vector<Call> calls{
        {"mem32Fill",
         [&](std::uint32_t stack, std::uint8_t *to) {
             return call_at(stack, r.mem32Fill, to, s, 3, count);
         },
         model::fill(from.first(3), count)},
        {"mem32ByteInvert",
         [&](std::uint32_t stack, std::uint8_t *to) {
             return call_at(stack, r.mem32ByteInvert, to, s, count);
         },
         model::byte_invert(from.first(count))},
        {"mem32ByteToBit",
         [&](std::uint32_t stack, std::uint8_t *to) {
             return call_at(stack, r.mem32ByteToBit, to, s, count, 99);
         },
         model::byte_to_bit(from, count, 99)},
        {"RGBToBGR",
         [&](std::uint32_t stack, std::uint8_t *to) {
             call_at(stack, r.RGBToBGR, to, s, count);
             return 1;
         },
         model::swap_channels(from, count)},
        conversion("mem32BitToByte", r.mem32BitToByte, model::bit_to_bytes(from, count, 255)),
        conversion("mem32BitToByteExt", r.mem32BitToByteExt, model::bit_to_bytes(from, count, 1)),
        conversion("mem32_888To555", r.mem32_888To555,
                   model::narrow(from, count, model::layout_555)),
        conversion("mem32_888To565", r.mem32_888To565,
                   model::narrow(from, count, model::layout_565)),
        conversion("mem32_555To888", r.mem32_555To888,
                   model::widen(from, count, model::layout_555)),
        conversion("mem32_565To888", r.mem32_565To888,
                   model::widen(from, count, model::layout_565)),
        mapping("mem32Map 1", 1, model::map_8(from, tables, 1, count)),
        mapping("mem32Map 3", 3, model::map_8(from, tables, 3, count)),
        mapping("mem32Map 2", 2, model::map_16(from, tables, 1, count)),
        mapping("mem32Map 6", 6, model::map_16(from, tables, 3, count))};
    for (const Call &call : calls)
        for (const std::uint32_t stack : stack_remainders) {
            Bytes row(call.expected.size());
            EXPECT_EQ(call.run(stack, row.data()), 1) << call.name << ", stack " << stack;
            EXPECT_TRUE(row == call.expected) << call.name << ", stack " << stack;
        }
}

TEST_P(RowCalls, ExchangeOnEveryStack) {
    for (const std::uint32_t stack : stack_remainders) {
        Bytes a(333);
        Bytes b(333);
        Random{test_seed(), stack}.fill(a);
        Random{test_seed(), ~stack}.fill(b);
        const Bytes a_before = a;
        const Bytes b_before = b;
        call_at(stack, rows().mem32Exchange, a.data(), b.data(), 333);
        EXPECT_TRUE(a == b_before && b == a_before) << stack;
    }
}

TEST_P(RowCalls, DuplicateAndRefusalsOnEveryStack) {
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 77);
    for (const std::uint32_t stack : stack_remainders) {
        const HGLOBAL copy = call_at(stack, rows().mem32DuplicateHandle, block);
        EXPECT_NE(copy, nullptr);
        frame::forget_block(copy);
        GlobalFree(copy);
        EXPECT_EQ(call_at(stack, rows().mem32Fill, nullptr, "x", 1, 8), 0);
        expect_report(3200, 4);
    }
    GlobalFree(block);
}

// --- the processor's state ---

// The tag word of the floating-point unit: two bits a register, all set when all are free.
std::uint16_t floating_point_tags() {
    std::uint32_t environment[7];
    asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(environment));
    return static_cast<std::uint16_t>(environment[2]);
}

TEST_P(RowCalls, LeaveTheFloatingPointRegistersFree) {
    Bytes a(1003);
    Bytes b(1003);
    ASSERT_EQ(floating_point_tags(), 0xFFFF);
    const std::uint8_t pattern[4] = {1, 2, 3, 4};
    for (int pixel_bytes = 1; pixel_bytes <= 4; ++pixel_bytes)
        rows().mem32Fill(a.data(), pattern, pixel_bytes, 250);
    EXPECT_EQ(floating_point_tags(), 0xFFFF);
    rows().mem32Exchange(a.data(), b.data(), 1003);
    EXPECT_EQ(floating_point_tags(), 0xFFFF);
    rows().mem32ByteInvert(nullptr, b.data(), 1003);
    EXPECT_EQ(floating_point_tags(), 0xFFFF);
}

// --- threads ---

TEST_P(RowCalls, FromSeveralThreadsAtOnce) {
    std::atomic<bool> exact{true};
    const auto work = [&](std::uint64_t number) {
        Random random{test_seed(), number};
        Bytes source(3 * 900);
        Bytes words(2 * 900);
        Bytes colours(3 * 900);
        for (int round = 0; round < 100; ++round) {
            random.fill(source);
            rows().mem32_888To565(words.data(), source.data(), 900);
            rows().mem32_565To888(colours.data(), words.data(), 900);
            rows().RGBToBGR(colours.data(), colours.data(), 900);
            const Bytes narrowed = model::narrow(source, 900, model::layout_565);
            const Bytes widened = model::widen(narrowed, 900, model::layout_565);
            if (words != narrowed || colours != model::swap_channels(widened, 900))
                exact = false;
        }
    };
    std::thread first{work, 1};
    std::thread second{work, 2};
    work(3);
    first.join();
    second.join();
    EXPECT_TRUE(exact);
}

} // namespace
} // namespace q32::test
