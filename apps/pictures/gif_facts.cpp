// GIF files: blocks up to the end, of which images count and comments are joined.
#include "byte_source.h"
#include "format_facts.h"

#include <algorithm>

namespace apps {
namespace {

uint64_t colour_table_bytes(uint8_t flags) {
    return (flags & 0x80) ? uint64_t{3} << ((flags & 7) + 1) : 0;
}

class GifWalk {
public:
    explicit GifWalk(const ReadAt &file) : file_(file) {}

    FileFacts facts() {
        constexpr uint8_t extension = 0x21, image = 0x2c, comment = 0xfe;
        found_.pictures = 0;
        const Bytes screen = take(13);
        if (screen.size() == 13)
            at_ += colour_table_bytes(screen[10]);
        for (Bytes kind = take(1); !kind.empty(); kind = take(1)) {
            if (kind[0] == extension) {
                const Bytes what = take(1);
                take_blocks(!what.empty() && what[0] == comment);
            } else if (kind[0] == image) {
                const Bytes place = take(9);
                if (place.size() < 9)
                    break;
                ++found_.pictures;
                at_ += colour_table_bytes(place[8]) + 1;
                take_blocks(false);
            } else {
                break;
            }
        }
        found_.pictures = std::max(found_.pictures, 1);
        found_.facts.comment = text_from(comment_);
        return found_;
    }

private:
    Bytes take(uint64_t count) {
        Bytes bytes = read_bytes(file_, at_, count);
        at_ += bytes.size();
        return bytes;
    }
    // Blocks behind their lengths, up to one of length 0.
    void take_blocks(bool is_comment) {
        uint8_t length = 0;
        while (file_(at_, &length, 1) == 1) {
            ++at_;
            if (length == 0)
                return;
            if (is_comment && comment_.size() < most_comment_bytes)
                put(comment_, read_bytes(file_, at_, length));
            at_ += length;
        }
    }

    const ReadAt &file_;
    uint64_t at_ = 0;
    Bytes comment_;
    FileFacts found_;
};

} // namespace

FileFacts gif_facts(const ReadAt &file) {
    return GifWalk(file).facts();
}

} // namespace apps
