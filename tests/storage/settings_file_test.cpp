// The settings file: every key, its default, and what is written back. File, section and keys have
// names of the common library's, and not the same in all tests.
#include "tests/storage/storage_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class SettingsFile : public LibraryTest {
protected:
    struct Settings {
        size_t memory_limit = 1, file_limit = 1;
        uint32_t memory_switch = 1, file_switch = 1;
        BUF32DIRECTORIES directories;
    };

    Settings started() {
        start();
        Settings settings;
        api().buf32VMData(0, &settings.memory_limit, &settings.file_limit, &settings.directories,
                          &settings.memory_switch, &settings.file_switch);
        return settings;
    }

    static std::string section() { return frame::text_of(10001); }
    static void write(const std::string &key, const std::string &value) {
        frame::write_setting(section(), key, value);
    }
    static std::string read(const std::string &key) { return frame::read_setting(section(), key); }
    static void write_directory(int n, const std::string &path, const std::string &on) {
        write(frame::path_key(n), path);
        write(frame::switch_key(n), on);
    }
};

// --- limits --------------------------------------------------------------------------------------

TEST_F(SettingsFile, LimitsAreKilobytes) {
    const struct {
        const char *value;
        size_t bytes;
    } limits[] = {{"0", 0},
                  {"1", 1024},
                  {"100", 102400},
                  {"65536", 65536u * 1024},
                  {"1048576", 0x40000000},
                  {"2097152", 0x80000000},
                  {"4194303", 0xFFFFFC00},
                  // 4 GB and more: no limit, or 4 GB and more
                  {"4194304", frame::by_edition(0xFFFFFFFFu, 0x100000000u)},
                  {"4194305", frame::by_edition(0xFFFFFFFFu, 0x100000400u)},
                  {"1073741824", frame::by_edition(0xFFFFFFFFu, 0x10000000000u)}, // a terabyte
                  {"2147483647", frame::by_edition(0xFFFFFFFFu, 0x1FFFFFFFC00u)},
                  {"-1", frame::no_limit},
                  {"-2", frame::no_limit - 1}};
    for (const auto &limit : limits) {
        SCOPED_TRACE(limit.value);
        write(frame::text_of(10008), limit.value);
        write(frame::text_of(10009), "3");
        Settings settings = started();
        EXPECT_EQ(settings.file_limit, limit.bytes);
        EXPECT_EQ(settings.memory_limit, 3072u);
        stop();
        write(frame::text_of(10008), "5");
        write(frame::text_of(10009), limit.value);
        settings = started();
        EXPECT_EQ(settings.file_limit, 5120u);
        EXPECT_EQ(settings.memory_limit, limit.bytes);
        stop();
    }
}

TEST_F(SettingsFile, SwitchesOfTheLimits) {
    for (int kind = 0; kind < 4; ++kind) {
        write(frame::text_of(10006), std::to_string(kind & 1));
        write(frame::text_of(10007), std::to_string(kind >> 1));
        const Settings settings = started();
        EXPECT_EQ(settings.file_switch, uint32_t(kind & 1));
        EXPECT_EQ(settings.memory_switch, uint32_t(kind >> 1));
        EXPECT_EQ(settings.file_limit, frame::no_limit);
        EXPECT_EQ(settings.memory_limit, frame::no_limit);
        stop();
    }
}

TEST_F(SettingsFile, LimitsActOnAllocations) {
    write(frame::text_of(10006), "1");
    write(frame::text_of(10007), "1");
    write(frame::text_of(10008), "40"); // 40960 bytes
    write(frame::text_of(10009), "0");
    start();
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED);
    EXPECT_NE(word(buffer, field_file), 0u);
    expect_refused(8, 200, 200, BUF32_TILED, no_place);
    free(buffer);
}

// --- directories ---------------------------------------------------------------------------------

TEST_F(SettingsFile, TheSystemsDirectoryCanBeSwitchedOff) {
    write("UseSysDir", "0");
    Settings settings = started();
    EXPECT_EQ(settings.directories.enabled[0], 0u);
    EXPECT_EQ(settings.directories.path[0], frame::sandbox_swap());
    expect_refused(8, 200, 200, BUF32_TILED_FILE, no_place);
    stop();
    write("UseSysDir", "1");
    settings = started();
    EXPECT_EQ(settings.directories.enabled[0], 1u);
    free(allocate(8, 200, 200, BUF32_TILED_FILE));
}

