// Rows of the two queues (queues.h).
#include "tests/hostile/callbacks.h"
#include "tests/hostile/world.h"

#include "tests/frame/calls.h"

#include <climits>

namespace q32::test {
namespace {

Argument owner() {
    return among({0, 1, 1, 2, 2, 3, INT_MAX, -1});
}

// Room for the oldest message, when it is not too large.
std::int64_t message_bytes(const Draw &draw) {
    const int oldest = api().GetFromQueue(nullptr, -1);
    return oldest > draw[1] || draw[1] == -1 ? 0 : oldest + 2;
}

Argument description() {
    return record<DispatchDesc>([](Draw &draw, DispatchDesc &description) {
        description.value = int(draw.random.next());
        description.callback = draw.is_hostile() ? nullptr : dispatch_callback;
        description.user_data = std::intptr_t(draw.random.next());
        const auto some = [&] {
            return draw.is_hostile() ? any_number(draw.random) : draw.between(0, 40);
        };
        description.first = some();
        description.last = some();
    });
}

void free_rectangles(Draw &draw, Word) {
    HGLOBAL block = nullptr;
    if (draw.words[0] != 0)
        std::memcpy(&block, draw.at<HGLOBAL>(0), sizeof block);
    if (block == nullptr)
        return;
    frame::forget_block(block);
    GlobalFree(block);
}

// What a queue of nobody holds is lost when it is made again.
void delete_nobodys(Draw &) {
    api().DeleteQueue(0);
}
void keep_owner(Draw &draw, Word result) {
    if (result == 1)
        draw.world.queue_owners.push_back(draw.number(0));
}

const Row rows[] = {
    {"AddQueue",
     {memory([](const Draw &draw) { return std::int64_t{draw.number(1)}; }), in(0, 300)}},
    {"ClearQueue", {}, 1},
    {"CreateQueue", {owner()}, 4, keep_owner, true, delete_nobodys},
    {"DeleteQueue", {owner()}},
    {"GetFromQueue", {memory(message_bytes), in(-1, 300)}},
    {"IsQueueEmpty", {}, 1},
    {"d32AddQueue",
     {owner(), rectangle(), in(0, 1), number(), number(), in(0, 2), description()},
     20},
    {"d32DeleteQueue", {owner()}},
    {"d32DispatchQueue", {}, 12},
    {"d32GetCurQueue", {bytes(sizeof(HGLOBAL))}, 4, free_rectangles},
    {"d32IsInQueue", {owner(), in(0, 1)}},
    {"d32SetEndDispatchRect", {owner(), rectangle(), rectangle()}},
    {"d32SetFirstService", {owner()}},
};

} // namespace

std::span<const Row> queue_rows() {
    return rows;
}

} // namespace q32::test
