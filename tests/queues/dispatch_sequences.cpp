// Making sequences, and playing them.
#include "tests/queues/dispatch_sequences.h"

#include "tests/frame/random.h"
#include "tests/queues/dispatch_fixture.h"

namespace q32::test {
namespace {

constexpr uint32_t owners[] = {1, 2, 3, 0x80000005};
constexpr int deepest = 5;          // callbacks within callbacks that make calls
constexpr int most_calls = 150;     // that callbacks make in one sequence
constexpr int most_messages = 4000; // later ones get 0, and make no calls

int between(Random &random, int first, int last) {
    return first + int(random.below(std::size_t(last - first + 1)));
}

RECT random_rectangle(Random &random) {
    const LONG left = between(random, -9, 9), top = between(random, -9, 9);
    RECT rectangle{left, top, left + between(random, 1, 6), top + between(random, 1, 4)};
    if (random.below(4) == 0)
        rectangle.right = left - between(random, 0, 2);
    else if (random.below(12) == 0)
        rectangle.bottom = top - between(random, 0, 2);
    return rectangle;
}

Operation random_operation(Random &random, const Sequence &sequence) {
    const auto rectangle = [&] { return sequence.pool[random.below(sequence.pool.size())]; };
    Operation made{};
    made.owner = random.below(40) == 0 ? 0 : owners[random.below(std::size(owners))];
    made.rectangle = rectangle();
    made.end = rectangle();
    made.mode = int(random.below(3));
    made.replace = random.below(5) == 0;
    if (made.mode == D32_STEPS) {
        made.first = between(random, -3, 5);
        made.last = made.first + between(random, -1, 4);
    } else {
        made.first = between(random, 0, 4);
        made.last = between(random, 0, 3);
    }
    if (random.below(100) < sequence.adds_percent) {
        made.kind = Operation::add;
        return made;
    }
    const Operation::Kind kinds[] = {
        Operation::dispatch,   Operation::dispatch,     Operation::dispatch,    Operation::dispatch,
        Operation::dispatch,   Operation::dispatch,     Operation::remove,      Operation::remove,
        Operation::rectangles, Operation::wait,         Operation::is_in_queue, Operation::set_end,
        Operation::set_end,    Operation::first_service};
    made.kind = kinds[random.below(std::size(kinds))];
    if (made.kind == Operation::first_service && random.below(3) == 0)
        made.owner = 0;
    return made;
}

// One run of a sequence.
class Player {
public:
    Player(const Sequence &sequence, Dispatcher &dispatcher)
        : sequence_(sequence), dispatcher_(dispatcher) {
        playing = this;
    }
    ~Player() { playing = nullptr; }
    Player(const Player &) = delete;
    Player &operator=(const Player &) = delete;

    Lines run() {
        for (const Operation &operation : sequence_.operations)
            perform(operation);
        calls_left_ = 0;
        for (uint32_t owner : owners)
            perform({Operation::remove, owner, {}, {}, false, 0, 0, 0});
        perform({Operation::first_service, 0, {}, {}, false, 0, 0, 0});
        perform({Operation::rectangles, 0, {}, {}, false, 0, 0, 0});
        perform({Operation::dispatch, 0, {}, {}, false, 0, 0, 0});
        return std::move(lines_);
    }

private:
    static int Q32_CALL receive(int message, uint32_t owner, intptr_t parameter,
                                intptr_t user_data) {
        return playing->answer(message, owner, parameter, std::size_t(user_data));
    }

    void line(const std::string &text) { lines_.push_back(std::string(depth_, ' ') + text); }

