// Duplicates.
#include "buffer/duplicates.h"

namespace q32::buffer {

int duplicate(Record &, HBUF32 *) {
    return 0;
}
int one_colour_duplicate(Record &, HBUF32 *) {
    return 0;
}
int pattern_duplicate(Record &, HBUF32 *) {
    return 0;
}

} // namespace q32::buffer
