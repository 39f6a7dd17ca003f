// The books of swap files, which anybody can write: the master record file and the record files
// that it names, with hostile entries, cut off, held by others, on a full disk and without memory.
#include "buffer/bookkeeping.h"
#include "buffer/buffer_manager.h"
#include "tests/fuzz/system/machine.h"

namespace q32::fuzz {
namespace {

using namespace q32::buffer;

constexpr char master_name[] = "C:\\Temp\\Q32BASE.CFG";
constexpr std::size_t slots = 100;

std::string file_name(Input &input) {
    switch (input.below(8)) {
    case 0:
        return "C:\\Temp\\QTR1.tmp"; // as our own may be called
    case 1:
        return "D:\\swap\\~QT" + std::to_string(input.byte() % 8) + ".TMP";
    case 2:
        return "\\\\host\\share\\~QT" + std::to_string(input.byte() % 8) + ".tmp";
    case 3:
        return master_name;
    case 4:
        return input.text(input.byte());
    case 5:
        return "C:\\" + input.text(input.byte()) + ".tmp";
    case 6:
        return std::string(entry_bytes, 'x');
    default:
        return "C:\\Temp\\QTR" + std::to_string(input.byte() % 8) + ".tmp";
    }
}

void append_entry(Bytes &file, const std::string &name) {
    Bytes entry(entry_bytes);
    std::copy_n(name.begin(), std::min<std::size_t>(name.size(), entry_bytes), entry.begin());
    file.insert(file.end(), entry.begin(), entry.end());
}

Bytes entries(Input &input, std::size_t count) {
    Bytes file;
    for (std::size_t i = 0; i < count; ++i)
        append_entry(file, file_name(input));
    return file;
}

void make_master_file(Input &input) {
    if (input.below(8) == 0)
        return; // there is none
    Bytes file = entries(input, input.below(8));
    if (input.below(8) == 0) // none is free
        for (std::size_t at = file.size() / entry_bytes; at < slots; ++at)
            append_entry(file, "C:\\full.tmp");
    file.resize(slots * entry_bytes);
    for (const char letter : std::string_view("QuillTempRec"))
        file.push_back(std::uint8_t(letter));
    if (input.below(8) == 0)
        file.resize(std::min<std::size_t>(file.size(), input.number<std::uint16_t>()));
    machine().files[master_name] = {file, input.below(16) == 0};
}

void make_record_files(Input &input) {
    for (std::size_t left = input.below(6); left > 0; --left) {
        const bool is_held = input.below(4) == 0;
        Bytes file = entries(input, input.below(5));
        if (input.flag())
            file.resize(file.size() - std::min<std::size_t>(file.size(), input.byte()));
        if (const std::string name = file_name(input); name != master_name)
            machine().files[name.c_str()] = {file, is_held};
    }
}

bool ends_in_tmp(const std::string &name) {
    std::string end = name.substr(name.size() < 4 ? 0 : name.size() - 4);
    std::transform(end.begin(), end.end(), end.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? char(letter + 32) : letter;
    });
    return end == ".tmp";
}

// Swap files that come and go.
void use_books(Input &input) {
    std::vector<std::uint32_t> taken;
    for (std::size_t left = input.below(40); left > 0; --left) {
        if (input.flag() && !taken.empty()) {
            const std::size_t chosen = input.below(taken.size());
            deregister_swap_file(taken[chosen]);
            taken.erase(taken.begin() + std::ptrdiff_t(chosen));
            continue;
        }
        std::uint32_t entry = no_record_entry;
        if (!register_swap_file(file_name(input).c_str(), &entry))
            continue;
        check(std::find(taken.begin(), taken.end(), entry) == taken.end(),
              "an entry is taken twice");
        taken.push_back(entry);
    }
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    restart_machine();
    const bool is_poor = input.below(4) == 0;
    const int allocations = int(input.below(10)), writes = int(input.below(20));
    const std::size_t directory = input.below(16);
    if (directory < 2)
        machine().directory = directory == 0 ? "" : std::string(300, 'd');
    make_master_file(input);
    make_record_files(input);
    if (is_poor) {
        machine().allocations_left = allocations;
        machine().writes_left = writes;
    }
    const bool is_started = q32::buffer::examine_master_file();
    for (const std::string &name : machine().deleted)
        check(ends_in_tmp(name), "something else than a temporary file is deleted");
    if (is_started)
        use_books(input);
    q32::buffer::close_record_file();
    check_nothing_is_held();
    return 0;
}
