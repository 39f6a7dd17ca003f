// q32tool separate: the plates of a four-colour print, and what they give together.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "apps/q32tool/notes.h"
#include "apps/q32tool/opacity.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/separating.h"
#include "apps/q32tool/timings.h"

#include <algorithm>
#include <optional>

namespace apps::q32tool {
namespace {

// "photo.png" and "cyan": "photo-cyan.png".
std::string beside(const std::string &path, std::string_view name) {
    const size_t dot = path.rfind('.');
    return path.substr(0, dot) + "-" + std::string(name) + path.substr(dot);
}

struct Outputs {
    std::array<std::string, plate_count> plates;
    std::string proof;

    explicit Outputs(const std::string &path) : proof(beside(path, "proof")) {
        for (size_t i = 0; i < plate_count; ++i)
            plates[i] = beside(path, plate_names[i]);
    }
};

// Pictures of 8 bits.
using Plates = std::vector<Picture>;

Plates plates_for(const Picture &picture, const Outputs &outputs) {
    const Image &image = picture.image;
    PictureFacts facts = picture.facts;
    facts.colour_profile.clear(); // of colours, not of inks
    Plates plates;
    plates.reserve(plate_count);
    for (const std::string &path : outputs.plates)
        plates.push_back(
            {Image(PixelFormat::grey, image.size(), image.type(), path), std::nullopt, facts});
    return plates;
}

// Plates of films are light where there is ink; as printed on paper, ink is dark.
void to_paper(std::vector<uint8_t> &plate) {
    std::transform(plate.begin(), plate.end(), plate.begin(),
                   [](uint8_t ink) { return static_cast<uint8_t>(255 - ink); });
}

// The image becomes the proof, row by row.
void separate(Image &image, Plates &plates, bool as_film) {
    const auto width = static_cast<size_t>(image.width());
    std::vector<uint8_t> pixels(width * 3);
    std::array<std::vector<uint8_t>, plate_count> inks;
    PlateRows rows;
    std::array<BufferLock, plate_count> locks;
    for (size_t i = 0; i < plate_count; ++i) {
        inks[i].resize(width);
        rows[i] = inks[i].data();
        locks[i] = plates[i].image.lock(BUF32_OVERWRITE);
    }
    const BufferLock lock = image.lock(BUF32_WRITE);
    prepare_separation();
    row_by_row("separating", image.height(), [&](int y) {
        image.line(y, BUF32_LINE_READ, pixels.data());
        separate_row(rows, pixels.data(), width);
        recombine_row(pixels.data(), rows, width);
        image.line(y, BUF32_LINE_WRITE, pixels.data());
        for (size_t i = 0; i < plate_count; ++i) {
            if (!as_film)
                to_paper(inks[i]);
            plates[i].image.line(y, BUF32_LINE_WRITE, inks[i].data());
        }
        timings().rows_converted += 2;
    });
}

// Pictures that are done stay when a later one cannot be.
void save_all(Plates &plates, Picture &proof, const Outputs &outputs,
              const PictureTransfer &transfer) {
    size_t done = 0;
    try {
        for (; done < plate_count; ++done)
            transfer.save(plates[done], outputs.plates[done]);
        transfer.save(proof, outputs.proof);
    } catch (const Cancelled &) {
        if (done == 0)
            throw;
        throw Cancelled(written_of(done, plate_count + 1, "picture"));
    }
}

void run(const Arguments &arguments) {
    const PictureTransfer transfer(arguments, arguments.operand(1));
    const Outputs outputs(transfer.out());
    const std::string &in = arguments.operand(0);
    Picture picture = transfer.load(in);
    if (picture.opacity)
        lay_over_white(picture, in, "plates have");
    Plates plates = plates_for(picture, outputs);
    if (!picture.facts.colour_profile.empty())
        note(in, "the colour profile is left out of the plates, only the proof has it");
    separate(picture.image, plates, arguments.has("--film"));
    save_all(plates, picture, outputs, transfer);
}

} // namespace

const Command separate_command = {
    .name = "separate",
    .operands = {"IN", "OUT"},
    .summary = "make the four plates of a print, and a proof",
    .description =
        "Separates IN into cyan, magenta, yellow and black, and writes five pictures whose names\n"
        "are OUT's with a word before the extension: -cyan, -magenta, -yellow and -black, of 8\n"
        "bits, dark where there is ink, and -proof, of 24 bits: the plates put together again.\n"
        "Pictures that are done stay when a later one fails or the work is cancelled.",
    .options =
        joined({{{"--film", "", "plates as films: light where there is ink"}}, transfer_options()}),
    .run = run,
};

} // namespace apps::q32tool
