// Buffer to buffer: rectangles and duplicates.
#include "tests/sequences/world.h"

namespace q32::test {
namespace {

HBUF32 owner_of(HBUF32 handle) {
    return is_duplicate(handle) ? source_of(handle) : handle;
}

bool same_size(const ModelBuffer &a, const ModelBuffer &b) {
    return a.picture.width() == b.picture.width() && a.picture.height() == b.picture.height();
}

// The types that a copy can make from the source's record alone; all others give tiled buffers.
uint32_t type_of_new(const ModelBuffer &source) {
    switch (source.type) {
    case BUF32_DIB:
    case BUF32_CALLER_MEMORY:
        return BUF32_TILED;
    case BUF32_PATTERN: // a refused free may have taken its pixels
        return word(source.handle, field_external_data) != 0 ? BUF32_PATTERN : BUF32_TILED;
    default:
        return source.type;
    }
}

} // namespace

// Often one that goes well with the source.
ModelBuffer &World::destination_for(const ModelBuffer &source) {
    std::vector<size_t> alike;
    for (size_t i = 0; i < buffers_.size(); ++i)
        if (buffers_[i].picture.bits() == source.picture.bits() && &buffers_[i] != &source)
            alike.push_back(i);
    if (alike.empty() || random_.below(12) == 0)
        return any();
    return buffers_[alike[random_.below(alike.size())]];
}

ModelBuffer &World::adopt(HBUF32 handle, const ModelBuffer &source, uint32_t type, int width,
                          int height) {
    ModelBuffer made(type, source.picture.bits(), width, height);
    made.handle = handle;
    // Fills keep the layout, and so do copies of what was filled.
    made.picture.geometry.linear =
        word(handle, field_cell_width) > 128 || word(handle, field_cell_height) > 128;
    made.capacity = int(word(handle, field_capacity_rows));
    std::copy(std::begin(source.colour), std::end(source.colour), made.colour);
    buffers_.push_back(std::move(made));
    return buffers_.back();
}

bool World::meet(const Picture &source, const Area &area, const Picture &destination, int x,
                 int y) {
    bool any = false;
    source.for_each_inside(
        area, [&](int64_t dx, int64_t dy) { any = any || destination.holds(x + dx, y + dy); });
    return any;
}

// --- duplicates ---------------------------------------------------------------------------------

World::DuplicateOutcome World::outcome_of_duplicate(const ModelBuffer &source,
                                                    const ModelBuffer &destination) {
    const bool sizes_agree =
        same_size(source, destination) && source.picture.bits() == destination.picture.bits();
    const bool types_agree = source.type == destination.type;
    if (source.is(BUF32_CALLER_MEMORY))
        return {false, {}};
    if (!types_agree || !sizes_agree) {
        if (source.is(BUF32_ONE_COLOUR))
            return {false, {{3200, 0, 2, types_agree ? 8 : 7}}};
        if (source.is(BUF32_DIB))
            return {false, {{3200, 0, 1, types_agree ? 4 : 3}}};
        return {false, {{4026, 1, 3, types_agree ? 7 : 6}}};
    }
    if (source.is_special())
        return {true, {}};
    return {owner_of(source.handle) != owner_of(destination.handle), {}};
}

void World::take_pixels(ModelBuffer &destination, const ModelBuffer &source) {
    if (!source.is(BUF32_ONE_COLOUR)) {
        destination.picture.image = source.picture.image;
        return;
    }
    // The first byte of the colour stays.
    for (int i = 1; i < (source.picture.bits() + 7) / 8; ++i)
        destination.colour[i] = source.colour[i];
    destination.picture.paint(destination.colour);
}

void World::duplicate() {
    ModelBuffer &source = any();
    const bool make = random_.below(2) == 0 && buffers_.size() < 9;
    if (make) {
        describe("duplicate " + name_of(source));
        maybe_inject();
        HBUF32 handle = 0;
        const bool can = !source.is(BUF32_CALLER_MEMORY);
        if (!called(api().buf32DupBuf(source.handle, &handle), can)) {
            if (handle != 0)
                differs("a handle from a failed call");
            return;
        }
        if (!source.is_special() && word(handle, field_storage) != 0)
            differs("a duplicate with storage of its own");
        const Picture picture = source.picture;
        ModelBuffer &made = adopt(handle, source, source.type, picture.width(), picture.height());
        made.picture.image = picture.image;
        made.mode = 0;
        return;
    }
    ModelBuffer &destination = destination_for(source);
    if (&destination == &source && source.is_special())
        return merge_memory();
    describe("duplicate " + name_of(source) + " into " + name_of(destination));
    const DuplicateOutcome outcome = outcome_of_duplicate(source, destination);
    maybe_inject();
    HBUF32 handle = destination.handle;
    const bool done =
        called(api().buf32DupBuf(source.handle, &handle), outcome.done, outcome.reports);
    if (handle != destination.handle)
        differs("another handle");
    if (done)
        take_pixels(destination, source);
}

// --- rectangles ---------------------------------------------------------------------------------

void World::get_buffer() {
    ModelBuffer &source = any();
    const Area area = rectangle_in(source);
    const bool whole = area == source.picture.whole();
    const bool make = random_.below(2) == 0 && buffers_.size() < 9;
    const std::string what = "get " + text_of(area) + " of " + name_of(source);
    if (make) {
        describe(what + " as a new buffer");
        maybe_inject();
        HBUF32 handle = 0;
        std::vector<Failure> reports;
        if (area.width < 1) {
            reports.push_back({3200, 0, 4, 7});
            if (source.is(BUF32_DIB))
                reports.push_back({1001, 0, 1, 9});
        }
        if (!called(
                api().buf32GetBuf(source.handle, area.x, area.y, area.width, area.height, &handle),
                reports.empty(), reports)) {
            if (handle != 0)
                differs("a handle from a failed call");
            return;
        }
        // Where no duplicate can be made, a copy is.
        const bool duplicated = whole && source.is_special() &&
                                !(injected() && word(handle, field_type) == BUF32_TILED);
        injection_.reset();
        const size_t source_index = size_t(&source - buffers_.data());
        const uint32_t type = duplicated ? source.type : type_of_new(source);
        ModelBuffer &made = adopt(handle, source, type, area.width, area.height);
        const ModelBuffer &from = buffers_[source_index];
        if (whole && word(handle, field_access_mode) == 0)
            made.mode = 0; // a duplicate
        made.picture = shown_by(made);
        if (from.is(BUF32_ONE_COLOUR))
            made.picture.paint(from.colour); // also outside of the source
        const int copied = made.picture.merge(from.picture, area, 0, 0);
        if (copied > 0 && !duplicated && made.is_special()) {
            made.type = BUF32_TILED;
            made.mode = BUF32_WRITE;
        }
        compare_pixels(made);
        return;
    }

    ModelBuffer &destination = destination_for(source);
    describe(what + " into " + name_of(destination));
    const bool same_owner = owner_of(source.handle) == owner_of(destination.handle);
    const bool same_bits = source.picture.bits() == destination.picture.bits();
    const bool alike =
        source.type == destination.type && same_bits && same_size(source, destination);
    const bool duplicates = whole && alike && !source.is(BUF32_DIB) &&
                            (!source.is(BUF32_CALLER_MEMORY) || &source == &destination);
    if (&source != &destination)
        maybe_inject();
    std::vector<Failure> reports;
    const bool copies = meet(source.picture, area, destination.picture, 0, 0);
    // One colour is tried as a duplicate wherever type and size agree.
    if (whole && source.is(BUF32_ONE_COLOUR) && destination.is(BUF32_ONE_COLOUR) &&
        same_size(source, destination) && !same_bits)
        reports.push_back({3200, 0, 2, 8});
    if (!duplicates && copies) {
        if (!same_bits)
            reports.push_back({3200, 1, 4, 18});
        else if (destination.is(BUF32_CALLER_MEMORY))
            reports.push_back({5800, 0, 50, 64});
    }
    HBUF32 handle = destination.handle;
    const bool done =
        called(api().buf32GetBuf(source.handle, area.x, area.y, area.width, area.height, &handle),
               reports.empty(), reports);
    if (handle != destination.handle)
        differs("another handle");
    if (!done)
        return;
    if (duplicates) {
        if (!same_owner || source.is_special())
            take_pixels(destination, source);
        return;
    }
    if (!copies)
        return;
    destination.picture.merge(source.picture, area, 0, 0);
    if (destination.is_special()) {
        become_ordinary(destination);
        destination.mode = BUF32_WRITE;
    }
}

void World::merge_buffer() {
    ModelBuffer &source = any();
    ModelBuffer &destination = destination_for(source);
    const Area area = rectangle_in(source);
    const Area place = rectangle_in(destination);
    describe("merge " + text_of(area) + " of " + name_of(source) + " into " + name_of(destination) +
             " at " + std::to_string(place.x) + "," + std::to_string(place.y));
    // Strips made smaller read again what they have written when the two are one. And a strip that
    // lies wholly below the destination is a failure of its own.
    if (&source != &destination)
        maybe_inject();
    const bool copies = meet(source.picture, area, destination.picture, place.x, place.y);
    std::vector<Failure> reports;
    if (source.is(BUF32_CALLER_MEMORY))
        reports.push_back({5800, 0, 50, 63});
    else if (copies && source.picture.bits() != destination.picture.bits())
        reports.push_back({3200, 1, 4, 18});
    else if (copies && destination.is(BUF32_CALLER_MEMORY))
        reports.push_back({5800, 0, 50, 64});
    const int result = api().buf32MergeBuf(source.handle, area.x, area.y, area.width, area.height,
                                           destination.handle, place.x, place.y);
    const bool strip_below =
        result == 0 && injected() && frame::reports() == std::vector<Failure>{{3200, 1, 3, 14}};
    if (!called(result, reports.empty(), reports) && !strip_below)
        return;
    if (!copies)
        return;
    destination.picture.merge(source.picture, area, place.x, place.y);
    if (destination.is_special()) {
        become_ordinary(destination);
        destination.mode = BUF32_WRITE;
    }
}

} // namespace q32::test
