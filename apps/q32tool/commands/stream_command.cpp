// q32tool stream: many pictures of one size scaled with one set of tables.
#include "commands.h"

#include "apps/pictures/area_average.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/frame_files.h"
#include "apps/q32tool/frames.h"
#include "apps/q32tool/interrupt.h"
#include "apps/q32tool/notes.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/output_options.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/premultiplied.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/scaling.h"
#include "apps/q32tool/timings.h"

#include <q32base/resample.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <optional>

namespace apps::q32tool {
namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Of 32 bits.
template <typename Change>
void change_colours(Frame &frame, const Change &change) {
    for (int y = 0; y < frame.height; ++y) {
        uint8_t *pixel = frame.row(y);
        for (int x = 0; x < frame.width; ++x, pixel += 4)
            for (int channel = 0; channel < 3; ++channel)
                pixel[channel] = change(pixel[channel], pixel[3]);
    }
}

// What all frames share: the sums of those that become smaller, the library's tables, and the frame
// that receives each result.
class Stream {
public:
    Stream(const Frame &first, const Scaling &scaling)
        : reduced_size_(scaling.averaged_size_for(first.size())),
          size_(scaling.size_for(first.size())), result_(size_.width, size_.height, first.bits) {
        if (reduced_size_ != first.size())
            averaging_.emplace(first.size(), reduced_size_, first.bits / 8, scaling.light());
        if (averaging_ && size_ != reduced_size_)
            reduced_.emplace(reduced_size_.width, reduced_size_.height, first.bits);
        if (!averaging_ || reduced_)
            make_tables(reduced_ ? *reduced_ : first, scaling.method());
    }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    ~Stream() {
        if (has_tables_)
            vcResampleEnd(&record_);
    }

    Frame &scale(Frame &frame, const std::string &named) {
        const Timed timed(Part::library);
        const auto start = Clock::now();
        if (averaging_)
            average(frame, reduced_ ? *reduced_ : result_);
        if (has_tables_)
            resample(reduced_ ? *reduced_ : frame, named);
        seconds_ += seconds_since(start);
        result_.facts = frame.facts;
        result_.lies_over_white = frame.lies_over_white;
        return result_;
    }

    const Frame &result() const { return result_; }
    double seconds() const { return seconds_; } // in averaging and in the library

private:
    void make_tables(const Frame &source, int method) {
        header_ = source.header();
        record_ = {&header_, size_.width, size_.height, method, nullptr, nullptr, nullptr, nullptr};
        const Timed timed(Part::library);
        if (!vcResampleInit(&record_))
            throw library_failure("the stream", "tables cannot be made");
        has_tables_ = true;
    }

    void average(Frame &source, Frame &target) {
        const size_t row_bytes =
            static_cast<size_t>(target.width) * static_cast<size_t>(target.bits / 8);
        for (int y = 0, made = 0; y < source.height; ++y)
            if (const uint8_t *row = averaging_->take(source.row(y)); row != nullptr)
                std::copy_n(row, row_bytes, target.row(made++));
    }

    // Between pixels, colours count as much as they are opaque.
    void resample(Frame &source, const std::string &named) {
        const bool weighs = source.bits == 32 && record_.method != RESAMPLE_NEAREST;
        if (weighs)
            change_colours(source, multiplied);
        if (!vcResampleEx(0, source.pixels.data(), &header_, result_.pixels.data(), record_.width,
                          record_.height, record_.method, &record_))
            throw library_failure(named, "the frame cannot be scaled");
        if (weighs)
            change_colours(result_, divided);
    }

    Size reduced_size_, size_;
    std::optional<AreaAverage> averaging_;
    std::optional<Frame> reduced_; // when averaging leaves something to the library
    Frame result_;
    BITMAPINFOHEADER header_ = {};
    VCRESAMPLE record_ = {};
    bool has_tables_ = false;
    double seconds_ = 0;
};

// Checked before the first frame is read: the encoders would refuse only when one is written.
void check_holds_transparency(const std::vector<FrameFile> &files) {
    for (const FrameFile &file : files)
        check_transparent_output(file.out);
}

// Without --bits: with transparency if the first frame has some and all files can hold it.
int bits_for(const std::vector<FrameFile> &files) {
    const bool all_hold = std::all_of(files.begin(), files.end(), [](const FrameFile &file) {
        return holds_transparency(check_output(file.out));
    });
    return all_hold && is_transparent(files[0].in) ? 32 : 24;
}

// How frames are read and written. What is lost is noted of the stream, not of each frame.
struct Output {
    Turning turning;
    std::map<FileFormat, OutputSettings> settings;
    std::string named;

    Output(const Arguments &arguments, const std::vector<FrameFile> &files)
        : turning(turning_from(arguments)), named(arguments.operand(1)) {
        for (const FrameFile &file : files) {
            const FileFormat format = check_output(file.out);
            if (settings.count(format) == 0)
                settings[format] = output_settings(arguments, format);
        }
    }

    void write(Frame &frame, const std::string &path) const {
        const FileFormat format = check_output(path);
        write_frame(frame, path, format, settings.at(format), named);
        if (frame.lies_over_white)
            note(named, "the transparency is laid over white, frames of " +
                            std::to_string(frame.bits) + " bits have none");
    }
};

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
    const Scaling scaling(arguments, "bicubic");
    const std::string_view wanted = arguments.choice("--bits", {"8", "16", "24", "32"}, "");
    if (wanted == "16" && scaling.is_averaging())
        throw UsageError("frames of --bits 16 are not averaged");
    const std::vector<FrameFile> files = find_frames(arguments.operand(0), arguments.operand(1));
    if (wanted == "32")
        check_holds_transparency(files);
    const Output output(arguments, files);
    const int bits = wanted.empty() ? bits_for(files) : std::stoi(std::string(wanted));
    size_t done = 0;
    try {
        const auto start = Clock::now();
        Progress progress("streaming", static_cast<int>(files.size()));
        const Frame first = read_frame(files[0].in, bits, output.turning);
        Stream stream(first, scaling);
        for (const FrameFile &file : files) {
            Frame frame = done == 0 ? first : read_frame(file.in, bits, output.turning);
            check_frame(frame, first, file.in);
            output.write(stream.scale(frame, file.in), file.out);
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
        "per second that makes. With --method average, frames that become smaller are averaged\n"
        "as scale does it.\n"
        "IN is a folder, whose .png, .bmp, .jpg and .tif files are taken in the order of their\n"
        "names, or a name with a number in it, such as shot-####.png or shot-%04d.png. OUT is a\n"
        "folder that is there, where frames keep their names, or a name with a number as IN.\n"
        "Frames that are done stay when a later one fails or the work is cancelled.",
    .options = joined(
        {scaling_options("how pixels are made (bicubic)"),
         {{"--bits", "8|16|24|32", "bits per pixel: grey, 5-5-5, colours (24), with transparency"},
          keep_orientation_option()},
         output_options()}),
    .run = run,
    .takes = Takes::sequence,
};

} // namespace apps::q32tool
