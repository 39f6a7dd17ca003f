// Buffers that share pixels, beside a plain model of who reads whose: after every step the records,
// the counters, the swap files and all pixels must agree with the model.
#pragma once

#include "tests/sharing/pictures.h"
#include "tests/sharing/write_paths.h"

#include <memory>
#include <vector>

namespace q32::test {

// The node of a record that other records' chains point at.
constexpr uintptr_t node_of(HBUF32 buffer) {
    return uintptr_t(buffer) + field_offset(field_share_marker);
}

// One buffer as it must be.
struct Member {
    Member(HBUF32 buffer, const Geometry &geometry, uint32_t type_in)
        : picture(buffer, geometry), type(type_in), capacity(geometry.height) {}

    Picture picture;
    uint32_t type;
    int64_t capacity; // rows
    // Storage of its own.
    enum Storage { none, memory, file } storage = none;
    uint32_t block = 0; // bytes of a special buffer's block
    // A fill that failed has given up the storage and got no block: there are no pixels.
    bool blank = false;
    Member *source = nullptr;
    std::vector<Member *> sharers;

    HBUF32 handle() const { return picture.buffer; }
    bool is_special() const { return type == BUF32_ONE_COLOUR || type == BUF32_PATTERN; }
    // A linear buffer that was filled and then written is of type 0 and still has one cell: other
    // buffers of type 0 can have its pixels, but not share them.
    bool has_layout_of(const Member &other) const {
        return picture.geometry.cell_width() == other.picture.geometry.cell_width() &&
               picture.geometry.cell_height() == other.picture.geometry.cell_height();
    }
    size_t counted_bytes() const {
        return is_special() ? block : size_t(capacity * picture.geometry.row_bytes());
    }
};

class Family {
public:
    Family();
    // Frees what is left, the newest first.
    ~Family();
    Family(const Family &) = delete;
    Family &operator=(const Family &) = delete;

    // --- steps that must succeed
    Member &allocate(int bits, int width, int height, uint32_t type, Random &random);
    // A special buffer that the test has made; the caller paints its picture.
    Member &add(HBUF32 buffer, const Geometry &geometry, uint32_t type);
    Member &duplicate(Member &source);
    void duplicate_into(Member &source, Member &destination);
    void write(Member &member, const WritePath &path, Random &random);
    void free(Member &member);

    // --- steps whose failure is part of a test
    // The result of the call; the model follows a success.
    bool try_duplicate(Member &source, Member *&made);
    bool try_duplicate_into(Member &source, Member &destination);
    bool try_write(Member &member, const WritePath &path, Random &random);
    bool try_free(Member &member);

    // --- comparison
    // Everything: list, nodes, storage, counters, pixels.
    void check() const;
    // Whatever the model says of sharing and storage, what the records say of it is in order.
    void check_records() const;
    void check_pixels() const;
    // Takes sharing and storage from the records: after a failure buffers may have been separated,
    // or turned into ordinary ones. One without pixels must have got so by a failed fill.
    void adopt_records();
    // Bytes that stay counted because their commitment failed.
    void add_drift(size_t bytes) { drift_ += bytes; }

    Member &operator[](size_t i) const { return *members_[i]; }
    size_t size() const { return members_.size(); }
    const std::vector<std::unique_ptr<Member>> &members() const { return members_; }

private:
    Member::Storage new_storage(const Member &member) const;
    void detach(Member &member);
    void attach(Member &member, Member &source);
    void give_private_pixels(Member &member);
    void prepare_for_writing(Member &member);
    void give_up_pixels(Member &member, WritePath::Outcome fill);
    void check_node(const Member &member) const;
    void check_storage(const Member &member) const;
    Member *member_of(HBUF32 handle) const;

    std::vector<std::unique_ptr<Member>> members_; // in the order of the list
    size_t memory_before_, mapped_before_, drift_ = 0;
    frame::Census before_;
};

} // namespace q32::test
