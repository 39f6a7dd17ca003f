// q32tool stream: many pictures of one size scaled with one set of tables.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/frame_files.h"
#include "apps/q32tool/frames.h"
#include "apps/q32tool/interrupt.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/scaling.h"
#include "apps/q32tool/timings.h"

#include <q32base/resample.h>

#include <chrono>
#include <cstdio>

namespace apps::q32tool {
namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The tables that all frames share, and the frame that receives each result.
class Stream {
public:
    Stream(const Frame &first, Size size, int method)
        : header_(first.header()),
          result_(size.width, size.height, first.bits), record_{&header_, size.width, size.height,
                                                                method,   nullptr,    nullptr,
                                                                nullptr,  nullptr} {
        const Timed timed(Part::library);
        if (!vcResampleInit(&record_))
            throw library_failure("the stream", "tables cannot be made");
    }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    ~Stream() { vcResampleEnd(&record_); }

    Frame &scale(const Frame &frame, const std::string &named) {
        const Timed timed(Part::library);
        const auto start = Clock::now();
        if (!vcResampleEx(0, frame.pixels.data(), &header_, result_.pixels.data(), record_.width,
                          record_.height, record_.method, &record_))
            throw library_failure(named, "the frame cannot be scaled");
        seconds_ += seconds_since(start);
        return result_;
    }

    const Frame &result() const { return result_; }
    double seconds() const { return seconds_; } // in the library

private:
    BITMAPINFOHEADER header_;
    Frame result_;
    VCRESAMPLE record_;
    double seconds_ = 0;
};

// Checked before the first frame is read: the encoders would refuse only when one is written.
void check_holds_transparency(const std::vector<FrameFile> &files) {
    for (const FrameFile &file : files)
        check_transparent_output(file.out);
}

void check_frame(const Frame &frame, const Frame &first, const std::string &path) {
    if (frame.size() != first.size())
        throw Failure(path,
                      "this frame has " + size_in_words(frame.size()) + ", the first one " +
                          size_in_words(first.size()),
                      "all frames of a stream have one size");
}

std::string per_second(size_t frames, double seconds) {
    char text[40];
    std::snprintf(text, sizeof text, "%.1f", static_cast<double>(frames) / seconds);
    return text;
}

void tell(const Stream &stream, const Frame &first, size_t frames, std::string_view method,
          double seconds) {
    const Frame &result = stream.result();
    print(counted(frames, "frame") + ", " + size_in_words(first.size()) + " to " +
          size_in_words(result.size()) + ", " + std::to_string(first.bits) + " bits, " +
          std::string(method) + "\n" + per_second(frames, stream.seconds()) +
          " frames per second scaled, " + per_second(frames, seconds) +
          " with reading and writing\n");
}

// In the order of the sequence; frames that are done stay when a later one cannot be.
void run(const Arguments &arguments) {
    const Scaling scaling(arguments);
    const int bits =
        std::stoi(std::string(arguments.choice("--bits", {"8", "16", "24", "32"}, "24")));
    const std::vector<FrameFile> files = find_frames(arguments.operand(0), arguments.operand(1));
    if (bits == 32)
        check_holds_transparency(files);
    size_t done = 0;
    try {
        const auto start = Clock::now();
        Progress progress("streaming", static_cast<int>(files.size()));
        const Frame first = read_frame(files[0].in, bits);
        Stream stream(first, scaling.size_for(first.size()), scaling.method());
        for (const FrameFile &file : files) {
            const Frame frame = done == 0 ? first : read_frame(file.in, bits);
            check_frame(frame, first, file.in);
            write_frame(stream.scale(frame, file.in), file.out, check_output(file.out));
            ++done;
            progress.advance(1);
        }
        clear_progress();
        if (!arguments.has("--quiet"))
            tell(stream, first, done, scaling.method_name(), seconds_since(start));
    } catch (const Cancelled &) {
        if (done == 0)
            throw;
        throw Cancelled(written_of(done, files.size(), "frame"));
    }
}

} // namespace

const Command stream_command = {
    .name = "stream",
    .operands = {"IN", "OUT"},
    .summary = "scale a sequence of pictures of one size",
    .description =
        "Scales many pictures of one size with one set of tables, and prints how many frames\n"
        "per second that makes.\n"
        "IN is a folder, whose .png, .bmp, .jpg and .tif files are taken in the order of their\n"
        "names, or a name with a number in it, such as shot-####.png or shot-%04d.png. OUT is a\n"
        "folder that is there, where frames keep their names, or a name with a number as IN.\n"
        "Frames that are done stay when a later one fails or the work is cancelled.",
    .options = joined({scaling_options(),
                       {{"--bits", "8|16|24|32",
                         "bits per pixel: grey, 5-5-5, colours (24), with transparency"}}}),
    .run = run,
    .takes = Takes::sequence,
};

} // namespace apps::q32tool
