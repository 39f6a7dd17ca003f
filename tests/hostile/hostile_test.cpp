// Calls of all exports with hostile arguments, many to a case, each case with a start and a stop of
// the library. After every call the process must live, its thread have the priority that it had,
// memory beside what was given be as it was, and buffers and counters be what they must; behind a
// case nothing may be left. Q32BASE_TEST_HOSTILE_CALLS says how many calls.
#include "tests/hostile/callbacks.h"
#include "tests/hostile/world.h"

#include "tests/frame/misaligned.h"
#include "tests/frame/priority.h"
#include "tests/frame/small_memory.h"
#include "tests/kernels/running.h"
#include "tests/library/library_fixture.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <thread>

namespace q32::test {
namespace {

// A minute of them; between inaccessible pages, where blocks are slow to be had, a quarter.
constexpr std::uint64_t calls_of_the_long_round = 240000, calls_between_fences = 60000;
constexpr std::uint64_t calls_of_a_case = 400;
constexpr std::size_t deepest = 3;  // callbacks within callbacks
constexpr int longest_seconds = 30; // of a call

// --- what is called ------------------------------------------------------------------------------

std::vector<const Row *> all_rows() {
    std::vector<const Row *> rows;
    for (const auto part : {bar_rows(), buffer_rows(), display_rows(), merge_rows(), plain_rows(),
                            queue_rows(), resample_rows()})
        for (const Row &row : part)
            rows.push_back(&row);
    return rows;
}

template <class Function>
struct ResultOf;
template <class Result, class... Parameters>
struct ResultOf<Result (*)(Parameters...)> {
    using Type = Result;
};

// A function, and the bits of its result that mean something.
struct Export {
    const void *address;
    Word result_bits;
};

template <class Function>
Export export_of(Function function) {
    using Result = typename ResultOf<Function>::Type;
    Word bits = ~Word{0};
    if constexpr (!std::is_void_v<Result>)
        bits = sizeof(Result) < sizeof(Word) ? 0xFFFFFFFF : bits;
    return {reinterpret_cast<const void *>(function), bits};
}

using Exports = std::map<std::string, Export>;
Exports all_exports() {
    return {
#define Q32_EXPORT(exported) {#exported, export_of(api().exported)},
#include "q32_exports.inc"
#undef Q32_EXPORT
    };
}

#ifdef _WIN64
// More arguments than a function has are nothing to it. Records that are passed by value are where
// an address says.
Word call_with(const Draw &draw, const Export &exported) {
    Word words[16] = {};
    RECT rectangle;
    std::size_t to = 0;
    for (std::size_t from = 0; from < draw.row.arguments.size(); ++from) {
        if (int(from) != draw.row.rectangle) {
            words[to++] = draw.words[from];
            continue;
        }
        rectangle = {LONG(draw[from]), LONG(draw[from + 1]), LONG(draw[from + 2]),
                     LONG(draw[from + 3])};
        words[to++] = word_of(&rectangle);
        from += 3;
    }
    using Function = Word(Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word,
                          Word, Word, Word, Word);
    return reinterpret_cast<Function *>(const_cast<void *>(exported.address))(
        words[0], words[1], words[2], words[3], words[4], words[5], words[6], words[7], words[8],
        words[9], words[10], words[11], words[12], words[13], words[14], words[15]);
}
#else
Word call_with(const Draw &draw, const Export &exported) {
    return frame::q32_call_at(exported.address, draw.words,
                              std::uint32_t(draw.row.arguments.size()),
                              std::uint32_t(4 * draw.random.below(4)));
}
#endif

const Row &some_row(Random &random, bool from_callback) {
    static const std::vector<const Row *> rows = all_rows();
    static const std::size_t sum = [] {
        std::size_t weights = 0;
        for (const Row *const row : rows)
            weights += row->weight;
        return weights;
    }();
    for (;;) {
        std::size_t place = random.below(sum), i = 0;
        while (place >= rows[i]->weight)
            place -= rows[i++]->weight;
        if (rows[i]->from_callbacks || !from_callback)
            return *rows[i];
    }
}

// --- a case --------------------------------------------------------------------------------------

struct Counts {
    std::uint64_t calls = 0;
    std::set<std::string> exports;
} made;

std::atomic<std::uint64_t> serial; // of the call that is being made

class Case {
public:
    explicit Case(Random &random) : random_(random) { current = this; }
    ~Case() { current = nullptr; }
    Case(const Case &) = delete;
    Case &operator=(const Case &) = delete;

    // What went wrong; empty when nothing did.
    std::string run(std::uint64_t calls) {
        calls_ = calls;
        for (number_ = 1; number_ <= calls_; ++number_) {
            world_.callback_calls = 4;
            world_.callback_steps = 300;
            if (!make_call())
                return wrong_;
        }
        number_ = 0;
        return world_.finish();
    }
    const World &world() const { return world_; }
    const std::string &last_line() const { return last_line_; }
    // The calls that are being made, the innermost last.
    std::string lines() const {
        std::string text = number_ == 0 ? "giving everything back" : "";
        for (const Draw *const draw : draws_)
            text += (text.empty() ? "call " + std::to_string(number_) + ": " : "\n  in it: ") +
                    line_of(*draw);
        return text;
    }

