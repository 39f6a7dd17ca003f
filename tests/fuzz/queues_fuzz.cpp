// The queue of messages against one of the standard library's, and the dispatch queue with
// callbacks that call everything again.
#include "geometry/area.h"
#include "tests/fuzz/system/machine.h"

#include <q32base/queues.h>

#include <deque>

namespace q32::fuzz {
namespace {

// --- messages -----------------------------------------------------------------------------------

// What there must be.
struct Messages {
    bool exists = false;
    std::uint32_t owner = 0;
    std::deque<Bytes> waiting;
};

void take(Input &input, Messages &rule) {
    const int size = input.between(-2, 40);
    const bool has_buffer = input.below(4) != 0;
    const Block buffer(Bytes(std::size_t(std::max(size, 0)) + 2, 0xA5));
    const int result = GetFromQueue(has_buffer ? buffer.at() : nullptr, size);
    if (!rule.exists || rule.waiting.empty())
        return check(result == 0, "a message comes from nowhere");
    const Bytes &oldest = rule.waiting.front();
    const int oldest_size = int(oldest.size());
    if (size == -1)
        return check(result == oldest_size, "a message has another size");
    if (size < 0 || oldest_size > size)
        return check(result == -1, "a message that is too large is taken");
    if (!has_buffer)
        return check(result == 0, "a message is lost");
    Bytes expected = oldest;
    expected.resize(oldest.size() + 2);
    const Bytes content = buffer.content();
    check(result == oldest_size && std::equal(expected.begin(), expected.end(), content.begin()),
          "a message is another one");
    rule.waiting.pop_front();
}

void send_messages(Input &input) {
    Messages rule;
    if (input.below(8) == 0)
        machine().allocations_left = int(input.below(40));
    while (!input.is_empty()) {
        const std::uint32_t owner = input.below(3);
        switch (input.below(8)) {
        case 0: {
            const bool may = rule.owner == 0, made = CreateQueue(owner) != 0;
            check(may || !made, "a queue of another owner is lost");
            if (may)
                rule = {made, made ? owner : 0, {}};
            break;
        }
        case 1:
            check((DeleteQueue(owner) != 0) == (owner == rule.owner), "an owner is not the owner");
            if (owner == rule.owner)
                rule = {};
            break;
        case 2:
            check(ClearQueue() == int(rule.waiting.size()), "messages are miscounted");
            rule.waiting.clear();
            break;
        case 3:
            take(input, rule);
            break;
        default: {
            const Block message(input.bytes(input.below(40)));
            const bool added = AddQueue(message.at(), std::uint32_t(message.size())) != 0;
            check(rule.exists || !added, "a message goes nowhere");
            if (added)
                rule.waiting.push_back(message.content());
        }
        }
        check((IsQueueEmpty() != 0) == rule.waiting.empty(), "a queue is not as empty as it says");
    }
    DeleteQueue(rule.owner);
}

// --- jobs ---------------------------------------------------------------------------------------

Input *deciding = nullptr; // null: callbacks end their jobs and do nothing else
int depth = 0;
constexpr int deepest = 5;
constexpr std::uint32_t owners = 4;

void use_dispatcher(Input &input);

// Mode and sizes of the job; tiles lie in it.
struct Job {
    int mode;
    Area area;
};
std::deque<Job> jobs; // by their numbers, which are the callbacks' data

int Q32_CALL answer(int message, std::uint32_t owner, std::intptr_t parameter,
                    std::intptr_t number) {
    check(owner >= 1 && owner <= owners, "a job has another owner");
    check(message == D32_BEGIN || message == D32_STEP || message == D32_END,
          "a message is no message");
    const Job &job = jobs.at(std::size_t(number));
    if (message != D32_STEP || job.mode != D32_STEPS) {
        RECT rectangle;
        std::memcpy(&rectangle, reinterpret_cast<const void *>(parameter), sizeof rectangle);
        const Area tile{rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
        check(message != D32_STEP || (contains(job.area, tile) && !tile.is_empty()),
              "a tile lies outside of its job");
    }
    if (deciding == nullptr || deciding->is_empty())
        return 0;
    if (depth < deepest && deciding->below(4) == 0) {
        ++depth;
        use_dispatcher(*deciding);
        --depth;
    }
    return deciding->below(8) != 0;
}

RECT rectangle_of(Input &input) {
    const int left = input.below(8) == 0 ? input.any_int() : 0,
              top = input.below(8) == 0 ? input.any_int() : 0;
    const Area area = area_of(left, top, input.between(-1, 900), input.between(-1, 900));
    return {area.left, area.top, area.right, area.bottom};
}

void add_job(Input &input) {
    const RECT rectangle = rectangle_of(input);
    const int mode = input.between(-1, 3);
    const auto side = [&] {
        return input.below(16) == 0 ? input.any_int() : input.between(0, 300);
    };
    const DispatchDesc description{.callback = answer,
                                   .user_data = std::intptr_t(jobs.size()),
                                   .first = side(),
                                   .last = side()};
    jobs.push_back({mode, {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom}});
    d32AddQueue(std::uint32_t(input.between(0, owners)), &rectangle, input.below(4) == 0, 1, 2,
                mode, &description);
}

void use_dispatcher(Input &input) {
    const auto owner = std::uint32_t(input.between(0, owners));
    switch (input.below(10)) {
    case 0:
        d32DeleteQueue(owner);
        break;
    case 1: {
        HGLOBAL rectangles = nullptr;
        const std::uint32_t current = d32GetCurQueue(&rectangles);
        check(current != 0 || rectangles == nullptr, "nobody has rectangles");
        GlobalFree(rectangles);
        break;
    }
    case 2:
        d32IsInQueue(owner, input.flag());
        break;
    case 3: {
        const RECT from = rectangle_of(input), to = rectangle_of(input);
        d32SetEndDispatchRect(owner, &from, &to);
        break;
    }
    case 4:
        d32SetFirstService(owner);
        break;
    case 5:
    case 6:
    case 7:
        add_job(input);
        break;
    default:
        d32DispatchQueue();
    }
}

void dispatch_jobs(Input &input) {
    jobs.clear();
    depth = 0;
    deciding = &input;
    for (int left = 400; left > 0 && !input.is_empty(); --left)
        use_dispatcher(input);
    deciding = nullptr;
    d32SetFirstService(0);
    for (std::uint32_t owner = 1; owner <= owners; ++owner)
        d32DeleteQueue(owner);
    for (int left = 100; left > 0 && d32GetCurQueue(nullptr) != 0; --left)
        d32DispatchQueue();
    check(d32GetCurQueue(nullptr) == 0, "a job cannot be ended");
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    restart_machine();
    if (input.flag())
        send_messages(input);
    else
        dispatch_jobs(input);
    check_nothing_is_held();
    return 0;
}
