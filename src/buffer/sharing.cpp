// Chains of sharers and their private copies.
#include "buffer/sharing.h"

#include "buffer/layout.h"
#include "buffer/storage.h"
#include "buffer/types.h"

#include <cstring>
#include <utility>

namespace q32::buffer {
namespace {

// --- the chain ----------------------------------------------------------------------------------

SharingNode unlinked_node(Record &record) {
    return {.marker = 0, .source = nullptr, .self = &record, .previous = nullptr, .next = nullptr};
}

void leave_chain(Record &sharer) {
    const SharingNode node = std::exchange(sharer.sharing, unlinked_node(sharer));
    (node.previous != nullptr ? node.previous->next : node.source->first_sharer) = node.next;
    (node.next != nullptr ? node.next->previous : node.source->last_sharer) = node.previous;
}

// The first sharer, which has pixels of its own by now, becomes the source of the others, whose
// order stays.
void succeed(Record &heir, Record &source) {
    leave_chain(heir);
    heir.first_sharer = std::exchange(source.first_sharer, nullptr);
    heir.last_sharer = std::exchange(source.last_sharer, nullptr);
    for (SharingNode *node = heir.first_sharer; node != nullptr; node = node->next)
        node->source = &heir;
}

// --- pixels of its own --------------------------------------------------------------------------

// A buffer that was an image of its own before it became a duplicate still has its storage.
bool copy_pixels(Record &sharer) {
    const Record &source = *sharer.sharing.source;
    if (source.storage == nullptr)
        return true;
    if (sharer.storage == nullptr)
        return type_of(sharer).copy_from_source(sharer, source);
    std::memcpy(sharer.storage, source.storage, sharer.info.image_bytes);
    return true;
}

// Storage that its buffer gives up goes to the first sharer as it is. Not a bitmap: that is the
// caller's, who may get it back.
bool take_over_pixels(Record &sharer) {
    Record &source = *sharer.sharing.source;
    if (sharer.storage != nullptr || has_callers_pixels(sharer))
        return copy_pixels(sharer);
    if (source.storage != nullptr) {
        hand_over_storage(source, sharer);
        build_cell_addresses(sharer);
    }
    return true;
}

bool part_from_sharers(Record &source, bool (*provide)(Record &sharer)) {
    if (source.first_sharer == nullptr)
        return true;
    Record &heir = *source.first_sharer->self;
    if (!provide(heir))
        return false;
    succeed(heir, source);
    return true;
}

} // namespace

bool prepare_for_writing(Record &record) {
    if (!record.is_duplicate())
        return part_from_sharers(record, copy_pixels);
    if (!copy_pixels(record))
        return false;
    leave_chain(record);
    return true;
}

bool leave_sharers_provided(Record &record) {
    if (!record.is_duplicate())
        return part_from_sharers(record, take_over_pixels);
    leave_chain(record);
    return true;
}

bool copy_to_own_storage(Record &sharer, const Record &source) {
    if (!allocate_storage(sharer))
        return false;
    build_cell_addresses(sharer); // refuses one-colour buffers only, which have nothing to share
    std::memcpy(sharer.storage, source.storage, sharer.info.image_bytes);
    return true;
}

void share(Record &sharer, Record &source) {
    Record &owner = source.owner();
    sharer.sharing = {.marker = share_marker,
                      .source = &owner,
                      .self = &sharer,
                      .previous = owner.last_sharer,
                      .next = nullptr};
    (owner.last_sharer != nullptr ? owner.last_sharer->next : owner.first_sharer) = &sharer.sharing;
    owner.last_sharer = &sharer.sharing;
}

void share_nothing(Record &record) {
    record.first_sharer = record.last_sharer = nullptr;
    record.sharing = unlinked_node(record);
}

} // namespace q32::buffer
