// The shared bitmap description.
#include "display/bitmap_info.h"

#include <numeric>

namespace q32::display {
namespace {

constexpr std::array<WORD, 256> all_places = [] {
    std::array<WORD, 256> places{};
    std::iota(places.begin(), places.end(), WORD{0});
    return places;
}();

constinit BitmapInfo shared{.header = {.biSize = sizeof(BITMAPINFOHEADER), .biPlanes = 1},
                            .table = {.places = all_places}};

} // namespace

const BITMAPINFO *BitmapInfo::info() const {
    return reinterpret_cast<const BITMAPINFO *>(this);
}

void BitmapInfo::put_places_back() {
    table.places = all_places;
}

BitmapInfo &shared_bitmap_info() {
    return shared;
}

} // namespace q32::display
