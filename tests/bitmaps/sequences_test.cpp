// Bitmaps: to be written.
#include "tests/bitmaps/bitmap_fixture.h"
