// Rows on their way between buffers and the sums.
#include "averaging.h"

#include "area_average.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace apps {
namespace {

// A locked buffer, and memory for a row of it.
class Layer {
public:
    Layer(HBUF32 buffer, int lock_mode, const std::string &named)
        : buffer_(buffer), named_(named), lock_(lock_buffer(buffer, lock_mode, named)) {
        BUF32INFO info = {};
        if (!buf32GetInfo(buffer, &info))
            throw library_failure(named, "the buffer cannot be examined");
        size_ = {info.width, info.height};
        channels_ = info.bytes_per_pixel;
        row_.resize(static_cast<size_t>(info.width) * static_cast<size_t>(info.bytes_per_pixel));
    }

    Size size() const { return size_; }
    int channels() const { return channels_; }
    uint8_t *row() { return row_.data(); }

    void move(int y, int line_mode) {
        if (!buf32Line(buffer_, y, line_mode, row_.data()))
            throw library_failure(named_, "row " + std::to_string(y) + " cannot be moved");
    }

private:
    HBUF32 buffer_;
    const std::string &named_;
    BufferLock lock_;
    Size size_;
    int channels_;
    std::vector<uint8_t> row_;
};

// Rows of a picture, with the opacity behind the colours of each pixel.
class Rows {
public:
    Rows(const PictureBuffers &buffers, int lock_mode, const std::string &named)
        : colours_(buffers.colours, lock_mode, named) {
        if (buffers.opacity == 0)
            return;
        opacity_.emplace(buffers.opacity, lock_mode, named);
        joined_.resize(static_cast<size_t>(size().width) * static_cast<size_t>(channels()));
    }

    Size size() const { return colours_.size(); }
    int channels() const { return colours_.channels() + (opacity_ ? 1 : 0); }

    const uint8_t *read(int y) {
        colours_.move(y, BUF32_LINE_READ);
        if (!opacity_)
            return colours_.row();
        opacity_->move(y, BUF32_LINE_READ);
        uint8_t *to = joined_.data();
        each_pixel([&](uint8_t *colours, uint8_t *opacity) {
            to = std::copy_n(colours, colours_.channels(), to);
            *to++ = *opacity;
        });
        return joined_.data();
    }

    void write(int y, const uint8_t *row) {
        if (opacity_) {
            each_pixel([&](uint8_t *colours, uint8_t *opacity) {
                std::copy_n(row, colours_.channels(), colours);
                row += colours_.channels();
                *opacity = *row++;
            });
            opacity_->move(y, BUF32_LINE_WRITE);
        } else {
            std::copy_n(row, size().width * colours_.channels(), colours_.row());
        }
        colours_.move(y, BUF32_LINE_WRITE);
    }

private:
    template <typename Use>
    void each_pixel(const Use &use) {
        uint8_t *colours = colours_.row(), *opacity = opacity_->row();
        for (int x = 0; x < size().width; ++x, colours += colours_.channels())
            use(colours, opacity++);
    }

    Layer colours_;
    std::optional<Layer> opacity_;
    std::vector<uint8_t> joined_;
};

} // namespace

void average(const PictureBuffers &source, const PictureBuffers &result, Light light,
             const std::string &named, const std::function<void(int)> &row_done) {
    Rows from(source, BUF32_READ, named);
    Rows to(result, BUF32_OVERWRITE, named);
    AreaAverage sums(from.size(), to.size(), from.channels(), light);
    int made = 0;
    for (int y = 0; y < from.size().height; ++y) {
        if (const uint8_t *row = sums.take(from.read(y)); row != nullptr)
            to.write(made++, row);
        row_done(y + 1);
    }
}

} // namespace apps
