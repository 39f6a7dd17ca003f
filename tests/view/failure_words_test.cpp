// Failures in a line that may be too short for them.
#include "apps/q32view/failure_words.h"

#include <gtest/gtest.h>

namespace apps::q32view {
namespace {

std::string fitted(const FailureWords &failure, size_t room) {
    return fitted_words(failure, [room](const std::string &words) { return words.size() <= room; });
}

TEST(FailureWords, TellTheNameFirst) {
    const FailureWords failure =
        failure_words("Z:\\home\\me\\bee.png: no such file", "Z:\\home\\me\\bee.png");
    EXPECT_EQ(failure.words, "bee.png: no such file");
    EXPECT_EQ(failure.folder, "Z:\\home\\me");
    EXPECT_EQ(failure.whole(), "bee.png: no such file (in Z:\\home\\me)");
}

TEST(FailureWords, FoldersOfEveryKind) {
    EXPECT_EQ(failure_words("/tmp/a.png: x", "/tmp/a.png").folder, "/tmp");
    EXPECT_EQ(failure_words("/a.png: x", "/a.png").folder, "/");
    EXPECT_EQ(failure_words("C:\\a.png: x", "C:\\a.png").folder, "C:\\");
    EXPECT_EQ(failure_words("C:a.png: x", "C:a.png").folder, "C:");
    EXPECT_EQ(failure_words("a.png: x", "a.png").whole(), "a.png: x");
}

TEST(FailureWords, OtherFailuresStayAsTheyAre) {
    EXPECT_EQ(failure_words("the display: nothing can be shown", "C:\\a.png").whole(),
              "the display: nothing can be shown");
    EXPECT_EQ(failure_words("C:\\a.png.bak: x", "C:\\a.png").whole(), "C:\\a.png.bak: x");
    EXPECT_EQ(failure_words("a.png: x", "").whole(), "a.png: x");
}

TEST(FittedWords, TheFolderGoesFirst) {
    const FailureWords failure = {"bee.png: no such file", "C:\\one\\two\\three\\four"};
    const std::string whole = "bee.png: no such file (in C:\\one\\two\\three\\four)";
    EXPECT_EQ(fitted(failure, whole.size()), whole);
    EXPECT_EQ(fitted(failure, whole.size() - 1),
              "bee.png: no such file (in C:\\one\\t...hree\\four)");
    EXPECT_EQ(fitted(failure, 38), "bee.png: no such file (in C:\\o...four)");
    EXPECT_EQ(fitted(failure, 36), "bee.png: no such file (in C:\\...our)");
    EXPECT_EQ(fitted(failure, 35), "bee.png: no such file");
    EXPECT_EQ(fitted(failure, 21), "bee.png: no such file");
    EXPECT_EQ(fitted(failure, 20), "bee.png: no ... (F2)");
    EXPECT_EQ(fitted(failure, 9), "b... (F2)");
    EXPECT_EQ(fitted(failure, 0), "... (F2)");
}

// Two bytes for each letter.
TEST(FittedWords, AreCutBetweenCharacters) {
    const FailureWords failure = {"\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F: failed", ""};
    EXPECT_EQ(fitted(failure, 13), "\xC3\xA4\xC3\xB6... (F2)");
    EXPECT_EQ(fitted(failure, 12), "\xC3\xA4\xC3\xB6... (F2)");
    EXPECT_EQ(fitted(failure, 11), "\xC3\xA4... (F2)");
}

} // namespace
} // namespace apps::q32view
