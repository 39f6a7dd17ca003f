// Frames of plain memory: what a call asks for and whether it can be done, the tables it goes by,
// its rows, and the exports. 5-5-5 rows are widened when they are read, not before: frames are
// streamed, and copies of whole frames would cost more than the resampling.
#include "library/process/address_space.h"
#include "resample/position_tables.h"
#include "resample/wide_rows.h"

#include <q32base/resample.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace q32::resample {
namespace {

// --- frames -------------------------------------------------------------------------------------

constexpr int bits_555 = 16;

bool is_supported(int bits) {
    return bits == 8 || bits == bits_555 || bits == 24 || bits == 32;
}

std::uint64_t padded_row_bytes(Size size, int pixel_bytes) {
    return (std::uint64_t(size.width) * unsigned(pixel_bytes) + 3) / 4 * 4;
}

bool fits_into_memory(Size size, int pixel_bytes) {
    return padded_row_bytes(size, pixel_bytes) * unsigned(size.height) <= last_address;
}

// What a call asks for.
struct Request {
    const void *source;
    Size source_size;
    void *destination;
    Size destination_size;
    int pixel_bytes; // as they are stored, on both sides
    const Method *method;
    const VCRESAMPLE *record; // or null
};

// --- tables -------------------------------------------------------------------------------------

// The tables of the last call without a record.
constinit TableSet kept = {};

// Made anew by each call without a record, also for the same sizes and method. Required: programs
// see the blocks come and go, and a frame that follows its like fail for want of memory.
const TableSet &renew_kept_tables(const Request &request) {
    free_kept_tables();
    const FractionBits bits = request.method->frame_fractions;
    kept = make_tables(request.source_size, request.destination_size, bits, bits);
    return kept;
}

TableSet tables_of(const VCRESAMPLE &record) {
    return {record.column_index, record.column_fraction, record.row_index, record.row_fraction};
}

bool has_what_is_read(const TableSet &set, const Method &method) {
    return set.column_index != nullptr && set.row_index != nullptr &&
           (method.fractions == FractionBits::none ||
            (set.column_fraction != nullptr && set.row_fraction != nullptr));
}

// --- rows ---------------------------------------------------------------------------------------

// No plan and its lines take as much for one column. Rows beyond what then fits into memory are
// not counted in bytes at all: that could overflow.
constexpr std::size_t most_bytes_per_column = 256;
constexpr std::size_t most_columns = MAXSIZE_T / most_bytes_per_column;

GlobalBlock allocate_work(const MethodKernels &kernels, std::size_t columns, int samples,
                          std::uint64_t extra_bytes) {
    if (columns > most_columns)
        return {};
    const std::uint64_t bytes = RowResampler::work_bytes(kernels, columns, samples) + extra_bytes;
    return GlobalBlock(bytes <= MAXSIZE_T ? GlobalAlloc(GMEM_FIXED, SIZE_T(bytes)) : nullptr);
}

GlobalBlock allocate_wide_row(int columns) {
    if (std::size_t(columns) > MAXSIZE_T / wide_pixel_bytes)
        return {};
    return GlobalBlock(GlobalAlloc(GMEM_FIXED, std::size_t(columns) * wide_pixel_bytes));
}

// Positions with fractions of 8 bits out of those of 16.
Positions shortened(const Positions &positions, std::int32_t *fractions) {
    std::transform(positions.fraction, positions.fraction + positions.count, fractions,
                   [](std::int32_t fraction) { return fraction >> 8; });
    return {positions.index, fractions, positions.count};
}

// What a trip through 24 bits does to pixels that stay as they are: bit 15 is lost.
void widen_and_narrow(const DestinationImage &destination, const WideRows &wide) {
    for (std::size_t y = 0; y < destination.rows.count; ++y) {
        rows::kernels().rgb555_to_888(wide.destination, destination.row(y), wide.columns);
        rows::kernels().rgb888_to_555(destination.row(y), wide.destination, wide.columns);
    }
}

// Reports and returns 0 when there is no memory.
int resample_rows(const Request &request, const TableSet &tables, const WideRows *wide) {
    const Method &method = *request.method;
    const MethodKernels &kernels = method.chosen_kernels();
    const Size from = request.source_size, to = request.destination_size;
    const SourceImage source = {static_cast<const std::uint8_t *>(request.source),
                                std::size_t(padded_row_bytes(from, request.pixel_bytes)),
                                {0, from.width},
                                {0, from.height}};
    DestinationImage destination = {static_cast<std::uint8_t *>(request.destination),
                                    std::size_t(padded_row_bytes(to, request.pixel_bytes)),
                                    tables.columns(to), tables.rows(to)};
    const Positions &columns = destination.columns, &rows = destination.rows;
    const bool is_wide = wide != nullptr && method.through_24_bits;
    const int samples = is_wide ? wide_pixel_bytes : request.pixel_bytes;

    // Shortened fractions lie before the kernels' memory.
    const bool is_shortened =
        method.frame_fractions == FractionBits::sixteen && method.fractions == FractionBits::eight;
    const std::size_t fractions = is_shortened ? columns.count + rows.count : 0;
    const GlobalBlock block = allocate_work(kernels, columns.count, samples,
                                            std::uint64_t(fractions) * sizeof(std::int32_t));
    if (!block)
        return fail(site::no_work_rows);
    auto *const fraction = static_cast<std::int32_t *>(block.get());
    void *const work = fraction + fractions;
    if (is_shortened) {
        destination.columns = shortened(columns, fraction);
        destination.rows = shortened(rows, fraction + columns.count);
    }

    if (is_wide) {
        const auto fetch = [&](int row) { return source.row(row); };
        RowResampler resampler(kernels, work, columns, source.columns, samples);
        for (std::size_t y = 0; y < rows.count; ++y)
            wide->make_row(resampler, destination.row(y), rows.index[y], rows.fraction[y],
                           source.rows, fetch);
        return 1;
    }
    resample_image(kernels, destination, source, samples, work);
    if (wide != nullptr)
        widen_and_narrow(destination, *wide);
    return 1;
}

// --- one frame ----------------------------------------------------------------------------------

int resample_by_tables(const Request &request, const WideRows *wide) {
    // Of a record nothing but its tables counts. Required: programs fill in tables of their own
    // and leave the rest as it is.
    const TableSet tables =
        request.record != nullptr ? tables_of(*request.record) : renew_kept_tables(request);
    if (!has_what_is_read(tables, *request.method) || !make_coefficients(*request.method))
        return 0;
    return resample_rows(request, tables, wide);
}

// The header says 24 bits meanwhile.
int resample_through_24_bits(const Request &request, BITMAPINFOHEADER &header) {
    const int source_columns = request.source_size.width, columns = request.destination_size.width;
    const GlobalBlock source_row = allocate_wide_row(source_columns);
    const GlobalBlock row = allocate_wide_row(columns);
    if (!source_row || !row)
        return 0;
    header.biBitCount = 24;
    const ScopeGuard restore([&] { header.biBitCount = bits_555; });
    const WideRows wide = {static_cast<std::uint8_t *>(source_row.get()),
                           static_cast<std::uint8_t *>(row.get()), std::size_t(source_columns),
                           std::size_t(columns)};
    return resample_by_tables(request, &wide);
}

int resample_frame(Request request, BITMAPINFOHEADER &header, bool nearest) {
    if (!is_supported(header.biBitCount))
        return 0;
    // Required: with a record there is nothing to do then, without one it is an error.
    if (request.record != nullptr && request.destination_size.is_empty())
        return 1;
    if (request.source_size.is_empty() || request.destination_size.is_empty()) {
        // Reported by making the tables, which a record has behind it.
        if (request.record == nullptr)
            renew_kept_tables(request);
        return 0;
    }
    if (!fits_into_memory(request.source_size, request.pixel_bytes) ||
        !fits_into_memory(request.destination_size, request.pixel_bytes))
        return 0;

    // Before the flag has its say. Required: with the number of a method that goes through 24 bits
    // it takes bit 15 off 16-bit pixels.
    const bool is_wide = header.biBitCount == bits_555 && request.method->through_24_bits;
    if (nearest)
        request.method = &method_of(RESAMPLE_NEAREST);
    return is_wide ? resample_through_24_bits(request, header)
                   : resample_by_tables(request, nullptr);
}

} // namespace

