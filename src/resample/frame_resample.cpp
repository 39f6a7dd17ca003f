// Frames of plain memory: what a call asks for and whether it can be done, the tables it goes by,
// and the exports. The pixels are frame_rows's part.
#include "resample/frame_rows.h"
#include "resample/position_tables.h"

#include <q32base/resample.h>

#include <cstdint>
#include <utility>

namespace q32::resample {
namespace {

// --- frames -------------------------------------------------------------------------------------

constexpr int bits_555 = 16;

bool is_supported(int bits) {
    return bits == 8 || bits == bits_555 || bits == 24 || bits == 32;
}

bool has_pixels(SIZE size) {
    return size.cx >= 1 && size.cy >= 1;
}

std::uint64_t padded_row_bytes(SIZE size, int pixel_bytes) {
    return (std::uint64_t(size.cx) * unsigned(pixel_bytes) + 3) / 4 * 4;
}

bool fits_into_memory(SIZE size, int pixel_bytes) {
    return padded_row_bytes(size, pixel_bytes) * unsigned(size.cy) <= MAXSIZE_T;
}

// What a call asks for.
struct Request {
    const void *source;
    SIZE source_size;
    void *destination;
    SIZE destination_size;
    int pixel_bytes;
    const Method *method;
    const VCRESAMPLE *record; // or null
};

// Says 24 bits in a frame's header for the time of a scope.
class SaysTrueColour {
public:
    explicit SaysTrueColour(BITMAPINFOHEADER &header) : header_(header) { header.biBitCount = 24; }
    SaysTrueColour(const SaysTrueColour &) = delete;
    SaysTrueColour &operator=(const SaysTrueColour &) = delete;
    ~SaysTrueColour() { header_.biBitCount = bits_555; }

private:
    BITMAPINFOHEADER &header_;
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

// --- one frame ----------------------------------------------------------------------------------

Frame frame_of(const Request &request, const TableSet &tables, const WideRows *wide_rows) {
    const SIZE from = request.source_size, to = request.destination_size;
    return {
        .destination = {static_cast<std::uint8_t *>(request.destination),
                        std::size_t(padded_row_bytes(to, request.pixel_bytes)),
                        {tables.column_index, tables.column_fraction, std::size_t(to.cx)},
                        {tables.row_index, tables.row_fraction, std::size_t(to.cy)}},
        .source = {static_cast<const std::uint8_t *>(request.source),
                   std::size_t(padded_row_bytes(from, request.pixel_bytes)),
                   {0, int(from.cx)},
                   {0, int(from.cy)}},
        .pixel_bytes = request.pixel_bytes,
        .wide_rows = wide_rows,
    };
}

int run(const Request &request, const WideRows *wide_rows) {
    // Of a record nothing but its tables counts. Required: programs fill in tables of their own
    // and leave the rest as it is.
    const TableSet tables =
        request.record != nullptr ? tables_of(*request.record) : renew_kept_tables(request);
    if (!has_what_is_read(tables, *request.method) || !make_coefficients(*request.method))
        return 0;
    return resample_frame_rows(frame_of(request, tables, wide_rows), *request.method);
}

int run_through_24_bits(const Request &request, BITMAPINFOHEADER &header) {
    WideRows wide_rows;
    if (!wide_rows.allocate(request.source_size.cx, request.destination_size.cx))
        return 0;
    const SaysTrueColour scope(header);
    return run(request, &wide_rows);
}

int resample_frame(Request request, BITMAPINFOHEADER &header, bool nearest) {
    if (!is_supported(header.biBitCount))
        return 0;
    // Required: with a record there is nothing to do then, without one it is an error.
    if (request.record != nullptr && !has_pixels(request.destination_size))
        return 1;
    if (!has_pixels(request.source_size) || !has_pixels(request.destination_size)) {
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
    return is_wide ? run_through_24_bits(request, header) : run(request, nullptr);
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
