// What each operation does to buffers, by the rules, and whether it can be done.
#include "buffer_model.h"

#include <algorithm>
#include <utility>

namespace apps::q32view {
namespace {

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
        existing->pattern_height = source->pattern_height;
        if (existing->block_bytes != existing->block_size())
            existing->block_bytes = 0;
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
