// Averaging with progress, and the store of enlarged tiles.
#include "scaled_picture.h"

#include "apps/pictures/averaging.h"
#include "apps/pictures/edition.h"
#include "apps/pictures/library_report.h"
#include "enlarging.h"

#include <algorithm>

namespace apps::q32view {
namespace {

constexpr int tile_side = 512; // in the shown picture
constexpr size_t most_tiles = 96;

// Colours or opacities in a size in which no side is longer. Both are averaged as they are: colours
// are multiplied by their opacity already.
Buffer reduced(HBUF32 pixels, int bits, const Picture &picture, Size size, LongWork &work) {
    HBUF32 handle = 0;
    if (!buf32Alloc(&handle, bits, size.width, size.height, BUF32_TILED, nullptr))
        throw library_failure(picture.name, "no buffer for the scaled picture", room_remedy);
    Buffer result(handle);
    average({pixels}, {handle}, Light::as_stored, picture.name,
            [&](int rows) { work.go_on(rows, picture.size.height); });
    return result;
}

} // namespace

void ScaledPicture::prepare(const Picture &picture, Size shown, StatusBar &status) {
    if (is_prepared_for(picture, shown))
        return;
    Buffer reduced_picture, reduced_opacity;
    const bool enlarged = shown.width > picture.size.width || shown.height > picture.size.height;
    if (!enlarged && shown != picture.size) {
        LongWork work(status, "scaling " + picture.name);
        reduced_picture = reduced(picture.buffer.get(), 24, picture, shown, work);
        if (picture.opacity)
            reduced_opacity = reduced(picture.opacity.get(), 8, picture, shown, work);
    }
    forget();
    picture_ = &picture;
    shown_ = shown;
    reduced_ = std::move(reduced_picture);
    reduced_opacity_ = std::move(reduced_opacity);
    enlarged_ = enlarged;
}

bool ScaledPicture::is_prepared_for(const Picture &picture, Size shown) const {
    return picture_ == &picture && shown_ == shown;
}

void ScaledPicture::forget() {
    picture_ = nullptr;
    reduced_ = Buffer();
    reduced_opacity_ = Buffer();
    tiles_.clear();
    used_.clear();
}

void ScaledPicture::for_each_piece(const Area &area,
                                   const std::function<void(const Piece &)> &use) {
    if (picture_ == nullptr)
        return;
    if (!enlarged_) {
        const bool own_size = !reduced_;
        use({area, own_size ? picture_->buffer.get() : reduced_.get(),
             own_size ? picture_->opacity.get() : reduced_opacity_.get(), area.corner()});
        return;
    }
    for (int row = area.top / tile_side; row * tile_side < area.bottom; ++row)
        for (int column = area.left / tile_side; column * tile_side < area.right; ++column) {
            const Area covered = area_of(column * tile_side, row * tile_side, tile_side, tile_side);
            const Area part = intersect(area, covered);
            const Tile &made = tile({column, row});
            use({part, made.buffer.get(), made.opacity.get(), part.corner() - covered.corner()});
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
    const Area part = intersect(covered, area_of({}, shown_));
    Tile made = {enlarged_part(picture_->buffer.get(), shown_, part, picture_->name), {}, {}};
    if (picture_->opacity)
        made.opacity = enlarged_part(picture_->opacity.get(), shown_, part, picture_->name);
    return made;
}

} // namespace apps::q32view
