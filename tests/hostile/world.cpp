// Keeping the books of what the library has given out.
#include "tests/hostile/world.h"

#include "tests/frame/calls.h"
#include "tests/frame/comm.h"

#include <algorithm>
#include <cstring>

namespace q32::test {
namespace {

std::vector<HBUF32> live_buffers() {
    std::vector<HBUF32> handles(std::size_t(api().buf32CountBuf(nullptr)));
    api().buf32CountBuf(handles.data());
    return handles;
}

bool contains(const std::vector<HBUF32> &handles, HBUF32 handle) {
    return std::find(handles.begin(), handles.end(), handle) != handles.end();
}

} // namespace

World::World() {
    set_limits();
    for (const int depth : {24, 24, 24, 8, 8, 16, 1}) {
        HeldBuffer &held = buffers_.emplace_back();
        api().buf32Alloc(&held.handle, depth, 61, 43, BUF32_TILED, nullptr);
        api().buf32GetInfo(held.handle, &held.info);
        api().buf32Lock(held.handle, BUF32_READ, nullptr);
    }
}

// --- buffers -------------------------------------------------------------------------------------

HBUF32 World::some_buffer(Random &random, Wanted wanted) const {
    std::vector<HBUF32> choice;
    for (const HeldBuffer &held : buffers_)
        if ((wanted == Wanted::turned || !held.turned) &&
            (wanted == Wanted::usable || !contains(at_work_.buffers, held.handle)))
            choice.push_back(held.handle);
    return choice.empty() ? 0 : choice[random.below(choice.size())];
}

HBUF32 World::freed_buffer(Random &random) const {
    if (freed_.empty())
        return 0;
    const HBUF32 freed = freed_[random.below(freed_.size())];
    const HeldBuffer *const again = find(freed); // its address has been given out anew
    return again == nullptr || (!again->turned && !contains(at_work_.buffers, freed)) ? freed : 0;
}

const HeldBuffer *World::find(HBUF32 handle) const {
    for (const HeldBuffer &held : buffers_)
        if (held.handle == handle)
            return &held;
    return nullptr;
}
HeldBuffer *World::find(HBUF32 handle) {
    return const_cast<HeldBuffer *>(std::as_const(*this).find(handle));
}

void *World::pixels_to_keep(Random &random, std::size_t size) {
    pixels_.push_back(std::make_unique<FencedMemory>(std::max<std::size_t>(size, 1)));
    random.fill({pixels_.back()->begin(), std::min<std::size_t>(size, 256)});
    return pixels_.back()->end() - size;
}

std::string World::settle(const Draw &draw) {
    const std::vector<HBUF32> live = live_buffers();
    for (const HeldBuffer &held : buffers_)
        if (!contains(live, held.handle))
            freed_.push_back(held.handle);
    std::erase_if(buffers_, [&](const HeldBuffer &held) { return !contains(live, held.handle); });
    for (const HBUF32 handle : live) {
        if (find(handle) != nullptr || contains(at_work_.unknown, handle))
            continue;
        if (std::none_of(draw.slots.begin(), draw.slots.end(),
                         [&](const HBUF32 *slot) { return *slot == handle; }))
            return "a new buffer that nobody has been told of";
        HeldBuffer &held = buffers_.emplace_back(HeldBuffer{.handle = handle});
        if (api().buf32GetInfo(handle, &held.info) != 1)
            return "a new buffer that is none";
    }
    for (std::size_t i = 0; i < draw.slots.size(); ++i)
        if (*draw.slots[i] != 0 && *draw.slots[i] != draw.slots_before[i] &&
            !contains(live, *draw.slots[i]))
            return "a handle that is no buffer";
    for (const HBUF32 handle : live)
        drop_large(handle);
    return wrong_counters();
}

// Those that would take too long to work on, and those that are too many.
void World::drop_large(HBUF32 handle) {
    HeldBuffer *const held = find(handle);
    if (held == nullptr || contains(at_work_.buffers, handle))
        return;
    if (held->info.image_bytes <= most_image_bytes && buffers_.size() <= most_buffers)
        return;
    BUF32INFO info;
    api().buf32GetInfo(handle, &info);
    while (info.lock_count-- > 0)
        api().buf32Unlock(handle);
    if (api().buf32Free(handle) == 1)
        std::erase_if(buffers_, [&](const HeldBuffer &other) { return other.handle == handle; });
}

std::string World::wrong_counters() const {
    constexpr std::size_t slack = 1 << 20;
    std::size_t memory = 0, mapped = 0, most = 0;
    api().buf32GetVMDataExt(&memory, &mapped);
    for (const HeldBuffer &held : buffers_) {
        BUF32INFO info{};
        api().buf32GetInfo(held.handle, &info);
        most += 2 * held.info.reserved_bytes + (128 << 10);
        if (info.type == BUF32_PATTERN) // which has a block of the pattern's rows
            most += std::size_t(held.row_bytes(info.width)) * (info.colour[0] >> 16);
    }
    if (!at_work_.unknown.empty())
        most += 2 * usual_limit;
    if (memory > most + slack || mapped > most + slack)
        return std::to_string(memory) + " bytes in use and " + std::to_string(mapped) +
               " mapped, for buffers of " + std::to_string(most);
    return "";
}

World::AtWork World::enter_callback(const Draw &outer) {
    const AtWork before = at_work_;
    for (const HBUF32 handle : live_buffers())
        if (find(handle) == nullptr && !contains(at_work_.unknown, handle))
            at_work_.unknown.push_back(handle);
    at_work_.buffers.insert(at_work_.buffers.end(), std::begin(outer.words), std::end(outer.words));
    for (const HBUF32 *const slot : outer.slots)
        at_work_.buffers.push_back(*slot);
    return before;
}

// --- the rest ------------------------------------------------------------------------------------

// A packed bitmap whose header may be wrong in any of its fields.
HGLOBAL World::some_bitmap(Random &random) {
    const int width = 1 + int(random.below(60)), height = 1 + int(random.below(40));
    constexpr WORD depths[] = {1, 2, 4, 8, 15, 16, 24, 32, 48, 64, 33};
    const WORD bits = depths[random.below(std::size(depths))];
    BITMAPINFOHEADER header{sizeof header, width, height, 1, bits, 0, 0, 0, 0, 0, 0};
    const std::size_t table = bits < 16 ? std::size_t{4} << bits : 0;
    std::size_t size = sizeof header + std::min<std::size_t>(table, 4096) +
                       std::size_t((width * bits + 31) / 32 * 4 * height);
    while (random.below(3) == 0) {
        std::uint8_t *const bytes = reinterpret_cast<std::uint8_t *>(&header);
        const std::size_t field = random.below(sizeof header / 4) * 4;
        const int wrong = any_number(random);
        std::memcpy(bytes + field, &wrong, 4);
    }
    if (random.below(6) == 0)
        size = random.below(2 * size);
    const HGLOBAL block = GlobalAlloc(random.below(2) == 0 ? GMEM_MOVEABLE : GMEM_FIXED, size);
    if (size != 0) {
        void *const bytes = GlobalLock(block);
        std::memset(bytes, int(random.byte()), size);
        std::memcpy(bytes, &header, std::min(size, sizeof header));
        GlobalUnlock(block);
    }
    bitmaps.push_back(block);
    return block;
}

void World::free_bitmap(HGLOBAL bitmap) {
    frame::forget_block(bitmap);
    std::erase(bitmaps, bitmap);
    GlobalFree(bitmap);
}

void World::end_run(HDISPRUN run) {
    api().disp32ShowEnd(run);
    std::erase_if(runs, [&](const HeldRun &held) { return held.handle == run; });
}

void World::end_all_runs() {
    while (!runs.empty())
        end_run(runs.back().handle);
}

void World::set_limits(std::size_t limit) {
    std::size_t memory = limit, file = limit;
    std::uint32_t on = 1;
    api().buf32VMData(1, &memory, &file, nullptr, &on, &on);
}

// A bitmap whose duplicates can have no block of their own goes behind them.
std::string World::free_buffers() {
    std::string refused;
    for (std::size_t passes = live_buffers().size(); passes > 0; --passes) {
        refused.clear();
        for (const HBUF32 handle : live_buffers()) {
            BUF32INFO info{};
            api().buf32GetInfo(handle, &info);
            for (; info.lock_count > 0; --info.lock_count)
                api().buf32Unlock(handle);
            frame::forget_reports();
            if (api().buf32Free(handle) != 1)
                refused += "a buffer of type " + std::to_string(info.type) +
                           " cannot be freed: " + testing::PrintToString(frame::reports());
        }
    }
    return refused;
}

std::string World::finish() {
    callback_calls = 0;
    callback_steps = 0;
    set_limits(); // so that those that share pixels can get their own
    end_all_runs();
    for (const std::uint32_t owner : queue_owners)
        api().DeleteQueue(owner);
    while (const std::uint32_t owner = api().d32GetCurQueue(nullptr))
        api().d32DeleteQueue(owner);
    for (const HeldTables &held : tables)
        api().q32FreeResampleTable(held.tables[0], held.tables[1], held.tables[2], held.tables[3]);
    if (const std::string wrong = free_buffers(); !wrong.empty())
        return wrong;
    buffers_.clear();
    while (!bitmaps.empty())
        free_bitmap(bitmaps.back());
    std::size_t memory = 0, mapped = 0;
    api().buf32GetVMDataExt(&memory, &mapped);
    if (memory != 0 || mapped != 0)
        return std::to_string(memory) + " bytes in use and " + std::to_string(mapped) + " mapped";
    return "";
}

} // namespace q32::test
