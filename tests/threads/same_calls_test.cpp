// Threads that make one and the same call again and again, each on memory of its own, and look at
// what came out each time. Everything is prepared before and all begin together, so that they are
// inside the call nearly all of the time, and all of them at the same place: a variable that they
// share there has no time to be right. Rules of the headers as in threads_test.cpp.
#include "tests/frame/comm.h"
#include "tests/workload/work.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace q32::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int lane_count = 4;
constexpr std::chrono::milliseconds longest_of_a_call{20};
constexpr int repetitions = 8; // between two looks at the time

// --- what is called ------------------------------------------------------------------------------

// What a thread works on. Output is as `before` at each call.
struct Lane {
    Bytes before;
    std::function<void(std::uint8_t *output)> call;
    Bytes output = {}, expected = {};

    bool is_right() {
        std::memcpy(output.data(), before.data(), before.size());
        call(output.data());
        return std::memcmp(output.data(), expected.data(), expected.size()) == 0;
    }
};

// Lanes of a call differ in their bytes, and a little in their sizes: by `less`, which is 0 to
// lane_count - 1.
struct SameCall {
    std::string name;
    std::function<Lane(Random &, int less)> make_lane;
};
using Calls = std::vector<SameCall>;

Bytes some_bytes(Random &random, int count) {
    Bytes bytes(static_cast<std::size_t>(count));
    random.fill(bytes);
    return bytes;
}

// --- merging -------------------------------------------------------------------------------------

constexpr int most_pixels = 4096, pixels_less = 33;
// What is shared for the time of a row shows in long ones; what is shared for a moment, in short
// ones, of which there are many more.
constexpr int few_pixels = 150;

bool takes(int mode, int pixel) {
    return mode < MERGE_COLOR || mode > MERGE_VALUE || pixel == 3;
}

Lane merged_run(Random &random, int run_pixels, int less, int mode, int pixel, bool masked) {
    run_pixels -= pixels_less * less;
    const Bytes base = some_bytes(random, pixel * run_pixels),
                overlay = some_bytes(random, pixel * run_pixels),
                mask = some_bytes(random, run_pixels);
    return {base, [=](std::uint8_t *output) {
                api().i32Merge(output, base.data(), masked ? mask.data() : nullptr, overlay.data(),
                               pixel, run_pixels, unsigned(mode), 30 + less);
            }};
}

Lane merged_rectangle(Random &random, int less, int mode, int pixel, bool masked) {
    const int width = 150 - 3 * less, height = 40 - less;
    const Bytes image = some_bytes(random, pixel * width * height),
                overlay = some_bytes(random, pixel * width * height),
                mask = some_bytes(random, width * height);
    return {image, [=](std::uint8_t *output) {
                const RECT place{5, 3, width + 5, height + 3};
                api().i32MergeEx(output, width, height, masked ? mask.data() : nullptr, &place,
                                 overlay.data(), &place, pixel, mode, 30 + less);
                api().i32MergeRamToRam(output, width, height, pixel, -7, 4, overlay.data(),
                                       masked ? mask.data() : nullptr, width, height,
                                       {0, 0, width, height}, mode, 30 + less);
            }};
}

void add_merging(Calls &calls) {
    for (const int pixel : {1, 3, 4})
        for (int mode = MERGE_NORMAL; mode <= MERGE_MASK_SUBTRACT; ++mode) {
            if (!takes(mode, pixel))
                continue;
            const std::string name =
                "mode " + std::to_string(mode) + ", " + std::to_string(pixel) + " bytes";
            calls.push_back({"i32Merge, " + name, [=](Random &random, int less) {
                                 return merged_run(random, most_pixels, less, mode, pixel, true);
                             }});
            if (mode != MERGE_MASK_SUBTRACT)
                calls.push_back({"i32MergeEx, " + name, [=](Random &random, int less) {
                                     return merged_rectangle(random, less, mode, pixel,
                                                             mode % 2 == 0);
                                 }});
        }
    for (const int mode : {MERGE_COLOR, MERGE_LIGHTEN, MERGE_RELIEF, MERGE_MULTIPLY})
        for (const int pixels : {few_pixels, most_pixels})
            calls.push_back({"i32Merge, mode " + std::to_string(mode) + ", " +
                                 std::to_string(pixels) + " pixels",
                             [=](Random &random, int less) {
                                 return merged_run(random, pixels, less, mode, 3,
                                                   mode == MERGE_RELIEF || pixels == few_pixels);
                             }});
}

