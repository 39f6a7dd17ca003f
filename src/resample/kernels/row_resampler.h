// How all methods go from row to row, and over whole images in plain memory: destination rows are
// made of lines, and each source row becomes a line once, however many destination rows read it.
#pragma once

#include "resample/kernels/resample_kernels.h"

#include <array>
#include <cstring>

namespace q32::resample {

// Whether of the rows that a fetch gives those that are read together are all still there: it says
// so, once and for all or for the source that it has.
template <typename Fetch>
bool rows_stay(const Fetch &fetch) {
    if constexpr (requires { fetch.rows_stay; })
        return fetch.rows_stay;
    return false;
}

// Keeps the lines of the source rows that were read last, in the caller's work memory. Where lines
// are destination rows, the row made last must still be there when the next is asked for.
class RowResampler {
public:
    // Bytes of work memory, wherever it begins.
    static std::size_t work_bytes(const MethodKernels &kernels, std::size_t columns, int samples) {
        const std::size_t plan_bytes = kernels.plan_bytes(columns, samples);
        if (kernels.down == nullptr)
            return work_alignment + plan_bytes;
        return work_alignment + round_up_to_work_alignment(plan_bytes) +
               lines_bytes(kernels, columns, samples);
    }

    // Those for lines.
    static std::size_t lines_bytes(const MethodKernels &kernels, std::size_t columns, int samples) {
        if (kernels.down == nullptr)
            return 0;
        return std::size_t(kernels.lines) *
               round_up_to_work_alignment(kernels.line_bytes(columns, samples));
    }

    RowResampler(const MethodKernels &kernels, void *work, const Positions &columns,
                 Span source_columns, int samples)
        : RowResampler(kernels, first_aligned(work),
                       static_cast<std::byte *>(first_aligned(work)) +
                           round_up_to_work_alignment(kernels.plan_bytes(columns.count, samples)),
                       columns.count, samples) {
        kernels.make_plan(plan_, columns, source_columns, samples);
    }

    // By a plan that has been made of so many columns, with memory for lines; both are aligned.
    RowResampler(const MethodKernels &kernels, void *plan, void *lines, std::size_t columns,
                 int samples)
        : kernels_(kernels), row_bytes_(columns * std::size_t(samples)), plan_(plan) {
        auto *at = static_cast<std::byte *>(lines);
        if (kernels.down != nullptr)
            for (int slot = 0; slot < kernels.lines; ++slot) {
                line_[slot] = at;
                at += round_up_to_work_alignment(kernels.line_bytes(columns, samples));
            }
        row_in_slot_.fill(no_row);
    }

    // Makes the destination row that lies at a row of the source. fetch(row) gives the pixels of a
    // source row, from the first column at hand on, or null: then there is no row and the answer
    // is false.
    template <typename Fetch>
    bool make_row(std::uint8_t *destination, std::int32_t row_index, std::int32_t row_fraction,
                  Span source_rows, const Fetch &fetch) {
        return make_rows(destination, 0, {&row_index, &row_fraction, 1}, source_rows, fetch);
    }

    // The same for rows one after another, `stride` bytes apart. Those that lie between the same
    // rows of the source are made together.
    template <typename Fetch>
    bool make_rows(std::uint8_t *destination, std::size_t stride, const Positions &rows,
                   Span source_rows, const Fetch &fetch) {
        if (kernels_.down == nullptr) {
            for (std::size_t y = 0; y < rows.count; ++y)
                if (!make_line(destination + y * stride, source_rows.cut(rows.index[y]), fetch))
                    return false;
            return true;
        }
        for (std::size_t y = 0, next; y < rows.count; y = next) {
            const int row = source_rows.cut(rows.index[y]);
            for (next = y + 1; next < rows.count && source_rows.cut(rows.index[next]) == row;)
                ++next;
            std::uint8_t *first = destination + y * stride;
            if (next == y + 1 && kernels_.straight != nullptr && rows_stay(fetch) &&
                !has_line_of(row, source_rows)) {
                const Made made = make_straight(first, row, rows.fraction[y], source_rows, fetch);
                if (made == Made::failed)
                    return false;
                if (made == Made::yes)
                    continue;
            }
            const void *lines[most_lines];
            if (!find_lines(lines, row, source_rows, fetch))
                return false;
            if (kernels_.down_rows != nullptr)
                kernels_.down_rows(first, stride, plan_, lines, rows.fraction + y, next - y);
            else
                for (std::size_t i = 0; i < next - y; ++i)
                    kernels_.down(first + i * stride, plan_, lines, rows.fraction[y + i]);
        }
        return true;
    }

private:
    static constexpr int no_row = -1;

