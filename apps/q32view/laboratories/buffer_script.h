// The scripts of the buffer laboratory: operations on buffers that have names, a line each.
#pragma once

#include "apps/pictures/areas.h"

#include <q32base/buffers.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace apps::q32view {

enum class Verb {
    alloc,
    free,
    duplicate,
    fill,
    pattern,
    paste,
    read,
    copy,
    line,
    lock,
    unlock,
    resize,
    limit_memory,
    limit_files,
};

// A colour's bytes, from the first on; more of them than the deepest pixel has, all others zero.
using ColourBytes = std::array<uint8_t, 16>;

struct Operation {
    Verb verb = Verb::alloc;
    int line = 0; // of the script, from 1
    std::string buffer;
    std::string other;          // duplicate, copy: the destination
    Area area;                  // paste, read, copy: of the (first) buffer
    Point to;                   // copy
    Size size;                  // alloc
    int bits = 0;               // alloc: per pixel
    uint32_t type = 0;          // alloc: BUF32_TILED ...
    Size pattern;               // alloc, pattern
    ColourBytes colour = {};    // alloc, fill, paste, line
    int number = 0;             // line: the row; resize: the rows
    int mode = 0;               // lock: BUF32_READ ...; line: BUF32_LINE_READ or _WRITE
    std::optional<int> cell;    // lock, unlock: one cell
    std::optional<size_t> most; // limits: bytes; none: no limit
};

struct Script {
    std::string name;               // for messages and titles
    std::vector<std::string> lines; // as they stand, with remarks
    std::vector<Operation> operations;
};

// More are not looked at in one window.
constexpr size_t most_buffers = 12;

// named: a file, or what else the text came from. Throws Failure, which names the line.
Script parse_script(std::string_view text, const std::string &named);

// Throws Failure.
Script read_script(const std::string &path);

// One that brings cells everywhere where they can live.
Script built_in_script();

// The operations, a line each: for help.
std::string script_help();

} // namespace apps::q32view
