// The rules of storage: see buffers.h, and "Who owns the pixels?" in architecture.md. What
// operations do: buffer_model_operations.cpp.
#include "buffer_model.h"

#include <algorithm>
#include <utility>

namespace apps::q32view {
namespace {

constexpr int cell_side = 128;

constexpr size_t packed_bytes(int pixels, int bits) {
    return (static_cast<size_t>(pixels) * static_cast<size_t>(bits) + 7) / 8;
}

size_t rows_of(int rows, size_t row_bytes) {
    const uint64_t bytes = static_cast<uint64_t>(rows) * row_bytes;
    return bytes < SIZE_MAX ? static_cast<size_t>(bytes) : SIZE_MAX;
}

bool is_small(const ModelledBuffer &buffer) {
    return buffer.width <= cell_side && buffer.height <= cell_side;
}

} // namespace

size_t ModelledBuffer::row_bytes() const {
    return packed_bytes(width, bits);
}

size_t ModelledBuffer::reserved_bytes() const {
    return rows_of(capacity_rows, row_bytes());
}

size_t ModelledBuffer::cell_bytes() const {
    return is_linear ? rows_of(height, row_bytes())
                     : rows_of(std::min(height, cell_side),
                               packed_bytes(std::min(width, cell_side), bits));
}

size_t ModelledBuffer::block_size() const {
    const int rows = type == BUF32_PATTERN ? pattern_height : 1;
    return std::max(cell_bytes(), rows_of(rows, row_bytes()));
}

int ModelledBuffer::cell_count() const {
    const auto cells = [](int side) { return (side + cell_side - 1) / cell_side; };
    return is_linear ? 1 : cells(width) * cells(height);
}

// --- what is known ------------------------------------------------------------------------------

const ModelledBuffer *BufferModel::find(const std::string &name) const {
    const auto found =
        std::find_if(buffers_.begin(), buffers_.end(),
                     [&](const ModelledBuffer &buffer) { return buffer.name == name; });
    return found != buffers_.end() ? &*found : nullptr;
}

ModelledBuffer *BufferModel::find(const std::string &name) {
    return const_cast<ModelledBuffer *>(std::as_const(*this).find(name));
}

ModelledBuffer *BufferModel::first_sharer(const std::string &source) {
    ModelledBuffer *first = nullptr;
    for (ModelledBuffer &buffer : buffers_)
        if (buffer.source == source && (first == nullptr || buffer.joined < first->joined))
            first = &buffer;
    return first;
}

Place BufferModel::place_of(const ModelledBuffer &buffer) const {
    if (buffer.type == BUF32_ONE_COLOUR)
        return Place::one_colour;
    if (buffer.type == BUF32_PATTERN)
        return Place::pattern;
    return buffer.source.empty() ? buffer.storage : find(buffer.source)->storage;
}

bool BufferModel::is_shared(const ModelledBuffer &buffer) const {
    return !buffer.source.empty() ||
           std::any_of(buffers_.begin(), buffers_.end(),
                       [&](const ModelledBuffer &other) { return other.source == buffer.name; });
}

size_t BufferModel::memory_bytes() const {
    size_t bytes = 0;
    for (const ModelledBuffer &buffer : buffers_)
        bytes += buffer.block_bytes + (buffer.storage == Place::memory ? buffer.storage_bytes : 0);
    return bytes;
}

size_t BufferModel::file_bytes() const {
    size_t bytes = 0;
    for (const ModelledBuffer &buffer : buffers_)
        bytes += buffer.storage == Place::swap_file ? buffer.storage_bytes : 0;
    return bytes;
}

// --- storage ------------------------------------------------------------------------------------

bool BufferModel::give_storage(ModelledBuffer &buffer) const {
    const size_t bytes = buffer.reserved_bytes();
    const bool only_memory = buffer.type == BUF32_LINEAR_MEMORY;
    const bool only_file = buffer.type == BUF32_TILED_FILE;
    if (is_small(buffer) || only_memory ||
        (!only_file && (!memory_limit_ || bytes + memory_bytes() < *memory_limit_)))
        buffer.storage = Place::memory;
    else if (!file_limit_ || bytes + file_bytes() < *file_limit_)
        buffer.storage = Place::swap_file;
    else
        return false;
    buffer.storage_bytes = bytes;
    return true;
}

void BufferModel::make_heir(ModelledBuffer &heir, const std::string &source) {
    heir.source.clear();
    for (ModelledBuffer &buffer : buffers_)
        if (buffer.source == source)
            buffer.source = heir.name;
}

// A duplicate gets pixels of its own; of a source the first sharer does, and becomes the source of
// the others.
bool BufferModel::make_own(ModelledBuffer &buffer) {
    const bool is_duplicate = !buffer.source.empty();
    ModelledBuffer *const leaving = is_duplicate ? &buffer : first_sharer(buffer.name);
    if (leaving == nullptr)
        return true;
    // One that had pixels before it became a duplicate has kept their storage.
    if (leaving->storage == Place::nowhere && !give_storage(*leaving))
        return false;
    if (is_duplicate)
        leaving->source.clear();
    else
        make_heir(*leaving, buffer.name);
    return true;
}

// The block goes when there is storage.
bool BufferModel::make_ordinary(ModelledBuffer &buffer) {
    ModelledBuffer ordinary = buffer;
    if (!give_storage(ordinary))
        return false;
    ordinary.type = BUF32_TILED;
    ordinary.block_bytes = 0;
    buffer = ordinary;
    return true;
}

bool BufferModel::write_lock(ModelledBuffer &buffer) {
    return buffer.is_block() ? make_ordinary(buffer) : make_own(buffer);
}

void BufferModel::provide_block(ModelledBuffer &buffer) const {
    if (buffer.is_block())
        buffer.block_bytes = buffer.block_size();
}

// A fill: storage goes, and a block comes at once.
void BufferModel::become_block(ModelledBuffer &buffer, uint32_t type) const {
    buffer.type = type;
    buffer.storage = Place::nowhere;
    buffer.storage_bytes = 0;
    provide_block(buffer);
}

} // namespace apps::q32view
