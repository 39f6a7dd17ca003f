// A stream of frames: each is scaled with tables that were made once for all.
//
//     07_frames [OUTPUT.png]
//
// What to see: twelve frames of 320 x 240 pixels in which a ball bounces, scaled to 96 x 72, one
// beside the other. What a scaler keeps for the stream says for each row and column which source
// pixels to look at; a frame then costs nothing but its pixels.
#include "common/picture.h"
#include "common/report.h"

#include <q32base.hpp>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

constexpr int width = 320, height = 240, radius = 30;
constexpr int small_width = 96, small_height = 72, frames = 12, columns = 6, gap = 8;

// Rows of frames are padded to 4 bytes. These need no padding: 3 bytes for each of 320 or 96
// pixels.
using Frame = std::vector<std::uint8_t>;

// A ball that comes down every sixth frame, over a ground of two colours.
void draw(Frame &frame, int number) {
    const int ball_x = 30 + number * 24, phase = number % 6 - 3;
    const int ball_y = 50 + phase * phase * 16;
    std::uint8_t *pixel = frame.data();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, pixel += 3) {
            const int across = x - ball_x, down = y - ball_y;
            const bool ball = across * across + down * down < radius * radius;
            pixel[0] = ball ? 230 : 60;
            pixel[1] = ball ? std::uint8_t(120 - down) : std::uint8_t(90 + y / 4);
            pixel[2] = ball ? 40 : y < 224 ? 160 : 60;
        }
}

q32::Buffer make_sheet() {
    const std::uint8_t dark[] = {30, 30, 30};
    return q32::Buffer::of_one_colour(24, columns * (small_width + gap) + gap,
                                      frames / columns * (small_height + gap) + gap, dark);
}

q32::Buffer scale_stream() {
    auto scaler =
        q32::StreamScaler::make(24, width, height, small_width, small_height, RESAMPLE_BILINEAR);
    q32::Buffer sheet = make_sheet(); // of one colour until the first frame is written into it
    Frame frame(width * height * 3), scaled(small_width * small_height * 3);
    for (int number = 0; number < frames; ++number) {
        draw(frame, number);
        scaler.scale(frame, scaled);
        const int x = gap + number % columns * (small_width + gap);
        const int y = gap + number / columns * (small_height + gap);
        sheet.write({x, y, small_width, small_height}, scaled);
    }
    return sheet;
}

} // namespace

int main(int argc, char **argv) try {
    const q32::Buffer sheet = scale_stream();
    std::printf("%d frames of %d x %d, scaled to %d x %d\n", frames, width, height, small_width,
                small_height);
    const bool saved = picture_save(sheet.get(), argc > 1 ? argv[1] : "07_frames.png");
    return end_program("07_frames", saved);
} catch (const q32::Error &error) {
    std::fprintf(stderr, "07_frames: %s\n", error.what());
    return 1;
}
