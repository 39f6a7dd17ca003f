// What picture files say beside the pixels: whatever they hold, it is read within bounds, in
// moderate memory, and makes sense.
#include "apps/pictures/byte_source.h"
#include "apps/pictures/format_facts.h"
#include "tests/fuzz/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    const Block file(Bytes(data, data + size));
    const apps::FileFacts found = apps::read_facts(apps::in_memory({file.at(), file.size()}));
    const apps::PictureFacts &facts = found.facts;
    check(found.pictures >= 1, "a file holds no picture");
    check(facts.orientation >= 1 && facts.orientation <= 8, "an orientation makes no sense");
    check(!facts.resolution || (facts.resolution->x > 0 && facts.resolution->y > 0),
          "a resolution makes no sense");
    check(apps::checked_profile(facts.colour_profile) == facts.colour_profile, "a profile is none");
    const std::vector<std::uint8_t> text(facts.comment.begin(), facts.comment.end());
    check(apps::text_from(text) == facts.comment, "a comment is no text");
    return 0;
}
