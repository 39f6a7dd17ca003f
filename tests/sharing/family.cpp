// The model of sharing, and its comparison with the records.
#include "tests/sharing/family.h"

#include <algorithm>

namespace q32::test {
namespace {

// Without memory a fill has already given up the storage: for the block, or for the pattern's copy.
bool fill_found_no_memory() {
    const std::vector<Failure> reports = frame::reports();
    return reports == std::vector<Failure>{{1001, 1, 4, 21}} ||
           reports == std::vector<Failure>{{1001, 1, 70, 23}};
}

} // namespace

Family::Family()
    : memory_before_(memory_in_use()), mapped_before_(mapped_bytes()),
      before_(frame::Census::now()) {}

Family::~Family() {
    while (!members_.empty()) {
        if (::testing::Test::HasFailure()) { // as a test that ended early has left it
            EXPECT_EQ(api().buf32Free(members_.back()->handle()), 1);
            members_.pop_back();
        } else {
            free(*members_.back());
        }
    }
    EXPECT_EQ(memory_in_use(), memory_before_ + drift_);
    EXPECT_EQ(mapped_bytes(), mapped_before_);
    EXPECT_EQ(frame::Census::now(), before_);
}

// --- steps -----------------------------------------------------------------------------------

Member &Family::allocate(int bits, int width, int height, uint32_t type, Random &random) {
    HBUF32 handle = 0;
    EXPECT_EQ(api().buf32Alloc(&handle, bits, width, height, type, nullptr), 1);
    auto member = std::make_unique<Member>(handle, Geometry(width, height, bits, type), type);
    member->storage = new_storage(*member);
    member->picture.image = fill(handle, random);
    members_.push_back(std::move(member));
    return *members_.back();
}

Member &Family::add(HBUF32 buffer, const Geometry &geometry, uint32_t type) {
    members_.push_back(std::make_unique<Member>(buffer, geometry, type));
    return *members_.back();
}

Member &Family::duplicate(Member &source) {
    Member *made = nullptr;
    EXPECT_TRUE(try_duplicate(source, made));
    expect_no_report();
    return *made;
}

void Family::duplicate_into(Member &source, Member &destination) {
    EXPECT_TRUE(try_duplicate_into(source, destination));
    expect_no_report();
}

void Family::write(Member &member, const WritePath &path, Random &random) {
    EXPECT_TRUE(try_write(member, path, random)) << path.name;
    expect_no_report();
}

void Family::free(Member &member) {
    EXPECT_TRUE(try_free(member));
    expect_no_report();
}

bool Family::try_duplicate(Member &source, Member *&made) {
    made = nullptr;
    HBUF32 handle = 0;
    if (!call_in_question([&] { return api().buf32DupBuf(source.handle(), &handle) == 1; })) {
        EXPECT_EQ(handle, 0u);
        return false;
    }
    auto member = std::make_unique<Member>(handle, source.picture.geometry, source.type);
    member->picture.image = source.picture.image;
    member->capacity = source.capacity;
    made = member.get();
    members_.push_back(std::move(member));
    if (!source.is_special())
        attach(*made, source.source != nullptr ? *source.source : source);
    return true;
}

bool Family::try_duplicate_into(Member &source, Member &destination) {
    HBUF32 handle = destination.handle();
    const bool done =
        call_in_question([&] { return api().buf32DupBuf(source.handle(), &handle) == 1; });
    EXPECT_EQ(handle, destination.handle());
    if (!done)
        return false;
    prepare_for_writing(destination);
    if (source.has_layout_of(destination)) {
        attach(destination, source.source != nullptr ? *source.source : source);
    }
    destination.picture.image = source.picture.image;
    return true;
}

bool Family::try_write(Member &member, const WritePath &path, Random &random) {
    if (!path.write(member.picture, random)) {
        if (path.outcome != WritePath::keeps_type && fill_found_no_memory())
            give_up_pixels(member, path.outcome);
        return false;
    }
    prepare_for_writing(member);
    member.blank = false;
    if (path.outcome != WritePath::keeps_type) {
        const Geometry &geometry = member.picture.geometry;
        const bool had_block = member.is_special() && member.block != 0;
        const bool refill = path.outcome == WritePath::one_colour &&
                            member.type == BUF32_ONE_COLOUR; // makes no block
        member.type = path.outcome == WritePath::one_colour ? BUF32_ONE_COLOUR : BUF32_PATTERN;
        const int64_t rows =
            member.type == BUF32_PATTERN ? word(member.handle(), field_colour) >> 16 : 1;
        if (!refill || had_block) {
            member.block = uint32_t(std::max(geometry.cell_bytes(), geometry.row_bytes() * rows));
            member.storage = Member::memory;
        }
    } else if (member.is_special()) {
        member.type = BUF32_TILED;
        member.block = 0;
        member.storage = new_storage(member);
    }
    return true;
}

bool Family::try_free(Member &member) {
    if (!call_in_question([&] { return api().buf32Free(member.handle()) == 1; }))
        return false;
    if (member.source != nullptr)
        detach(member);
    if (!member.sharers.empty()) {
        const std::vector<Member *> sharers = std::exchange(member.sharers, {});
        for (Member *sharer : sharers)
            sharer->source = nullptr;
        if (sharers[0]->storage == Member::none) {
            sharers[0]->storage = member.storage;
            sharers[0]->capacity = member.capacity;
        }
        for (size_t i = 1; i < sharers.size(); ++i)
            attach(*sharers[i], *sharers[0]);
    }
    std::erase_if(members_, [&](const auto &other) { return other.get() == &member; });
    return true;
}

// --- the model -------------------------------------------------------------------------------

Member::Storage Family::new_storage(const Member &member) const {
    const Geometry &geometry = member.picture.geometry;
    if ((geometry.width <= 128 && geometry.height <= 128) || member.type == BUF32_LINEAR_MEMORY)
        return Member::memory;
    return memory_is_limited() || member.type == BUF32_TILED_FILE ? Member::file : Member::memory;
}

void Family::detach(Member &member) {
    std::erase(member.source->sharers, &member);
    member.source = nullptr;
}

void Family::attach(Member &member, Member &source) {
    member.source = &source;
    source.sharers.push_back(&member);
}

void Family::give_private_pixels(Member &member) {
    if (member.storage == Member::none)
        member.storage = new_storage(member);
    detach(member);
}

void Family::prepare_for_writing(Member &member) {
    if (member.source != nullptr) {
        give_private_pixels(member);
    } else if (!member.sharers.empty()) {
        const std::vector<Member *> sharers = member.sharers;
        give_private_pixels(*sharers[0]);
        for (size_t i = 1; i < sharers.size(); ++i) {
            detach(*sharers[i]);
            attach(*sharers[i], *sharers[0]);
        }
    }
}

// What shared the pixels has got its own before. One colour is still in the record; a pattern is
// while its copy has not been released.
void Family::give_up_pixels(Member &member, WritePath::Outcome fill) {
    prepare_for_writing(member);
    member.storage = Member::none;
    member.block = 0;
    member.blank = !member.is_special();
    if (member.type != BUF32_PATTERN)
        return;
    const bool without_copy = word(member.handle(), field_external_data) == 0;
    if (fill == WritePath::one_colour) {
        EXPECT_TRUE(without_copy); // released first
    }
    if (without_copy)
        member.picture.image = PlainImage(member.picture.geometry); // reads as zero
}

Member *Family::member_of(HBUF32 handle) const {
    for (const auto &member : members_)
        if (member->handle() == handle)
            return member.get();
    return nullptr;
}

// --- comparison ------------------------------------------------------------------------------

void Family::check() const {
    for (size_t i = 0; i < members_.size(); ++i) {
        SCOPED_TRACE("buffer " + std::to_string(i));
        check_node((*this)[i]);
        check_storage((*this)[i]);
    }
    check_records();
    check_pixels();
}

void Family::check_pixels() const {
    for (size_t i = 0; i < members_.size(); ++i) {
        SCOPED_TRACE("pixels of buffer " + std::to_string(i));
        const Member &member = (*this)[i];
        if (member.blank)
            expect_no_image(member.picture);
        else
            expect_image(member.picture);
    }
}

void Family::check_node(const Member &member) const {
    const HBUF32 handle = member.handle();
    EXPECT_EQ(word(handle, field_self), uintptr_t(handle));
    EXPECT_EQ(word(handle, field_share_marker), member.source != nullptr ? 64u : 0u);
    EXPECT_EQ(word(handle, field_source),
              member.source != nullptr ? uintptr_t(member.source->handle()) : uintptr_t{0});
    uintptr_t previous = 0, next = 0;
    if (member.source != nullptr) {
        const auto &chain = member.source->sharers;
        const auto at = std::find(chain.begin(), chain.end(), &member);
        ASSERT_NE(at, chain.end());
        previous = at == chain.begin() ? 0 : node_of((*(at - 1))->handle());
        next = at + 1 == chain.end() ? 0 : node_of((*(at + 1))->handle());
    }
    EXPECT_EQ(word(handle, field_previous_sharer), previous);
    EXPECT_EQ(word(handle, field_next_sharer), next);
    const auto &sharers = member.sharers;
    EXPECT_EQ(word(handle, field_first_sharer),
              sharers.empty() ? 0u : node_of(sharers.front()->handle()));
    EXPECT_EQ(word(handle, field_last_sharer),
              sharers.empty() ? 0u : node_of(sharers.back()->handle()));
}

void Family::check_storage(const Member &member) const {
    const HBUF32 handle = member.handle();
    const Geometry &geometry = member.picture.geometry;
    EXPECT_EQ(word(handle, field_type), member.type);
    EXPECT_EQ(word(handle, field_height), uint32_t(geometry.height));
    EXPECT_EQ(word(handle, field_capacity_rows), uint32_t(member.capacity));
    EXPECT_EQ(word(handle, field_reserved_bytes), uint32_t(member.capacity * geometry.row_bytes()));
    EXPECT_EQ(word(handle, field_image_bytes), uint32_t(geometry.image_bytes()));
    EXPECT_EQ(word(handle, field_storage) != 0, member.storage != Member::none);
    const bool file = member.storage == Member::file;
    EXPECT_EQ(word(handle, field_mapping) != 0, file);
    EXPECT_EQ(word(handle, field_file) != 0, file);
    EXPECT_EQ(word(handle, field_record_entry) != 0xFFFFFFFF, file);
    if (file) {
        EXPECT_TRUE(file_exists(swap_file_of(handle)));
    }
    if (member.storage == Member::none || member.is_special())
        return;
    for (int i = 0; i < int(geometry.cell_count()); ++i)
        EXPECT_EQ(cell_address_word(handle, i),
                  word(handle, field_storage) + uint32_t(geometry.offset_of(i)))
            << "cell " << i;
}

void Family::check_records() const {
    std::vector<HBUF32> listed(members_.size() + 1);
    ASSERT_EQ(size_t(api().buf32CountBuf(nullptr)), members_.size());
    api().buf32CountBuf(listed.data());
    size_t memory = 0, mapped = 0;
    int memories = 0, files = 0;
    for (size_t i = 0; i < members_.size(); ++i) {
        const HBUF32 handle = (*this)[i].handle();
        SCOPED_TRACE("record " + std::to_string(i));
        EXPECT_EQ(listed[i], handle);
        // A chain runs forth and back through duplicates of this one, which is none itself.
        uintptr_t previous = 0;
        for (uintptr_t node = word(handle, field_first_sharer); node != 0;) {
            const HBUF32 sharer = node - field_offset(field_share_marker);
            ASSERT_NE(member_of(sharer), nullptr);
            EXPECT_EQ(word(sharer, field_share_marker), 64u);
            EXPECT_EQ(word(sharer, field_source), uintptr_t(handle));
            ASSERT_EQ(word(sharer, field_previous_sharer), previous);
            previous = node;
            node = word(sharer, field_next_sharer);
        }
        EXPECT_EQ(word(handle, field_last_sharer), previous);
        EXPECT_EQ(word(handle, field_self), uintptr_t(handle));
        if (word(handle, field_share_marker) != 0) {
            EXPECT_EQ(word(handle, field_share_marker), 64u);
            EXPECT_NE(member_of(word(handle, field_source)), nullptr);
            EXPECT_EQ(word(handle, field_first_sharer), 0u);
        } else {
            EXPECT_EQ(word(handle, field_source), 0u);
        }
        const bool file = word(handle, field_file) != 0, storage = word(handle, field_storage) != 0;
        if (storage)
            (file ? mapped : memory) += (*this)[i].counted_bytes();
        memories += storage && !file;
        files += file;
    }
    EXPECT_EQ(memory_in_use(), memory_before_ + memory + drift_);
    EXPECT_EQ(mapped_bytes(), mapped_before_ + mapped);
    const frame::Census now = frame::Census::now();
    EXPECT_EQ(now.global_blocks, before_.global_blocks + int(members_.size()));
    EXPECT_EQ(now.reservations, before_.reservations + memories);
    EXPECT_EQ(now.views, before_.views + files);
    EXPECT_EQ(now.mappings, before_.mappings + files);
    EXPECT_EQ(now.files, before_.files + files);
    EXPECT_EQ(now.files_on_disk, before_.files_on_disk + files);
    const auto patterns = std::count_if(members_.begin(), members_.end(), [](const auto &member) {
        return word(member->handle(), field_type) == BUF32_PATTERN &&
               word(member->handle(), field_external_data) != 0; // a failed fill may have taken it
    });
    EXPECT_EQ(now.runtime_blocks, before_.runtime_blocks + int(patterns));
    EXPECT_EQ(now.thread_priority, before_.thread_priority);
}

void Family::adopt_records() {
    for (const auto &member : members_) {
        const HBUF32 handle = member->handle();
        member->source = member_of(word(handle, field_source));
        if (member->is_special() && word(handle, field_type) == BUF32_TILED) {
            member->type = BUF32_TILED;
            member->block = 0;
        }
        member->storage = word(handle, field_storage) == 0 ? Member::none
                          : word(handle, field_file) != 0  ? Member::file
                                                           : Member::memory;
        EXPECT_EQ(member->blank, !member->is_special() && member->source == nullptr &&
                                     member->storage == Member::none);
        member->sharers.clear();
        for (uintptr_t node = word(handle, field_first_sharer); node != 0;) {
            const HBUF32 sharer = node - field_offset(field_share_marker);
            member->sharers.push_back(member_of(sharer));
            node = word(sharer, field_next_sharer);
        }
    }
}

} // namespace q32::test
