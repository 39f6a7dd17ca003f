// Scripts of the buffer laboratory, line by line.
#include "apps/pictures/exceptions.h"
#include "apps/q32view/laboratories/buffer_script.h"

#include <gtest/gtest.h>

#include <string>

namespace apps::q32view {
namespace {

Operation only(const std::string &line, const std::string &before = "alloc A 10x10 24\n") {
    const Script script = parse_script(before + line, "s");
    return script.operations.back();
}

std::string complaint(const std::string &text) {
    try {
        parse_script(text, "s.txt");
    } catch (const Failure &failure) {
        return failure.what();
    }
    return "no complaint";
}

std::string complaint_after_alloc(const std::string &line) {
    return complaint("alloc A 10x10 24\n" + line);
}

TEST(BufferScript, KeepsItsLinesAndCountsThem) {
    const Script script = parse_script("# one\r\n\r\nalloc A 640x512 24 # two\n  free  A", "s");
    EXPECT_EQ(script.name, "s");
    EXPECT_EQ(script.lines,
              (std::vector<std::string>{"# one", "", "alloc A 640x512 24 # two", "  free  A"}));
    ASSERT_EQ(script.operations.size(), 2u);
    EXPECT_EQ(script.operations[0].verb, Verb::alloc);
    EXPECT_EQ(script.operations[0].line, 3);
    EXPECT_EQ(script.operations[1].verb, Verb::free);
    EXPECT_EQ(script.operations[1].line, 4);
}

TEST(BufferScript, Allocates) {
    const Operation plain = only("alloc Big2 640x512 24", "");
    EXPECT_EQ(plain.buffer, "Big2");
    EXPECT_EQ(plain.size, (Size{640, 512}));
    EXPECT_EQ(plain.bits, 24);
    EXPECT_EQ(plain.type, BUF32_TILED);
    EXPECT_EQ(only("alloc A 1x1 1 tiled", "").type, BUF32_TILED);
    EXPECT_EQ(only("alloc A 1x1 1 file", "").type, BUF32_TILED_FILE);
    EXPECT_EQ(only("alloc A 1x1 1 linear", "").type, BUF32_LINEAR);
    EXPECT_EQ(only("alloc A 1x1 1 memory", "").type, BUF32_LINEAR_MEMORY);
    EXPECT_EQ(only("alloc A 1x1 1 shrink", "").type, BUF32_LINEAR_SHRINK);
    const Operation colour = only("alloc A 1x1 24 colour ff8001", "");
    EXPECT_EQ(colour.type, BUF32_ONE_COLOUR);
    EXPECT_EQ(colour.colour, (ColourBytes{0xFF, 0x80, 0x01}));
    const Operation pattern = only("alloc A 1x1 24 pattern 16x8", "");
    EXPECT_EQ(pattern.type, BUF32_PATTERN);
    EXPECT_EQ(pattern.pattern, (Size{16, 8}));
}

TEST(BufferScript, Fills) {
    EXPECT_EQ(only("fill A 0a0b").colour, (ColourBytes{0x0A, 0x0B}));
    EXPECT_EQ(only("pattern A 3x1000").pattern, (Size{3, 1000}));
    const Operation paste = only("paste A -5,6 7x8 ff");
    EXPECT_EQ(paste.area, (Area{-5, 6, 2, 14}));
    EXPECT_EQ(paste.colour, (ColourBytes{0xFF}));
    EXPECT_EQ(only("read A 5,6 7x8").area, (Area{5, 6, 12, 14}));
}

TEST(BufferScript, CopiesAndDuplicates) {
    const Operation duplicate = only("duplicate A B");
    EXPECT_EQ(duplicate.buffer + duplicate.other, "AB");
    const Operation copy = only("copy A 1,2 3x4 B 5,6", "alloc A 9x9 8\nalloc B 9x9 8\n");
    EXPECT_EQ(copy.buffer + copy.other, "AB");
    EXPECT_EQ(copy.area, (Area{1, 2, 4, 6}));
    EXPECT_EQ(copy.to, (Point{5, 6}));
}

TEST(BufferScript, LocksAndMovesLines) {
    EXPECT_EQ(only("lock A read").mode, BUF32_READ);
    EXPECT_EQ(only("lock A write").mode, BUF32_WRITE);
    EXPECT_EQ(only("lock A overwrite").mode, BUF32_OVERWRITE);
    EXPECT_EQ(only("lock A overwrite").cell, std::nullopt);
    EXPECT_EQ(only("lock A cell 17").cell, 17);
    EXPECT_EQ(only("unlock A").cell, std::nullopt);
    EXPECT_EQ(only("unlock A cell 3").cell, 3);
    EXPECT_EQ(only("line A 7 read").mode, BUF32_LINE_READ);
    const Operation line = only("line A 7 write 010203");
    EXPECT_EQ(line.mode, BUF32_LINE_WRITE);
    EXPECT_EQ(line.number, 7);
    EXPECT_EQ(line.colour, (ColourBytes{1, 2, 3}));
    EXPECT_EQ(only("resize A 99").number, 99);
}

TEST(BufferScript, Limits) {
    EXPECT_EQ(only("limit memory 3M").verb, Verb::limit_memory);
    EXPECT_EQ(only("limit memory 3M").most, 3u << 20);
    EXPECT_EQ(only("limit files 0").verb, Verb::limit_files);
    EXPECT_EQ(only("limit files 0").most, 0u);
    EXPECT_EQ(only("limit files 1G").most, 1u << 30);
    EXPECT_EQ(only("limit memory none").most, std::nullopt);
}

// What is too large for the library is the library's to refuse.
TEST(BufferScript, TakesWhatTheLibraryRefuses) {
    EXPECT_EQ(only("alloc A 40000x1 24", "").size, (Size{40000, 1}));
    EXPECT_EQ(only("alloc A 1x1 65", "").bits, 65);
    EXPECT_EQ(only("lock A cell 100").cell, 100);
}

TEST(BufferScript, SaysWhatIsWrongInWhichLine) {
    EXPECT_EQ(
        complaint("\n# x\nalok A"),
        "s.txt, line 3: there is no operation \"alok\"; q32view.md lists those that there are");
    EXPECT_EQ(complaint_after_alloc("limit disk 5"),
              "s.txt, line 2: there is no operation \"limit disk\"; "
              "q32view.md lists those that there are");
    EXPECT_EQ(complaint("alloc"), "s.txt, line 1: a buffer's name is missing");
    EXPECT_EQ(
        complaint("alloc 7A 1x1 8"),
        "s.txt, line 1: \"7A\" stands where a name of up to eight letters and digits, a letter "
        "first, is wanted");
    EXPECT_EQ(complaint("alloc A 0x5 8"),
              "s.txt, line 1: \"0x5\" stands where a size such as 640x480 is wanted");
    EXPECT_EQ(complaint("alloc A 5x5"), "s.txt, line 1: the bits per pixel is missing");
    EXPECT_EQ(
        complaint("alloc A 5x5 8 round"),
        "s.txt, line 1: \"round\" stands where tiled, file, linear, memory, shrink, colour or "
        "pattern is wanted");
    EXPECT_EQ(complaint("alloc A 5x5 8 colour fff"),
              "s.txt, line 1: \"fff\" stands where a colour such as ff8000, two digits a byte, is "
              "wanted");
    EXPECT_EQ(complaint("alloc A 5x5 8 colour g0"),
              "s.txt, line 1: \"g0\" stands where a colour such as ff8000, two digits a byte, is "
              "wanted");
    EXPECT_EQ(complaint_after_alloc("free A now"),
              "s.txt, line 2: \"now\" is too much; free A is all");
    EXPECT_EQ(complaint_after_alloc("paste A 0 1x1 ff"),
              "s.txt, line 2: \"0\" stands where a place such as 128,0 is wanted");
    EXPECT_EQ(complaint_after_alloc("paste A 0,0 32000x32000 ff"),
              "s.txt, line 2: a rectangle has at most 33554432 pixels here");
    EXPECT_EQ(complaint_after_alloc("limit memory 2G"),
              "s.txt, line 2: a limit is at most 1G here; none is no limit");
    EXPECT_EQ(complaint_after_alloc("lock A"),
              "s.txt, line 2: read, write, overwrite or cell is missing");
    EXPECT_EQ(complaint_after_alloc("pattern A 1001x1"),
              "s.txt, line 2: a pattern is at most 1000x1000 here");
}

TEST(BufferScript, QuotesNothingThatBreaksALine) {
    EXPECT_EQ(complaint("\x01\xFF" + std::string(40, 'x')),
              "s.txt, line 1: there is no operation \"??" + std::string(28, 'x') +
                  "...\"; q32view.md lists those that there are");
}

TEST(BufferScript, NeedsSomethingToDo) {
    EXPECT_EQ(complaint(""), "s.txt: there is no operation in it");
    EXPECT_EQ(complaint("# only words\n"), "s.txt: there is no operation in it");
}

TEST(BufferScript, KnowsItsBuffers) {
    EXPECT_EQ(complaint("free A"),
              "s.txt, line 1: there is no buffer A here; alloc or duplicate makes one");
    EXPECT_EQ(complaint_after_alloc("copy A 0,0 1x1 B 0,0"),
              "s.txt, line 2: there is no buffer B here; alloc or duplicate makes one");
    EXPECT_EQ(complaint_after_alloc("alloc A 1x1 8"),
              "s.txt, line 2: there is a buffer A already; free it first");
    // Freed names may be made again; what could not be freed may be named.
    EXPECT_EQ(complaint_after_alloc("free A\nalloc A 1x1 8"), "no complaint");
    EXPECT_EQ(complaint_after_alloc("lock A read\nfree A\nunlock A\nfree A"), "no complaint");
    EXPECT_EQ(complaint_after_alloc("duplicate A B\nduplicate A B\nfree B"), "no complaint");
}

TEST(BufferScript, HasSoManyBuffersAtATime) {
    std::string text;
    for (char name = 'A'; name < 'A' + static_cast<int>(most_buffers); ++name)
        text += std::string("alloc ") + name + " 1x1 8\n";
    EXPECT_EQ(complaint(text), "no complaint");
    EXPECT_EQ(complaint(text + "alloc Z 1x1 8"),
              "s.txt, line 13: there are 12 buffers already; free one first");
    EXPECT_EQ(complaint(text + "free A\nalloc Z 1x1 8"), "no complaint");
}

TEST(BufferScript, HelpNamesEveryOperation) {
    const std::string help = script_help();
    for (const char *word :
         {"alloc ", "free ", "duplicate ", "fill ", "pattern ", "paste ", "read ", "copy ", "line ",
          "lock ", "unlock ", "resize ", "limit memory ", "limit files "})
        EXPECT_NE(help.find(word), std::string::npos) << word;
}

} // namespace
} // namespace apps::q32view
