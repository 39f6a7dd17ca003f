// Nearest neighbour out of cells: bytes of the destination come out of windows of the source row as
// in nearest_windows.h, but each window lies where it is needed, in whichever cell. A stripe of
// many rows, as wide as a line of the cache or two, is made before the next one is begun: what it
// chooses stays in registers, and what has been made is stored in all rows that are alike.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/nearest_moves.h"

#include <array>
#include <utility>

namespace q32::resample {
namespace {

// --- the plan -----------------------------------------------------------------------------------

// Followed by the places, where they begin, the windows of each stripe and their choices.
struct CellPlan {
    using MakeRows = void(uint8_t *destination, size_t stride, const CellPlan &plan,
                          const AlikeRows *rows, size_t count);

    // In the row of a cell: of a window, or of a pixel that is moved.
    struct Place {
        std::uint32_t cell, offset;
    };

    MakeRows *make_rows;
    size_t columns;
    size_t row_bytes; // of a destination row
    int pixel_bytes;
    size_t cell_stride; // for which it is known where the places begin
    size_t places;
    Place *place;
    size_t *starts;
    uint8_t *windows; // of each stripe, how many
    uint8_t *choices;

    void begin_at(size_t stride) {
        if (stride == cell_stride)
            return;
        for (size_t i = 0; i < places; ++i)
            starts[i] = place[i].cell * stride + place[i].offset;
        cell_stride = stride;
    }
};

// A line of the cache.
constexpr size_t widest_of_many_windows = 64;

// Columns of bytes that are made together: some vectors beside each other. Each lane has windows of
// its own, or each vector where bytes are chosen across lanes.
template <class Vector, size_t vectors>
struct Stripe {
    using V = Vector;
    static constexpr size_t bytes = vectors * sizeof(V);
    static constexpr size_t window_bytes = lane_bytes;
    static constexpr size_t starts = vectors * lanes<V>; // for each of its windows
    // Those of many windows are narrow: only few of their choices stay in registers.
    static constexpr size_t most = bytes > widest_of_many_windows ? 4 : 12;

    // A window takes about as long as a pixel that is moved.
    static constexpr size_t that_pay(int pixel_bytes) {
        return pixel_bytes == 1 ? most : std::max<size_t>(most / 2 / unsigned(pixel_bytes), 1);
    }
    static constexpr size_t choice_bytes(size_t windows) { return windows * bytes; }

    template <size_t windows>
    struct Taken {
        size_t start[windows * starts];
        V choice[windows * vectors];

        Taken(const size_t *first_start, const uint8_t *first_choice) {
            std::copy_n(first_start, windows * starts, start);
            for (size_t i = 0; i < windows * vectors; ++i)
                choice[i] = load<V>(first_choice + i * sizeof(V));
        }
        [[gnu::always_inline]] V window(const uint8_t *row, size_t window, size_t vector) const {
            const size_t *const from = start + window * starts + vector * lanes<V>;
            const V &chosen = choice[window * vectors + vector];
            const V16 first = load_16(row + from[0]);
            if constexpr (lanes<V> == 1)
                return shuffle_u8(first, chosen);
            else
                return shuffle_u8(join_lanes<V>(first, load_16(row + from[1])), chosen);
        }
        [[gnu::always_inline]] V of(const uint8_t *row, size_t vector) const {
            V taken = window(row, 0, vector);
            for (size_t i = 1; i < windows; ++i)
                taken = taken | window(row, i, vector);
            return taken;
        }
    };
};

#ifdef __AVX512VBMI__
// The choices are a byte for each byte of the vector, and for each window the bits of those bytes
// that lie in it.
template <>
struct Stripe<V64, 1> {
    using V = V64;
    static constexpr size_t bytes = sizeof(V);
    static constexpr size_t window_bytes = sizeof(V);
    static constexpr size_t starts = 1;
    static constexpr size_t most = 12;

    static constexpr size_t that_pay(int) { return most; }
    static constexpr size_t choice_bytes(size_t windows) {
        return sizeof(V) + round_up_to_work_alignment(windows * sizeof(__mmask64));
    }

    template <size_t windows>
    struct Taken {
        size_t start[windows];
        __mmask64 mask[windows];
        V choice;

