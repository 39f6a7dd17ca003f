// Choosing a step, making system calls fail, and what all operations share.
#include "tests/sequences/world.h"

namespace q32::test {

// --- failing system calls -----------------------------------------------------------------------

void World::maybe_inject() {
    static constexpr const char *functions[] = {
        "GlobalAlloc", "GlobalAlloc", "VirtualAlloc",       "VirtualAlloc",
        "malloc",      "CreateFileA", "CreateFileMappingA", "MapViewOfFile"};
    if (random_.below(6) != 0)
        return;
    const char *const function = functions[random_.below(std::size(functions))];
    injection_ = std::make_unique<Injection>(function, between(random_, 1, 3));
    describe("[fails: " + injection_->what() + "] ");
}

bool World::injected() const {
    return injection_ != nullptr && injection_->happened();
}

// --- steps --------------------------------------------------------------------------------------

const std::vector<World::Choice> &World::choices() {
    static const std::vector<Choice> all = {
        {7, &World::allocate},
        {4, &World::release},
        {2, &World::release_bitmap},
        {1, &World::bitmap_there_and_back},
        {2, &World::resize},
        {1, &World::change_policy},
        {4, &World::lock},
        {4, &World::unlock},
        {3, &World::lock_cell},
        {3, &World::poke},
        {3, &World::read_row},
        {3, &World::write_row},
        {8, &World::get_memory},
        {4, &World::get_memory_with_background},
        {10, &World::merge_memory},
        {7, &World::get_buffer},
        {8, &World::merge_buffer},
        {9, &World::duplicate},
        {3, &World::fill_one_colour},
        {3, &World::fill_pattern},
    };
    return all;
}

World::World() {
    set_memory_limit(0, 0);
    forget_reports();
}

World::~World() {
    finish();
}

std::optional<std::string> World::step(uint64_t seed) {
    random_ = Random(seed, 0);
    description_.clear();
    difference_.clear();

    size_t total = 0;
    for (const Choice &choice : choices())
        total += size_t(choice.weight);
    auto pick = int(random_.below(total));
    auto choice = choices().begin();
    for (; pick >= choice->weight; ++choice)
        pick -= choice->weight;
    (this->*(buffers_.empty() ? &World::allocate : choice->operation))();

    const bool failed = injected();
    injection_.reset();
    if (failed)
        resynchronise();
    compare_records();
    compare_counters();
    if (!buffers_.empty())
        compare_pixels(any());
    if (difference_.empty())
        return std::nullopt;
    return difference_;
}

std::optional<std::string> World::finish() {
    description_ = "the end";
    difference_.clear();
    for (ModelBuffer &buffer : buffers_) {
        compare_pixels(buffer);
        for (; buffer.locks > 0; --buffer.locks)
            called(api().buf32Unlock(buffer.handle), 1);
    }
    while (!buffers_.empty()) {
        ModelBuffer &first = buffers_.front();
        called(api().buf32Free(first.handle), 1);
        forget(first);
        for (ModelBuffer &left : buffers_)
            compare_pixels(left);
    }
    compare_counters();
    if (difference_.empty())
        return std::nullopt;
    return difference_;
}

// --- what operations share ----------------------------------------------------------------------

void World::differs(const std::string &what) {
    if (difference_.empty())
        difference_ = what;
}

bool World::called(int result, int expected, std::vector<Failure> reports) {
    const std::vector<Failure> made = frame::reports();
    forget_reports();
    if (injected() && result == 0)
        return false;
    std::ostringstream text;
    if (result != expected)
        text << "result " << result << ", not " << expected << "; ";
    if (made != reports && !injected()) {
        text << "reports";
        for (const Failure &failure : made)
            text << " " << failure;
        text << ", not";
        for (const Failure &failure : reports)
            text << " " << failure;
    }
    if (!text.str().empty())
        differs(text.str());
    return result != 0;
}

std::string World::name_of(const ModelBuffer &buffer) const {
    char text[100];
    std::snprintf(text, sizeof text, "#%d(type %x, %d bits, %dx%d%s)",
                  int(&buffer - buffers_.data()), unsigned(buffer.type), buffer.picture.bits(),
                  buffer.picture.width(), buffer.picture.height(),
                  buffer.locks > 0 ? ", locked" : "");
    return text;
}

ModelBuffer &World::any() {
    return buffers_[random_.below(buffers_.size())];
}

ModelBuffer *World::by_handle(HBUF32 handle) {
    for (ModelBuffer &buffer : buffers_)
        if (buffer.handle == handle)
            return &buffer;
    return nullptr;
}

// Often the whole image, often near an edge of it or of a cell, sometimes far outside.
Area World::rectangle_in(const ModelBuffer &buffer) {
    const int width = buffer.picture.width(), height = buffer.picture.height();
    if (random_.below(6) == 0)
        return {0, 0, width, height};
    const int x = between(random_, -width / 2 - 3, width + 2);
    const int y = between(random_, -height / 2 - 3, height + 2);
    Area area{x, y, between(random_, 1, width + 5), between(random_, 1, height + 5)};
    if (random_.below(40) == 0)
        area.width = between(random_, -3, 0);
    return area;
}

void World::overwrite(ModelBuffer &buffer) {
    const Area all = buffer.picture.whole();
    const Bytes block = random_bytes(random_, block_bytes(buffer.picture.bits(), all));
    buffer.picture.merge(all, block.data());
    called(api().buf32MergeMem(buffer.handle, 0, 0, block.data(), all.width, all.height), 1);
}

Picture World::shown_by(const ModelBuffer &buffer) {
    Picture shown(buffer.picture.geometry);
    const Area all = shown.whole();
    Bytes block(block_bytes(shown.bits(), all));
    called(api().buf32GetMem(buffer.handle, 0, 0, all.width, all.height, block.data()), 1);
    shown.merge(all, block.data());
    return shown;
}

Pattern World::random_pattern(int bits) {
    const int width = random_.below(8) == 0 ? between(random_, 1, 300) : between(random_, 1, 20);
    const int height = random_.below(8) == 0 ? between(random_, 1, 40) : between(random_, 1, 9);
    return Pattern(width, height, bits, random_);
}

void World::random_colour(int bits, uint8_t (&colour)[8]) {
    random_.fill(colour);
    if (bits >= 8)
        return;
    const bool any_pixel = bits == 1 || bits == 2 || bits == 4;
    const unsigned pixel = any_pixel ? colour[0] % (1u << bits) : colour[0] % 2 * 255;
    colour[0] = uint8_t(any_pixel ? pixel * (255 / ((1u << bits) - 1)) : pixel);
}

void World::become_ordinary(ModelBuffer &buffer) {
    if (!buffer.is_special())
        return;
    buffer.type = BUF32_TILED;
    if (!injected() && (word(buffer.handle, field_file) != 0) != goes_to_file(buffer))
        differs("pixels in the wrong place");
}

bool World::goes_to_file(const ModelBuffer &buffer) const {
    const bool may =
        buffer.is(BUF32_TILED) || buffer.is(BUF32_LINEAR) || buffer.is(BUF32_LINEAR_SHRINK);
    return buffer.is_large() && (buffer.is(BUF32_TILED_FILE) || (limited_ && may));
}

void World::resynchronise() {
    for (ModelBuffer &buffer : buffers_) {
        if (buffer.is_special() && word(buffer.handle, field_type) == BUF32_TILED)
            buffer.type = BUF32_TILED;
        buffer.mode = int(word(buffer.handle, field_access_mode));
    }
}

void World::forget(ModelBuffer &buffer) {
    buffers_.erase(buffers_.begin() + (&buffer - buffers_.data()));
}

} // namespace q32::test
