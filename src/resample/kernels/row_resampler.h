// How all methods go from row to row, and over whole images in plain memory: destination rows are
// made of lines, and each source row becomes a line once, however many destination rows read it.
#pragma once

#include "resample/kernels/resample_kernels.h"

#include <climits>
#include <cstring>

namespace q32::resample {

// Of so many neighbours among the rows that a fetch gives all are still there: it says so, once and
// for all or for the source that it has.
template <typename Fetch>
int rows_that_stay(const Fetch &fetch) {
    if constexpr (requires { fetch.rows_that_stay; })
        return fetch.rows_that_stay;
    return 1;
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
                kept_.line[slot] = at;
                at += round_up_to_work_alignment(kernels.line_bytes(columns, samples));
            }
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
        if (kernels_.make_rows != nullptr && rows_that_stay(fetch) > kernels_.lines &&
            share_lines(rows, source_rows))
            return make_rows_of_list(destination, stride, rows, source_rows, fetch);
        for (std::size_t y = 0, next; y < rows.count; y = next) {
            const int row = source_rows.cut(rows.index[y]);
            for (next = y + 1; next < rows.count && source_rows.cut(rows.index[next]) == row;)
                ++next;
            std::uint8_t *first = destination + y * stride;
            if (next == y + 1 && kernels_.straight != nullptr &&
                rows_that_stay(fetch) >= kernels_.lines && !has_line_of(row, source_rows)) {
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
    // Whether there are more rows than their source has.
    static bool share_lines(const Positions &rows, Span source_rows) {
        if (rows.count == 0)
            return false;
        const int first = source_rows.cut(rows.index[0]);
        const int last = source_rows.cut(rows.index[rows.count - 1]);
        return last >= first && std::size_t(last - first) + 1 < rows.count;
    }

    // In turns as many rows as read no more source rows than stay.
    template <typename Fetch>
    bool make_rows_of_list(std::uint8_t *destination, std::size_t stride, const Positions &rows,
                           Span source_rows, const Fetch &fetch) {
        constexpr int most_listed = 32;
        const std::uint8_t *listed[most_listed];
        const int most = std::min(rows_that_stay(fetch), most_listed);
        for (std::size_t y = 0, next; y < rows.count; y = next) {
            Span read = lines_of(rows.index[y], source_rows);
            for (next = y + 1; next < rows.count; ++next) {
                if (rows.index[next] == rows.index[next - 1])
                    continue;
                const Span more = joined(read, lines_of(rows.index[next], source_rows));
                if (more.count > most)
                    break;
                read = more;
            }
            for (int i = 0; i < read.count; ++i)
                if ((listed[i] = fetch(read.first + i)) == nullptr)
                    return false;
            kernels_.make_rows(destination + y * stride, stride, plan_, kept_,
                               {listed, read.first, source_rows}, rows.part(y, next));
        }
        return true;
    }

    // The source rows of the lines of a row.
    Span lines_of(int row_index, Span source_rows) const {
        const int row = source_rows.cut(row_index);
        const int first = source_rows.cut(row + kernels_.first_line);
        const int last = source_rows.cut(row + kernels_.first_line + kernels_.lines - 1);
        return {first, last - first + 1};
    }

    static Span joined(Span a, Span b) {
        const int first = std::min(a.first, b.first);
        return {first, std::max(a.last(), b.last()) - first + 1};
    }

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
            if (kept_.row[slot_of(line)] == line)
                return true;
        }
        return false;
    }

    // Of lines that are destination rows: one that is there already is copied.
    template <typename Fetch>
    bool make_line(std::uint8_t *destination, int row, const Fetch &fetch) {
        if (kept_.row[0] != row) {
            const std::uint8_t *pixels = fetch(row);
            if (pixels == nullptr)
                return false;
            kernels_.across(destination, plan_, pixels);
            kept_.row[0] = row;
        } else if (kept_.line[0] != destination) {
            std::memcpy(destination, kept_.line[0], row_bytes_);
        }
        kept_.line[0] = destination;
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

    template <typename Fetch>
    const void *line_of(int row, const Fetch &fetch) {
        const int slot = slot_of(row);
        if (kept_.row[slot] != row) {
            const std::uint8_t *pixels = fetch(row);
            if (pixels == nullptr)
                return nullptr;
            kernels_.across(kept_.line[slot], plan_, pixels);
            kept_.row[slot] = row;
        }
        return kept_.line[slot];
    }

    int slot_of(int row) const { return KeptLines::slot_of(row, kernels_.lines); }

    const MethodKernels &kernels_;
    std::size_t row_bytes_; // of the destination
    void *plan_;
    KeptLines kept_;
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
    static constexpr int rows_that_stay = INT_MAX;

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
