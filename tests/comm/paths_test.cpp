// The temporary directory and the path utilities.
#include "tests/comm/comm_library.h"
#include "tests/comm/import_hook.h"

#include <fstream>

namespace q32::test {
namespace {

// --- temporary directory -------------------------------------------------------------------------

constexpr char variable[] = "Q32COMM_TEMPDIR";

std::string temporary_path() {
    char path[MAX_PATH + 1];
    GetTempPathA(sizeof path, path);
    return path;
}

bool is_directory(const std::string &path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

class TemporaryDirectory : public testing::Test {
protected:
    TemporaryDirectory() : own_(temporary_path() + "comm" + std::to_string(GetCurrentProcessId())) {
        CreateDirectoryA(own_.c_str(), nullptr);
        SetEnvironmentVariableA(variable, nullptr);
    }
    ~TemporaryDirectory() override {
        for (const char *name : {"\\a file", "\\made", ""}) {
            DeleteFileA((own_ + name).c_str());
            RemoveDirectoryA((own_ + name).c_str());
        }
        SetEnvironmentVariableA(variable, nullptr);
    }

    std::string directory(int size = 2000) {
        return filled([&](char *out, int n) { return comm.q32GetQuillTempDir(out, n); }, size);
    }

    std::string own_;
    CommLibrary comm;
};

TEST_F(TemporaryDirectory, LiesInTheSystems) {
    EXPECT_EQ(directory(), temporary_path() + "Quill\\");
    EXPECT_TRUE(is_directory(directory()));
}

TEST_F(TemporaryDirectory, CanBeNamed) {
    for (const char *ending : {"", "\\", "/"}) {
        SetEnvironmentVariableA(variable, (own_ + "\\made" + ending).c_str());
        EXPECT_EQ(directory(), own_ + "\\made\\");
        EXPECT_TRUE(is_directory(own_ + "\\made"));
        EXPECT_EQ(directory(), own_ + "\\made\\") << "the second time";
        RemoveDirectoryA((own_ + "\\made").c_str());
    }
}

TEST_F(TemporaryDirectory, BecomesAFullPath) {
    char before[MAX_PATH];
    GetCurrentDirectoryA(sizeof before, before);
    SetCurrentDirectoryA(own_.c_str());
    SetEnvironmentVariableA(variable, "made");
    EXPECT_EQ(directory(), own_ + "\\made\\");
    SetCurrentDirectoryA(before);
}

TEST_F(TemporaryDirectory, IsEmptyWhereItCannotBeMade) {
    std::ofstream(own_ + "\\a file") << "in the way";
    for (const std::string &bad : {own_ + "\\a file", own_ + "\\missing\\made",
                                   own_ + "\\" + std::string(300, 'x'), std::string(5000, 'x')}) {
        SetEnvironmentVariableA(variable, bad.c_str());
        EXPECT_EQ(directory(), "") << bad;
    }
}

TEST_F(TemporaryDirectory, IsEmptyWhereItsFullPathIsTooLong) {
    SetEnvironmentVariableA(variable, std::string(255, 'x').c_str());
    EXPECT_EQ(directory(), "");
    // Where the system says how much room it would take.
    const ImportHook needs(
        "GetFullPathNameA",
        +[](const char *, DWORD, char *, char **) WINAPI -> DWORD { return MAX_PATH; });
    EXPECT_EQ(directory(), "");
}

// 255 characters and "Quill" are more than a path has.
TEST_F(TemporaryDirectory, IsEmptyWhereTheSystemsIsNoneOrTooLong) {
    {
        const ImportHook none(
            "GetTempPathA", +[](DWORD, char *) WINAPI -> DWORD { return 0; });
        EXPECT_EQ(directory(), "");
    }
    const ImportHook too_long(
        "GetTempPathA", +[](DWORD, char *path) WINAPI -> DWORD {
            std::memset(path, 'x', 255);
            return 255;
        });
    EXPECT_EQ(directory(), "");
}

TEST_F(TemporaryDirectory, IsEmptyWhereAFileHasItsName) {
    SetEnvironmentVariableA(variable, own_.c_str());
    const ImportHook file(
        "GetFileAttributesA", +[](const char *) WINAPI -> DWORD { return FILE_ATTRIBUTE_NORMAL; });
    EXPECT_EQ(directory(), "");
}

TEST_F(TemporaryDirectory, NeedsRoomForAllOfIt) {
    SetEnvironmentVariableA(variable, (own_ + "\\made").c_str());
    const int length = static_cast<int>(own_.size() + 6);
    for (const int size : {-1, 0, 1, 5, length})
        EXPECT_EQ(directory(size), "") << size;
    EXPECT_FALSE(is_directory(own_ + "\\made")) << "nothing is made for nothing";
    EXPECT_EQ(directory(length + 1), own_ + "\\made\\");
    EXPECT_EQ(comm.q32GetQuillTempDir(nullptr, 1000), 0);
}

// --- splitting -----------------------------------------------------------------------------------

struct Parts {
    const char *path, *drive, *directory, *name, *extension;
};

constexpr Parts cases[] = {
    {"C:\\a\\b\\name.ext", "C:", "\\a\\b\\", "name", ".ext"},
    {"C:\\", "C:", "\\", "", ""},
    {"C:", "C:", "", "", ""},
    {"C:name", "C:", "", "name", ""},
    {"c:a\\name.", "c:", "a\\", "name", "."},
    {"name.tar.gz", "", "", "name.tar", ".gz"},
    {".hidden", "", "", "", ".hidden"},
    {"a.b\\name", "", "a.b\\", "name", ""},
    {"a.b\\", "", "a.b\\", "", ""},
    {"/a/b\\name.ext", "", "/a/b\\", "name", ".ext"},
    {"\\\\server\\share\\name.ext", "", "\\\\server\\share\\", "name", ".ext"},
    {"1:\\name", "", "1:\\", "name", ""},
    {"[:name", "", "", "[:name", ""},
    {"{:name", "", "", "{:name", ""},
    {"Z:name", "Z:", "", "name", ""},
    {"z:name", "z:", "", "name", ""},
    {"C:\\Documents and Settings\\~QT1.tmp", "C:", "\\Documents and Settings\\", "~QT1", ".tmp"},
    {":", "", "", ":", ""},
    {"", "", "", "", ""},
    {nullptr, "", "", "", ""},
};

TEST(SplitPathname, GivesTheFourParts) {
    const CommLibrary comm;
    for (const Parts &wanted : cases) {
        SCOPED_TRACE(wanted.path == nullptr ? "null" : wanted.path);
        char drive[3], directory[260], name[260], extension[260];
        comm.qfdSplitPathname(wanted.path, drive, directory, name, extension);
        EXPECT_STREQ(drive, wanted.drive);
        EXPECT_STREQ(directory, wanted.directory);
        EXPECT_STREQ(name, wanted.name);
        EXPECT_STREQ(extension, wanted.extension);
    }
}

TEST(SplitPathname, GivesEachPartAlone) {
    const CommLibrary comm;
    char part[260];
    const char *const path = "C:\\a\\name.ext";
    comm.qfdSplitPathname(path, part, nullptr, nullptr, nullptr);
    EXPECT_STREQ(part, "C:");
    comm.qfdSplitPathname(path, nullptr, part, nullptr, nullptr);
    EXPECT_STREQ(part, "\\a\\");
    comm.qfdSplitPathname(path, nullptr, nullptr, part, nullptr);
    EXPECT_STREQ(part, "name");
    comm.qfdSplitPathname(path, nullptr, nullptr, nullptr, part);
    EXPECT_STREQ(part, ".ext");
    comm.qfdSplitPathname(path, nullptr, nullptr, nullptr, nullptr);
}

// As under a double-byte code page, where the second byte may look like a separator or a dot.
TEST(SplitPathname, StepsOverDoubleByteCharacters) {
    const CommLibrary comm;
    const ImportHook code_page(
        "IsDBCSLeadByte", +[](BYTE byte) WINAPI -> BOOL { return byte >= 0x81 && byte <= 0x9F; });
    char drive[3], directory[260], name[260], extension[260];
    comm.qfdSplitPathname("C:\\\x83\\a\\\x83.b.\x83\\", drive, directory, name, extension);
    EXPECT_STREQ(drive, "C:");
    EXPECT_STREQ(directory, "\\\x83\\a\\");
    EXPECT_STREQ(name, "\x83.b");
    EXPECT_STREQ(extension, ".\x83\\");
    char path[] = "C:\\\x83\\";
    comm.qfdDelSlash(path);
    EXPECT_STREQ(path, "C:\\\x83\\");
}

TEST(SplitPathname, CutsLongParts) {
    const CommLibrary comm;
    const std::string directory(300, 'd'), name(300, 'n'), extension(300, 'e');
    const std::string path = "C:" + directory + "\\" + name + "." + extension;
    const auto part = [&](auto call) {
        return filled(
            [&](char *out, int) {
                call(out);
                return static_cast<int>(std::strlen(out));
            },
            260);
    };
    EXPECT_EQ(part([&](char *out) {
                  comm.qfdSplitPathname(path.c_str(), nullptr, out, nullptr, nullptr);
              }),
              directory.substr(0, 259));
    EXPECT_EQ(part([&](char *out) {
                  comm.qfdSplitPathname(path.c_str(), nullptr, nullptr, out, nullptr);
              }),
              name.substr(0, 259));
    EXPECT_EQ(part([&](char *out) {
                  comm.qfdSplitPathname(path.c_str(), nullptr, nullptr, nullptr, out);
              }),
              "." + extension.substr(0, 258));
}

TEST(DelSlash, RemovesOneSeparatorFromTheEnd) {
    const CommLibrary comm;
    const char *const changes[][2] = {{"C:\\a\\", "C:\\a"}, {"C:\\", "C:"}, {"a\\\\", "a\\"},
                                      {"a/", "a"},          {"\\", ""},     {"C:\\a", "C:\\a"},
                                      {"a\\b", "a\\b"},     {"", ""}};
    for (const auto &[path, wanted] : changes) {
        char buffer[16];
        std::strcpy(buffer, path);
        comm.qfdDelSlash(buffer);
        EXPECT_STREQ(buffer, wanted) << path;
    }
    comm.qfdDelSlash(nullptr);
}

} // namespace
} // namespace q32::test