void add_colours(Calls &calls) {
    for (const unsigned conversion :
         {I32_RGB_TO_GREY, I32_GREY_TO_RGB, I32_RGB_TO_HSV, I32_RGB_TO_HLS})
        calls.push_back({"i32ColorspaceConvert " + std::to_string(conversion),
                         [=](Random &random, int less) -> Lane {
                             const int run_pixels = most_pixels - pixels_less * less;
                             const Bytes source = some_bytes(random, 3 * run_pixels);
                             return {Bytes(12 * most_pixels), [=](std::uint8_t *output) {
                                         api().i32ColorspaceConvert(output, source.data(),
                                                                    run_pixels, conversion);
                                     }};
                         }});
    for (const int type : {I32_FILTER_GREY, I32_FILTER_RGB, I32_FILTER_RGBX})
        calls.push_back(
            {"i32ColorFilter " + std::to_string(type), [=](Random &random, int less) -> Lane {
                 const int run_pixels = most_pixels - pixels_less * less;
                 const Bytes source = some_bytes(random, type * run_pixels);
                 I32COLORFILTER filter{1, {{{}, {90, 90, 90, 90}}}};
                 random.fill(filter.ranges[0].colour);
                 return {Bytes(most_pixels), [=](std::uint8_t *output) {
                             api().i32ColorFilter(output, nullptr, source.data(), type,
                                                  unsigned(run_pixels), &filter, 1);
                         }};
             }});
    calls.push_back({"qfdClrRgbToCmyk", [](Random &random, int less) -> Lane {
                         const Bytes source = some_bytes(random, 3 * 500);
                         return {Bytes(4 * 500), [=](std::uint8_t *output) {
                                     for (int i = less; i < 500; ++i)
                                         api().qfdClrRgbToCmyk(&source[std::size_t(3 * i)],
                                                               output + 4 * i);
                                 }};
                     }});
}

// --- rows ----------------------------------------------------------------------------------------

// Of 4 bytes a pixel at most, to at most as many.
using RowCall = void(std::uint8_t *output, const std::uint8_t *source, int pixels);
void add_row(Calls &calls, const char *name, RowCall *call) {
    for (const int most : {few_pixels, most_pixels})
        calls.push_back({name + (", " + std::to_string(most) + " pixels"),
                         [=](Random &random, int less) -> Lane {
                             const Bytes source = some_bytes(random, 4 * most);
                             const int pixels = most - pixels_less * less;
                             return {Bytes(std::size_t(4 * most)), [=](std::uint8_t *output) {
                                         call(output, source.data(), pixels);
                                     }};
                         }});
}

void add_rows(Calls &calls) {
#define Q32_CONVERSION(name)                                                                       \
    add_row(calls, #name, [](std::uint8_t *output, const std::uint8_t *source, int pixels) {       \
        api().name(output, source, pixels);                                                        \
    })
    Q32_CONVERSION(RGBToBGR);
    Q32_CONVERSION(mem32BitToByte);
    Q32_CONVERSION(mem32BitToByteExt);
    Q32_CONVERSION(mem32_555To888);
    Q32_CONVERSION(mem32_565To888);
    Q32_CONVERSION(mem32_888To555);
    Q32_CONVERSION(mem32_888To565);
#undef Q32_CONVERSION
    add_row(calls, "mem32ByteToBit",
            [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
                api().mem32ByteToBit(output, source, pixels, 127);
            });
    add_row(calls, "mem32Fill", [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
        api().mem32Fill(output, source, 3, pixels);
    });
    add_row(calls, "mem32Map", [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
        // The tables lie anywhere in front of the pixels, which begin behind the first.
        api().mem32Map(output, source + 256, source, MEM32_MAP_8, std::min(pixels, 300));
    });
    add_row(calls, "mem32Enlarge",
            [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
                api().mem32Enlarge(output, source, pixels / 3, 4, 3, 1);
            });
    add_row(calls, "mem32BitEnlarge",
            [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
                api().mem32BitEnlarge(output, source, pixels, 3);
            });
    add_row(calls, "mem32Reduce", [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
        api().mem32Reduce(output, source, pixels, 3, 3, 1);
    });
    add_row(calls, "mem32EnlargeExt",
            [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
                api().mem32EnlargeExt(output, source, pixels / 50, 10, 2, 2, 3, 1);
            });
    add_row(calls, "mem32ReduceExt",
            [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
                api().mem32ReduceExt(output, source, pixels / 10, 9, 3, 2, 3, 1);
            });
    add_row(calls, "mem32GetMem", [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
        api().mem32GetMem(source, 1, 0, pixels / 10 - 1, 10, 3, pixels / 10 * 3, output);
    });
    add_row(calls, "mem32GetMem of bits",
            [](std::uint8_t *output, const std::uint8_t *source, int pixels) {
                api().mem32GetMem(source, 3, 0, pixels, 4, 0, pixels / 8 + 2, output);
            });
}

