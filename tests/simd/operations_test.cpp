// The vector layer against plain scalar code: every operation, for every size of vector, as each
// instruction set compiles it. Operands are all pairs of bytes, and seeded random numbers with
// many limits among them.
#include "library/process/cpu.h"
#include "tests/frame/figures.h"
#include "tests/frame/random.h"
#include "tests/simd/forms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <utility>

namespace q32::test {
namespace {

using u8 = std::uint8_t;
using i8 = std::int8_t;
using u16 = std::uint16_t;
using i16 = std::int16_t;
using u32 = std::uint32_t;
using i32 = std::int32_t;
using u64 = std::uint64_t;
using i64 = std::int64_t;

constexpr std::size_t lane = 16;

// --- scalar forms --------------------------------------------------------------------------------

using Model = std::function<void(std::size_t size, u8 *result, const Operands &operands)>;

template <class T>
T number(const u8 *from, std::size_t i) {
    T value;
    std::memcpy(&value, from + i * sizeof(T), sizeof value);
    return value;
}

template <class T>
void set_number(u8 *to, std::size_t i, i64 value) {
    const T cut = static_cast<T>(value);
    std::memcpy(to + i * sizeof(T), &cut, sizeof cut);
}

template <class T>
i64 limited(i64 value) {
    return std::clamp<i64>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
}

// Number by number.
template <class T, class Result = T, class Rule>
Model each(Rule rule) {
    return [rule](std::size_t size, u8 *result, const Operands &from) {
        for (std::size_t i = 0; i < size / sizeof(T); ++i)
            set_number<Result>(result, i,
                               rule(i64{number<T>(from.a, i)}, i64{number<T>(from.b, i)},
                                    i64{number<T>(from.c, i)}));
    };
}

// Two neighbours make a number of twice the width.
template <class A, class B, class Result>
Model sums_of_products() {
    return [](std::size_t size, u8 *result, const Operands &from) {
        for (std::size_t i = 0; i < size / sizeof(Result); ++i) {
            const i64 first = i64{number<A>(from.a, 2 * i)} * number<B>(from.b, 2 * i);
            const i64 second = i64{number<A>(from.a, 2 * i + 1)} * number<B>(from.b, 2 * i + 1);
            const i64 sum = first + second; // of i16, only the sum of two squares of -32768 wraps
            set_number<Result>(result, i, sizeof(Result) == 2 ? limited<Result>(sum) : sum);
        }
    };
}

// Byte by byte, from a byte of any operand: place(size, i).
template <class Place>
Model bytes(std::size_t vectors, Place place) {
    return [=](std::size_t size, u8 *result, const Operands &from) {
        for (std::size_t i = 0; i < vectors * size; ++i)
            result[i] = place(size, i, from);
    };
}

// Low and high halves of each lane interleaved in units of so many bytes; of a with 0 instead of b.
Model interleaved(std::size_t unit, bool with_zeros = false) {
    return bytes(2, [=](std::size_t size, std::size_t i, const Operands &from) -> u8 {
        const std::size_t half = i / size, at = i % size, in_lane = at % lane;
        const std::size_t pair = in_lane / (2 * unit), in_pair = in_lane % (2 * unit);
        const std::size_t source =
            at / lane * lane + half * lane / 2 + pair * unit + in_pair % unit;
        if (in_pair < unit)
            return from.a[source];
        return with_zeros ? u8{0} : from.b[source];
    });
}

// In lanes: each lane of a, then that of b. Otherwise all of a, then all of b.
template <class T, class Result>
Model packed(bool in_lanes) {
    return [=](std::size_t size, u8 *result, const Operands &from) {
        const std::size_t piece = (in_lanes ? lane : size) / sizeof(T);
        for (std::size_t i = 0; i < size / sizeof(Result); ++i) {
            const std::size_t in_pair = i % (2 * piece);
            const u8 *const source = in_pair < piece ? from.a : from.b;
            const std::size_t at = i / (2 * piece) * piece + in_pair % piece;
            set_number<Result>(result, i, limited<Result>(number<T>(source, at)));
        }
    };
}

struct Operation {
    Model model;
    bool needs_sse41 = false;
    std::size_t widest = 64;
};

constexpr bool sse41 = true;

i64 all_ones_if(bool holds) {
    return holds ? -1 : 0;
}

using Operations = std::map<std::string, Operation>;

Operations memory_operations() {
    return {
        {"load and store", {each<u8>([](i64 a, i64, i64) { return a; })}},
        {"zero", {each<u8>([](i64, i64, i64) { return 0; })}},
        {"repeat_u8", {bytes(1, [](auto, auto, const Operands &from) { return from.a[0]; })}},
        {"repeat_u16",
         {bytes(1, [](auto, std::size_t i, const Operands &from) { return from.a[i % 2]; })}},
        {"repeat_u32",
         {bytes(1,
                [](auto, std::size_t i, const Operands &from) {
                    return i % 4 == 0 ? from.a[0] : i % 4 == 3 ? u8{0x7F} : u8{0};
                })}},
        {"repeat_lane",
         {bytes(1, [](auto, std::size_t i, const Operands &from) { return from.a[i % lane]; })}},
        {"load_8",
         {bytes(1, [](auto, std::size_t i,
                      const Operands &from) { return i % lane < 8 ? from.a[i % lane] : u8{0}; })}},
        {"store_8",
         {[](std::size_t, u8 *result, const Operands &from) { std::copy_n(from.a, 8, result); }}},
        {"as_vector of a lane",
         {bytes(1, [](auto, std::size_t i, auto &) { return u8(3 * (i % lane) + 1); })}},
        {"as_vector", {bytes(1, [](auto, std::size_t i, auto &) { return u8(3 * i + 1); })}},
        {"load_lanes",
         {bytes(1, [](auto, std::size_t i,
                      const Operands &from) { return from.a[i / lane * 48 + i % lane]; }),
          false, 32}},
        {"store_lanes",
         {[](std::size_t size, u8 *result, const Operands &from) {
              for (std::size_t i = 0; i < size; ++i)
                  result[i / lane * 48 + i % lane] = from.a[i];
          },
          false, 32}},
        {"join_lanes",
         {bytes(1, [](auto, std::size_t i,
                      const Operands &from) { return i < lane ? from.b[i] : from.a[i - lane]; }),
          false, 32}},
        {"lane_of",
         {[](std::size_t size, u8 *result, const Operands &from) {
              std::copy_n(from.a + size - lane, lane, result);
          },
          false, 32}},
    };
}

Operations arithmetic_operations() {
    const auto shift = [](auto type, auto rule) {
        return Operation{each<decltype(type)>([rule](i64 a, i64, i64) { return rule(a); })};
    };
    return {
        {"add_u8", {each<u8>([](i64 a, i64 b, i64) { return a + b; })}},
        {"add_u16", {each<u16>([](i64 a, i64 b, i64) { return a + b; })}},
        {"add_u32", {each<u32>([](i64 a, i64 b, i64) { return a + b; })}},
        {"add_saturating_u8", {each<u8>([](i64 a, i64 b, i64) { return limited<u8>(a + b); })}},
        {"subtract_u8", {each<u8>([](i64 a, i64 b, i64) { return a - b; })}},
        {"subtract_u16", {each<u16>([](i64 a, i64 b, i64) { return a - b; })}},
        {"subtract_u32", {each<u32>([](i64 a, i64 b, i64) { return a - b; })}},
        {"subtract_saturating_u8",
         {each<u8>([](i64 a, i64 b, i64) { return limited<u8>(a - b); })}},
        {"average_up_u8", {each<u8>([](i64 a, i64 b, i64) { return (a + b + 1) / 2; })}},
        {"average_down_u8", {each<u8>([](i64 a, i64 b, i64) { return (a + b) / 2; })}},
        {"min_u8", {each<u8>([](i64 a, i64 b, i64) { return std::min(a, b); })}},
        {"max_u8", {each<u8>([](i64 a, i64 b, i64) { return std::max(a, b); })}},
        {"min_i16", {each<i16>([](i64 a, i64 b, i64) { return std::min(a, b); })}},
        {"max_i16", {each<i16>([](i64 a, i64 b, i64) { return std::max(a, b); })}},
        {"min_i32", {each<i32>([](i64 a, i64 b, i64) { return std::min(a, b); }), sse41}},
        {"max_i32", {each<i32>([](i64 a, i64 b, i64) { return std::max(a, b); }), sse41}},
        {"multiply_low_u16", {each<u16>([](i64 a, i64 b, i64) { return a * b; })}},
        {"multiply_low_u32",
         {each<u32>([](i64 a, i64 b, i64) { return i64(u64(a) * u64(b)); }), sse41}},
        {"multiply_high_u16", {each<u16>([](i64 a, i64 b, i64) { return a * b >> 16; })}},
        {"multiply_high_i16", {each<i16>([](i64 a, i64 b, i64) { return a * b >> 16; })}},
        {"multiply_fractions_i16",
         {each<i16>([](i64 a, i64 b, i64) { return (a * b + 16384) >> 15; }), sse41}},
        {"sum_products_i16", {sums_of_products<i16, i16, i32>()}},
        {"sum_products_u8_i8", {sums_of_products<u8, i8, i16>(), sse41}},
        {"shift_left_u16", shift(u16(), [](i64 a) { return a << 5; })},
        {"shift_right_u16", shift(u16(), [](i64 a) { return a >> 5; })},
        {"shift_right_i16", shift(i16(), [](i64 a) { return a >> 5; })},
        {"shift_right_i32", shift(i32(), [](i64 a) { return a >> 5; })},
        {"shift_left_u16 by a vector", shift(u16(), [](i64 a) { return a << 9; })},
        {"shift_right_u16 by a vector", shift(u16(), [](i64 a) { return a >> 9; })},
        {"shift_right_i16 by a vector", shift(i16(), [](i64 a) { return a >> 9; })},
        {"shift_right_i32 by a vector", shift(i32(), [](i64 a) { return a >> 9; })},
        {"quotient_i32",
         {each<u32>([](i64 a, i64 b, i64) { return (a & 0x3FFFFF) / ((b & 0x3FFFFF) | 1); })}},
    };
}

Operations choice_operations() {
    return {
        {"complement", {each<u8>([](i64 a, i64, i64) { return ~a; })}},
        {"without", {each<u8>([](i64 a, i64 b, i64) { return b & ~a; })}},
        {"all_zero", // of a == b
         {[](std::size_t size, u8 *result, const Operands &from) {
             *result = 1;
             for (std::size_t i = 0; i < size; ++i)
                 if (from.a[i] == from.b[i])
                     *result = 0;
         }}},
        {"equal_u8", {each<u8>([](i64 a, i64 b, i64) { return all_ones_if(a == b); })}},
        {"equal_u16", {each<u16>([](i64 a, i64 b, i64) { return all_ones_if(a == b); })}},
        {"equal_u32", {each<u32>([](i64 a, i64 b, i64) { return all_ones_if(a == b); })}},
        {"greater_i16", {each<i16>([](i64 a, i64 b, i64) { return all_ones_if(a > b); })}},
        {"keep_where_set_u8", {each<u8>([](i64 a, i64 b, i64) { return a != 0 ? b : 0; })}},
        {"masks", {[](std::size_t size, u8 *result, const Operands &from) {
             for (std::size_t i = 0; i < size; ++i)
                 if (from.a[i] >= from.b[i] || from.a[i] >= from.c[i])
                     result[i / 8] = u8(result[i / 8] | 1 << i % 8);
         }}},
        {"top_bits",
         {[](std::size_t size, u8 *result, const Operands &from) {
              for (std::size_t i = 0; i < size; ++i)
                  result[i / 8] = u8(result[i / 8] | from.a[i] >> 7 << i % 8);
          },
          false, 32}},
        {"select_bits", {each<u8>([](i64 a, i64 b, i64 c) { return (a & b) | (~a & c); })}},
        {"select_by_top_bits_u8",
         {each<u8>([](i64 a, i64 b, i64 c) { return a >= 128 ? b : c; }), sse41}},
        {"select", {each<u8>([](i64 a, i64 b, i64 c) { return a % 2 != 0 ? b : c; }), sse41}},
        {"select_u32",
         {bytes(1,
                [](auto, std::size_t i, const Operands &from) {
                    return i % lane < 4 || i % lane >= 12 ? from.a[i] : from.b[i];
                }),
          sse41, 32}},
    };
}

Operations order_operations() {
    return {
        {"pairs_u8", {interleaved(1)}},
        {"pairs_u16", {interleaved(2)}},
        {"pairs_u32", {interleaved(4)}},
        {"interleave_u8", {interleaved(1)}},
        {"interleave_u16", {interleaved(2)}},
        {"interleave_u32", {interleaved(4)}},
        {"interleave_u64", {interleaved(8)}},
        {"widen_u8_to_u16", {interleaved(1, true)}},
        {"widen_u16_to_u32", {interleaved(2, true)}},
        {"pack_i16_to_u8_in_lanes", {packed<i16, u8>(true)}},
        {"pack_i16_to_i8_in_lanes", {packed<i16, i8>(true)}},
        {"pack_i32_to_i16_in_lanes", {packed<i32, i16>(true)}},
        {"pack_i32_to_u16_in_lanes", {packed<i32, u16>(true), sse41}},
        {"pack_i16_to_u8_in_order", {packed<i16, u8>(false)}},
        {"even_u32_in_lanes",
         {bytes(1,
                [](auto, std::size_t i, const Operands &from) {
                    const std::size_t at = i % (lane / 2);
                    const u8 *const lane_of =
                        (i % lane < lane / 2 ? from.a : from.b) + i / lane * lane;
                    return lane_of[at / 4 * 8 + at % 4];
                })}},
        {"dealt_to_lanes", // interleaved, a and b are one run of pairs
         {bytes(2,
                [](auto, std::size_t i, const Operands &from) {
                    return i % 2 == 0 ? from.a[i / 2] : from.b[i / 2];
                })}},
        {"repeat_u32_in_lanes",
         {bytes(1, [](auto, std::size_t i,
                      const Operands &from) { return from.a[i / lane * lane + 8 + i % 4]; }),
          false, 32}},
        {"shuffle_u8",
         {bytes(1,
                [](auto, std::size_t i, const Operands &from) {
                    const u8 index = from.b[i];
                    return index >= 128 ? u8{0} : from.a[i / lane * lane + index % lane];
                }),
          sse41}},
        {"permute_u8",
         {bytes(1,
                [](std::size_t size, std::size_t i, const Operands &from) {
                    const std::size_t reach = size == 64 ? 64 : lane;
                    return from.a[i / reach * reach + from.b[i] % reach];
                }),
          sse41}},
    };
}

const Operations &operations() {
    static const Operations all = [] {
        Operations result = memory_operations();
        result.merge(arithmetic_operations());
        result.merge(choice_operations());
        result.merge(order_operations());
        return result;
    }();
    return all;
}

// --- the test ------------------------------------------------------------------------------------

struct Level {
    InstructionSet set;
    std::vector<Form> (*forms)();
};

void PrintTo(const Level &level, std::ostream *stream) {
    *stream << instruction_set_name(level.set);
}

std::vector<std::size_t> sizes_of(InstructionSet set) {
    if (set == InstructionSet::avx512)
        return {16, 32, 64};
    if (set == InstructionSet::avx2)
        return {16, 32};
    return {16};
}

// Those that the processor runs.
std::vector<Level> levels_of_this_machine() {
    std::vector<Level> levels = {{InstructionSet::sse2, simd_forms_sse2},
                                 {InstructionSet::sse41, simd_forms_sse41},
                                 {InstructionSet::avx2, simd_forms_avx2},
                                 {InstructionSet::avx512, simd_forms_avx512}};
    std::erase_if(levels,
                  [](const Level &level) { return level.set > best_instruction_set(nullptr); });
    return levels;
}

std::uint64_t bytes_compared = 0; // in a test

class SimdOperations : public testing::TestWithParam<Level> {
protected:
    ~SimdOperations() override {
        figures::count("bytes compared, vector operations against scalar",
                       std::exchange(bytes_compared, 0));
    }
    static std::vector<Form> forms() { return GetParam().forms(); }
};

INSTANTIATE_TEST_SUITE_P(Each, SimdOperations, testing::ValuesIn(levels_of_this_machine()),
                         [](const auto &level) {
                             return std::string(instruction_set_name(level.param.set));
                         });

// Three operands and what follows them, not aligned.
class OperandBytes {
public:
    template <class Byte>
    explicit OperandBytes(Byte byte) {
        for (std::size_t operand = 0; operand < 3; ++operand)
            for (std::size_t i = 0; i < Operands::bytes; ++i)
                bytes_[operand][1 + i] = byte(operand, i);
    }
    Operands operands() const { return {&bytes_[0][1], &bytes_[1][1], &bytes_[2][1]}; }

private:
    u8 bytes_[3][Operands::bytes + 1];
};

testing::AssertionResult gives_what_scalar_code_does(const Form &form, const Operands &operands) {
    std::array<u8, 256> expected{}, result{};
    operations().at(form.operation).model(form.size, expected.data(), operands);
    form.run(result.data(), operands);
    bytes_compared += form.size;
    const auto difference = std::mismatch(expected.begin(), expected.end(), result.begin());
    if (difference.first == expected.end())
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << form.operation << " of " << form.size << " bytes: byte "
           << difference.first - expected.begin() << " is " << int{*difference.second} << ", not "
           << int{*difference.first};
}

// No operation goes untested, at no size.
TEST_P(SimdOperations, AreAllInTheList) {
    std::set<std::pair<std::string, std::size_t>> expected, listed;
    for (const auto &[name, operation] : operations())
        for (const std::size_t size : sizes_of(GetParam().set))
            if (size <= operation.widest &&
                (!operation.needs_sse41 || GetParam().set >= InstructionSet::sse41))
                expected.insert({name, size});
    for (const Form &form : forms())
        EXPECT_TRUE(listed.insert({form.operation, form.size}).second) << form.operation;
    EXPECT_EQ(listed, expected);
}

TEST_P(SimdOperations, GiveWhatScalarCodeDoesForAllPairsOfBytes) {
    for (unsigned pair = 0; pair < 65536; pair += 16) {
        const OperandBytes memory([=](std::size_t operand, std::size_t i) {
            return u8(operand == 0 ? (pair + i) >> 8 : operand == 1 ? pair + i : 7 * i + pair / 16);
        });
        for (const Form &form : forms())
            ASSERT_TRUE(gives_what_scalar_code_does(form, memory.operands())) << "pair " << pair;
    }
}

TEST_P(SimdOperations, GiveWhatScalarCodeDoesForRandomNumbers) {
    random_cases(20000, [&](Random &random, std::uint64_t) {
        constexpr u8 limits[] = {0x00, 0x00, 0x01, 0x7F, 0x80, 0x81, 0xFE, 0xFF, 0xFF};
        const OperandBytes memory([&](std::size_t, std::size_t) {
            return random.below(2) == 0 ? random.byte() : limits[random.below(std::size(limits))];
        });
        for (const Form &form : forms()) {
            const auto same = gives_what_scalar_code_does(form, memory.operands());
            EXPECT_TRUE(same);
            if (!same)
                return false;
        }
        return true;
    });
}

} // namespace
} // namespace q32::test