        Taken(const size_t *first_start, const uint8_t *first_choice)
            : choice(load<V>(first_choice)) {
            std::copy_n(first_start, windows, start);
            std::memcpy(mask, first_choice + sizeof(V), sizeof mask);
        }
        [[gnu::always_inline]] V of(const uint8_t *row, size_t) const {
            V taken = permute_u8(load<V>(row + start[0]), choice);
            for (size_t i = 1; i < windows; ++i)
                taken =
                    _mm512_mask_permutexvar_epi8(taken, mask[i], choice, load<V>(row + start[i]));
            return taken;
        }
    };
};
#endif

// The last one ends with the row, and makes bytes of the one before it again.
template <class S>
constexpr size_t stripes_of(size_t row_bytes) {
    return (row_bytes + S::bytes - 1) / S::bytes;
}
template <class S>
size_t begin_of_stripe(size_t stripe, size_t row_bytes) {
    return std::min(stripe * S::bytes, row_bytes - S::bytes);
}

// What lies behind the plan: so many places, stripes and bytes of choices.
struct CellPlanParts {
    size_t places, stripes, choices;

    size_t bytes() const {
        return sizeof(CellPlan) + places * (sizeof(CellPlan::Place) + sizeof(size_t)) + stripes +
               work_alignment + choices;
    }
    void lay_out(CellPlan &plan) const {
        plan.place = reinterpret_cast<CellPlan::Place *>(&plan + 1);
        plan.starts = reinterpret_cast<size_t *>(plan.place + places);
        plan.windows = reinterpret_cast<uint8_t *>(plan.starts + places);
        plan.choices = static_cast<uint8_t *>(first_aligned(plan.windows + stripes));
    }
};

template <class S>
CellPlanParts parts_of_stripes(size_t row_bytes, int pixel_bytes) {
    const size_t stripes = stripes_of<S>(row_bytes), most = S::that_pay(pixel_bytes);
    return {stripes * most * S::starts, stripes, stripes * S::choice_bytes(most)};
}

inline CellPlanParts parts_of_moves(size_t columns) {
    return {columns, 0, 0};
}

// --- places -------------------------------------------------------------------------------------

// Where the bytes of a destination row come from, one after another from any of them on.
class CellBytes {
public:
    CellBytes(const std::int32_t *indices, size_t cell_pixels, int pixel_bytes, size_t byte)
        : next_(indices + byte / unsigned(pixel_bytes)), cell_pixels_(std::uint32_t(cell_pixels)),
          pixel_bytes_(std::uint32_t(pixel_bytes)),
          byte_(std::uint32_t(byte % unsigned(pixel_bytes))), behind_first_(0) {
        turn_to(std::uint32_t(*next_++));
    }

    CellPlan::Place here() const { return {cell_, offset_ + byte_}; }
    void go_on() { // not behind the last
        if (++byte_ != pixel_bytes_)
            return;
        byte_ = 0;
        turn_to(std::uint32_t(*next_++));
    }

private:
    void turn_to(std::uint32_t pixel) {
        if (pixel - first_ >= behind_first_) {
            cell_ = pixel / cell_pixels_;
            first_ = cell_ * cell_pixels_;
            behind_first_ = cell_pixels_;
        }
        offset_ = (pixel - first_) * pixel_bytes_;
    }

    const std::int32_t *next_;
    const std::uint32_t cell_pixels_, pixel_bytes_;
    std::uint32_t byte_, cell_ = 0, offset_ = 0;
    std::uint32_t first_ = 0, behind_first_; // pixels of the cell
};

// --- windows ------------------------------------------------------------------------------------

// The windows out of which some bytes of the destination come, each from the first byte on that the
// one before it does not have; and of each byte, which one and where in it.
template <size_t bytes, size_t most>
struct WindowsOfBytes {
    size_t count = 0;
    CellPlan::Place place[most];
    alignas(bytes) uint8_t window[bytes];
    alignas(bytes) uint8_t byte[bytes];

