// Calls of the library, with what they need beside the script's words, and what they change in the
// library's counters.
#include "buffer_machine.h"

#include <q32comm.h>

#include <algorithm>

namespace apps::q32view {
namespace {

Counters library_counters() {
    Counters counters;
    buf32GetVMDataExt(&counters.memory, &counters.files);
    return counters;
}

// The library's limits are the process's, in which the viewer has pictures, too: the laboratory's
// are put on top of what these take, and given back.
class Limits {
public:
    Limits(std::optional<size_t> memory, std::optional<size_t> files, const Counters &others) {
        buf32VMData(0, &memory_, &files_, nullptr, &memory_switch_, &file_switch_);
        set(memory.value_or(0) + (memory.value_or(0) != 0 ? others.memory : 0),
            files.value_or(0) + (files.value_or(0) != 0 ? others.files : 0), memory.has_value(),
            files.has_value());
    }
    ~Limits() { set(memory_, files_, memory_switch_, file_switch_); }
    Limits(const Limits &) = delete;
    Limits &operator=(const Limits &) = delete;

private:
    static void set(size_t memory, size_t files, uint32_t memory_switch, uint32_t file_switch) {
        buf32VMData(1, &memory, &files, nullptr, &memory_switch, &file_switch);
    }

    size_t memory_ = 0, files_ = 0;
    uint32_t memory_switch_ = 0, file_switch_ = 0;
};

// The buffers that an operation cannot do without.
std::vector<std::string> needed_by(const Operation &operation) {
    switch (operation.verb) {
    case Verb::alloc:
    case Verb::limit_memory:
    case Verb::limit_files:
        return {};
    case Verb::copy:
        return {operation.buffer, operation.other};
    default:
        return {operation.buffer};
    }
}

// --- pixels -------------------------------------------------------------------------------------

BUF32INFO info_of(HBUF32 buffer) {
    BUF32INFO info = {};
    buf32GetInfo(buffer, &info);
    return info;
}

// Rows as rectangles have them in memory, of one colour.
std::vector<uint8_t> pixels(HBUF32 buffer, int width, int height, const ColourBytes &colour) {
    const BUF32INFO info = info_of(buffer);
    const size_t pixel_bytes = static_cast<size_t>(std::max(info.bits_per_pixel / 8, 1));
    const size_t bits = static_cast<size_t>(info.bits_per_pixel);
    const size_t row_bytes = (static_cast<size_t>(width) * bits + 7) / 8;
    std::vector<uint8_t> memory(row_bytes * static_cast<size_t>(height));
    for (size_t i = 0; i < memory.size(); ++i)
        memory[i] = colour[i % pixel_bytes];
    return memory;
}

// Stripes and dots, so that a pattern looks like one wherever it is seen.
std::vector<uint8_t> pattern_pixels(const Size &size, int bits) {
    const size_t row_bytes = (static_cast<size_t>(size.width) * static_cast<size_t>(bits) + 7) / 8;
    std::vector<uint8_t> memory(row_bytes * static_cast<size_t>(size.height));
    for (size_t i = 0; i < memory.size(); ++i)
        memory[i] = static_cast<uint8_t>(i * 85);
    return memory;
}

BUF32PATTERN pattern_of(const Size &size, const std::vector<uint8_t> &memory) {
    return {static_cast<uint16_t>(size.width), static_cast<uint16_t>(size.height), memory.data()};
}

bool paste(HBUF32 buffer, const Operation &operation) {
    const Area &area = operation.area;
    const auto memory = pixels(buffer, area.width(), area.height(), operation.colour);
    return buf32MergeMem(buffer, area.left, area.top, memory.data(), area.width(), area.height());
}

bool read(HBUF32 buffer, const Operation &operation) {
    const Area &area = operation.area;
    auto memory = pixels(buffer, area.width(), area.height(), {});
    return buf32GetMem(buffer, area.left, area.top, area.width(), area.height(), memory.data());
}

bool move_line(HBUF32 buffer, const Operation &operation) {
    auto memory = pixels(buffer, info_of(buffer).width, 1, operation.colour);
    return buf32Line(buffer, operation.number, operation.mode, memory.data());
}

bool fill_pattern(HBUF32 buffer, const Operation &operation) {
    const auto memory = pattern_pixels(operation.pattern, info_of(buffer).bits_per_pixel);
    const BUF32PATTERN pattern = pattern_of(operation.pattern, memory);
    return buf32FillPattern(buffer, &pattern);
}

bool copy(HBUF32 from, HBUF32 to, const Operation &operation) {
    const Area &area = operation.area;
    return buf32MergeBuf(from, area.left, area.top, area.width(), area.height(), to, operation.to.x,
                         operation.to.y);
}

bool lock(HBUF32 buffer, const Operation &operation) {
    return operation.cell ? buf32CellLock(buffer, *operation.cell, nullptr, nullptr)
                          : buf32Lock(buffer, operation.mode, nullptr);
}

bool unlock(HBUF32 buffer, const Operation &operation) {
    return operation.cell ? buf32CellUnlock(buffer, *operation.cell) : buf32Unlock(buffer);
}

} // namespace

HBUF32 BufferMachine::handle(const std::string &name) const {
    for (const NamedBuffer &buffer : buffers_)
        if (buffer.name == name)
            return buffer.handle;
    return 0;
}

Outcome BufferMachine::run(const Operation &operation) {
    if (operation.verb == Verb::alloc && handle(operation.buffer) != 0)
        return {.words = operation.buffer + " is still there: not made again"};
    for (const std::string &name : needed_by(operation))
        if (handle(name) == 0)
            return {.words = name + " is not there"};
    if (operation.verb == Verb::limit_memory)
        memory_limit_ = operation.most;
    if (operation.verb == Verb::limit_files)
        file_limit_ = operation.most;
    const Counters before = library_counters();
    const Limits limits(memory_limit_, file_limit_,
                        {before.memory - counters_.memory, before.files - counters_.files});
    c32ClearDLLErrInfo();
    Outcome outcome;
    outcome.is_done = call_library(operation);
    outcome.report = last_report();
    const Counters after = library_counters();
    counters_.memory += after.memory - before.memory;
    counters_.files += after.files - before.files;
    return outcome;
}

bool BufferMachine::call_library(const Operation &operation) {
    const HBUF32 buffer = handle(operation.buffer);
    switch (operation.verb) {
    case Verb::alloc:
        return alloc(operation);
    case Verb::free:
        return free(operation);
    case Verb::duplicate:
        return duplicate(operation);
    case Verb::fill:
        return buf32FillOneColor(buffer, operation.colour.data());
    case Verb::pattern:
        return fill_pattern(buffer, operation);
    case Verb::paste:
        return paste(buffer, operation);
    case Verb::read:
        return read(buffer, operation);
    case Verb::copy:
        return copy(buffer, handle(operation.other), operation);
    case Verb::line:
        return move_line(buffer, operation);
    case Verb::lock:
        return lock(buffer, operation);
    case Verb::unlock:
        return unlock(buffer, operation);
    case Verb::resize:
        return buf32ReAlloc(buffer, operation.number);
    case Verb::limit_memory:
    case Verb::limit_files:
        return true;
    }
    return false;
}

bool BufferMachine::alloc(const Operation &operation) {
    const auto memory = pattern_pixels(operation.pattern, operation.bits);
    const BUF32PATTERN pattern = pattern_of(operation.pattern, memory);
    const void *extra = nullptr;
    if (operation.type == BUF32_ONE_COLOUR)
        extra = operation.colour.data();
    if (operation.type == BUF32_PATTERN)
        extra = &pattern;
    HBUF32 made = 0;
    if (!buf32Alloc(&made, operation.bits, operation.size.width, operation.size.height,
                    operation.type, extra))
        return false;
    buffers_.push_back({operation.buffer, made});
    return true;
}

bool BufferMachine::duplicate(const Operation &operation) {
    const HBUF32 existing = handle(operation.other);
    HBUF32 destination = existing;
    if (!buf32DupBuf(handle(operation.buffer), &destination))
        return false;
    if (existing == 0)
        buffers_.push_back({operation.other, destination});
    return true;
}

bool BufferMachine::free(const Operation &operation) {
    if (!buf32Free(handle(operation.buffer)))
        return false;
    std::erase_if(buffers_, [&](const NamedBuffer &one) { return one.name == operation.buffer; });
    return true;
}

void BufferMachine::clear() {
    for (const NamedBuffer &buffer : buffers_)
        while (info_of(buffer.handle).lock_count > 0 && buf32Unlock(buffer.handle)) {
        }
    // The last made first: duplicates before their sources, whose pixels they would get.
    for (auto buffer = buffers_.rbegin(); buffer != buffers_.rend(); ++buffer)
        buf32Free(buffer->handle);
    buffers_.clear();
    memory_limit_.reset();
    file_limit_.reset();
    counters_ = {};
}

} // namespace apps::q32view
