// Walks through the structure of PNG, JPEG, GIF, BMP and TIFF files without decoding a pixel.
#include "picture_check.h"

#include "files.h"
#include "wic.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace apps {
namespace {

using namespace std::string_view_literals;

// Thrown where a file ends before its structure does.
struct EndOfFile {};

// A file read byte by byte through a block of its own.
class ByteReader {
public:
    ByteReader(const std::wstring &path, const std::string &named)
        : file_(open_file(path, GENERIC_READ, OPEN_EXISTING)) {
        LARGE_INTEGER size = {};
        if (!file_)
            throw Failure(named, system_words(GetLastError()));
        if (GetFileSizeEx(file_.get(), &size))
            size_ = static_cast<uint64_t>(size.QuadPart);
    }

    uint64_t size() const { return size_; }

    uint8_t next() {
        if (at_ == filled_)
            refill();
        return block_[at_++];
    }
    uint32_t big_endian(int bytes) {
        uint32_t value = 0;
        for (int i = 0; i < bytes; ++i)
            value = value << 8 | next();
        return value;
    }
    uint32_t little_endian(int bytes) {
        uint32_t value = 0;
        for (int i = 0; i < bytes; ++i)
            value |= static_cast<uint32_t>(next()) << (8 * i);
        return value;
    }
    void skip(uint64_t count) { move_to(block_start_ + at_ + count); }
    void move_to(uint64_t position) {
        if (position >= block_start_ && position - block_start_ <= filled_) {
            at_ = static_cast<DWORD>(position - block_start_);
            return;
        }
        if (position > size_)
            throw EndOfFile();
        LARGE_INTEGER target;
        target.QuadPart = static_cast<LONGLONG>(position);
        SetFilePointerEx(file_.get(), target, nullptr, FILE_BEGIN);
        block_start_ = position;
        at_ = filled_ = 0;
    }

private:
    void refill() {
        block_start_ += filled_;
        at_ = filled_ = 0;
        if (!ReadFile(file_.get(), block_.data(), static_cast<DWORD>(block_.size()), &filled_,
                      nullptr) ||
            filled_ == 0)
            throw EndOfFile();
    }

    OpenFile file_;
    uint64_t size_ = 0;
    uint64_t block_start_ = 0;
    std::array<uint8_t, 0x10000> block_;
    DWORD at_ = 0;
    DWORD filled_ = 0;
};

// Chunks: length, four letters, data, checksum.
void walk_png(ByteReader &file) {
    constexpr uint32_t iend = 0x49454e44;
    file.move_to(8);
    for (uint32_t type = 0; type != iend;) {
        const uint64_t length = file.big_endian(4);
        type = file.big_endian(4);
        file.skip(length + 4);
    }
}

// Segments up to the end-of-image marker, with coded data after each scan header.
void walk_jpeg(ByteReader &file) {
    constexpr uint8_t restart_first = 0xd0, restart_last = 0xd7, end_of_image = 0xd9;
    file.move_to(2);
    for (;;) {
        // Coded data escapes 0xff as ff 00; restart markers belong to it; ff may be repeated.
        uint8_t marker = 0;
        do {
            while (file.next() != 0xff) {
            }
            do
                marker = file.next();
            while (marker == 0xff);
        } while (marker == 0 || marker == 1 || (marker >= restart_first && marker <= restart_last));
        if (marker == end_of_image)
            return;
        const uint32_t length = file.big_endian(2);
        file.skip(std::max(length, 2u) - 2);
    }
}

void skip_gif_blocks(ByteReader &file) {
    while (const uint8_t length = file.next())
        file.skip(length);
}

uint64_t gif_colours_bytes(uint8_t flags) {
    return (flags & 0x80) ? 3u << ((flags & 7) + 1) : 0;
}

// Extensions up to the first image, and that image's data.
void walk_gif(ByteReader &file) {
    constexpr uint8_t extension = 0x21, image = 0x2c;
    file.move_to(10);
    const uint8_t screen_flags = file.next();
    file.skip(2 + gif_colours_bytes(screen_flags));
    for (;;) {
        const uint8_t kind = file.next();
        if (kind == extension) {
            file.skip(1);
            skip_gif_blocks(file);
        } else if (kind == image) {
            file.skip(8);
            file.skip(gif_colours_bytes(file.next()) + 1);
            skip_gif_blocks(file);
            return;
        } else {
            return; // no image: the decoder's business
        }
    }
}

// The pixels' offset and, for uncompressed pictures, rows padded to four bytes.
void walk_bmp(ByteReader &file) {
    constexpr uint32_t uncompressed = 0, bit_fields = 3;
    file.move_to(10);
    const uint64_t offset = file.little_endian(4);
    uint64_t bytes = 0;
    if (const uint32_t header = file.little_endian(4); header >= 40) {
        const uint64_t width = file.little_endian(4);
        const int64_t height = static_cast<int32_t>(file.little_endian(4));
        file.skip(2);
        const uint64_t bits = file.little_endian(2);
        const uint32_t compression = file.little_endian(4);
        const uint32_t stated = file.little_endian(4);
        if (compression == uncompressed || compression == bit_fields)
            bytes =
                (width * bits + 31) / 32 * 4 * static_cast<uint64_t>(height < 0 ? -height : height);
        else
            bytes = stated;
    }
    if (offset + bytes > file.size())
        throw EndOfFile();
}

class TiffWalk {
public:
    TiffWalk(ByteReader &file, bool big_endian) : file_(file), big_endian_(big_endian) {}

