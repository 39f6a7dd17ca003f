// Fills of whole buffers.
#include "tests/model/world.h"

namespace q32::test {

void World::fill_one_colour() {
    ModelBuffer &buffer = any();
    describe("fill with one colour " + name_of(buffer));
    maybe_inject();
    uint8_t colour[8];
    random_colour(buffer.bits, colour);
    const bool refused = buffer.is(BUF32_CALLER_MEMORY);
    if (!called(api().buf32FillOneColor(buffer.handle, colour), !refused,
                refused ? std::vector<Failure>{{5800, 0, 50, 62}} : std::vector<Failure>{}))
        return;
    if (!buffer.is(BUF32_DIB)) {
        buffer.type = BUF32_ONE_COLOUR;
        std::copy(std::begin(colour), std::end(colour), buffer.colour);
        paint(buffer.image, buffer.bits, colour);
        return;
    }
    // Only the first byte of the colour counts. Under 8 bits as many bytes are filled as the image
    // would have at one bit.
    std::fill(std::begin(colour) + 1, std::end(colour), uint8_t(0));
    Image filled = buffer.image;
    paint(filled, buffer.bits, colour);
    if (buffer.bits >= 8) {
        buffer.image = filled;
        return;
    }
    const int row_bytes = (filled.width * buffer.bits + 7) / 8;
    const int bytes = (filled.width + 7) / 8 * filled.height;
    buffer.image.paint([&](int x, int y) {
        const bool reached = y * row_bytes + x * buffer.bits / 8 < bytes;
        return reached ? filled.at(x, y) : buffer.image.at(x, y);
    });
}

void World::fill_pattern() {
    ModelBuffer &buffer = any();
    Pattern pattern = random_pattern(buffer.bits);
    describe("fill with a pattern of " + std::to_string(pattern.descriptor.width) + "x" +
             std::to_string(pattern.descriptor.height) + " " + name_of(buffer));
    maybe_inject();
    pattern.descriptor.pixels = pattern.bytes.data();
    const bool refused = buffer.is(BUF32_CALLER_MEMORY);
    if (!called(api().buf32FillPattern(buffer.handle, &pattern.descriptor), !refused,
                refused ? std::vector<Failure>{{3200, 0, 4, 6}} : std::vector<Failure>{}))
        return;
    paint(buffer.image, buffer.bits, pattern);
    if (!buffer.is(BUF32_DIB))
        buffer.type = BUF32_PATTERN;
}

} // namespace q32::test