void free_kept_tables() {
    free_tables(std::exchange(kept, {}));
}

} // namespace q32::resample

// --- exports ------------------------------------------------------------------------------------

using namespace q32::resample;

int Q32_CALL vcResampleInit(VCRESAMPLE *record) {
    if (record == nullptr || record->source == nullptr)
        return 0;
    const FractionBits bits = method_of(record->method).frame_fractions;
    const TableSet set = make_tables({record->source->biWidth, record->source->biHeight},
                                     {record->width, record->height}, bits, bits);
    if (set == TableSet{})
        return 0;
    record->column_index = set.column_index;
    record->column_fraction = set.column_fraction;
    record->row_index = set.row_index;
    record->row_fraction = set.row_fraction;
    return 1;
}

// The fields keep their values. Required: programs may look at them, but not hand them back.
int Q32_CALL vcResampleEnd(VCRESAMPLE *record) {
    if (record != nullptr && record->column_index != nullptr)
        free_tables(tables_of(*record));
    return 1;
}

int Q32_CALL vcResampleEx(int nearest, const void *source, BITMAPINFOHEADER *header,
                          void *destination, int width, int height, int method,
                          VCRESAMPLE *record) {
    if (source == nullptr || header == nullptr || destination == nullptr)
        return 0;
    return resample_frame({.source = source,
                           .source_size = {header->biWidth, header->biHeight},
                           .destination = destination,
                           .destination_size = {width, height},
                           .pixel_bytes = header->biBitCount / 8,
                           .method = &method_of(method),
                           .record = record},
                          *header, nearest == 1);
}

int Q32_CALL vcResample(int nearest, const void *source, BITMAPINFOHEADER *header,
                        void *destination, int width, int height, int method) {
    return vcResampleEx(nearest, source, header, destination, width, height, method, nullptr);
}
