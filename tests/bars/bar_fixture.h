// What the tests of bars in buffers share: new buffers, buffers compared with a picture, and memory
// that ends where it should.
#pragma once

#include "tests/bars/bar.h"
#include "tests/buffer/entry_hook.h"
#include "tests/frame/fenced_heap.h"
#include "tests/merge_buffers/merge_fixture.h"

#include <q32base/bars.h>

namespace q32::test {

class BarTest : public BufferTest {
protected:
    // A new buffer, silently, its record in order; 0 and a failure otherwise.
    HBUF32 make(const Bar &bar, int width, int height) {
        SCOPED_TRACE(text_of(bar) + ", " + std::to_string(width) + " x " + std::to_string(height));
        HBUF32 handle = 0;
        EXPECT_SUCCESS(bar.into(api(), &handle, width, height));
        EXPECT_NE(handle, 0u);
        if (handle == 0)
            return 0;
        EXPECT_EQ(word(handle, field_type), BUF32_TILED);
        EXPECT_EQ(word(handle, field_bits_per_pixel), uint32_t(bar.bits()));
        EXPECT_EQ(word(handle, field_width), uint32_t(width));
        EXPECT_EQ(word(handle, field_height), uint32_t(height));
        EXPECT_EQ(word(handle, field_lock_count), 0u);
        return handle;
    }

    // The rows of a new one.
    Bytes rows_of(const Bar &bar, int width, int height) {
        const Buffer buffer(make(bar, width, height));
        return buffer == 0 ? Bytes{} : read_rows(buffer).bytes();
    }

    // A new one has the model's pixels.
    void check_new(const Bar &bar, int width, int height) {
        const Buffer buffer(make(bar, width, height));
        ASSERT_NE(buffer, 0u);
        EXPECT_TRUE(read_rows(buffer).bytes() == bar.picture(width, height))
            << text_of(bar) << ", " << width << " x " << height;
    }

    // A given one, too, and is the same buffer in the same state. What is asked for in sizes is not
    // looked at.
    void check_given(const Bar &bar, Side &given) {
        HBUF32 handle = given;
        const uint32_t locks = given.locks();
        EXPECT_SUCCESS(bar.into(api(), &handle, 0, -7));
        EXPECT_EQ(handle, HBUF32(given));
        EXPECT_EQ(given.locks(), locks);
        given.picture.image.bytes() = bar.picture(given.width(), given.height());
        given.expect_picture();
    }
};

} // namespace q32::test