    // False: they would be more than pay.
    bool find(const std::int32_t *indices, size_t cell_pixels, int pixel_bytes, size_t begin,
              size_t that_pay) {
        const auto furthest =
            std::uint32_t(cell_pixels * unsigned(pixel_bytes)) - std::uint32_t(bytes);
        CellBytes from(indices, cell_pixels, pixel_bytes, begin);
        CellPlan::Place last = {0, 0};
        for (size_t i = 0;; from.go_on()) {
            const CellPlan::Place here = from.here();
            if (count == 0 || here.cell != last.cell || here.offset - last.offset >= bytes) {
                if (count == that_pay)
                    return false;
                last = place[count++] = {here.cell, std::min(here.offset, furthest)};
            }
            window[i] = uint8_t(count - 1);
            byte[i] = uint8_t(here.offset - last.offset);
            if (++i == bytes)
                return true;
        }
    }
};
template <class S>
using WindowsOf = WindowsOfBytes<S::window_bytes, S::most>;

// Shuffles: for each window those of all lanes.
template <class S>
void write_choices(uint8_t *choices, const WindowsOf<S> *found, size_t windows) {
#ifdef __AVX512VBMI__
    if constexpr (S::window_bytes == sizeof(V64)) {
        store(choices, load<V64>(found->byte));
        for (size_t i = 0; i < windows; ++i) {
            const __mmask64 mask =
                _mm512_cmpeq_epi8_mask(load<V64>(found->window), repeat_u8<V64>(int(i)));
            std::memcpy(choices + sizeof(V64) + i * sizeof mask, &mask, sizeof mask);
        }
        return;
    } else
#endif
        for (size_t i = 0; i < windows; ++i)
            for (size_t k = 0; k < S::starts; ++k, choices += lane_bytes) {
                const V16 here = equal_u8(load_16(found[k].window), repeat_u8<V16>(int(i)));
                store_16(choices, load_16(found[k].byte) | without(here, repeat_u8<V16>(nothing)));
            }
}

// --- rows ---------------------------------------------------------------------------------------

template <class S, size_t windows>
void take_stripe(uint8_t *to, size_t stride, const size_t *starts, const uint8_t *choices,
                 const AlikeRows *rows, size_t count) {
    using V = typename S::V;
    constexpr size_t vectors = S::bytes / sizeof(V);
    const typename S::template Taken<windows> taken(starts, choices);
    for (const AlikeRows *const end = rows + count; rows != end; ++rows) {
        V made[vectors];
        for (size_t i = 0; i < vectors; ++i)
            made[i] = taken.of(rows->source, i);
        for (size_t alike = rows->count; alike != 0; --alike, to += stride)
            for (size_t i = 0; i < vectors; ++i)
                store(to + i * sizeof(V), made[i]);
    }
}

// By the number of windows.
template <class S>
constexpr auto take_stripe_by = []<size_t... less_one>(std::index_sequence<less_one...>) {
    return std::array<decltype(&take_stripe<S, 1>), S::most + 1>{nullptr,
                                                                 take_stripe<S, less_one + 1>...};
}
(std::make_index_sequence<S::most>());

// Where rows repeat, more is written than read: all stripes of some rows are made before the next
// rows, so that what is written lies together.
constexpr size_t repeated_rows_of_stripes = 16;

// How many times rows that are alike make so many, or all that there are.
inline size_t times_for_stripes(const AlikeRows *rows, size_t count) {
    size_t times = 0;
    for (size_t repeated = 0; times < count && repeated < repeated_rows_of_stripes; ++times)
        repeated += rows[times].count - 1;
    return times;
}

template <class S>
void take_out_of_cells(uint8_t *destination, size_t stride, const CellPlan &plan,
                       const AlikeRows *rows, size_t count) {
    const auto &take = take_stripe_by<S>;
    const size_t stripes = stripes_of<S>(plan.row_bytes);
    for (size_t times; count != 0; count -= times, rows += times) {
        times = times_for_stripes(rows, count);
        const size_t *starts = plan.starts;
        const uint8_t *choices = plan.choices;
        for (size_t i = 0; i < stripes; ++i) {
            const size_t windows = plan.windows[i];
            take[windows](destination + begin_of_stripe<S>(i, plan.row_bytes), stride, starts,
                          choices, rows, times);
            starts += windows * S::starts;
            choices += S::choice_bytes(windows);
        }
        for (size_t i = 0; i < times; ++i)
            destination += rows[i].count * stride;
    }
}

// False: rows are too short, or columns lie too far apart.
template <class S>
bool plan_stripes(CellPlan &plan, const std::int32_t *indices, size_t cell_pixels) {
    if (plan.row_bytes < S::bytes || cell_pixels * unsigned(plan.pixel_bytes) < S::window_bytes)
        return false;
    parts_of_stripes<S>(plan.row_bytes, plan.pixel_bytes).lay_out(plan);
    uint8_t *choices = plan.choices;
    plan.places = 0;
    const size_t stripes = stripes_of<S>(plan.row_bytes);
    for (size_t i = 0; i < stripes; ++i) {
        const size_t begin = begin_of_stripe<S>(i, plan.row_bytes);
        WindowsOf<S> found[S::starts];
        size_t windows = 0;
        for (size_t k = 0; k < S::starts; ++k) {
            if (!found[k].find(indices, cell_pixels, plan.pixel_bytes, begin + k * S::window_bytes,
                               S::that_pay(plan.pixel_bytes)))
                return false;
            windows = std::max(windows, found[k].count);
        }
        // Who has fewer takes nothing out of his first one again.
        for (size_t window = 0; window < windows; ++window)
            for (const WindowsOf<S> &of : found)
                plan.place[plan.places++] = of.place[window < of.count ? window : 0];
        write_choices<S>(choices, found, windows);
        choices += S::choice_bytes(windows);
        plan.windows[i] = uint8_t(windows);
    }
    plan.make_rows = take_out_of_cells<S>;
    return true;
}

// --- moves --------------------------------------------------------------------------------------

template <int bytes>
void move_out_of_cells(uint8_t *destination, size_t stride, const CellPlan &plan,
                       const AlikeRows *rows, size_t count) {
    const size_t *const starts = plan.starts;
    const size_t columns = plan.columns, row_bytes = plan.row_bytes;
    for (const AlikeRows *const end = rows + count; rows != end; ++rows) {
        const uint8_t *const from = rows->source;
        uint8_t *const made = destination;
        for (size_t x = 0; x < columns; ++x)
            move_pixel<bytes>(made + x * bytes, from + starts[x]);
        destination += stride;
        for (size_t i = 1; i < rows->count; ++i, destination += stride)
            std::memcpy(destination, made, row_bytes);
    }
}

constexpr CellPlan::MakeRows *moves_out_of_cells[most_pixel_bytes + 1] = {
    nullptr,
    move_out_of_cells<1>,
    move_out_of_cells<2>,
    move_out_of_cells<3>,
    move_out_of_cells<4>,
    move_out_of_cells<5>,
    move_out_of_cells<6>,
    move_out_of_cells<7>,
    move_out_of_cells<8>,
};

inline void plan_cell_moves(CellPlan &plan, const std::int32_t *indices, size_t cell_pixels) {
    parts_of_moves(plan.columns).lay_out(plan);
    plan.places = plan.columns;
    const auto pixels = std::uint32_t(cell_pixels);
    for (size_t x = 0; x < plan.columns; ++x) {
        const auto index = std::uint32_t(indices[x]);
        plan.place[x] = {index / pixels, index % pixels * unsigned(plan.pixel_bytes)};
    }
    plan.make_rows = moves_out_of_cells[plan.pixel_bytes];
}

// --- the kernels --------------------------------------------------------------------------------

// By the first of these stripes that can.
template <class... Stripes>
struct NearestInCells {
    static size_t plan_bytes(size_t columns, int pixel_bytes) {
        const size_t row_bytes = columns * size_t(pixel_bytes);
        return std::max({parts_of_moves(columns).bytes(),
                         parts_of_stripes<Stripes>(row_bytes, pixel_bytes).bytes()...});
    }

