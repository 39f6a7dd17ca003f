// The paths as their rules read, over whole pictures.
#include "tests/resample_buffers/path_model.h"

#include "tests/models/resampling.h"

namespace q32::test::model {

const char *name_of(Path path) {
    switch (path) {
    case Path::bits:
        return "rows of bits";
    case Path::nearest_rows:
        return "nearest rows";
    case Path::bilinear_rows:
        return "bilinear rows";
    case Path::bicubic_rows:
        return "bicubic rows";
    case Path::nearest_cells:
        return "nearest cells";
    case Path::bilinear_cells:
        return "bilinear cells";
    case Path::bicubic_cells:
        return "bicubic cells";
    }
    return "?";
}

Path path_of(const Manner &manner, int bits, bool has_coefficients) {
    const int bytes = bits / 8;
    if (bytes == 0)
        return Path::bits;
    if (!manner.ex)
        return bytes == 2 ? Path::bilinear_rows : Path::bilinear_cells;
    if (manner.row_path != 0)
        return Path::nearest_rows;
    if (bytes == 2) {
        if (manner.method == RESAMPLE_NEAREST)
            return Path::nearest_rows;
        return manner.method == RESAMPLE_BILINEAR ? Path::bilinear_rows : Path::bicubic_rows;
    }
    if (manner.method == RESAMPLE_NEAREST)
        return Path::nearest_cells;
    if (manner.method == RESAMPLE_BILINEAR)
        return Path::bilinear_cells;
    return manner.method == RESAMPLE_BICUBIC || has_coefficients ? Path::bicubic_cells
                                                                 : Path::bilinear_cells;
}

bool cells_take(int source_bits, int destination_bits) {
    return destination_bits == 8 || (destination_bits == 24 && source_bits == 24);
}

namespace {

struct Axes {
    Axis columns, rows;
};

Axes axes(const Geometry &to, const Geometry &from, auto axis) {
    return {axis(int(to.width), int(from.width)), axis(int(to.height), int(from.height))};
}

// --- rows ------------------------------------------------------------------------------------

// A row in the destination: what does not fit is cut off, what is missing is zero.
void set_row(Picture &destination, size_t y, const std::vector<uint8_t> &bytes) {
    uint8_t *const row = destination.image.row(y);
    const size_t room = destination.image.row_bytes();
    std::memset(row, 0, room);
    std::memcpy(row, bytes.data(), std::min(room, bytes.size()));
}

int rows_of(const Picture &destination, int parts) {
    const int height = int(destination.geometry.height);
    return parts == all_parts ? height : std::min(parts, height);
}

// The pixel at the index, or the next one from half way on.
int nearer(const Axis &axis, int i, int64_t side) {
    const int place = axis.index[size_t(i)] + (axis.fraction[size_t(i)] >= 32768 ? 1 : 0);
    return int(std::min<int64_t>(place, side - 1));
}

void resample_bits(const Picture &source, Picture &destination, int parts) {
    const Geometry &from = source.geometry, &to = destination.geometry;
    const auto [columns, rows] = axes(to, from, [](int destination_side, int source_side) {
        return table_axis(destination_side, source_side, Units::of_65536);
    });
    for (int y = 0; y < rows_of(destination, parts); ++y) {
        const uint8_t *const row = source.image.row(size_t(nearer(rows, y, from.height)));
        std::vector<uint8_t> bits(size_t(to.width + 7) / 8);
        for (int x = 0; x < int(to.width); ++x) {
            const int column = nearer(columns, x, from.width);
            // At 2 and 4 bits too it is the byte that holds the pixel, and this bit of it.
            if ((row[column * from.bits / 8] & (0x80 >> column % 8)) != 0)
                bits[size_t(x) / 8] |= uint8_t(0x80 >> x % 8);
        }
        set_row(destination, size_t(y), bits);
    }
}

// Pixels of a row lie one after another, also where 12 or 20 bits leave gaps between cells.
Image packed_rows(const Picture &source) {
    Image image(int(source.geometry.width), int(source.geometry.height),
                size_t(source.geometry.bytes_per_pixel()));
    for (size_t y = 0; y < source.image.rows(); ++y)
        std::memcpy(image.bytes.data() + y * image.row_bytes(), source.image.row(y),
                    image.row_bytes());
    return image;
}

void resample_rows(Path path, const Picture &source, Picture &destination, int parts) {
    const bool words = path != Path::nearest_rows;
    const Method method = path == Path::nearest_rows    ? Method::nearest
                          : path == Path::bilinear_rows ? Method::bilinear
                                                        : Method::bicubic;
    const Units units = path == Path::bicubic_rows ? Units::of_256 : Units::of_65536;
    auto [columns, rows] = axes(destination.geometry, source.geometry,
                                [units](int to, int from) { return table_axis(to, from, units); });
    rows.index.resize(size_t(rows_of(destination, parts)));
    const Image from = packed_rows(source);
    const Image image = words ? narrowed(resampled(method, widened(from), columns, rows))
                              : resampled(method, from, columns, rows);
    for (int y = 0; y < image.height; ++y)
        set_row(destination, size_t(y), Bytes(image.row(y), image.row(y) + image.row_bytes()));
}

// --- cells -----------------------------------------------------------------------------------

Image first_bytes(const Picture &source, size_t bytes) {
    Image image(int(source.geometry.width), int(source.geometry.height), bytes);
    uint8_t *to = image.bytes.data();
    for (size_t y = 0; y < source.image.rows(); ++y)
        for (int64_t x = 0; x < source.geometry.width; ++x, to += bytes)
            std::memcpy(to, source.image.row(y) + source.bit_of(x) / 8, bytes);
    return image;
}

void resample_cells(Path path, const Picture &source, Picture &destination, const Geometry &cells,
                    int parts) {
    const bool nearest = path == Path::nearest_cells;
    auto [columns, rows] =
        axes(destination.geometry, source.geometry, nearest ? nearest_cell_axis : cell_axis);
    if (path == Path::bicubic_cells)
        for (Axis *axis : {&columns, &rows})
            for (int32_t &fraction : axis->fraction)
                fraction >>= 8;
    const Method method = nearest                        ? Method::nearest
                          : path == Path::bilinear_cells ? Method::bilinear
                                                         : Method::bicubic;
    const size_t bytes = destination.geometry.bits == 8 ? 1 : 3;
    const Image image = resampled(method, first_bytes(source, bytes), columns, rows);
    const int64_t count = parts == all_parts ? cells.cell_count() : parts;
    for (int64_t cell = 0; cell < count; ++cell)
        for (int64_t y = 0; y < cells.height_of(cell); ++y) {
            const size_t row = size_t(cells.cell_y(cell) + y);
            const size_t left = size_t(cells.cell_x(cell)) * bytes;
            std::memcpy(destination.image.row(row) + left,
                        image.bytes.data() + row * image.row_bytes() + left,
                        size_t(cells.width_of(cell)) * bytes);
        }
}

} // namespace

void resample(Path path, const Picture &source, Picture &destination, const Geometry &cells,
              int parts) {
    if (path == Path::bits)
        resample_bits(source, destination, parts);
    else if (is_of_cells(path))
        resample_cells(path, source, destination, cells, parts);
    else
        resample_rows(path, source, destination, parts);
}

// --- messages --------------------------------------------------------------------------------

std::vector<Message> messages(Path path, const Geometry &cells, int start, int end) {
    // 32-bit arithmetic, which wraps.
    const auto value = [&](int64_t done, int64_t total) {
        const auto part = int32_t((uint32_t(end) - uint32_t(start)) * uint32_t(done));
        return int32_t(uint32_t(start) + uint32_t(int64_t{part} / total));
    };
    std::vector<Message> result{{RESAMPLE_BEGIN, start}};
    const int64_t total = is_of_cells(path) ? cells.cell_count() : cells.height;
    for (int64_t done = 0; done < total; ++done)
        if (is_of_cells(path) || value(done, total) != result.back().value)
            result.push_back({RESAMPLE_PROGRESS, value(done, total)});
    result.push_back({RESAMPLE_END, end});
    return result;
}

} // namespace q32::test::model
