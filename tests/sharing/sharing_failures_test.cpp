// Duplicating, separating and handing over with every call of the system failing in turn.
#include "tests/sharing/failure_sweep.h"

namespace q32::test {
namespace {

class SharingFailures : public FailureSweep {};

constexpr int width = 140, height = 131;

// A source of three sharers, the second of which has storage of its own.
void make_chain(Family &family, uint32_t type, int bits, Random &random) {
    Member &source = family.allocate(bits, width, height, type, random);
    family.duplicate(source);
    Member &with_storage = family.allocate(bits, width, height, type, random);
    family.duplicate_into(source, with_storage);
    family.duplicate(with_storage);
}

std::vector<Step> writes(uint32_t type, bool to_files, int bits,
                         std::initializer_list<size_t> who) {
    std::vector<Step> steps;
    for (const WritePath &path : write_paths(type, bits))
        for (size_t which : who)
            steps.push_back(
                write_step(path, type, which, to_files, [=](Family &family, Random &random) {
                    make_chain(family, type, bits, random);
                }));
    return steps;
}

TEST_F(SharingFailures, WritingInMemory) {
    EXPECT_GT(sweep(writes(BUF32_LINEAR_MEMORY, false, 16, {0, 1, 2})), least_of_the_round(50));
}

// Without memory buffers go to files: the same calls as below, after those for memory.
TEST_F(SharingFailures, WritingInMemoryOrFiles) {
    EXPECT_GT(sweep(writes(BUF32_TILED, false, 8, {0, 1})), least_of_the_round(20));
}

// Files are slow: a duplicate in every way, and a source in those that differ in what they take.
TEST_F(SharingFailures, WritingInFiles) {
    EXPECT_GT(sweep(writes(BUF32_LINEAR_SHRINK, true, 8, {1})), least_of_the_round(50));
    std::vector<Step> steps = writes(BUF32_TILED_FILE, false, 1, {0});
    std::erase_if(steps, [](const Step &step) {
        return step.name.find("lock in mode 2") == std::string::npos &&
               step.name.find("one colour") == std::string::npos &&
               step.name.find("pattern") == std::string::npos &&
               step.name.find("duplicate") == std::string::npos;
    });
    EXPECT_EQ(steps.size(), 4u);
    EXPECT_GT(sweep(steps), least_of_the_round(30));
}

TEST_F(SharingFailures, Duplicating) {
    std::vector<Step> steps;
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR_MEMORY, BUF32_TILED_FILE}) {
        const auto add = [&](const char *name, auto take) {
            steps.push_back({"type " + std::to_string(type) + ", " + name, false,
                             [type](Family &family, Random &random) {
                                 make_chain(family, type, 8, random);
                                 family.allocate(8, width, height, type, random); // 4
                                 family.duplicate(family[4]);                     // 5
                                 family.duplicate(family[4]);                     // 6
                             },
                             take});
        };
        add("new duplicate of a source", [](Family &family, Random &) {
            Member *made = nullptr;
            return family.try_duplicate(family[0], made);
        });
        add("new duplicate of a duplicate", [](Family &family, Random &) {
            Member *made = nullptr;
            return family.try_duplicate(family[3], made);
        });
        add("into a duplicate of another", [](Family &family, Random &) {
            return family.try_duplicate_into(family[1], family[5]);
        });
        add("into a source of others", [](Family &family, Random &) {
            return family.try_duplicate_into(family[1], family[4]);
        });
    }
    EXPECT_GT(sweep(steps), least_of_the_round(50));
}

// Handing over needs nothing from the system.
TEST_F(SharingFailures, FreeingNeverFails) {
    std::vector<Step> steps;
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_TILED_FILE})
        for (int orders = 0; orders < 2; ++orders) {
            const auto prepare = [=](Family &family, Random &random) {
                make_chain(family, type, 8, random);
                if (orders == 1)
                    family.free(family[1]); // now the first sharer has storage
            };
            // Freed once; the step is not taken again.
            steps.push_back(
                {"type " + std::to_string(type), false, prepare, [](Family &family, Random &) {
                     EXPECT_TRUE(family.try_free(family[0]));
                     return true;
                 }});
        }
    EXPECT_EQ(sweep(steps), 0u);
}

// An image that is too large for another copy.
TEST_F(SharingFailures, NoRoomForACopy) {
    use_no_directory();
    Random random(test_seed(), 1);
    Family family;
    Member &source = family.allocate(8, width, height, BUF32_TILED, random);
    Member &made = family.duplicate(source), &third = family.duplicate(source);
    for (const WritePath &path : write_paths(BUF32_TILED, 8))
        for (Member *member : {&source, &made, &third}) {
            SCOPED_TRACE(path.name);
            if (path.outcome != WritePath::keeps_type)
                continue; // where one block may do
            {
                CallSurroundings surroundings([](const std::function<bool()> &in_question) {
                    FailingCall memory("VirtualAlloc", 1, FailingCall::from_there_on);
                    return in_question();
                });
                EXPECT_FALSE(family.try_write(*member, path, random));
            }
            expect_report(1001, 0, 4, 3);
            family.check(); // everything is shared as it was
        }
}

} // namespace
} // namespace q32::test