TEST_F(SettingsFile, DirectoriesAreTaken) {
    std::string folders[3];
    for (int n = 1; n <= 3; ++n) {
        const std::string folder = frame::make_folder("chosen" + std::to_string(n));
        folders[n - 1] = folder.substr(0, folder.size() - 1);
        write_directory(n, folders[n - 1], n == 2 ? "0" : "1");
    }
    write("UseSysDir", "0");
    const std::string before = frame::read_setting(section(), frame::path_key(1));
    const Settings settings = started();
    for (int n = 1; n <= 3; ++n) {
        EXPECT_EQ(settings.directories.path[n], folders[n - 1]);
        EXPECT_EQ(settings.directories.enabled[n], n == 2 ? 0u : 1u);
        EXPECT_EQ(read(frame::path_key(n)), folders[n - 1]);
        EXPECT_EQ(read(frame::switch_key(n)), n == 2 ? "0" : "1");
    }
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED_FILE);
    EXPECT_TRUE(std::string(swap_file_of(buffer)).starts_with(folders[0] + "\\~QT"))
        << swap_file_of(buffer);
    free(buffer);
}

TEST_F(SettingsFile, InvalidDirectoriesAreWrittenBackEmpty) {
    const std::string good = frame::make_folder("good");
    frame::write_file(frame::sandbox() + "a file", {1});
    const std::string invalid[] = {frame::sandbox() + "not there",
                                   frame::sandbox() + "a file",
                                   "folder",
                                   "\\windows",
                                   "\\\\server\\share",
                                   "C:",
                                   "C:windows",
                                   "C",
                                   ":\\x",
                                   "C/\\windows",
                                   "C:/windows",
                                   "Y:\\"};
    for (const std::string &path : invalid)
        for (int n = 1; n <= 3; ++n) {
            SCOPED_TRACE(path + " as " + std::to_string(n));
            for (int k = 1; k <= 3; ++k)
                write_directory(k, k == n ? path : good, "1");
            const Settings settings = started();
            for (int k = 1; k <= 3; ++k) {
                EXPECT_EQ(settings.directories.path[k], k == n ? "" : good);
                EXPECT_EQ(settings.directories.enabled[k], k == n ? 0u : 1u);
                EXPECT_EQ(read(frame::path_key(k)), k == n ? "" : good);
                EXPECT_EQ(read(frame::switch_key(k)), k == n ? "0" : "1");
            }
            stop();
        }
}

// What is written back for a directory that is not kept: its path, then its switch.
std::string written_back(int n) {
    const auto entry = [](const std::string &key, const char *value) {
        return "WritePrivateProfileStringA(\"" + frame::text_of(10001) + "\", \"" + key + "\", \"" +
               value + "\", \"" + frame::settings_file() + "\")\n";
    };
    return entry(frame::path_key(n), "") + entry(frame::switch_key(n), "0");
}

// Whether a key stands in the settings file, and with which value.
bool has_setting(const std::string &key, const std::string &value) {
    char text[512];
    GetPrivateProfileStringA(frame::text_of(10001).c_str(), key.c_str(), "(none)", text,
                             sizeof text, frame::settings_file().c_str());
    return text == value;
}

// An empty path is a directory that is not there: it loses its switch as any other.
TEST_F(SettingsFile, EmptyDirectoriesAreWrittenBackToo) {
    const std::string good = frame::make_folder("good");
    for (const char *on : {"0", "1", "7", "-1", ""})
        for (int n = 1; n <= 3; ++n) {
            SCOPED_TRACE(std::string("switch ") + on + " of " + std::to_string(n));
            for (int k = 1; k <= 3; ++k)
                write_directory(k, k == n ? "" : good, k == n ? on : "1");
            Calls calls;
            {
                Watch<call::WritePrivateProfileStringA> write_back{calls};
                const Settings settings = started();
                for (int k = 1; k <= 3; ++k) {
                    EXPECT_EQ(settings.directories.path[k], k == n ? "" : good);
                    EXPECT_EQ(settings.directories.enabled[k], k == n ? 0u : 1u);
                }
            }
            EXPECT_EQ(calls.text(), written_back(n));
            for (int k = 1; k <= 3; ++k) {
                EXPECT_TRUE(has_setting(frame::path_key(k), k == n ? "" : good));
                EXPECT_TRUE(has_setting(frame::switch_key(k), k == n ? "0" : "1"));
            }
            stop();
        }
}

