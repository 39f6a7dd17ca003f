// One checksum for each area of the library, over seeded cases through its exports, compared with
// the one that is kept in expected.txt: the same at every instruction set and on every machine.
// Without Q32BASE_TEST_CASES=all each area stops at its first line there.
#include "tests/frame/comm.h"
#include "tests/frame/figures.h"
#include "tests/workload/work.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace q32::test {
namespace {

constexpr std::uint64_t seed = 1; // whatever seed other random tests run with

struct Expected {
    std::string_view area;
    std::uint64_t pieces, cases, checksum;
};

constexpr Expected expected[] = {
#include "tests/checksums/expected.txt"
};

bool all_cases() {
    const char *const wanted = std::getenv("Q32BASE_TEST_CASES");
    return wanted != nullptr && std::string_view(wanted) == "all";
}

std::string line_of(const Expected &sum) {
    char line[200];
    std::snprintf(line, sizeof line, "{\"%s\", %llu, %llu, 0x%016llX},", sum.area.data(),
                  static_cast<unsigned long long>(sum.pieces),
                  static_cast<unsigned long long>(sum.cases),
                  static_cast<unsigned long long>(sum.checksum));
    return line;
}

class Checksums : public testing::TestWithParam<Area> {
protected:
    void SetUp() override {
        frame::drop_shared_library();
        frame::reset_comm();
        frame::comm().mmx = GetParam().mmx;
        prepare_work();
    }
    void TearDown() override {
        frame::drop_shared_library();
        frame::reset_comm();
    }
};

INSTANTIATE_TEST_SUITE_P(Areas, Checksums, testing::ValuesIn(areas().begin(), areas().end()),
                         [](const auto &area) { return std::string(area.param.name); });

TEST_P(Checksums, AreThoseThatAreKept) {
    const Area &area = GetParam();
    Digest digest;
    std::uint64_t pieces = 0;
    int lines = 0;
    for (const Expected &kept : expected) {
        if (kept.area != area.name || (lines > 0 && !all_cases()))
            continue;
        ++lines;
        for (; pieces < kept.pieces; ++pieces) {
            Random random{seed, pieces};
            area.piece(random, digest);
        }
        const std::string line = line_of({area.name, pieces, digest.cases(), digest.value()});
        std::printf("%s\n", line.c_str());
        EXPECT_EQ(line, line_of(kept));
    }
    figures::count("checksummed cases", digest.cases());
    EXPECT_EQ(lines, all_cases() ? 2 : 1) << "expected.txt has two lines for each area";
}

} // namespace
} // namespace q32::test