    // Every strip or tile of the first picture must lie inside the file.
    void check() {
        constexpr uint32_t classic = 42, strip_offsets = 273, strip_bytes = 279, tile_offsets = 324,
                           tile_bytes = 325;
        file_.move_to(2);
        if (number(2) != classic)
            return;
        std::vector<uint32_t> offsets, sizes;
        const uint64_t directory = number(4);
        file_.move_to(directory);
        const uint32_t entries = number(2);
        for (uint32_t i = 0; i < entries; ++i) {
            file_.move_to(directory + 2 + i * 12);
            const uint32_t tag = number(2);
            if (tag == strip_offsets || tag == tile_offsets)
                offsets = values();
            if (tag == strip_bytes || tag == tile_bytes)
                sizes = values();
        }
        for (size_t i = 0; i < std::min(offsets.size(), sizes.size()); ++i)
            if (uint64_t{offsets[i]} + sizes[i] > file_.size())
                throw EndOfFile();
    }

private:
    uint32_t number(int bytes) {
        return big_endian_ ? file_.big_endian(bytes) : file_.little_endian(bytes);
    }
    // Of the entry whose tag was read last. Values that fit into four bytes lie in the entry.
    std::vector<uint32_t> values() {
        constexpr uint32_t short_type = 3;
        const int bytes = number(2) == short_type ? 2 : 4;
        const uint64_t count = number(4);
        if (count * static_cast<uint64_t>(bytes) > file_.size())
            throw EndOfFile();
        if (count * static_cast<uint64_t>(bytes) > 4)
            file_.move_to(number(4));
        std::vector<uint32_t> all(static_cast<size_t>(count));
        for (uint32_t &value : all)
            value = number(bytes);
        return all;
    }

    ByteReader &file_;
    bool big_endian_;
};

void walk_tiff_little_endian(ByteReader &file) {
    TiffWalk(file, false).check();
}

void walk_tiff_big_endian(ByteReader &file) {
    TiffWalk(file, true).check();
}

struct Format {
    std::string_view signature;
    void (*walk)(ByteReader &);
};

constexpr Format formats[] = {
    {"\x89PNG\r\n\x1a\n", walk_png},
    {"\xff\xd8\xff", walk_jpeg},
    {"GIF8", walk_gif},
    {"BM", walk_bmp},
    {"II*\0"sv, walk_tiff_little_endian},
    {"MM\0*"sv, walk_tiff_big_endian},
};

} // namespace

Completeness check_completeness(const std::wstring &path, const std::string &named) {
    ByteReader file(path, named);
    std::string start;
    try {
        while (start.size() < 8)
            start.push_back(static_cast<char>(file.next()));
    } catch (const EndOfFile &) {
        // Shorter than any signature: the decoder will not know it.
    }
    try {
        for (const Format &format : formats)
            if (start.starts_with(format.signature))
                format.walk(file);
    } catch (const EndOfFile &) {
        return Completeness::cut_off;
    }
    return Completeness::complete;
}

} // namespace apps