// Nor does it matter whether the path stands there at all: switches alone, other keys alone, no
// section, no file.
TEST_F(SettingsFile, AbsentDirectoriesAreWrittenBackEmpty) {
    const auto expect_all_written_back = [&] {
        for (int round = 0; round < 2; ++round) { // and again, when they stand there empty
            Calls calls;
            {
                Watch<call::WritePrivateProfileStringA> write_back{calls};
                const Settings settings = started();
                for (int n = 1; n <= 3; ++n) {
                    EXPECT_STREQ(settings.directories.path[n], "");
                    EXPECT_EQ(settings.directories.enabled[n], 0u);
                }
                EXPECT_EQ(settings.directories.path[0], frame::sandbox_swap());
                EXPECT_EQ(settings.directories.enabled[0], 1u);
            }
            EXPECT_EQ(calls.text(), written_back(1) + written_back(2) + written_back(3));
            for (int n = 1; n <= 3; ++n) {
                EXPECT_TRUE(has_setting(frame::path_key(n), ""));
                EXPECT_TRUE(has_setting(frame::switch_key(n), "0"));
            }
            stop();
        }
    };
    for (int n = 1; n <= 3; ++n)
        write(frame::switch_key(n), "1");
    expect_all_written_back();
    DeleteFileA(frame::settings_file().c_str());
    write("UseSysDir", "1");
    write(frame::text_of(10009), "3");
    expect_all_written_back();
    EXPECT_TRUE(has_setting(frame::text_of(10009), "3")); // what else stands there stays
    EXPECT_TRUE(has_setting("UseSysDir", "1"));
    DeleteFileA(frame::settings_file().c_str());
    frame::write_setting(frame::text_of(12002), frame::text_of(12010), "1");
    expect_all_written_back();
    DeleteFileA(frame::settings_file().c_str());
    expect_all_written_back();
    EXPECT_TRUE(frame::file_exists(frame::settings_file()));
}

// A settings file that cannot be written to does not bring an empty directory into use.
TEST_F(SettingsFile, StandsThatNothingCanBeWrittenBack) {
    write_directory(1, frame::sandbox() + "not there", "1");
    write_directory(2, "", "1");
    FailingCall write_back("WritePrivateProfileStringA", 1, FailingCall::from_there_on);
    const Settings settings = started();
    EXPECT_EQ(write_back.calls(), 6);
    for (int n = 1; n <= 3; ++n) {
        EXPECT_STREQ(settings.directories.path[n], "");
        EXPECT_EQ(settings.directories.enabled[n], 0u);
    }
    EXPECT_EQ(read(frame::path_key(1)), frame::sandbox() + "not there");
    EXPECT_EQ(read(frame::switch_key(2)), "1");
}

TEST_F(SettingsFile, TheCurrentDirectoryIsRestored) {
    char before[MAX_PATH], after[MAX_PATH];
    const std::string here = frame::make_folder("here");
    SetCurrentDirectoryA(here.c_str());
    GetCurrentDirectoryA(sizeof before, before);
    write_directory(1, frame::make_folder("good"), "1");
    write_directory(2, frame::sandbox() + "not there", "1");
    write_directory(3, frame::make_folder("better"), "1");
    start();
    GetCurrentDirectoryA(sizeof after, after);
    EXPECT_STREQ(after, before);
    SetCurrentDirectoryA("C:\\");
}

// One whose name cannot be had or kept cannot be gone back to.
TEST_F(SettingsFile, ACurrentDirectoryThatCannotBeKeptIsLeft) {
    static DWORD length;
    const std::string good = frame::make_folder("good");
    for (const DWORD needed : {0u, 260u, 4000u}) {
        SCOPED_TRACE(needed);
        length = needed;
        write_directory(1, good, "1");
        load();
        {
            const frame::ImportHook unknown(
                library(), "kernel32.dll", "GetCurrentDirectoryW",
                reinterpret_cast<void *>(+[](DWORD, wchar_t *) WINAPI -> DWORD { return length; }));
            const Settings settings = started();
            EXPECT_EQ(settings.directories.path[1], good);
            EXPECT_EQ(settings.directories.enabled[1], 1u);
        }
        char after[MAX_PATH];
        GetCurrentDirectoryA(sizeof after, after);
        EXPECT_EQ(after + std::string("\\"), good);
        SetCurrentDirectoryA("C:\\");
        stop();
    }
}

// Paths as long as the block takes, and longer.
TEST_F(SettingsFile, StandsLongPaths) {
    for (std::size_t length : {240u, 255u, 258u, 259u, 260u, 261u, 300u, 1000u}) {
        SCOPED_TRACE(length);
        write_directory(1, "C:\\" + std::string(length - 3, 'x'), "1");
        const Settings settings = started();
        EXPECT_STREQ(settings.directories.path[1], "");
        EXPECT_EQ(settings.directories.enabled[1], 0u);
        EXPECT_EQ(read(frame::path_key(1)), "");
        stop();
    }
}

// --- names ---------------------------------------------------------------------------------------

