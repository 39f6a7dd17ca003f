// Buffer to buffer: rectangles and duplicates.
#include "tests/model/world.h"

namespace q32::test {
namespace {

HBUF32 owner_of(HBUF32 handle) {
    return word(handle, field_share_marker) == 64 ? HBUF32(word(handle, field_source)) : handle;
}

bool same_size(const ModelBuffer &a, const ModelBuffer &b) {
    return a.image.width == b.image.width && a.image.height == b.image.height;
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

bool is_virtual(uint32_t type) {
    return type == BUF32_ONE_COLOUR || type == BUF32_PATTERN;
}

} // namespace

// Often one that goes well with the source.
ModelBuffer &World::destination_for(const ModelBuffer &source) {
    std::vector<size_t> alike;
    for (size_t i = 0; i < buffers_.size(); ++i)
        if (buffers_[i].bits == source.bits && &buffers_[i] != &source)
            alike.push_back(i);
    if (alike.empty() || random_.below(12) == 0)
        return any();
    return buffers_[alike[random_.below(alike.size())]];
}

ModelBuffer &World::adopt(HBUF32 handle, const ModelBuffer &source, uint32_t type, int width,
                          int height) {
    ModelBuffer made;
    made.handle = handle;
    made.type = type;
    made.bits = source.bits;
    made.image = Image(width, height);
    made.capacity = height;
    std::copy(std::begin(source.colour), std::end(source.colour), made.colour);
    buffers_.push_back(std::move(made));
    return buffers_.back();
}

int World::copy_common(const Image &source, const Rectangle &area, Image &destination,
                       int destination_x, int destination_y, std::vector<bool> *known) {
    const Image from = source; // the destination may be the source
    int copied = 0;
    for (int row = 0; row < area.height; ++row)
        for (int column = 0; column < area.width; ++column) {
            const int x = destination_x + column, y = destination_y + row;
            if (!from.contains(area.x + column, area.y + row) || !destination.contains(x, y))
                continue;
            destination.at(x, y) = from.at(area.x + column, area.y + row);
            if (known != nullptr)
                (*known)[size_t(y) * size_t(destination.width) + size_t(x)] = true;
            ++copied;
        }
    return copied;
}

// --- duplicates ---------------------------------------------------------------------------------

World::DuplicateOutcome World::outcome_of_duplicate(const ModelBuffer &source,
                                                    const ModelBuffer &destination) {
    const bool sizes_agree = same_size(source, destination) && source.bits == destination.bits;
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
    if (is_virtual(source.type))
        return {true, {}};
    return {owner_of(source.handle) != owner_of(destination.handle), {}};
}

void World::take_pixels(ModelBuffer &destination, const ModelBuffer &source) {
    if (!source.is(BUF32_ONE_COLOUR)) {
        destination.image = source.image;
        return;
    }
    // The first byte of the colour stays.
    for (int i = 1; i < (source.bits + 7) / 8; ++i)
        destination.colour[i] = source.colour[i];
    paint(destination.image, destination.bits, destination.colour);
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
        if (!is_virtual(source.type) && word(handle, field_storage) != 0)
            differs("a duplicate with storage of its own");
        const Image image = source.image;
        const int capacity = source.capacity;
        ModelBuffer &made = adopt(handle, source, source.type, image.width, image.height);
        made.image = image;
        made.capacity = capacity;
        made.mode = 0;
        return;
    }
    ModelBuffer &destination = destination_for(source);
    if (&destination == &source && is_virtual(source.type))
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
    const Rectangle area = rectangle_in(source);
    const bool whole = area.x == 0 && area.y == 0 && area.width == source.image.width &&
                       area.height == source.image.height;
    const bool make = random_.below(2) == 0 && buffers_.size() < 9;
    const std::string what =
        "get " + area_text(area.x, area.y, area.width, area.height) + " of " + name_of(source);
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
        const bool duplicated = whole && is_virtual(source.type) &&
                                !(injected() && word(handle, field_type) == BUF32_TILED);
        injection_.reset();
        const size_t source_index = size_t(&source - buffers_.data());
        const uint32_t type = duplicated ? source.type : type_of_new(source);
        ModelBuffer &made = adopt(handle, source, type, area.width, area.height);
        const ModelBuffer &from = buffers_[source_index];
        if (whole && word(handle, field_access_mode) == 0)
            made.mode = 0; // a duplicate
        std::vector<bool> known(made.image.pixels.size(), false);
        const int copied = copy_common(from.image, area, made.image, 0, 0, &known);
        if (copied > 0 && !duplicated && is_virtual(made.type)) {
            made.type = BUF32_TILED;
            made.mode = BUF32_WRITE;
        }
        made.capacity = int(word(handle, field_capacity_rows));
        learn(made, known);
        return;
    }

