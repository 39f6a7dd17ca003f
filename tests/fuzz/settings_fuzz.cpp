// The settings file with any values, under any names that the common library may give its keys.
#include "buffer/buffer_manager.h"
#include "buffer/storage.h"
#include "display/device.h"
#include "display/display.h"
#include "display/gamma.h"
#include "display/library_palettes.h"
#include "library/process/settings_file.h"
#include "tests/fuzz/system/machine.h"

// What the display's part of the settings reaches beyond them.
namespace q32::display {

DeviceType device_type() {
    return DeviceType::palette;
}

bool make_library_palettes(DeviceType) {
    return true;
}

} // namespace q32::display

namespace q32::buffer {

MemoryState memory_state;

} // namespace q32::buffer

namespace q32::fuzz {
namespace {

constexpr int text_numbers[] = {10000, 10001, 10003, 10006, 10007, 10008, 10009,
                                12002, 12003, 12004, 12005, 12010, 12011};

void name_texts(Input &input) {
    for (const int number : text_numbers)
        machine().texts[number] =
            input.below(8) == 0 ? input.text(input.below(60)) : "text-" + std::to_string(number);
}

// A line each: a key, "=" and its value. The keys that are asked for are the texts, some with a
// digit in them.
void write_settings(Input &input) {
    while (!input.is_empty()) {
        const std::string line = input.line();
        const std::size_t equals = std::min(line.find('='), line.size());
        machine().settings[line.substr(0, equals)] = line.substr(std::min(equals + 1, line.size()));
    }
    // Whether there is a directory of that name goes by its length.
    for (const auto &[key, value] : machine().settings)
        if (value.size() % 2 != 0)
            machine().directories.insert(value);
}

void check_directories() {
    const BUF32DIRECTORIES &directories = buffer::memory_state.directories;
    for (int n = 0; n < 4; ++n)
        check(std::memchr(directories.path[n], 0, sizeof directories.path[n]) != nullptr,
              "a directory has no end");
    for (int n = 1; n < 4; ++n)
        check(directories.path[n][0] != '\0' || directories.enabled[n] == 0,
              "a directory that there is not is in use");
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    restart_machine();
    const std::size_t kind = input.below(8);
    if (kind < 3)
        machine().directory = kind == 0 ? "" : std::string(250 + input.below(20), 'w');
    name_texts(input);
    write_settings(input);
    q32::buffer::set_defaults();
    q32::buffer::read_settings_file();
    check_directories();
    q32::display::read_screen_settings();
    return 0;
}
