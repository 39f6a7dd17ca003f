// The q32comm.dll that ships, or the one in the same folder that Q32COMM_TEST_LIBRARY names, loaded
// by its path for the time of one object's life.
#pragma once

#include <gtest/gtest.h>
#include <q32comm.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

namespace q32::test {

class CommLibrary {
public:
    CommLibrary();
    ~CommLibrary();
    CommLibrary(const CommLibrary &) = delete;
    CommLibrary &operator=(const CommLibrary &) = delete;

    static std::string path();

#define Q32_COMM_EXPORTS(EXPORT)                                                                   \
    EXPORT(c32ClearDLLErrInfo)                                                                     \
    EXPORT(c32GetDLLErrInfo)                                                                       \
    EXPORT(c32GetErrText)                                                                          \
    EXPORT(c32SetDLLErrInfo)                                                                       \
    EXPORT(c32GetString)                                                                           \
    EXPORT(c32ShowMb)                                                                              \
    EXPORT(q32IsEscPressed)                                                                        \
    EXPORT(GetCPUName)                                                                             \
    EXPORT(IsSupportMMX)                                                                           \
    EXPORT(q32GetQuillTempDir)                                                                     \
    EXPORT(qfdDelSlash)                                                                            \
    EXPORT(qfdSplitPathname)
#define Q32_MEMBER(name) decltype(&::name) name;
    Q32_COMM_EXPORTS(Q32_MEMBER)
#undef Q32_MEMBER

private:
    HMODULE module_;
};

// Calls a function that fills a buffer of `size` bytes; checks the result against the text, and
// that nothing behind `size` is touched.
template <class Fill>
std::string filled(Fill fill, int size = 2000) {
    constexpr char untouched = '\x7F';
    const auto room = static_cast<std::size_t>(size > 0 ? size : 0);
    std::vector<char> buffer(room + 16, untouched);
    const int length = fill(buffer.data(), size);
    for (std::size_t i = room; i < buffer.size(); ++i)
        EXPECT_EQ(buffer[i], untouched) << "behind the end";
    if (room == 0) {
        EXPECT_EQ(length, 0);
        return "";
    }
    EXPECT_NE(std::memchr(buffer.data(), 0, room), nullptr) << "no terminator";
    const std::string text = buffer.data();
    EXPECT_EQ(length, static_cast<int>(text.size()));
    return text;
}

} // namespace q32::test
