// Headers of packed bitmaps and of BMP files, and the two layouts of a bitmap's rows.
#include "apps/q32tool/bmp_header.h"
#include "buffer/bitmaps.h"
#include "buffer/packed_bitmap.h"
#include "rows/rows.h"
#include "tests/fuzz/input.h"

#include <cstddef>
#include <memory>

namespace q32::fuzz {
namespace {

using namespace q32::buffer;

void read_packed(const Bytes &file) {
    const Block block(file);
    const void *const memory = block.at();
    const auto header = read_packed_header({static_cast<const std::byte *>(memory), block.size()});
    if (!header)
        return;
    check(header->bytes <= block.size(), "a header is longer than its block");
    check(pixel_offset_of_callers_bitmap(*header) >= header->bytes &&
              pixel_offset_of_private_copy(*header) >= header->bytes,
          "pixels lie in the header");
    if (header->bits_per_pixel < 16 || header->bits_per_pixel == 24)
        check(pixel_offset_of_callers_bitmap(*header) == pixel_offset_of_private_copy(*header),
              "the two offsets differ where they agree");
}

void read_file(const Bytes &file) {
    using namespace apps::q32tool;
    if (!is_bmp(file))
        return;
    const BmpHeader header = read_bmp_header(file);
    check(header.table_end() >= bmp_file_header_bytes + header.bytes,
          "a table ends before it begins");
    if (header.width > 0)
        check(header.row_stride() >= header.row_bytes() && header.row_stride() % 4 == 0,
              "rows lie in each other");
    check(!refusal_of(header, file.size()).problem.empty(), "a refusal says nothing");
}

// To the layout of buffers and back all bytes are where they were, but for those that pad rows.
void turn_over(Input &input) {
    constexpr int depths[] = {1, 4, 8, 16, 24, 32, 48};
    const int bits = depths[input.below(std::size(depths))];
    const int width = 1 + int(input.length(400)), height = 1 + int(input.below(20));
    const std::uint32_t row_bytes = packed_bytes(width, bits);
    const Block pixels(input.content(bytes_of_padded_rows(height, row_bytes)));
    const Bytes before = pixels.content();

    const std::size_t record_bytes =
        offsetof(Record, cell_address) + std::size_t(height) * sizeof(void *);
    const std::unique_ptr<void, void (*)(void *)> memory(
        std::calloc(1, std::max(record_bytes, sizeof(Record))), std::free);
    auto &record = *static_cast<Record *>(memory.get());
    record.info.width = width;
    record.info.height = height;
    record.info.bits_per_pixel = bits;
    record.info.bytes_per_pixel = bits / 8;
    record.row_bytes = row_bytes;
    void *const first = pixels.at();
    record.storage = static_cast<std::byte *>(first);
    to_buffer_layout(record);
    to_bitmap_layout(record);
    const Bytes after = pixels.content();
    const std::size_t stride = padded_row_bytes(row_bytes);
    for (std::size_t row = 0; row < std::size_t(height); ++row)
        check(std::memcmp(before.data() + row * stride, after.data() + row * stride, row_bytes) ==
                  0,
              "a bitmap does not come back as it was");
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    q32::chosen_kernels<q32::rows::RowKernels> =
        &q32::rows::row_kernels(q32::best_instruction_set(nullptr));
    Input input(data, size);
    const std::uint8_t kind = input.byte();
    if (kind == 'L') {
        turn_over(input);
        return 0;
    }
    const Bytes file(data, data + size);
    read_packed(file);
    read_file(file);
    return 0;
}
