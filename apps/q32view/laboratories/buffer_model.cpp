// The rules, one after the other: see buffers.h, and "Who owns the pixels?" in architecture.md.
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

bool is_linear_type(uint32_t type) {
    return type == BUF32_LINEAR || type == BUF32_LINEAR_MEMORY || type == BUF32_LINEAR_SHRINK;
}

bool is_write_mode(int mode) {
    return mode == BUF32_WRITE || mode == BUF32_WRITE_3 || mode == BUF32_OVERWRITE;
}

bool meets(const Area &area, const ModelledBuffer &buffer) {
    return !intersect(area, {0, 0, buffer.width, buffer.height}).is_empty();
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
    if (buffer.type == BUF32_ONE_COLOUR)
        buffer.block_bytes = std::max(buffer.cell_bytes(), buffer.row_bytes());
    else if (buffer.type == BUF32_PATTERN)
        buffer.block_bytes =
            std::max(buffer.cell_bytes(), rows_of(buffer.pattern_height, buffer.row_bytes()));
}

// A fill: storage goes, and a block comes at once.
void BufferModel::become_block(ModelledBuffer &buffer, uint32_t type) const {
    buffer.type = type;
    buffer.storage = Place::nowhere;
    buffer.storage_bytes = 0;
    provide_block(buffer);
}

// --- operations ---------------------------------------------------------------------------------

bool BufferModel::alloc(const Operation &operation) {
    constexpr int deepest = 64;
    const int width = operation.size.width, height = operation.size.height;
    if (find(operation.buffer) != nullptr || std::max(width, height) > Q32_MAX_SIDE ||
        operation.bits < 1 || operation.bits > deepest)
        return false;
    ModelledBuffer buffer;
    buffer.name = operation.buffer;
    buffer.type = operation.type;
    buffer.bits = operation.bits;
    buffer.width = width;
    buffer.height = buffer.capacity_rows = height;
    buffer.is_linear = is_linear_type(operation.type);
    buffer.pattern_height = operation.pattern.height;
    buffer.mode = BUF32_READ;
    if (!buffer.is_block() && !give_storage(buffer))
        return false;
    buffers_.push_back(buffer);
    return true;
}

bool BufferModel::free(ModelledBuffer &buffer) {
    if (buffer.locks > 0)
        return false;
    ModelledBuffer *const heir = first_sharer(buffer.name);
    if (heir != nullptr) {
        // The pixels go on to it: as they lie, or copied to where it has kept storage.
        if (heir->storage == Place::nowhere) {
            heir->storage = buffer.storage;
            heir->storage_bytes = buffer.storage_bytes;
            heir->capacity_rows = buffer.capacity_rows;
        }
        make_heir(*heir, buffer.name);
    }
    std::erase_if(buffers_,
                  [name = buffer.name](const ModelledBuffer &one) { return one.name == name; });
    return true;
}

bool BufferModel::duplicate(const Operation &operation) {
    const ModelledBuffer *const source = find(operation.buffer);
    if (source == nullptr)
        return false;
    ModelledBuffer *existing = find(operation.other);
    if (existing == nullptr) {
        ModelledBuffer copy = *source;
        copy.name = operation.other;
        copy.storage = Place::nowhere;
        copy.storage_bytes = copy.block_bytes = 0;
        copy.locks = copy.mode = 0;
        if (!copy.is_block() && copy.source.empty())
            copy.source = source->name;
        copy.joined = ++joins_;
        buffers_.push_back(copy);
        return true;
    }
    if (existing->type != source->type || existing->width != source->width ||
        existing->height != source->height || existing->bits != source->bits)
        return false;
    if (source->type == BUF32_ONE_COLOUR)
        return true;
    if (source->type == BUF32_PATTERN) {
        if (existing == source)
            return false;
        const size_t bytes = rows_of(source->pattern_height, source->row_bytes());
        if (existing->block_bytes != std::max(existing->cell_bytes(), bytes))
            existing->block_bytes = 0;
        existing->pattern_height = source->pattern_height;
        return true;
    }
    // A linear buffer that was filled and then written still has one cell: no sharing then.
    if (existing->is_linear != source->is_linear && existing->cell_count() != source->cell_count())
        return make_own(*existing);
    const std::string owner = source->source.empty() ? source->name : source->source;
    if (owner == existing->name || owner == existing->source)
        return false;
    if (!make_own(*existing))
        return false;
    existing->source = owner;
    existing->joined = ++joins_;
    return true;
}