TEST_F(SettingsFile, IsAskedForTheseKeysWithTheseDefaults) {
    Calls calls;
    {
        Watch<call::GetPrivateProfileIntA> numbers{calls};
        Watch<call::GetPrivateProfileStringA> texts{calls};
        start();
    }
    const std::string file = '"' + frame::settings_file() + "\")";
    const auto quoted = [](const std::string &text) { return '"' + text + '"'; };
    const auto expect_number = [&](const std::string &in, const std::string &key, int value) {
        EXPECT_NE(calls.find("GetPrivateProfileIntA(" + quoted(in) + ", " + quoted(key) + ", " +
                             std::to_string(value) + ", " + file),
                  -1)
            << key << " in\n"
            << calls.text();
    };
    expect_number(section(), "UseSysDir", 1);
    for (int n = 1; n <= 3; ++n) {
        EXPECT_NE(calls.find("GetPrivateProfileStringA(" + quoted(section()) + ", " +
                             quoted(frame::path_key(n)) + ", \"\", "),
                  -1)
            << calls.text();
        expect_number(section(), frame::switch_key(n), 0);
    }
    expect_number(section(), frame::text_of(10006), 0);
    expect_number(section(), frame::text_of(10007), 0);
    expect_number(section(), frame::text_of(10008), -1);
    expect_number(section(), frame::text_of(10009), -1);
    for (int id : {12003, 12004, 12005})
        expect_number(frame::text_of(12002), frame::text_of(id), 180);
    expect_number(frame::text_of(12002), frame::text_of(12010), 1);
    expect_number(frame::text_of(12002), frame::text_of(12011), 1);
}

TEST_F(SettingsFile, LiesInTheWindowsDirectoryWithOneSeparator) {
    const std::string folder = frame::make_folder("windows");
    const std::string bare = folder.substr(0, folder.size() - 1);
    for (const std::string &answer : {folder, bare}) {
        Calls calls;
        Watch<call::GetPrivateProfileIntA> numbers{calls};
        const Replaced<call::GetWindowsDirectoryA> elsewhere([&](char *path, UINT size) {
            lstrcpynA(path, answer.c_str(), int(size));
            return UINT(answer.size());
        });
        start();
        ASSERT_FALSE(calls.all().empty());
        for (const Call &call : calls.all())
            EXPECT_EQ(call.arguments[3], '"' + folder + frame::text_of(10000) + '"');
        stop();
    }
}

// Another common library, with names of its own: longer sections and keys, of which the digit cuts
// off the end; and names of the greatest length, 31 characters.
TEST_F(SettingsFile, EveryNameIsTheCommonLibrarys) {
    const std::string file = "Q32T" + std::to_string(GetCurrentProcessId()) + "B.INI";
    set_text(10000, file);
    set_text(10001, "ABCDEFGHIJKLMNOPQRSTUVWXYZ12345");
    set_text(10003, "SwitchOfTheFolder");
    const std::string longest(30, 'k');
    set_text(10006, longest + "1");
    set_text(10007, longest + "2");
    set_text(10008, longest + "3");
    set_text(10009, longest + "4");
    const std::string folder = frame::make_folder("other");
    const std::string whole_section = "ABCDEFGHIJKLMNOPQRSTUVWXYZ12345";
    frame::write_setting(whole_section, "ABCDEFGHIJ2", folder);
    frame::write_setting(whole_section, "Switch2", "1");
    frame::write_setting(whole_section, "UseSysDir", "0");
    frame::write_setting(whole_section, longest + "1", "1");
    frame::write_setting(whole_section, longest + "2", "1");
    frame::write_setting(whole_section, longest + "3", "7");
    frame::write_setting(whole_section, longest + "4", "8");
    const Settings settings = started();
    EXPECT_EQ(frame::read_setting(whole_section, "Switch1"), "0");
    EXPECT_EQ(frame::read_setting(whole_section, "Switch3"), "0");
    EXPECT_EQ(settings.directories.path[2], folder);
    EXPECT_EQ(settings.directories.enabled[2], 1u);
    EXPECT_EQ(settings.directories.enabled[0], 0u);
    EXPECT_EQ(settings.file_switch, 1u);
    EXPECT_EQ(settings.memory_switch, 1u);
    EXPECT_EQ(settings.file_limit, 7168u);
    EXPECT_EQ(settings.memory_limit, 8192u);
    stop();
    DeleteFileA(frame::settings_file().c_str());
}

// Texts are taken up to 31 characters.
TEST_F(SettingsFile, LongerNamesAreCut) {
    const std::string cut(31, 'n');
    set_text(10008, cut + "nnnn");
    write(cut, "9");
    EXPECT_EQ(started().file_limit, 9216u);
}

// --- display settings ----------------------------------------------------------------------------

TEST_F(SettingsFile, AnyDisplaySettingIsStood) {
    for (const char *value : {"0", "-1", "1", "100", "180", "2147483647", "x"}) {
        for (int id : {12003, 12004, 12005, 12010, 12011})
            frame::write_setting(frame::text_of(12002), frame::text_of(id), value);
        start();
        stop();
    }
}

} // namespace
} // namespace q32::test
