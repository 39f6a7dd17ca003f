// The bicubic coefficient table: its memory, its contents and its odd life.
#include "library/process/owners.h"
#include "resample/kernels/cubic_weights.h"
#include "resample/resample.h"

#include <q32base/resample.h>

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace q32::resample {
namespace {

// The block. Set once: it keeps its value when the block is freed. Required: programs count on
// bicubic calls after q32FreeBiCubicTable to allocate nothing.
constinit std::atomic<HGLOBAL> table = nullptr;
constinit std::atomic<bool> table_is_freed = false;

// The products of each phase's weights with every sample.
constexpr int samples = 256;
using Products = std::int32_t[cubic_phases][std::tuple_size_v<CubicWeights>][samples];
static_assert(sizeof(Products) == 65'536);

void fill(Products &products) {
    for (int phase = 0; phase < cubic_phases; ++phase)
        for (std::size_t tap = 0; tap < cubic_weights[phase].size(); ++tap)
            for (int sample = 0; sample < samples; ++sample)
                products[phase][tap][sample] = cubic_weights[phase][tap] * sample;
}

} // namespace

bool make_coefficient_table() {
    if (coefficient_table_was_made())
        return true;
    GlobalBlock block(GlobalAlloc(GMEM_MOVEABLE, sizeof(Products)));
    if (!block)
        return false;
    void *const memory = GlobalLock(block.get());
    if (memory == nullptr)
        return false;
    fill(*static_cast<Products *>(memory));

    // Frames come from several threads without a lock; whoever is second frees what it made.
    HGLOBAL none = nullptr;
    if (table.compare_exchange_strong(none, block.get()))
        block.release();
    else
        GlobalUnlock(block.get());
    return true;
}

bool coefficient_table_was_made() {
    return table != nullptr;
}

void free_coefficient_table() {
    if (!coefficient_table_was_made() || table_is_freed.exchange(true))
        return;
    GlobalUnlock(table);
    GlobalFree(table);
}

} // namespace q32::resample

int Q32_CALL q32FreeBiCubicTable() {
    q32::resample::free_coefficient_table();
    return 1;
}