bool BufferModel::fill(ModelledBuffer &buffer) {
    if (buffer.type == BUF32_ONE_COLOUR)
        return true;
    if (!buffer.is_block() && !make_own(buffer))
        return false;
    become_block(buffer, BUF32_ONE_COLOUR);
    return true;
}

bool BufferModel::fill_pattern(ModelledBuffer &buffer, int height) {
    if (!buffer.is_block() && !make_own(buffer))
        return false;
    buffer.pattern_height = height;
    become_block(buffer, BUF32_PATTERN);
    return true;
}

// One colour and patterns are locked for writing first, wherever the rectangle lies.
bool BufferModel::paste(ModelledBuffer &buffer, const Area &area) {
    if (buffer.is_block()) {
        if (!make_ordinary(buffer))
            return false;
        buffer.mode = BUF32_WRITE;
    }
    return meets(area, buffer) && make_own(buffer);
}

bool BufferModel::copy(const Operation &operation) {
    const ModelledBuffer *const source = find(operation.buffer);
    ModelledBuffer *const destination = find(operation.other);
    if (source == nullptr || destination == nullptr)
        return false;
    const Area held = intersect(operation.area, {0, 0, source->width, source->height});
    const Area there = moved(held, operation.to - operation.area.corner());
    if (held.is_empty() || !meets(there, *destination))
        return true;
    return source->bits == destination->bits && paste(*destination, there);
}

// Under a lock of its own, which a caller's lock goes before.
bool BufferModel::line(ModelledBuffer &buffer, bool is_writing) {
    if (buffer.locks == 0)
        return false;
    if (is_writing) {
        if (!write_lock(buffer))
            return false;
    } else if (buffer.type == BUF32_ONE_COLOUR) {
        provide_block(buffer); // a pattern's rows are read without one
    }
    buffer.mode = is_writing ? BUF32_WRITE : BUF32_READ;
    return true;
}

bool BufferModel::lock(ModelledBuffer &buffer, int mode) {
    if (is_write_mode(mode)) {
        if (!write_lock(buffer))
            return false;
    } else {
        provide_block(buffer);
    }
    ++buffer.locks;
    buffer.mode = mode;
    return true;
}

bool BufferModel::lock_cell(ModelledBuffer &buffer, int cell) {
    if (cell >= buffer.cell_count())
        return false;
    const bool is_writing = buffer.mode == BUF32_WRITE || buffer.mode == BUF32_WRITE_3;
    if (buffer.is_block())
        provide_block(buffer);
    else if (is_writing && !make_own(buffer))
        return false;
    ++buffer.locks;
    return true;
}

bool BufferModel::resize(ModelledBuffer &buffer, int rows) {
    if ((buffer.type != BUF32_LINEAR_MEMORY && buffer.type != BUF32_LINEAR_SHRINK) || rows < 1 ||
        rows > buffer.capacity_rows || !make_own(buffer))
        return false;
    buffer.height = rows;
    return true;
}

bool BufferModel::apply(const Operation &operation) {
    switch (operation.verb) {
    case Verb::alloc:
        return alloc(operation);
    case Verb::duplicate:
        return duplicate(operation);
    case Verb::copy:
        return copy(operation);
    case Verb::limit_memory:
        memory_limit_ = operation.most;
        return true;
    case Verb::limit_files:
        file_limit_ = operation.most;
        return true;
    default:
        break;
    }
    ModelledBuffer *const buffer = find(operation.buffer);
    return buffer != nullptr && apply_to(*buffer, operation);
}

bool BufferModel::apply_to(ModelledBuffer &buffer, const Operation &operation) {
    switch (operation.verb) {
    case Verb::free:
        return free(buffer);
    case Verb::fill:
        return fill(buffer);
    case Verb::pattern:
        return fill_pattern(buffer, operation.pattern.height);
    case Verb::paste:
        return paste(buffer, operation.area);
    case Verb::read:
        return meets(operation.area, buffer);
    case Verb::line:
        return line(buffer, operation.mode == BUF32_LINE_WRITE);
    case Verb::lock:
        return operation.cell ? lock_cell(buffer, *operation.cell) : lock(buffer, operation.mode);
    case Verb::unlock:
        return std::exchange(buffer.locks, std::max(buffer.locks - 1, 0)) > 0;
    case Verb::resize:
        return resize(buffer, operation.number);
    default:
        return false;
    }
}

} // namespace apps::q32view
