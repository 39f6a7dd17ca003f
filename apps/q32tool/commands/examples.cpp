// The examples, in the order of the help.
#include "examples.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace apps::q32tool {
namespace {

struct Examples {
    std::string_view command;
    std::vector<std::string_view> lines;
};

const std::vector<Examples> &all_examples() {
    static const std::vector<Examples> all = {
        {"info",
         {"q32tool info photo.jpg", "q32tool info photo.jpg --json",
          "q32tool info photo.jpg --storage file --swap-dir swap"}},
        {"rows",
         {"q32tool rows photo.jpg --at 10,4 --size 8x8",
          "q32tool rows photo.jpg --at 10,4 --size 8x8 --bits 16 --format 565"}},
        {"convert",
         {"q32tool convert photo.jpg photo.png", "q32tool convert photo.jpg negative.png --invert",
          "q32tool convert photo.jpg scan.tif --bits 1 --threshold 100"}},
        {"crop",
         {"q32tool crop photo.jpg detail.png --at 10,5 --size 32x24",
          "q32tool crop photo.jpg framed.png --at -5,-5 --size 90x70 --background 255,255,255"}},
        {"paste", {"q32tool paste photo.jpg logo.png signed.jpg --at 40,30"}},
        {"fill",
         {"q32tool fill photo.jpg blue.png --colour 0,80,200",
          "q32tool fill photo.jpg hidden.png --colour \"#ff8000\" --at 10,10 --size 20x8"}},
        {"pattern",
         {"q32tool pattern photo.jpg logo.png tiles.png",
          "q32tool pattern photo.jpg logo.png corner.png --at 0,0 --size 40x30"}},
        {"scale",
         {"q32tool scale photo.jpg small.jpg --fit 32x32",
          "q32tool scale photo.jpg half.png --percent 50",
          "q32tool scale logo.png large.png --size 64x64 --method nearest"}},
        {"enlarge",
         {"q32tool enlarge logo.png logo-8.png --factor 8 --bits 32",
          "q32tool enlarge photo.jpg wide.png --factor 3x2"}},
        {"reduce",
         {"q32tool reduce photo.jpg small.png --factor 4",
          "q32tool reduce photo.jpg field.png --factor 1 --step 2"}},
        {"stream",
         {"q32tool stream shots scaled --percent 50 --method bilinear",
          "q32tool stream shots/shot-####.png scaled/small-####.png --fit 20x20"}},
        {"compose",
         {"q32tool compose --base photo.jpg --overlay logo.png --at 40,30 -o signed.jpg",
          "q32tool compose --base photo.jpg --overlay logo.png --mode screen -o bright.png"}},
        {"filter",
         {"q32tool filter photo.jpg skin.png --range 220,180,150:40 --range 180,130,100:30",
          "q32tool filter photo.jpg rest.png --range 220,180,150:40 --outside"}},
        {"colorspace",
         {"q32tool colorspace photo.jpg hues.png --to hsv --field hue",
          "q32tool colorspace photo.jpg other.jpg --to hls --turn-hue 120"}},
        {"separate",
         {"q32tool separate photo.jpg plate.tif", "q32tool separate photo.jpg film.tif --film"}},
        {"show",
         {"q32tool show photo.jpg --depth-of 256-colours -o seen.png",
          "q32tool show photo.jpg --depth-of high-colour --no-dither -o seen.png"}},
        {"bars",
         {"q32tool bars hsb --size 360x255 -o field.png",
          "q32tool bars grey --size 16x256 --from 255 --to 0 -o ramp.png",
          "q32tool bars colour --size 200x20 --rainbow --horizontal -o rainbow.png"}},
        {"bitmap",
         {"q32tool bitmap picture.bmp copy.bmp",
          "q32tool bitmap picture.bmp signed.bmp --paste logo.png --at 10,10"}},
        {"jobs", {"q32tool jobs order.png", "q32tool jobs order.png --size 96x64 --side 16"}},
        {"leftovers", {"q32tool leftovers", "q32tool leftovers --remove --older 60"}},
        {"explain",
         {"q32tool explain 1001 4 3", "q32tool explain \"(error 1001, module 4, point 3)\""}},
        {"help", {"q32tool help scale"}},
    };
    return all;
}

} // namespace

std::span<const std::string_view> examples_of(std::string_view command) {
    for (const Examples &examples : all_examples())
        if (examples.command == command)
            return examples.lines;
    return {};
}

} // namespace apps::q32tool
