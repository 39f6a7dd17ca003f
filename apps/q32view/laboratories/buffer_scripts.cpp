// Where scripts come from: the one that the laboratory has, and files.
#include "buffer_script.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/text.h"

namespace apps::q32view {
namespace {

constexpr std::string_view built_in = R"(# Where do the cells of buffers live?

# One colour: nowhere. A lock gets
# one block for all cells; the first
# pixels give each cell memory.
alloc A 640x512 24 colour 3060a0
lock A read
unlock A
paste A 128,128 256x128 ffc020

# Duplicates share cells; reading
# keeps it so. Who writes parts.
duplicate A B
duplicate A C
read B 0,0 640x512
paste B 100,100 300x200 20a060
lock A write
line A 300 write ff0000

# What cannot be, is reported.
free A
unlock A
unlock A

# Beyond a limit new cells lie in
# swap files; all others stay.
limit memory 3M
alloc D 800x600 24
duplicate D E
lock E cell 16
unlock E cell 16
paste E 256,256 128x128 c04080
line D 10 read

# A fill gives storage up: there
# is room in memory for others.
fill C 808080
copy A 0,0 256x256 C 128,128
fill B 204060

# The files have their limit, too.
limit files 4M
alloc F 1000x800 24
alloc G 300x200 24
pattern G 16x16

# Files are read like memory. A
# source that goes leaves its
# cells to those who share them.
read D 0,0 800x600
free A
duplicate D H
free D
free E
free H
free B
free C
free G
)";

constexpr DWORD most_bytes = 1 << 20;

std::string text_of(const std::string &path) {
    const std::wstring native = to_wide(native_path(path));
    check_is_readable_file(path, native);
    const OpenFile file = open_file(native, GENERIC_READ, OPEN_EXISTING);
    std::string text(most_bytes + 1, '\0');
    DWORD bytes = 0;
    if (!file || !ReadFile(file.get(), text.data(), most_bytes + 1, &bytes, nullptr))
        throw Failure(path, "it cannot be read", "check the name and the rights to it");
    if (bytes > most_bytes)
        throw Failure(path, "it is too large for a script", "name a text of less than 1 MB");
    text.resize(bytes);
    return text;
}

} // namespace

Script built_in_script() {
    return parse_script(built_in, "the built-in script");
}

Script read_script(const std::string &path) {
    return parse_script(text_of(path), path);
}

} // namespace apps::q32view
