// The settings of colour management, and what they do to a device context.
#include "display/colour_management.h"

#include "display/display.h"
#include "display/gdi_owners.h"

#include <q32base/display.h>
#include <q32comm.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

namespace q32::display {
namespace {

using Text = const char *DispIcmMode::*;
constexpr Text texts[] = {&DispIcmMode::text1, &DispIcmMode::display_profile, &DispIcmMode::text3,
                          &DispIcmMode::text4, &DispIcmMode::target_profile};

struct FilePath {
    char text[MAX_PATH] = {};

    // False when it would be too long.
    bool append(const char *part) {
        const std::size_t length = std::strlen(text), more = std::strlen(part);
        if (length + more >= sizeof text)
            return false;
        std::memcpy(text + length, part, more + 1);
        return true;
    }
};

struct State {
    DispIcmMode settings; // the texts are copies
    FilePath directory;   // of the display's profile, without a separator at its end
    HDC target;           // carries the target profile; null until it is needed
};

// Made by the first settings, so that there are none before.
constinit State *state = nullptr;

// --- settings --------------------------------------------------------------------------------

FilePath directory_of(const char *path) {
    char drive[MAX_PATH] = {}, folder[MAX_PATH] = {};
    qfdSplitPathname(path, drive, folder, nullptr, nullptr);
    FilePath directory;
    if (!directory.append(drive) || !directory.append(folder))
        return {};
    qfdDelSlash(directory.text);
    return directory;
}

// Of the display's current profile; empty when it has none.
FilePath profile_directory() {
    const DeviceContext dc(CreateDCA("DISPLAY", nullptr, nullptr, nullptr));
    FilePath profile;
    DWORD size = sizeof profile.text;
    if (!dc || !GetICMProfileA(dc.get(), &size, profile.text))
        return {};
    profile.text[sizeof profile.text - 1] = '\0';
    return profile.text[0] != '\0' ? directory_of(profile.text) : FilePath{};
}

bool equal(const char *a, const char *b) {
    return a != nullptr && b != nullptr && std::strcmp(a, b) == 0;
}

GlobalBlock copy_of(const char *text) {
    const std::size_t bytes = std::strlen(text) + 1;
    GlobalBlock copy(GlobalAlloc(GMEM_FIXED, bytes));
    if (copy)
        std::memcpy(copy.get(), text, bytes);
    return copy;
}

void free_text(const char *text) {
    if (text != nullptr)
        GlobalFree(const_cast<char *>(text));
}

// Takes copies of the texts, but keeps those that say the same already: programs hold on to them.
// All copies are had before anything changes. False when there is no memory.
bool take(DispIcmMode &kept, const DispIcmMode &given) {
    DispIcmMode next = given;
    std::array<GlobalBlock, std::size(texts)> copies;
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const char *&text = next.*texts[i];
        if (equal(text, kept.*texts[i])) {
            text = kept.*texts[i];
        } else if (text != nullptr) {
            copies[i] = copy_of(text);
            if (!copies[i])
                return false;
            text = static_cast<const char *>(copies[i].get());
        }
    }
    for (std::size_t i = 0; i < copies.size(); ++i) {
        if (kept.*texts[i] != next.*texts[i])
            free_text(kept.*texts[i]);
        copies[i].release();
    }
    kept = next;
    return true;
}

bool set(const DispIcmMode &settings) {
    if (state != nullptr)
        return take(state->settings, settings);
    GlobalBlock block(GlobalAlloc(GPTR, sizeof(State)));
    if (!block)
        return false;
    auto *const first = static_cast<State *>(block.get());
    first->directory = profile_directory();
    if (!take(first->settings, settings))
        return false;
    state = static_cast<State *>(block.release());
    return true;
}

// --- device contexts -------------------------------------------------------------------------

bool is_wanted(std::uint32_t flag) {
    return state != nullptr && (state->settings.flags & flag) != 0;
}

void give_up(std::uint32_t flag) {
    state->settings.flags &= ~flag;
}

bool matching_is_wanted() {
    return is_wanted(DISP32_ICM_MATCH_TARGET) && state->settings.target_profile != nullptr;
}

bool set_profile(HDC dc, const char *name) {
    FilePath path;
    const bool in_directory = state->directory.text[0] != '\0';
    return name != nullptr &&
           (!in_directory || (path.append(state->directory.text) && path.append("\\"))) &&
           path.append(name) && SetICMProfileA(dc, path.text);
}

bool turn_on(HDC dc) {
    return SetICMMode(dc, ICM_ON) != 0;
}

// The target's context is made once, and told its profile every time: that may have changed.
bool match_to_target(HDC dc) {
    if (state->target == nullptr)
        state->target = CreateDCA("DISPLAY", nullptr, nullptr, nullptr);
    return state->target != nullptr && set_profile(state->target, state->settings.target_profile) &&
           turn_on(state->target) && ColorMatchToTarget(dc, state->target, CS_ENABLE);
}

} // namespace

ManagedContext manage_colours(HDC dc) {
    // A profile that cannot be set is tried again next time, the system's other refusals are not.
    ManagedContext managed(dc);
    if (!is_wanted(DISP32_ICM_DISPLAY_PROFILE) || !set_profile(dc, state->settings.display_profile))
        return managed;
    if (!turn_on(dc))
        give_up(DISP32_ICM_DISPLAY_PROFILE);
    else if (matching_is_wanted() && !match_to_target(dc))
        give_up(DISP32_ICM_MATCH_TARGET);
    return managed;
}

void ManagedContextTraits::release(HDC dc) {
    if (!is_wanted(DISP32_ICM_DISPLAY_PROFILE))
        return;
    if (matching_is_wanted() && state->target != nullptr)
        ColorMatchToTarget(dc, state->target, CS_DELETE_TRANSFORM);
    SetICMMode(dc, ICM_OFF);
}

void release_colour_management() {
    const GlobalBlock block(std::exchange(state, nullptr));
    if (!block)
        return;
    auto *const last = static_cast<State *>(block.get());
    for (const Text text : texts)
        free_text(last->settings.*text);
    if (last->target != nullptr)
        DeleteDC(last->target);
}

} // namespace q32::display

using namespace q32::display;

int Q32_CALL disp32SetICMMode(const DispIcmMode *settings) {
    return settings != nullptr && set(*settings);
}

int Q32_CALL disp32GetICMMode(DispIcmMode *settings) {
    if (settings == nullptr)
        return 0;
    *settings = state != nullptr ? state->settings : DispIcmMode{};
    return state != nullptr;
}
