// Resampling with progress, and the store of tiles.
#include "scaled_picture.h"

#include "apps/pictures/library_report.h"
#include "enlarging.h"

#include <q32base/resample.h>

#include <algorithm>

namespace apps::q32view {
namespace {

constexpr int tile_side = 512; // in the shown picture
constexpr size_t most_tiles = 96;

// Called by the library, through which exceptions must not pass.
int __stdcall go_on(int, int value, int, uintptr_t work) {
    return reinterpret_cast<LongWork *>(work)->reach(value, 1000);
}

Buffer resampled(const std::string &named, HBUF32 source, Size size, LongWork &work) {
    const RESAMPLEPROGRESS watch = {.poll_esc = 0, // LongWork looks at the keyboard
                                    .callback = go_on,
                                    .user_data = reinterpret_cast<uintptr_t>(&work),
                                    .start = 0,
                                    .end = 1000};
    const SIZE new_size = {size.width, size.height};
    HBUF32 destination = 0;
    const int done =
        q32BufferResampleEx(&new_size, source, &destination, &watch, 0, RESAMPLE_BICUBIC);
    Buffer result(destination);
    work.check();
    if (!done)
        throw library_failure(named, "the picture cannot be scaled");
    return result;
}

} // namespace

void ScaledPicture::prepare(const Picture &picture, Size shown, StatusBar &status) {
    if (is_prepared_for(picture, shown))
        return;
    Buffer reduced;
    const bool enlarged = shown.width > picture.size.width || shown.height > picture.size.height;
    if (!enlarged && shown != picture.size) {
        LongWork work(status, "scaling " + picture.name);
        reduced = resampled(picture.name, picture.buffer.get(), shown, work);
    }
    forget();
    picture_ = &picture;
    shown_ = shown;
    reduced_ = std::move(reduced);
    enlarged_ = enlarged;
}

bool ScaledPicture::is_prepared_for(const Picture &picture, Size shown) const {
    return picture_ == &picture && shown_ == shown;
}

void ScaledPicture::forget() {
    picture_ = nullptr;
    reduced_ = Buffer();
    tiles_.clear();
    used_.clear();
}

void ScaledPicture::for_each_piece(const Area &area,
                                   const std::function<void(const Piece &)> &use) {
    if (picture_ == nullptr)
        return;
    if (!enlarged_) {
        const HBUF32 whole = reduced_ ? reduced_.get() : picture_->buffer.get();
        use({area, whole, area.corner()});
        return;
    }
    for (int row = area.top / tile_side; row * tile_side < area.bottom; ++row)
        for (int column = area.left / tile_side; column * tile_side < area.right; ++column) {
            const Area covered = area_of(column * tile_side, row * tile_side, tile_side, tile_side);
            const Area part = intersect(area, covered);
            use({part, tile({column, row}).buffer.get(), part.corner() - covered.corner()});
        }
}

const ScaledPicture::Tile &ScaledPicture::tile(Index index) {
    if (const auto found = tiles_.find(index); found != tiles_.end()) {
        used_.splice(used_.begin(), used_, found->second.last_used);
        return found->second;
    }
    Tile made = make_tile(index);
    if (tiles_.size() >= most_tiles) {
        tiles_.erase(used_.back());
        used_.pop_back();
    }
    used_.push_front(index);
    made.last_used = used_.begin();
    return tiles_.emplace(index, std::move(made)).first->second;
}

ScaledPicture::Tile ScaledPicture::make_tile(Index index) const {
    const Area covered =
        area_of(index.first * tile_side, index.second * tile_side, tile_side, tile_side);
    return {enlarged_part(picture_->buffer.get(), shown_, intersect(covered, area_of({}, shown_)),
                          picture_->name),
            {}};
}

} // namespace apps::q32view