    int answer(int message, uint32_t owner, intptr_t parameter, std::size_t job) {
        const bool number = message == D32_STEP && modes_.at(job) == D32_STEPS;
        const auto text = [=] {
            return number ? std::to_string(parameter)
                          : text_of(*reinterpret_cast<const RECT *>(parameter));
        };
        const std::string received = text();
        line("message " + std::to_string(message) + " for " + std::to_string(owner) + ", job " +
             std::to_string(job) + ": " + received);
        const std::uint64_t place = messages_++;
        if (place >= most_messages)
            return 0;
        Random random{sequence_.seed, place};
        const int reply = random.below(10) == 0 ? 0 : int(random.below(3)) + 1;
        ++depth_;
        if (depth_ <= deepest && random.below(100) < sequence_.calls_percent)
            for (std::size_t i = random.below(3) + 1; i > 0 && calls_left_ > 0; --i) {
                --calls_left_;
                perform(random_operation(random, sequence_));
            }
        --depth_;
        if (text() != received)
            line("changed meanwhile to " + text());
        return reply;
    }

    void perform(const Operation &operation) {
        const std::string owner = std::to_string(operation.owner);
        const auto result = [this](const std::string &call, int value) {
            line(call + ": " + std::to_string(value));
        };
        switch (operation.kind) {
        case Operation::add:
            return add(operation);
        case Operation::dispatch:
            line("dispatch");
            return result("dispatched", dispatcher_.dispatch());
        case Operation::remove:
            line("delete " + owner);
            return result("deleted", dispatcher_.remove(operation.owner));
        case Operation::rectangles: {
            std::string all = "current " + std::to_string(dispatcher_.current());
            for (const RECT &rectangle : dispatcher_.current_rectangles())
                all += ", " + text_of(rectangle);
            return line(all);
        }
        case Operation::is_in_queue:
            return result("is " + owner + " there",
                          dispatcher_.is_in_queue(operation.owner, false));
        case Operation::wait:
            line("wait for " + owner);
            return result("waited", dispatcher_.is_in_queue(operation.owner, true));
        case Operation::set_end:
            return result("end of " + owner + ", " + text_of(operation.rectangle) + " is to be " +
                              text_of(operation.end),
                          dispatcher_.set_end(operation.owner, operation.rectangle, operation.end));
        case Operation::first_service:
            return result("first is " + owner, dispatcher_.set_first_service(operation.owner));
        }
    }

    void add(const Operation &operation) {
        static constexpr const char *names[] = {"tiles", "bands", "steps"};
        const std::string job = std::to_string(modes_.size());
        line((operation.replace ? "replace by job " : "add job ") + job + " for " +
             std::to_string(operation.owner) + ": " + names[operation.mode] + ' ' +
             std::to_string(operation.first) + ' ' + std::to_string(operation.last) + " of " +
             text_of(operation.rectangle));
        const DispatchDesc description{0, receive, intptr_t(modes_.size()), operation.first,
                                       operation.last};
        modes_.push_back(operation.mode);
        line("added job " + job + ": " +
             std::to_string(dispatcher_.add(operation.owner, operation.rectangle, operation.replace,
                                            operation.mode, description)));
    }

    static inline Player *playing = nullptr;

    const Sequence &sequence_;
    Dispatcher &dispatcher_;
    Lines lines_;
    std::vector<int> modes_; // of all jobs
    std::size_t depth_ = 0;
    std::uint64_t messages_ = 0;
    int calls_left_ = most_calls;
};

} // namespace

Sequence random_sequence(Random &random, std::uint64_t seed) {
    Sequence sequence{seed, {}, 0, 0, {}};
    constexpr unsigned calls[] = {0, 15, 40, 80}, adds[] = {20, 45, 75};
    sequence.calls_percent = calls[random.below(std::size(calls))];
    sequence.adds_percent = adds[random.below(std::size(adds))];
    for (int i = 0; i < 7; ++i)
        sequence.pool.push_back(random_rectangle(random));
    for (int i = between(random, 5, 70); i > 0; --i)
        sequence.operations.push_back(random_operation(random, sequence));
    return sequence;
}

Lines play(const Sequence &sequence, Dispatcher &dispatcher) {
    return Player{sequence, dispatcher}.run();
}

} // namespace q32::test
