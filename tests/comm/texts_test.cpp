// Texts by number and the processor's name, into buffers of any size.
#include "tests/comm/comm_library.h"

#include <q32base/errors.h>

#include <climits>
#include <set>

namespace q32::test {
namespace {

std::string text_of(const CommLibrary &comm, int id, int size = 2000) {
    return filled([&](char *out, int n) { return comm.c32GetString(id, out, n); }, size);
}

constexpr int messages[] = {1001, 1004, 1005, 3200, 4010, 4026, 4700, 4701,
                            5200, 5206, 5402, 5403, 5800, 5804, 5805, 5808};

TEST(Texts, ThereIsOneForEveryMessage) {
    const CommLibrary comm;
    std::set<std::string> texts;
    for (const int message : messages) {
        const std::string text = text_of(comm, message);
        EXPECT_GT(text.size(), 10u) << message;
        EXPECT_EQ(text.find('%') != std::string::npos, message == Q32_MSG_SIXTEEN_COLOURS);
        EXPECT_EQ(text.back() == '.', message != Q32_MSG_SIXTEEN_COLOURS_TITLE) << text;
        EXPECT_TRUE(texts.insert(text).second) << text;
        const auto error_text = [&](char *out, int n) {
            return comm.c32GetErrText(message, out, n);
        };
        EXPECT_EQ(filled(error_text), text);
    }
}

TEST(Texts, TheFormatTakesAFileName) {
    const CommLibrary comm;
    const std::string format = text_of(comm, Q32_MSG_SIXTEEN_COLOURS);
    EXPECT_EQ(format.find("%s"), format.rfind('%'));
    char text[1025];
    wsprintfA(text, format.c_str(), "Q32BASE.DLL");
    EXPECT_EQ(std::string(text).substr(0, 12), "Q32BASE.DLL ");
}

TEST(Texts, NamesInTheSettingsFile) {
    const CommLibrary comm;
    EXPECT_EQ(text_of(comm, 10000), "Q32BASE.INI");
    EXPECT_EQ(text_of(comm, 10001), "SwapFolder");
    EXPECT_EQ(text_of(comm, 10003), "UseDir");
    std::set<std::string> names;
    for (const int id : {10000, 10001, 10003, 10006, 10007, 10008, 10009, 12002, 12003, 12004,
                         12005, 12010, 12011}) {
        const std::string name = text_of(comm, id);
        EXPECT_FALSE(name.empty()) << id;
        EXPECT_LE(name.size(), 31u - 1) << id; // what readers have room for
        EXPECT_TRUE(names.insert(name).second) << name;
        const auto error_text = [&](char *out, int n) { return comm.c32GetErrText(id, out, n); };
        EXPECT_EQ(filled(error_text), "") << "a name is no message";
    }
}

TEST(Texts, OtherNumbersHaveNone) {
    const CommLibrary comm;
    for (const int id : {0, -1, 1, 1000, 1002, 9999, 10002, 12001, 20000, INT_MAX, INT_MIN})
        EXPECT_EQ(text_of(comm, id), "") << id;
}

TEST(Texts, FitIntoAnyBuffer) {
    const CommLibrary comm;
    const std::string whole = text_of(comm, 1001);
    for (int size = -2; size < static_cast<int>(whole.size()) + 3; ++size)
        EXPECT_EQ(text_of(comm, 1001, size), size < 1 ? "" : whole.substr(0, size - 1u)) << size;
    EXPECT_EQ(text_of(comm, 1001, INT_MIN), "");
    EXPECT_EQ(comm.c32GetString(1001, nullptr, 100), 0);
    EXPECT_EQ(comm.c32GetErrText(1001, nullptr, 100), 0);
}

TEST(Processor, HasTheNameThatTheSystemKnows) {
    const CommLibrary comm;
    char known[128] = "";
    DWORD size = sizeof known;
    ASSERT_EQ(RegGetValueA(HKEY_LOCAL_MACHINE, "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                           "ProcessorNameString", RRF_RT_REG_SZ, nullptr, known, &size),
              0);
    const auto name = [&](char *out, int n) { return comm.GetCPUName(out, n); };
    const std::string whole = filled(name);
    EXPECT_FALSE(whole.empty());
    EXPECT_NE(whole.front(), ' ');
    EXPECT_NE(whole.back(), ' ');
    const std::string all = known;
    const std::size_t first = all.find_first_not_of(' '), last = all.find_last_not_of(' ');
    EXPECT_EQ(whole, all.substr(first, last + 1 - first));
    for (const int size_given : {-1, 0, 1, 2, 10})
        EXPECT_EQ(filled(name, size_given), size_given < 1 ? "" : whole.substr(0, size_given - 1u));
    EXPECT_EQ(comm.GetCPUName(nullptr, 100), 0);
}

TEST(Processor, HasMmx) {
    const CommLibrary comm;
    EXPECT_EQ(comm.IsSupportMMX(),
              IsProcessorFeaturePresent(PF_MMX_INSTRUCTIONS_AVAILABLE) ? 1 : 0);
}

} // namespace
} // namespace q32::test
