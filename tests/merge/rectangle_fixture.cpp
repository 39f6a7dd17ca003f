// The checked calls of the rectangle functions.
#include "tests/merge/rectangle_fixture.h"

#include <algorithm>
#include <sstream>

namespace q32::test {
namespace {

std::size_t area(std::int64_t width, std::int64_t height) {
    return width > 0 && height > 0 ? std::size_t(width * height) : 0;
}

const char *mmx_text(const model::Call &call) {
    return call.mmx ? ", MMX" : ", no MMX";
}

} // namespace

std::ostream &operator<<(std::ostream &out, const RectangleCase &c) {
    return out << "mode " << c.call.mode << ", transparency " << c.call.transparency
               << mmx_text(c.call) << ", image of " << c.width << " x " << c.height << " pixels of "
               << c.call.bytes << " bytes, " << (c.masked ? "mask " : "no mask ") << text_of(c.mask)
               << ", overlay " << text_of(c.overlay);
}

std::ostream &operator<<(std::ostream &out, const ImageCase &c) {
    return out << "mode " << c.call.mode << ", transparency " << c.call.transparency
               << mmx_text(c.call) << ", image of " << c.width << " x " << c.height << " pixels of "
               << c.call.bytes << " bytes, at (" << c.x << ", " << c.y << ") "
               << (c.masked ? "masked " : "") << "overlay of " << c.overlay_width << " x "
               << c.overlay_height << ", rectangle " << text_of(c.rectangle);
}

std::optional<std::size_t> RectangleStage::bytes_of(const RECT &rectangle, int width, int height,
                                                    int bytes) {
    constexpr std::int64_t most = 1 << 14;
    const std::int64_t row = std::int64_t(rectangle.right) - rectangle.left;
    const std::int64_t rows = std::int64_t(rectangle.bottom) - rectangle.top;
    if (row <= 0 || rows <= 0)
        return 0;
    // The last pixel of the image that lies in the rectangle.
    const std::int64_t x = std::min<std::int64_t>(width, rectangle.right) - 1;
    const std::int64_t y = std::min<std::int64_t>(height, rectangle.bottom) - 1;
    if (x < std::max<std::int64_t>(0, rectangle.left) ||
        y < std::max<std::int64_t>(0, rectangle.top))
        return 0;
    if (row < most && rows < most && row * rows < most)
        return std::size_t(row * rows * bytes);
    if (row > most && y > rectangle.top)
        return std::nullopt;
    const std::int64_t last = (y - rectangle.top) * row + x - rectangle.left;
    if (last >= most)
        return std::nullopt;
    return std::size_t((last + 1) * bytes);
}

void RectangleStage::fill(std::size_t image, std::size_t overlay, std::size_t mask, int bytes,
                          Random &random) {
    const auto size = std::size_t(bytes);
    const auto place = [&] { return Place{random.below(4) != 0}; };
    image_.hold(some_bytes(random, image * size), place());
    // Every other overlay is close to the image in every pixel.
    overlay_bytes_ = some_bytes(random, overlay * size);
    if (random.below(2) == 0) {
        const Bytes base = image_.contents();
        for (std::size_t i = 0; !base.empty() && i < overlay_bytes_.size(); ++i)
            overlay_bytes_[i] = base[i % base.size()];
        overlay_bytes_ = pixels_near(random, overlay_bytes_, size);
    }
    overlay_.hold(overlay_bytes_, place());
    mask_bytes_ = some_mask(random, mask);
    mask_.hold(mask_bytes_, place());
}

std::string RectangleStage::difference(int returned, int point, const model::Call &call,
                                       const Bytes &expected) const {
    std::ostringstream wrong;
    const auto reports = frame::reports();
    frame::forget_reports();
    const auto wanted = point == 0 ? std::vector<frame::Failure>{}
                                   : std::vector<frame::Failure>{{4026, 2, 61, point}};
    if (reports != wanted)
        wrong << "reports " << testing::PrintToString(reports) << ", not "
              << testing::PrintToString(wanted) << "; ";
    const bool success = point == 0 && model::rectangles_have(call);
    if ((returned != 0) != success)
        wrong << "returns " << returned << "; ";
    for (const auto &[name, block, bytes] : {std::tuple{"image", &image_, &expected},
                                             std::tuple{"overlay", &overlay_, &overlay_bytes_},
                                             std::tuple{"mask", &mask_, &mask_bytes_}}) {
        const std::string text = block->difference(*bytes);
        if (!text.empty())
            wrong << "in the " << name << " " << text << "; ";
    }
    return wrong.str();
}

testing::AssertionResult RectangleStage::agrees(const RectangleCase &c, Random &random) {
    const auto overlay = bytes_of(c.overlay, c.width, c.height, 1);
    const auto mask = bytes_of(c.mask, c.width, c.height, 1);
    EXPECT_TRUE(overlay && (mask || !c.masked)) << "no memory is that large: " << c;
    fill(area(c.width, c.height), overlay.value_or(0), c.masked ? mask.value_or(0) : 0,
         c.call.bytes, random);
    Bytes expected = image_.contents();
    const int point = model::merge_rectangles(
        expected.data(), c.width, c.height, c.masked ? mask_bytes_.data() : nullptr, box_of(c.mask),
        overlay_bytes_.data(), box_of(c.overlay), c.call);
    frame::forget_reports();
    const int returned = api().i32MergeEx(
        image_.data(), c.width, c.height, c.masked ? mask_.data() : nullptr, &c.mask,
        overlay_.data(), &c.overlay, c.call.bytes, c.call.mode, c.call.transparency);
    const std::string text = difference(returned, point, c.call, expected);
    if (text.empty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << c << ": " << text;
}

testing::AssertionResult RectangleStage::agrees(const ImageCase &c, Random &random) {
    const std::size_t overlay = area(c.overlay_width, c.overlay_height);
    fill(area(c.width, c.height), overlay, c.masked ? overlay : 0, c.call.bytes, random);
    Bytes expected = image_.contents();
    const int point =
        model::merge_images(expected.data(), c.width, c.height, c.x, c.y, overlay_bytes_.data(),
                            c.masked ? mask_bytes_.data() : nullptr, c.overlay_width,
                            c.overlay_height, box_of(c.rectangle), c.call);
    frame::forget_reports();
    const int returned =
        api().i32MergeRamToRam(image_.data(), c.width, c.height, c.call.bytes, c.x, c.y,
                               overlay_.data(), c.masked ? mask_.data() : nullptr, c.overlay_width,
                               c.overlay_height, c.rectangle, c.call.mode, c.call.transparency);
    const std::string text = difference(returned, point, c.call, expected);
    if (text.empty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << c << ": " << text;
}

} // namespace q32::test