    static void make_plan(void *memory, const std::int32_t *indices, size_t columns,
                          size_t cell_pixels, int pixel_bytes) {
        CellPlan &plan = *static_cast<CellPlan *>(memory);
        plan.columns = columns;
        plan.row_bytes = columns * size_t(pixel_bytes);
        plan.pixel_bytes = pixel_bytes;
        if (!(plan_stripes<Stripes>(plan, indices, cell_pixels) || ...))
            plan_cell_moves(plan, indices, cell_pixels);
        plan.cell_stride = ~size_t(0); // of no cells
    }

    static void make_rows(uint8_t *destination, size_t stride, void *memory, size_t cell_stride,
                          const AlikeRows *rows, size_t count) {
        CellPlan &plan = *static_cast<CellPlan *>(memory);
        plan.begin_at(cell_stride);
        plan.make_rows(destination, stride, plan, rows, count);
    }
};

template <int widest_reduced, class... Stripes>
constexpr CellKernels cell_kernels = {NearestInCells<Stripes...>::plan_bytes,
                                      NearestInCells<Stripes...>::make_plan,
                                      NearestInCells<Stripes...>::make_rows, widest_reduced};

// Stripes are as wide as the row of a cell where that is: its lines are then stored one after the
// other. Else as wide as a line of the cache.
constexpr const CellKernels &kernels_in_cells =
#if defined(__AVX512VBMI__)
    cell_kernels<3, Stripe<V64, 1>, Stripe<V32, 1>, Stripe<V16, 1>>;
#elif defined(__AVX2__)
    cell_kernels<1, Stripe<V32, 4>, Stripe<V32, 2>, Stripe<V32, 1>, Stripe<V16, 1>>;
#else
    cell_kernels<1, Stripe<V16, 8>, Stripe<V16, 4>, Stripe<V16, 1>>;
#endif

} // namespace
} // namespace q32::resample
