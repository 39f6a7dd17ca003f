// The decoder is stb's, which has the whole picture in memory.
#include "ink_rows.h"

#include "byte_source.h"
#include "jpeg_markers.h"

#include <climits>
#include <cstring>

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_JPEG
#define STBI_NO_STDIO
#include <stb_image.h>

namespace apps {
namespace {

// Whether the segments before the first scan say so: a frame of four channels, and Adobe's mark
// with the number of no transform.
bool is_plain_inks(const ReadAt &file) {
    using namespace jpeg_marker;
    constexpr size_t head_bytes = 16, transform_at = 15, channels_at = 9;
    bool marked = false, four = false;
    uint8_t head[head_bytes] = {};
    if (file(0, head, 3) != 3 || std::memcmp(head, "\xff\xd8\xff", 3) != 0)
        return false;
    for (uint64_t at = 2; file(at, head, head_bytes) == head_bytes && head[0] == 0xff;) {
        const uint8_t marker = head[1];
        if (marker == scan)
            break;
        if (marker == adobe && std::memcmp(head + 4, "Adobe", 5) == 0)
            marked = head[transform_at] == 0;
        if (marker >= baseline_frame && marker <= last_frame)
            four = head[channels_at] == 4;
        at += 2 + big_endian(head + 2, 2);
    }
    return marked && four;
}

} // namespace

void InkRows::Free::operator()(uint8_t *pixels) const {
    stbi_image_free(pixels);
}

std::unique_ptr<InkRows> InkRows::open(const ReadAt &file) {
    if (!is_plain_inks(file))
        return nullptr;
    const Bytes bytes = read_bytes(file, 0, INT_MAX);
    std::unique_ptr<InkRows> rows(new InkRows);
    int channels = 0;
    rows->pixels_.reset(stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()),
                                              &rows->width_, &rows->height_, &channels, 3));
    rows->bits_ = 24; // as which they are had; none of them is transparent
    rows->next_ = rows->pixels_.get();
    return rows->pixels_ ? std::move(rows) : nullptr;
}

void InkRows::read_rows(int count, uint8_t *pixels) {
    for (size_t left = static_cast<size_t>(width_) * static_cast<size_t>(count); left > 0; --left) {
        *pixels++ = next_[2];
        *pixels++ = next_[1];
        *pixels++ = next_[0];
        next_ += 3;
    }
}

} // namespace apps
