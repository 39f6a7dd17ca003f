// JPEG files of four inks without a transform of colours, as Adobe's programs may write them:
// codecs may take the inks for colours that were transformed.
#pragma once

#include "row_file.h"

#include <memory>

namespace apps {

class InkRows final : public RowFile {
public:
    // None for a file that is left to the codec: of another kind, or damaged.
    static std::unique_ptr<InkRows> open(const ReadAt &file);

    void read_rows(int count, uint8_t *pixels) override;

private:
    struct Free {
        void operator()(uint8_t *pixels) const;
    };
    InkRows() = default;

    std::unique_ptr<uint8_t[], Free> pixels_; // red first
    const uint8_t *next_ = nullptr;
};

} // namespace apps
