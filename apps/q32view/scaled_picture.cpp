// Averaging with progress, and the store of enlarged tiles.
#include "scaled_picture.h"

#include "apps/pictures/averaging.h"
#include "apps/pictures/edition.h"
#include "apps/pictures/library_report.h"

#include <q32base/resample.h>

#include <algorithm>

namespace apps::q32view {
namespace {

constexpr int tile_pixels = 512; // side of a tile on the screen, about
constexpr size_t most_tiles = 96;
constexpr int nearest_above = 4; // times: where single pixels are to be seen as such

// Around a tile, in pixels of the picture: what bicubic interpolation looks at across its edges.
constexpr int margin = 3;

// The picture in a size in which no side is longer.
Buffer reduced(const Picture &picture, Size size, LongWork &work) {
    HBUF32 handle = 0;
    if (!buf32Alloc(&handle, 24, size.width, size.height, BUF32_TILED, nullptr))
        throw library_failure(picture.name, "no buffer for the scaled picture", room_remedy);
    Buffer result(handle);
    average({picture.buffer.get()}, {handle}, Light::as_stored, picture.name,
            [&](int rows) { work.go_on(rows, picture.size.height); });
    return result;
}

Buffer enlarged(const std::string &named, HBUF32 source, Size size, bool nearest) {
    const SIZE new_size = {size.width, size.height};
    HBUF32 destination = 0;
    if (!q32BufferResampleEx(&new_size, source, &destination, nullptr, nearest ? 1 : 0,
                             nearest ? RESAMPLE_NEAREST : RESAMPLE_BICUBIC))
        throw library_failure(named, "the picture cannot be scaled");
    return Buffer(destination);
}

int tiles_before(int position, int side) {
    return position / side;
}

} // namespace

void ScaledPicture::prepare(const Picture &picture, Size shown, StatusBar &status) {
    if (is_prepared_for(picture, shown))
        return;
    Buffer reduced_picture;
    int factor = 0;
    if (shown.width > picture.size.width || shown.height > picture.size.height) {
        factor = std::max(shown.width / picture.size.width, 1);
    } else if (shown != picture.size) {
        LongWork work(status, "scaling " + picture.name);
        reduced_picture = reduced(picture, shown, work);
    }
    forget();
    picture_ = &picture;
    shown_ = shown;
    reduced_ = std::move(reduced_picture);
    factor_ = factor;
    source_side_ = factor == 0 ? 0 : std::max(tile_pixels / factor, 1);
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
    if (factor_ == 0) {
        const HBUF32 whole = reduced_ ? reduced_.get() : picture_->buffer.get();
        use({area, whole, area.corner()});
        return;
    }
    const int side = tile_side();
    for (int row = tiles_before(area.top, side); row * side < area.bottom; ++row)
        for (int column = tiles_before(area.left, side); column * side < area.right; ++column) {
            const Tile &made = tile({column, row});
            const Area part = intersect(area, area_of({column * side, row * side}, {side, side}));
            use({part, made.buffer.get(), part.corner() - made.place});
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

// Tiles lie on a grid, so that a pixel comes out of the same tile whenever it is drawn. The factor
// being whole, a part of the picture is interpolated as it would be within the whole.
ScaledPicture::Tile ScaledPicture::make_tile(Index index) const {
    const Point corner = {index.first * source_side_, index.second * source_side_};
    const Area wanted = {corner.x - margin, corner.y - margin, corner.x + source_side_ + margin,
                         corner.y + source_side_ + margin};
    const Area part = intersect(wanted, area_of({}, picture_->size));
    HBUF32 cut = 0;
    if (!buf32GetBuf(picture_->buffer.get(), part.left, part.top, part.width(), part.height(),
                     &cut))
        throw library_failure(picture_->name, "a part of the picture cannot be read");
    const Buffer source(cut);
    return {enlarged(picture_->name, source.get(),
                     {part.width() * factor_, part.height() * factor_}, factor_ > nearest_above),
            {part.left * factor_, part.top * factor_},
            {}};
}

} // namespace apps::q32view
