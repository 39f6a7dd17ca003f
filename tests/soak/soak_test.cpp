// Everything that the library can, in turn and again, with a start and a stop of the library each
// time. Memory, handles and drawing objects of the process must be as many in the last third of the
// time as in the first. Q32BASE_TEST_SOAK_SECONDS says how long; 20 without.
#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/figures.h"
#include "tests/workload/work.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <numeric>
#include <psapi.h>

namespace q32::test {
namespace {

constexpr std::size_t unmeasured_cycles = 3; // in which the system fills its own caches
constexpr std::size_t fewest_cycles = 12;

// --- measures ------------------------------------------------------------------------------------

struct Measure {
    const char *name, *unit;
    double margin; // by which the last third may lie above the first
    double (*now)();
    std::vector<double> samples = {};

    static double mean(const double *first, const double *last) {
        return std::accumulate(first, last, 0.0) / double(last - first);
    }
    double first_third() const { return mean(samples.data(), samples.data() + samples.size() / 3); }
    double last_third() const {
        return mean(samples.data() + samples.size() - samples.size() / 3,
                    samples.data() + samples.size());
    }

    // A line of a chart: time from left to right, the least as a dot, the most as a hash.
    void print() const {
        constexpr std::size_t columns = 60;
        constexpr char levels[] = ".:-=+*%#";
        const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
        std::string line;
        const std::size_t width = std::min(columns, samples.size());
        for (std::size_t column = 0; column < width; ++column) {
            const double *const data = samples.data();
            const double value = mean(data + column * samples.size() / width,
                                      data + (column + 1) * samples.size() / width);
            const double share = *most > *least ? (value - *least) / (*most - *least) : 0;
            line += levels[std::size_t(share * (sizeof levels - 2) + 0.5)];
        }
        std::printf("%-16s %s  %.2f to %.2f %s, first third %.2f, last third %.2f\n", name,
                    line.c_str(), *least, *most, unit, first_third(), last_third());
    }
    void tell() const {
        const std::string figure = std::string("soak, ") + name;
        const char *const counted = *unit != '\0' ? unit : name;
        figures::value(figure + ", first", samples.front(), counted);
        figures::value(figure + ", last", samples.back(), counted);
        figures::value(figure + ", first third", first_third(), counted);
        figures::value(figure + ", last third", last_third(), counted);
    }
};

double working_set() {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters));
    return double(counters.WorkingSetSize) / (1 << 20);
}

// Counted one by one: not every system that runs the library counts them for its programs.
double handles() {
    DWORD count = 0, flags = 0;
    for (std::uintptr_t handle = 4; handle < 4 * 2048; handle += 4)
        count += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != 0;
    return count;
}

// Where the system keeps no count, the highest place in its table that new ones get: what leaks
// drives it up.
double drawing_objects() {
    const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    if (counted != 0)
        return counted;
    HBRUSH brushes[200];
    std::uintptr_t highest = 0;
    for (HBRUSH &brush : brushes) {
        brush = CreateSolidBrush(RGB(1, 2, 3));
        highest = std::max(highest, reinterpret_cast<std::uintptr_t>(brush) & 0xFFFF);
    }
    for (const HBRUSH brush : brushes)
        DeleteObject(brush);
    return double(highest);
}

// --- what is done --------------------------------------------------------------------------------

int Q32_CALL go_on(int, std::uint32_t, std::intptr_t, std::intptr_t) {
    return 1;
}

void use_queues(Random &random) {
    ASSERT_EQ(api().CreateQueue(5), 1);
    std::uint8_t message[300];
    random.fill(message);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(api().AddQueue(message, sizeof message), 1);
    std::uint8_t received[sizeof message + 2];
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(api().GetFromQueue(received, sizeof message), int(sizeof message));
    EXPECT_EQ(api().ClearQueue(), 30);
    EXPECT_EQ(api().AddQueue(message, sizeof message), 1); // which DeleteQueue frees
    EXPECT_EQ(api().DeleteQueue(5), 1);

    const RECT rectangle{0, 0, 300, 200};
    const DispatchDesc description{
        .value = 0, .callback = go_on, .user_data = 0, .first = 64, .last = 64};
    for (std::uint32_t owner = 1; owner <= 6; ++owner)
        EXPECT_EQ(api().d32AddQueue(owner, &rectangle, 0, 0, 0, D32_TILES, &description), 1);
    for (int step = 0; step < 60; ++step)
        api().d32DispatchQueue();
    HGLOBAL rectangles = nullptr;
    api().d32GetCurQueue(&rectangles);
    if (rectangles != nullptr) {
        frame::forget_block(rectangles);
        GlobalFree(rectangles);
    }
    for (std::uint32_t owner = 1; owner <= 6; ++owner)
        api().d32DeleteQueue(owner);
}

