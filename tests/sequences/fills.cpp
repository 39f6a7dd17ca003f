// Fills of whole buffers.
#include "tests/sequences/world.h"

namespace q32::test {

void World::fill_one_colour() {
    ModelBuffer &buffer = any();
    describe("fill with one colour " + name_of(buffer));
    maybe_inject();
    uint8_t colour[8];
    random_colour(buffer.picture.bits(), colour);
    const bool refused = buffer.is(BUF32_CALLER_MEMORY);
    const int result = api().buf32FillOneColor(buffer.handle, colour);
    const bool gave_up = gave_up_pixels();
    if (!called(result, !refused,
                refused ? std::vector<Failure>{{5800, 0, 50, 62}} : std::vector<Failure>{})) {
        if (gave_up && !buffer.is(BUF32_DIB))
            lose_pixels(buffer);
        return;
    }
    if (!buffer.is(BUF32_DIB)) {
        buffer.type = BUF32_ONE_COLOUR;
        std::copy(std::begin(colour), std::end(colour), buffer.colour);
        buffer.picture.paint(colour);
        return;
    }
    // Only the first byte of the colour counts. Under 8 bits as many bytes are filled as the image
    // would have at one bit.
    std::fill(std::begin(colour) + 1, std::end(colour), uint8_t(0));
    if (buffer.picture.bits() >= 8)
        buffer.picture.paint(colour);
    else
        std::fill_n(buffer.picture.image.bytes().begin(),
                    (buffer.picture.width() + 7) / 8 * buffer.picture.height(), colour[0]);
}

void World::fill_pattern() {
    ModelBuffer &buffer = any();
    const Pattern pattern = random_pattern(buffer.picture.bits());
    describe("fill with a pattern of " + std::to_string(pattern.width) + "x" +
             std::to_string(pattern.height) + " " + name_of(buffer));
    maybe_inject();
    const BUF32PATTERN descriptor = pattern.descriptor();
    const bool refused = buffer.is(BUF32_CALLER_MEMORY);
    const int result = api().buf32FillPattern(buffer.handle, &descriptor);
    const bool gave_up = gave_up_pixels();
    if (!called(result, !refused,
                refused ? std::vector<Failure>{{3200, 0, 4, 6}} : std::vector<Failure>{})) {
        if (gave_up && !buffer.is(BUF32_DIB))
            lose_pixels(buffer);
        return;
    }
    buffer.picture.paint(pattern);
    if (!buffer.is(BUF32_DIB))
        buffer.type = BUF32_PATTERN;
}

bool World::gave_up_pixels() {
    const std::vector<Failure> reports = frame::reports();
    return reports == std::vector<Failure>{{1001, 1, 4, 21}} ||
           reports == std::vector<Failure>{{1001, 1, 70, 23}};
}

// One colour is still in the record, and so is a pattern whose copy has not been released.
void World::lose_pixels(ModelBuffer &buffer) {
    injection_.reset();
    resynchronise();
    if (word(buffer.handle, field_storage) != 0 || word(buffer.handle, field_share_marker) != 0)
        differs("storage after a failed fill");
    if (buffer.is(BUF32_ONE_COLOUR))
        return;
    if (buffer.is(BUF32_PATTERN)) {
        if (word(buffer.handle, field_external_data) == 0)
            buffer.picture.image = PlainImage(buffer.picture.geometry);
        return;
    }
    uint8_t pixel[8];
    called(api().buf32GetMem(buffer.handle, 0, 0, 1, 1, pixel), 0);
    called(api().buf32MergeMem(buffer.handle, 0, 0, pixel, 1, 1), 0);
    refill(buffer);
}

// By a fill, or from another one that is alike.
void World::refill(ModelBuffer &buffer) {
    const ModelBuffer &source = destination_for(buffer);
    HBUF32 handle = buffer.handle;
    if (&source != &buffer && outcome_of_duplicate(source, buffer).done && random_.below(4) != 0) {
        describe(", and duplicate " + name_of(source));
        called(api().buf32DupBuf(source.handle, &handle), 1);
        take_pixels(buffer, source);
    } else if (random_.below(2) == 0) {
        describe(", and fill again");
        random_colour(buffer.picture.bits(), buffer.colour);
        called(api().buf32FillOneColor(buffer.handle, buffer.colour), 1);
        buffer.type = BUF32_ONE_COLOUR;
        buffer.picture.paint(buffer.colour);
    } else {
        describe(", and fill with a pattern");
        const Pattern pattern = random_pattern(buffer.picture.bits());
        const BUF32PATTERN descriptor = pattern.descriptor();
        called(api().buf32FillPattern(buffer.handle, &descriptor), 1);
        buffer.type = BUF32_PATTERN;
        buffer.picture.paint(pattern);
    }
}

} // namespace q32::test