    ModelBuffer &destination = destination_for(source);
    describe(what + " into " + name_of(destination));
    const bool same_owner = owner_of(source.handle) == owner_of(destination.handle);
    const bool alike = source.type == destination.type && source.bits == destination.bits &&
                       same_size(source, destination);
    const bool duplicates = whole && alike && !source.is(BUF32_DIB) &&
                            (!source.is(BUF32_CALLER_MEMORY) || &source == &destination);
    if (&source != &destination)
        maybe_inject();
    Image expected = destination.image;
    std::vector<Failure> reports;
    const int copied = copy_common(source.image, area, expected, 0, 0, nullptr);
    // One colour is tried as a duplicate wherever type and size agree.
    if (whole && source.is(BUF32_ONE_COLOUR) && destination.is(BUF32_ONE_COLOUR) &&
        same_size(source, destination) && source.bits != destination.bits)
        reports.push_back({3200, 0, 2, 8});
    if (!duplicates && copied > 0) {
        if (source.bits != destination.bits)
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
        if (!same_owner || is_virtual(source.type))
            take_pixels(destination, source);
        return;
    }
    destination.image = expected;
    if (copied > 0 && is_virtual(destination.type)) {
        become_ordinary(destination);
        destination.mode = BUF32_WRITE;
    }
}

void World::merge_buffer() {
    ModelBuffer &source = any();
    ModelBuffer &destination = destination_for(source);
    const Rectangle area = rectangle_in(source);
    const Rectangle place = rectangle_in(destination);
    describe("merge " + area_text(area.x, area.y, area.width, area.height) + " of " +
             name_of(source) + " into " + name_of(destination) + " at " + std::to_string(place.x) +
             "," + std::to_string(place.y));
    // Strips made smaller read again what they have written when the two are one. And a strip that
    // lies wholly below the destination is a failure of its own.
    if (&source != &destination)
        maybe_inject();
    Image expected = destination.image;
    const int copied = copy_common(source.image, area, expected, place.x, place.y, nullptr);
    std::vector<Failure> reports;
    if (source.is(BUF32_CALLER_MEMORY))
        reports.push_back({5800, 0, 50, 63});
    else if (copied > 0 && source.bits != destination.bits)
        reports.push_back({3200, 1, 4, 18});
    else if (copied > 0 && destination.is(BUF32_CALLER_MEMORY))
        reports.push_back({5800, 0, 50, 64});
    const std::vector<uint64_t> before = destination.image.pixels;
    const int result = api().buf32MergeBuf(source.handle, area.x, area.y, area.width, area.height,
                                           destination.handle, place.x, place.y);
    const bool strip_below =
        result == 0 && injected() && frame::reports() == std::vector<Failure>{{3200, 1, 3, 14}};
    if (!called(result, reports.empty(), reports) && !strip_below)
        return;
    destination.image = expected;
    if (copied > 0 && is_virtual(destination.type)) {
        become_ordinary(destination);
        destination.mode = BUF32_WRITE;
    }
}

} // namespace q32::test
