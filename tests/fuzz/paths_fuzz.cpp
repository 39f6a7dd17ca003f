// Paths of callers, in parts and without their last separator, and the family's directory under any
// name, into buffers that end with their last byte.
#include "tests/fuzz/system/machine.h"

#include <q32comm.h>
#include <windows.h>

namespace q32::fuzz {
namespace {

// A text with its end, in memory that ends with it.
Block block_of(const std::string &text) {
    const char *const bytes = text.c_str();
    return Block(Bytes(bytes, bytes + std::strlen(bytes) + 1));
}
char *text_in(const Block &block) {
    void *const memory = block.at();
    return static_cast<char *>(memory);
}
std::size_t length_in(const Block &block) {
    const void *const end = std::memchr(block.at(), 0, block.size());
    check(end != nullptr, "a text has no end");
    return std::strlen(text_in(block));
}

void split(const std::string &path) {
    const Block given = block_of(path);
    const Block drive(3), directory(MAX_PATH), name(MAX_PATH), extension(MAX_PATH);
    qfdSplitPathname(text_in(given), text_in(drive), text_in(directory), text_in(name),
                     text_in(extension));
    const std::size_t longest =
        std::max({length_in(directory), length_in(name), length_in(extension)});
    length_in(drive);
    const std::string together =
        std::string(text_in(drive)) + text_in(directory) + text_in(name) + text_in(extension);
    check(longest == MAX_PATH - 1 || together == text_in(given), "the parts are not the path");
    qfdSplitPathname(text_in(given), nullptr, nullptr, nullptr, nullptr);
}

void strip(const std::string &path) {
    const Block given = block_of(path);
    qfdDelSlash(text_in(given));
    const std::size_t before = std::strlen(path.c_str());
    check(length_in(given) + 1 >= before, "more than one separator is removed");
}

void find_directory(const std::string &path, int size) {
    machine().directory = path.substr(0, path.find('\0'));
    const Block buffer(std::size_t(std::max(size, 0)));
    const int length = q32GetQuillTempDir(size < 0 ? nullptr : text_in(buffer), size);
    if (size > 0)
        check(length_in(buffer) == std::size_t(length), "a directory is longer than it says");
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    restart_machine();
    const int room = input.between(-1, 300);
    const bool repeats = input.byte() % 8 == 0; // long ones from few bytes
    std::string path = input.text(input.left());
    for (int i = 0; repeats && i < 6; ++i)
        path += path.substr(0, 400);
    split(path);
    strip(path);
    find_directory(path, room);
    return 0;
}