    bool call_from_callback() {
        if (draws_.empty() || draws_.size() >= deepest || world_.callback_calls <= 0 ||
            random_.below(3) != 0)
            return true;
        --world_.callback_calls;
        const World::AtWork before = world_.enter_callback(*draws_.back());
        const bool done = make_call();
        world_.leave_callback(before);
        return done;
    }
    bool goes_on(int one_in) {
        return world_.callback_steps-- > 0 && random_.below(std::size_t(one_in)) != 0;
    }

    static inline Case *current;

private:
    bool make_call() {
        const Row &row = some_row(random_, !draws_.empty());
        static Memory memories[deepest];
        Memory &memory = memories[draws_.size()];
        Draw draw{.row = row, .world = world_, .random = random_, .memory = memory};
        draws_.push_back(&draw);
        if (row.before)
            row.before(draw);
        if (put_together(draw, row))
            call(draw, row);
        if (number_ == calls_)
            last_line_ = lines();
        draws_.pop_back();
        return wrong_.empty();
    }

    // Whether there is such a call.
    bool put_together(Draw &draw, const Row &row) {
        constexpr unsigned percents[] = {0, 3, 12, 40};
        for (int attempt = 0; attempt < 20; ++attempt) {
            draw.percent = percents[random_.below(std::size(percents))];
            draw.memory.give_back();
            draw.slots.clear();
            draw.slots_before.clear();
            if (draw_arguments(draw, row))
                return true;
        }
        return false;
    }
    static bool draw_arguments(Draw &draw, const Row &row) {
        for (const auto turn : {Argument::number, Argument::record, Argument::memory})
            for (std::size_t i = 0; i < row.arguments.size(); ++i) {
                if (row.arguments[i].turn != turn)
                    continue;
                const Drawn word = row.arguments[i].draw(draw, i);
                if (!word)
                    return false;
                draw.words[i] = *word;
            }
        return true;
    }

    void call(Draw &draw, const Row &row) {
        ++serial;
        ++made.calls;
        made.exports.insert(row.name);
        const int priority = frame::thread_priority();
        const Export &exported = exports_.at(row.name);
        const Word result = call_with(draw, exported) & exported.result_bits;
        if (!wrong_.empty())
            return; // in a callback
        if (row.after)
            row.after(draw, result);
        std::string wrong = world_.settle(draw);
        if (frame::thread_priority() != priority)
            wrong += "the thread's priority is " + std::to_string(frame::thread_priority());
        if (!draw.memory.kept_beside())
            wrong += "memory beside what was given has been written";
        if (!wrong.empty())
            wrong_ = lines() + "\n" + wrong;
    }

    std::string line_of(const Draw &draw) const {
        std::string text = std::string(draw.row.name) + "(";
        for (std::size_t i = 0; i < draw.row.arguments.size(); ++i)
            text += (i == 0 ? "" : ", ") + text_of(draw, draw.words[i]);
        return text + ")";
    }
    std::string text_of(const Draw &draw, Word word) const {
        char text[64];
        const std::ptrdiff_t size = draw.memory.size_at(word);
        if (const HeldBuffer *const held = world_.find(word)) {
            std::snprintf(text, sizeof text, "buffer of %d bits, %d x %d, type %u",
                          held->info.bits_per_pixel, held->info.width, held->info.height,
                          held->info.type);
            return text;
        }
        if (size < 0) {
            const auto number = std::int32_t(word);
            const bool is_small = number > -70000 && number < 70000 && word <= 0xFFFFFFFF;
            std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(word));
            return is_small ? std::to_string(number) : text;
        }
        std::string line = std::to_string(size) + " bytes";
        if (size == 0 || size > 40 || size % 4 != 0)
            return line;
        for (std::ptrdiff_t at = 0; at < size; at += 4) {
            std::int32_t value;
            std::memcpy(&value, reinterpret_cast<const char *>(word) + at, 4);
            line += (at == 0 ? " {" : ", ") + std::to_string(value);
        }
        return line + "}";
    }