// A start of the library, pieces of everything, and its stop.
std::uint64_t cycle(std::uint64_t number) {
    const frame::Census before = frame::Census::now();
    frame::comm().mmx = number % 2 == 0;
    prepare_work();
    Digest digest;
    Random random{test_seed(), number};
    for (const Area &area : areas())
        for (int piece = 0; piece < 8; ++piece)
            area.piece(random, digest);
    use_queues(random);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
    frame::forget_reports(); // some rectangles meet nothing
    frame::shared_library().detach();
    EXPECT_EQ(frame::Census::now(), before);
    frame::drop_shared_library();
    return digest.cases();
}

// Each measure sees what it is there for.
TEST(Soak, TheMeasuresMeasure) {
    working_set(), handles(), drawing_objects(); // have what they need from now on
    const double memory = working_set(), open = handles(), objects = drawing_objects();
    const std::vector<char> block(8 << 20, 1);
    std::vector<HANDLE> events(10);
    std::vector<HBRUSH> brushes(10);
    for (HANDLE &event : events)
        event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    for (HBRUSH &brush : brushes)
        brush = CreateSolidBrush(RGB(1, 2, 3));
    EXPECT_GE(working_set(), memory + 7);
    EXPECT_EQ(handles(), open + 10);
    EXPECT_EQ(drawing_objects(), objects + 10);
    for (HANDLE event : events)
        CloseHandle(event);
    for (HBRUSH brush : brushes)
        DeleteObject(brush);
    EXPECT_EQ(handles(), open);
    EXPECT_LE(drawing_objects(), objects + 10); // the places stay in use where they are counted so
}

TEST(Soak, TheProcessStaysAsItWas) {
    const std::chrono::seconds wanted(environment_number("Q32BASE_TEST_SOAK_SECONDS", 20));
    // The working set moves with what the heap gives back, a handle or object with what the system
    // itself keeps for a while; a leak of one a cycle is many times as much.
    Measure measures[] = {{"working set", "MiB", 1.5, working_set},
                          {"handles", "", 2, handles},
                          {"drawing objects", "", 2, drawing_objects}};
    for (Measure &measure : measures)
        measure.samples.reserve(100000); // so that samples are no leak
    frame::reset_comm();
    frame::shared_library();
    frame::drop_shared_library(); // the books of swap files are there from now on

    const auto begin = std::chrono::steady_clock::now();
    std::uint64_t cycles = 0, cases = 0;
    while (std::chrono::steady_clock::now() - begin < wanted ||
           cycles < unmeasured_cycles + fewest_cycles) {
        cases += cycle(cycles++);
        ASSERT_FALSE(HasFailure()) << "cycle " << cycles - 1;
        if (cycles > unmeasured_cycles)
            for (Measure &measure : measures)
                measure.samples.push_back(measure.now());
    }
    std::printf("seed %llu: %llu cycles, %llu pixels\n",
                static_cast<unsigned long long>(test_seed()),
                static_cast<unsigned long long>(cycles), static_cast<unsigned long long>(cases));
    figures::value("soak, cycles", double(cycles), "cycles");
    figures::value("soak, pixels", double(cases), "pixels");
    figures::value("soak, time",
                   std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count(),
                   "s");
    for (const Measure &measure : measures) {
        measure.print();
        measure.tell();
        EXPECT_LE(measure.last_third(), measure.first_third() + measure.margin) << measure.name;
    }
    frame::reset_comm();
}

} // namespace
} // namespace q32::test
