// A program that is compiled without exceptions: all that returns its errors is there.
#include <q32base.hpp>

int main() {
    const std::uint8_t colour[] = {1, 2, 3};
    q32::Result<q32::Buffer> image = q32::Buffer::allocate<q32::nothrow>(24, 10, 10);
    if (!image)
        return image.error().message;
    const q32::Buffer copy = image->duplicate<q32::nothrow>().value();
    const q32::Result<q32::Lock> lock = copy.lock<q32::nothrow>(BUF32_READ);
    const q32::Result<q32::CellLock> cell = copy.lock_cell<q32::nothrow>(0);
    const auto progress = [](int, int value) { return value < 50; };
    if (!copy.fill<q32::nothrow>(colour) || !lock || !cell ||
        !copy.resample<q32::nothrow>(5, 5, RESAMPLE_BILINEAR, progress))
        return 1;
    const auto run = q32::DisplayRun::open<q32::nothrow>(nullptr, 24, {0, 0, 1, 1});
    auto jobs = q32::Jobs::of<q32::nothrow>(7, [](const q32::JobMessage &) { return true; });
    if (jobs && !jobs->add<q32::nothrow>({0, 0, 10, 10}, q32::JobSteps::bands(1)))
        return 2;
    return !run || !q32::call<q32::nothrow>(qfdClrRgbToCmyk, colour, nullptr);
}
