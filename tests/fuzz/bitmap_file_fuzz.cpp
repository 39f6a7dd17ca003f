// BMP files as the tool takes them apart for the library and puts them together again. The library
// is a stand-in that takes what the real one does, and touches all rows of it.
#include "apps/pictures/exceptions.h"
#include "apps/q32tool/bitmap_file.h"
#include "apps/q32tool/whole_files.h"
#include "buffer/packed_bitmap.h"
#include "tests/fuzz/system/machine.h"

#include <q32comm.h>

#include <sanitizer/allocator_interface.h>

namespace {

HGLOBAL held = nullptr; // by the one buffer

bool is_taken(HGLOBAL bitmap) {
    using namespace q32::buffer;
    const std::span block(static_cast<const std::byte *>(bitmap),
                          __sanitizer_get_allocated_size(bitmap));
    const auto header = read_packed_header(block);
    if (!header || header->width < 1 || header->width > Q32_MAX_SIDE || header->height < 1 ||
        header->height > Q32_MAX_SIDE || header->bits_per_pixel < 1 ||
        header->bits_per_pixel > 64 ||
        (header->compression != compression_none && header->compression != compression_r565))
        return false;
    const auto row_bytes = std::uint32_t((header->width * header->bits_per_pixel + 7) / 8);
    return pixel_offset_of_callers_bitmap(*header) +
               bytes_of_padded_rows(header->height, row_bytes) <=
           block.size();
}

} // namespace

int Q32_CALL buf32DIBBufAlloc(HBUF32 *handle, HGLOBAL bitmap) {
    if (!is_taken(bitmap))
        return 0;
    held = bitmap;
    *handle = 1;
    return 1;
}

int Q32_CALL buf32DIBBufFree(HBUF32, HGLOBAL *bitmap) {
    *bitmap = std::exchange(held, nullptr);
    return 1;
}

int Q32_CALL buf32Free(HBUF32) {
    GlobalFree(std::exchange(held, nullptr));
    return 1;
}

int Q32_CALL buf32GetInfo(HBUF32, BUF32INFO *) {
    return 1;
}

int Q32COMM_CALL c32ClearDLLErrInfo() {
    return 1;
}

namespace apps {

LibraryReport last_report() {
    return {3200, 0, 4, 71, "A value is not valid here."};
}

std::string LibraryReport::numbers() const {
    return "(error 3200)";
}

std::string LibraryReport::see_explanation() const {
    return "q32tool explain 3200";
}

Failure library_failure(const std::string &subject, const std::string &doing,
                        const std::string &remedy) {
    return {subject, doing, remedy};
}

} // namespace apps

std::vector<std::uint8_t> apps::q32tool::read_file(const std::string &path) {
    return q32::fuzz::machine().files[path].content;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    restart_machine();
    const Bytes content = Input(data, size).rest();
    machine().files["bitmap"].content = content;
    try {
        apps::q32tool::BitmapFile file("bitmap");
        check(!file.layout().empty(), "a layout says nothing");
        check(file.close() == content, "a file does not come back as it was");
    } catch (const apps::Failure &failure) {
        check(*failure.what() != '\0', "a failure has no words");
    }
    check_nothing_is_held();
    return 0;
}
