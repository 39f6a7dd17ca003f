// The export that converts runs of pixels between colour spaces.
#include "merge/merge.h"

#include <q32base/merge.h>

int Q32_CALL i32ColorspaceConvert(void *destination, const void *source, int pixels,
                                  unsigned conversion) {
    using namespace q32::merge;
    // Nothing to convert is a success, whatever the reason: programs do not look at the result.
    if (destination == nullptr || source == nullptr || pixels < 1 ||
        conversion >= colour_change_count)
        return 1;
    colours().convert[conversion](static_cast<uint8_t *>(destination),
                                  static_cast<const uint8_t *>(source), size_t(pixels));
    return 1;
}
