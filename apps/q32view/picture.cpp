// Rows on their way from a file into a buffer.
#include "picture.h"

#include "apps/pictures/edition.h"
#include "apps/pictures/files.h"
#include "apps/pictures/picture_reader.h"

#include <q32base/errors.h>
#include <q32base/rows.h>

#include <algorithm>
#include <vector>

namespace apps::q32view {
namespace {

constexpr size_t band_bytes = 1 << 20;

Buffer buffer_of(Size size, const std::string &named) {
    HBUF32 handle = 0;
    if (!buf32Alloc(&handle, 24, size.width, size.height, BUF32_TILED, nullptr))
        throw library_failure(named, "no buffer for the picture",
                              last_report().message == Q32_MSG_NO_MEMORY ? room_remedy : "");
    return Buffer(handle);
}

} // namespace

Picture load_picture(const std::string &path, StatusBar &status) {
    const std::string name = path.substr(file_name_begin(path));
    LongWork work(status, "reading " + name);
    PictureReader reader(path);
    const int width = reader.width(), height = reader.height();
    Picture picture = {
        buffer_of(reader.size(), name), reader.size(), path, name, reader.format(), reader.bits()};
    const size_t row_bytes = static_cast<size_t>(width) * 3;
    const int band_rows = std::clamp(static_cast<int>(band_bytes / row_bytes), 1, height);
    std::vector<uint8_t> band(row_bytes * static_cast<size_t>(band_rows));
    const BufferLock lock = lock_buffer(picture.buffer.get(), BUF32_OVERWRITE, name);
    for (int first = 0; first < height; first += band_rows) {
        const int count = std::min(band_rows, height - first);
        reader.read_rows(RowFormat::bgr, first, count, band.data());
        RGBToBGR(band.data(), band.data(), width * count);
        for (int i = 0; i < count; ++i)
            if (!buf32Line(picture.buffer.get(), first + i, BUF32_LINE_WRITE,
                           band.data() + row_bytes * static_cast<size_t>(i)))
                throw library_failure(name,
                                      "row " + std::to_string(first + i) + " cannot be stored");
        work.go_on(first + count, height);
    }
    return picture;
}

} // namespace apps::q32view