    Random &random_;
    World world_;
    const Exports exports_ = all_exports();
    std::vector<const Draw *> draws_;
    std::uint64_t number_ = 0, calls_ = 0;
    std::string wrong_, last_line_;
};

// --- what does not come back ---------------------------------------------------------------------

// Ends the program with the call's line when a call takes too long.
class Watchdog {
public:
    Watchdog() : thread_([this] { watch(); }) {}
    ~Watchdog() {
        done_ = true;
        thread_.join();
    }
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

private:
    void watch() {
        constexpr std::chrono::milliseconds nap{100};
        std::uint64_t seen = 0;
        for (auto since = std::chrono::steady_clock::now(); !done_;) {
            std::this_thread::sleep_for(nap);
            const auto now = std::chrono::steady_clock::now();
            if (seen != serial) {
                seen = serial;
                since = now;
            } else if (now - since > std::chrono::seconds(longest_seconds)) {
                std::printf("hang: more than %d s in %s\n%s\n", longest_seconds,
                            Case::current ? Case::current->lines().c_str() : "no call",
                            rerun(running_case).c_str());
                std::fflush(stdout);
                TerminateProcess(GetCurrentProcess(), 3);
            }
        }
    }

    std::atomic<bool> done_ = false;
    std::thread thread_;
};

std::string summary(int crashes) {
    return "hostile calls: " + std::to_string(made.calls) + " calls of " +
           std::to_string(made.exports.size()) + " exports, seed " + std::to_string(test_seed()) +
           ", " + std::to_string(crashes) + " crashes";
}

// --- the test ------------------------------------------------------------------------------------

TEST(Hostile, HasARowOfEveryExport) {
    std::multiset<std::string> rows, exports;
    for (const Row *const row : all_rows())
        rows.insert(row->name);
#define Q32_EXPORT(exported) exports.insert(#exported);
#include "q32_exports.inc"
#undef Q32_EXPORT
    EXPECT_EQ(rows, exports);
}

frame::Census holdings() {
    frame::Census census = frame::Census::now();
    census.files_on_disk -= frame::file_exists(master_file()); // made by the first start, and kept
    return census;
}

struct Outcome {
    std::string wrong, last_line; // the former empty when nothing is
    bool leaks = false;
};

// A case, or the first calls of it.
Outcome outcome_of(std::uint64_t number, std::uint64_t calls) {
    Random random{test_seed(), number};
    frame::drop_shared_library();
    frame::empty_sandbox();
    frame::reset_comm();
    frame::comm().mmx = random.below(2) == 0;
    frame::comm().esc_from_poll = int(random.below(4));
    frame::Census before = holdings();
    frame::shared_library();
    Outcome outcome;
    std::vector<HPALETTE> palettes;
    {
        Case hostile(random);
        const Running running([&] { return hostile.lines() + "\n" + summary(1); });
        outcome.wrong = hostile.run(calls);
        outcome.last_line = hostile.last_line();
        palettes = hostile.world().palettes;
    }
    frame::shared_library().detach();
    frame::forget_reports();
    before.drawing_objects += int(palettes.size()); // the caller's
    if (const frame::Census after = holdings(); outcome.wrong.empty() && !(after == before)) {
        outcome.leaks = true;
        outcome.wrong = "before: " + testing::PrintToString(before) +
                        "\nbehind: " + testing::PrintToString(after);
    }
    for (const HPALETTE palette : palettes)
        DeleteObject(palette);
    frame::drop_shared_library();
    return outcome;
}

// The call without which nothing stays behind.
std::string leaking_line(std::uint64_t number) {
    std::uint64_t without = 0, with = calls_of_a_case;
    while (with - without > 1) {
        const std::uint64_t middle = (without + with) / 2;
        (outcome_of(number, middle).wrong.empty() ? without : with) = middle;
    }
    return outcome_of(number, with).last_line;
}

TEST(Hostile, CallsDoNoHarm) {
    const bool is_fenced = std::getenv("Q32BASE_TEST_HEAP") != nullptr;
    const std::uint64_t calls = environment_number(
        "Q32BASE_TEST_HOSTILE_CALLS", is_fenced ? calls_between_fences : calls_of_the_long_round);
    const Watchdog watchdog;
    const frame::SmallMemory small;
    random_cases((calls + calls_of_a_case - 1) / calls_of_a_case,
                 [](Random &, std::uint64_t number) {
                     const Outcome outcome = outcome_of(number, calls_of_a_case);
                     if (outcome.wrong.empty())
                         return true;
                     ADD_FAILURE() << outcome.wrong << "\n"
                                   << (outcome.leaks ? "since " + leaking_line(number) + "\n" : "")
                                   << rerun(number);
                     return false;
                 });
    std::printf("%s\n", summary(0).c_str());
    RecordProperty("calls", int(made.calls));
}

} // namespace

int Q32_CALL dispatch_callback(int message, std::uint32_t, std::intptr_t parameter, std::intptr_t) {
    if (message != D32_STEP) { // readable until the callback returns
        volatile LONG right = reinterpret_cast<const RECT *>(parameter)->right;
        static_cast<void>(right);
    }
    return Case::current->call_from_callback() && Case::current->goes_on(12);
}

int __stdcall progress_callback(int, int, int, std::uintptr_t) {
    return Case::current->call_from_callback() && Case::current->goes_on(12);
}

} // namespace q32::test
