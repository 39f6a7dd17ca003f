// Filling, writing and duplicating special buffers with every call of the system failing in turn.
#include "tests/patterns/special_buffers.h"
#include "tests/sharing/failure_sweep.h"

namespace q32::test {
namespace {

class FillFailures : public FailureSweep {};

constexpr int width = 144, height = 131;

// A special buffer for a family, with or without its block.
void make_special(Family &family, uint32_t type, int bits, bool with_block, Random &random) {
    const Pattern pattern(5, 3, bits, random);
    const BUF32PATTERN descriptor = pattern.descriptor();
    const void *extra = type == BUF32_PATTERN ? static_cast<const void *>(&descriptor) : colour;
    HBUF32 buffer = 0;
    ASSERT_EQ(api().buf32Alloc(&buffer, bits, width, height, type, extra), 1);
    Member &member = family.add(buffer, Geometry(width, height, bits, type), type);
    if (type == BUF32_PATTERN)
        member.picture.paint(pattern);
    else
        member.picture.paint(colour);
    if (!with_block)
        return;
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
    member.storage = Member::memory;
    member.block = uint32_t(member.picture.geometry.block_bytes());
}

std::vector<Step> writes(uint32_t type, int bits, bool with_block, bool to_files) {
    std::vector<Step> steps;
    for (const WritePath &path : write_paths(type, bits)) {
        const std::string name = path.name;
        const bool row = name.starts_with("row") || name == "span";
        if (row && !with_block)
            continue; // the caller's lock makes the block
        steps.push_back(write_step(path, type, 0, to_files, [=](Family &family, Random &random) {
            make_special(family, type, bits, with_block, random);
        }));
    }
    return steps;
}

// More than the round's share of so many. Where one in sixteen is drawn, as many: a small sweep may
// have none then.
uint64_t more_than(uint64_t count) {
    return least_of_the_round(count) + (one_in_the_round() <= 4 ? 1 : 0);
}

TEST_F(FillFailures, OfPatterns) {
    EXPECT_GE(sweep(writes(BUF32_PATTERN, 8, true, true)), more_than(100));
    EXPECT_GE(sweep(writes(BUF32_PATTERN, 16, true, false)), more_than(10));
    EXPECT_GE(sweep(writes(BUF32_PATTERN, 1, false, false)), more_than(5));
}

TEST_F(FillFailures, OfOneColour) {
    EXPECT_GE(sweep(writes(BUF32_ONE_COLOUR, 8, true, true)), more_than(100));
    EXPECT_GE(sweep(writes(BUF32_ONE_COLOUR, 1, false, false)), more_than(5));
}

// Fills of ordinary buffers, alone and with sharers.
TEST_F(FillFailures, OfOrdinaryBuffers) {
    std::vector<Step> steps;
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR_MEMORY, BUF32_TILED_FILE})
        for (const WritePath &path : write_paths(type, 24)) {
            if (path.outcome == WritePath::keeps_type)
                continue;
            for (size_t which : {0u, 1u, 2u})
                steps.push_back(
                    write_step(path, type, which, false, [=](Family &family, Random &random) {
                        family.allocate(24, width, height, type, random);
                        family.allocate(24, width, height, type, random);
                        family.duplicate(family[1]);
                    }));
        }
    EXPECT_GE(sweep(steps), more_than(50));
}

TEST_F(FillFailures, OfDuplicates) {
    std::vector<Step> steps;
    for (uint32_t type : {BUF32_PATTERN, BUF32_ONE_COLOUR})
        for (bool with_block : {false, true}) {
            const auto prepare = [=](Family &family, Random &random) {
                make_special(family, type, 8, with_block, random);
                make_special(family, type, 8, with_block, random);
            };
            const std::string name = "type " + std::to_string(type);
            steps.push_back({name + ", new", false, prepare, [](Family &family, Random &) {
                                 Member *made = nullptr;
                                 return family.try_duplicate(family[0], made);
                             }});
            if (type == BUF32_PATTERN)
                steps.push_back({name + ", existing", false, prepare, [](Family &family, Random &) {
                                     HBUF32 handle = family[1].handle();
                                     const bool done = call_in_question([&] {
                                         return api().buf32DupBuf(family[0].handle(), &handle) == 1;
                                     });
                                     EXPECT_EQ(handle, family[1].handle());
                                     if (done)
                                         family[1].picture.image = family[0].picture.image;
                                     return done;
                                 }});
        }
    EXPECT_GE(sweep(steps), more_than(10));
}

} // namespace
} // namespace q32::test