    enum class Made { no, yes, failed };

    // Of a row that lies alone between its rows of the source. No: it is to be made of lines.
    template <typename Fetch>
    Made make_straight(std::uint8_t *destination, int row, std::int32_t row_fraction,
                       Span source_rows, const Fetch &fetch) {
        const std::uint8_t *source_row[most_lines];
        for (int i = 0; i < kernels_.lines; ++i) {
            source_row[i] = fetch(source_rows.cut(row + kernels_.first_line + i));
            if (source_row[i] == nullptr)
                return Made::failed;
        }
        return kernels_.straight(destination, plan_, source_row, row_fraction) ? Made::yes
                                                                               : Made::no;
    }

    // Whether one of the lines of a row is there: the others may serve the next row as well.
    bool has_line_of(int row, Span source_rows) const {
        for (int i = 0; i < kernels_.lines; ++i) {
            const int line = source_rows.cut(row + kernels_.first_line + i);
            if (row_in_slot_[slot_of(line)] == line)
                return true;
        }
        return false;
    }

    // Of lines that are destination rows: one that is there already is copied.
    template <typename Fetch>
    bool make_line(std::uint8_t *destination, int row, const Fetch &fetch) {
        if (row_in_slot_[0] != row) {
            const std::uint8_t *pixels = fetch(row);
            if (pixels == nullptr)
                return false;
            kernels_.across(destination, plan_, pixels);
            row_in_slot_[0] = row;
        } else if (line_[0] != destination) {
            std::memcpy(destination, line_[0], row_bytes_);
        }
        line_[0] = destination;
        return true;
    }

    template <typename Fetch>
    bool find_lines(const void **lines, int row, Span source_rows, const Fetch &fetch) {
        for (int i = 0; i < kernels_.lines; ++i) {
            lines[i] = line_of(source_rows.cut(row + kernels_.first_line + i), fetch);
            if (lines[i] == nullptr)
                return false;
        }
        return true;
    }

    // Rows that are read together are neighbours and have slots of their own.
    template <typename Fetch>
    const void *line_of(int row, const Fetch &fetch) {
        const std::size_t slot = slot_of(row);
        if (row_in_slot_[slot] != row) {
            const std::uint8_t *pixels = fetch(row);
            if (pixels == nullptr)
                return nullptr;
            kernels_.across(line_[slot], plan_, pixels);
            row_in_slot_[slot] = row;
        }
        return line_[slot];
    }

    std::size_t slot_of(int row) const { return unsigned(row) & unsigned(kernels_.lines - 1); }

    const MethodKernels &kernels_;
    std::size_t row_bytes_; // of the destination
    void *plan_;
    void *line_[most_lines];
    std::array<int, most_lines> row_in_slot_;
};

// --- images -------------------------------------------------------------------------------------

// The part of an image that is at hand.
struct SourceImage {
    const std::uint8_t *pixels;
    std::size_t stride; // bytes from row to row
    Span columns;
    Span rows;

    // From the first column at hand on.
    const std::uint8_t *row(int y) const { return pixels + std::size_t(y - rows.first) * stride; }
};

struct DestinationImage {
    std::uint8_t *pixels;
    std::size_t stride;
    Positions columns;
    Positions rows;

    std::uint8_t *row(std::size_t y) const { return pixels + y * stride; }
};

// The rows of an image as RowResampler fetches them.
struct FetchOf {
    static constexpr bool rows_stay = true;

    const SourceImage &source;

    const std::uint8_t *operator()(int row) const { return source.row(row); }
};

// work: RowResampler::work_bytes of the destination's columns.
inline void resample_image(const MethodKernels &kernels, const DestinationImage &destination,
                           const SourceImage &source, int samples, void *work) {
    if (kernels.across_rows != nullptr) {
        void *const plan = first_aligned(work);
        kernels.make_plan(plan, destination.columns, source.columns, samples);
        return kernels.across_rows(destination.pixels, destination.stride, plan,
                                   {source.pixels, source.stride, source.rows},
                                   destination.rows.index, destination.rows.count);
    }
    RowResampler resampler(kernels, work, destination.columns, source.columns, samples);
    resampler.make_rows(destination.pixels, destination.stride, destination.rows, source.rows,
                        FetchOf{source});
}

} // namespace q32::resample