// --- resampling ----------------------------------------------------------------------------------

Lane resampled_frame(Random &random, int less, int method, WORD bits) {
    const int width = 90 - less, height = 60, new_width = 120 - less, new_height = 45 + less;
    const Bytes source = some_bytes(random, (width * bits / 8 + 3) / 4 * 4 * height);
    struct Frame {
        BITMAPINFOHEADER header{};
        VCRESAMPLE record{};
        ~Frame() { api().vcResampleEnd(&record); }
    };
    const auto frame = std::make_shared<Frame>();
    frame->header.biWidth = width;
    frame->header.biHeight = height;
    frame->header.biBitCount = bits;
    frame->record.source = &frame->header;
    frame->record.width = new_width;
    frame->record.height = new_height;
    frame->record.method = method;
    api().vcResampleInit(&frame->record);
    return {Bytes(std::size_t((new_width * bits / 8 + 3) / 4 * 4 * new_height)),
            [=](std::uint8_t *output) {
                api().vcResampleEx(0, source.data(), &frame->header, output, new_width, new_height,
                                   method, &frame->record);
            }};
}

void add_resampling(Calls &calls) {
    for (const int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC})
        for (const WORD bits : {8, 16, 24, 32})
            calls.push_back(
                {"vcResampleEx " + std::to_string(method) + ", " + std::to_string(bits) + " bits",
                 [=](Random &random, int less) {
                     return resampled_frame(random, less, method, bits);
                 }});
}

// --- buffers -------------------------------------------------------------------------------------

constexpr int widest = 140, high = 135; // four cells

// Made and freed by the thread that prepares.
using SharedBuffer = std::shared_ptr<const HBUF32>;
SharedBuffer buffer_of(Random &random, int wide, int bits, uint32_t type = BUF32_TILED) {
    HBUF32 made = 0;
    api().buf32Alloc(&made, bits, wide, high, type, nullptr);
    const Bytes pixels = some_bytes(random, (wide * bits + 7) / 8 * high);
    api().buf32MergeMem(made, 0, 0, pixels.data(), wide, high);
    api().buf32Lock(made, BUF32_READ, nullptr);
    return {new HBUF32(made), [](const HBUF32 *buffer) {
                api().buf32Unlock(*buffer);
                api().buf32Free(*buffer);
                delete buffer;
            }};
}

// A call on a buffer, and another one that it may read.
using BufferCall = void(HBUF32 buffer, HBUF32 other, std::uint8_t *memory, int wide);
Lane called_buffer(Random &random, int less, int bits, BufferCall *call) {
    const int wide = widest - less;
    const SharedBuffer buffer = buffer_of(random, wide, bits),
                       other = buffer_of(random, wide, bits, BUF32_LINEAR);
    return {some_bytes(random, widest * bits / 8 * high + high),
            [=](std::uint8_t *output) { call(*buffer, *other, output, wide); }};
}

constexpr struct {
    const char *name;
    BufferCall *call;
} buffer_calls[] = {
    {"buf32GetMem", [](HBUF32 buffer, HBUF32, std::uint8_t *memory,
                       int wide) { api().buf32GetMem(buffer, 0, 0, wide, high, memory); }},
    {"buf32GetMemWithBC",
     [](HBUF32 buffer, HBUF32, std::uint8_t *memory, int wide) {
         const std::uint8_t background[8] = {1, 2, 3, 4, 5, 6, 7, 8};
         api().buf32GetMemWithBC(buffer, -wide / 4, -5, wide / 2, 20, memory, background);
     }},
    {"buf32MergeMem",
     [](HBUF32 buffer, HBUF32, std::uint8_t *memory, int wide) {
         api().buf32MergeMem(buffer, 0, 0, memory, wide, high);
         api().buf32GetMem(buffer, 0, 0, wide, high, memory);
     }},
    {"buf32MergeBuf",
     [](HBUF32 buffer, HBUF32 other, std::uint8_t *memory, int wide) {
         api().buf32MergeBuf(other, 1, 2, wide - 10, 100, buffer, 3, 5);
         api().buf32GetMem(buffer, 0, 0, wide, high, memory);
     }},
    {"buf32Line",
     [](HBUF32 buffer, HBUF32, std::uint8_t *memory, int wide) {
         for (int y = 0; y < 4; ++y)
             api().buf32Line(buffer, y + wide % 50, BUF32_LINE_READ, memory);
     }},
};

