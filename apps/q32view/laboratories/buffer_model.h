// What the documented rules say of buffers and their pixels: where they live, and what the library
// counts. It calls nothing of the library, whose counters are held against it.
#pragma once

#include "buffer_script.h"

#include <string>
#include <vector>

namespace apps::q32view {

enum class Place { nowhere, memory, swap_file, one_colour, pattern };

struct ModelledBuffer {
    std::string name;
    uint32_t type = 0;
    int bits = 0;
    int width = 0, height = 0;
    int capacity_rows = 0;
    bool is_linear = false;         // one cell of the whole image, for good
    Place storage = Place::nowhere; // memory or swap file, of its own
    size_t storage_bytes = 0;
    size_t block_bytes = 0; // one colour, pattern: what stands for all cells once it is needed
    int pattern_height = 0;
    std::string source; // whose pixels it reads; empty: its own
    int joined = 0;     // a source's sharers come in this order
    int locks = 0;
    int mode = 0; // of the last lock of the whole

    bool is_block() const { return type == BUF32_ONE_COLOUR || type == BUF32_PATTERN; }
    size_t row_bytes() const;
    size_t reserved_bytes() const;
    size_t cell_bytes() const;
    size_t block_size() const; // of one colour and of patterns
    int cell_count() const;
};

class BufferModel {
public:
    // Whether the rules let it succeed. What fails changes nothing but what the rules say.
    bool apply(const Operation &operation);

    // As buf32GetVMDataExt counts them.
    size_t memory_bytes() const;
    size_t file_bytes() const;

    const std::vector<ModelledBuffer> &buffers() const { return buffers_; }
    const ModelledBuffer *find(const std::string &name) const;
    // Where the pixels lie that a buffer reads.
    Place place_of(const ModelledBuffer &buffer) const;
    // Whether others read them, too.
    bool is_shared(const ModelledBuffer &buffer) const;

private:
    ModelledBuffer *find(const std::string &name);
    ModelledBuffer *first_sharer(const std::string &source);

    bool apply_to(ModelledBuffer &buffer, const Operation &operation);
    bool alloc(const Operation &operation);
    bool free(ModelledBuffer &buffer);
    bool duplicate(const Operation &operation);
    bool fill(ModelledBuffer &buffer);
    bool fill_pattern(ModelledBuffer &buffer, int height);
    bool paste(ModelledBuffer &buffer, const Area &area);
    bool copy(const Operation &operation);
    bool line(ModelledBuffer &buffer, bool is_writing);
    bool lock(ModelledBuffer &buffer, int mode);
    bool lock_cell(ModelledBuffer &buffer, int cell);
    bool resize(ModelledBuffer &buffer, int rows);

    // What needs storage gets it in memory or in a swap file, or not at all.
    bool give_storage(ModelledBuffer &buffer) const;
    // Before pixels are written: they become the buffer's own, and nobody else's.
    bool make_own(ModelledBuffer &buffer);
    bool make_ordinary(ModelledBuffer &buffer);
    bool write_lock(ModelledBuffer &buffer);
    void make_heir(ModelledBuffer &heir, const std::string &source);
    void provide_block(ModelledBuffer &buffer) const;
    void become_block(ModelledBuffer &buffer, uint32_t type) const;

    std::vector<ModelledBuffer> buffers_;
    std::optional<size_t> memory_limit_, file_limit_;
    int joins_ = 0;
};

} // namespace apps::q32view