Lane merged_buffers(Random &random, int less, int mode, int bits) {
    const int wide = widest - less;
    const SharedBuffer image = buffer_of(random, wide, bits),
                       overlay = buffer_of(random, wide, bits), mask = buffer_of(random, wide, 8);
    const int row = wide * bits / 8;
    const Bytes pixels = some_bytes(random, row * high);
    return {pixels, [=](std::uint8_t *output) {
                const RECT all{0, 0, wide, high};
                api().i32MergeBufToRam(output, 0, 0, wide, high, bits / 8, *mask, *overlay, &all,
                                       mode, 30);
                api().buf32MergeMem(*image, 0, 0, output, wide, high);
                api().i32MergeBufToBuf(*image, 9, -4, *mask, *overlay, &all, mode, 30);
                api().buf32GetMem(*image, 0, 0, wide, high, output);
            }};
}

Lane bar(Random &random, int less) {
    const int wide = widest - less;
    const SharedBuffer image = buffer_of(random, wide, 24);
    const auto from = COLORREF(random.next()), to = COLORREF(random.next());
    return {Bytes(std::size_t(3 * wide * high)), [=](std::uint8_t *output) {
                HBUF32 filled = *image;
                api().q32CreateColorBarImage(&filled, 0, 0, from, to, int(from & 1), 0);
                api().buf32GetMem(filled, 0, 0, wide, high, output);
            }};
}

void add_buffers(Calls &calls) {
    for (const int bits : {1, 8, 24})
        for (const auto &[name, call] : buffer_calls)
            calls.push_back({name + (", " + std::to_string(bits) + " bits"),
                             [=, made = call](Random &random, int less) {
                                 return called_buffer(random, less, bits, made);
                             }});
    for (const int mode : {MERGE_NORMAL, MERGE_HUE, MERGE_LIGHTEN, MERGE_RELIEF, MERGE_MULTIPLY})
        calls.push_back(
            {"i32MergeBufToBuf, mode " + std::to_string(mode),
             [=](Random &random, int less) { return merged_buffers(random, less, mode, 24); }});
    calls.push_back({"q32CreateColorBarImage", bar});
}

// --- the loop ------------------------------------------------------------------------------------

class SameCalls : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        frame::drop_shared_library();
        frame::reset_comm();
        frame::comm().mmx = GetParam();
        frame::shared_library();
        prepare_work();
    }
    void TearDown() override {
        frame::drop_shared_library();
        frame::reset_comm();
    }
};

INSTANTIATE_TEST_SUITE_P(Mmx, SameCalls, testing::Bool(),
                         [](const auto &flag) { return flag.param ? "On" : "Off"; });

struct Result {
    std::atomic<int> made = 0, wrong = 0;
};

void repeat(std::vector<Lane> &lanes, std::chrono::milliseconds longest, Result &result) {
    std::atomic<int> ready = 0;
    std::vector<std::thread> threads;
    for (Lane &lane : lanes)
        threads.emplace_back([&] {
            ++ready;
            while (ready < lane_count) // so that all begin at once
                std::this_thread::yield();
            const auto end = std::chrono::steady_clock::now() + longest;
            int made = 0, wrong = 0;
            do {
                for (int i = 0; i < repetitions; ++i)
                    wrong += !lane.is_right();
                made += repetitions;
            } while (std::chrono::steady_clock::now() < end);
            result.made += made;
            result.wrong += wrong;
        });
    for (std::thread &thread : threads)
        thread.join();
}

TEST_P(SameCalls, DoTheSameAtTheSameTime) {
    Calls calls;
    add_merging(calls);
    add_colours(calls);
    add_rows(calls);
    add_resampling(calls);
    add_buffers(calls);
    const auto longest = longest_of_a_call * cases_of_the_round(16) / 16;
    std::uint64_t number = 0, made = 0;
    for (const SameCall &call : calls) {
        std::vector<Lane> lanes;
        for (int i = 0; i < lane_count; ++i) {
            Random random{test_seed(), ++number};
            Lane &lane = lanes.emplace_back(call.make_lane(random, i));
            lane.output = lane.before;
            lane.call(lane.output.data());
            lane.expected = lane.output;
            EXPECT_TRUE(lane.is_right()) << call.name << ", alone";
        }
        Result result;
        repeat(lanes, longest, result);
        EXPECT_EQ(result.wrong, 0) << call.name << ", of " << result.made << " calls";
        made += std::uint64_t(result.made);
    }
    frame::forget_reports();
    std::printf("seed %llu: %d threads, %zu calls made %llu times\n",
                static_cast<unsigned long long>(test_seed()), lane_count, calls.size(),
                static_cast<unsigned long long>(made));
}

} // namespace
} // namespace q32::test
