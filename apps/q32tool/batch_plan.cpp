// Which pictures, under which names, and whether they get in each other's way.
#include "batch_plan.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "batch_options.h"
#include "file_kind.h"
#include "file_lists.h"

#include <algorithm>
#include <map>
#include <set>

namespace apps::q32tool {
namespace {

constexpr uint32_t most_jobs = 64;

// The pictures between IN and OUT, which all pictures share.
size_t shared_operands(const Command &command) {
    return command.operands.size() - 1 - writes_operand(command);
}

std::vector<std::string> inputs_of(const Command &command, const Arguments &arguments) {
    const size_t shared = shared_operands(command), given = arguments.operand_count();
    if (given < shared + !arguments.has("--list"))
        throw UsageError(std::string(command.name) + " needs " +
                         std::string(command.operands[given]) + "; usage: " + usage_line(command));
    std::vector<std::string> inputs;
    for (size_t i = 0; i + shared < given; ++i) {
        if (arguments.operand(i).empty() || arguments.operand(i) == "-")
            throw UsageError("'" + arguments.operand(i) + "' cannot be one of several pictures");
        for (std::string &name : files_meant_by(arguments.operand(i)))
            inputs.push_back(std::move(name));
    }
    if (arguments.has("--list"))
        for (std::string &name : names_in_list(arguments.file("--list")))
            inputs.push_back(std::move(name));
    return inputs;
}

std::string folder_of(const Arguments &arguments, std::string_view option) {
    std::string folder = arguments.value(option);
    if (folder.empty() || folder == "-")
        throw UsageError(std::string(option) + " takes a folder, not '" + folder + "'");
    while (folder.size() > 1 && (folder.back() == '/' || folder.back() == '\\') &&
           folder[folder.size() - 2] != ':')
        folder.pop_back();
    return folder;
}

std::string inside(const std::string &folder, const std::string &name) {
    const bool has_separator = folder.find_last_of("/\\:") == folder.size() - 1;
    return folder + (has_separator ? "" : "/") + name;
}

std::optional<FileFormat> kind_from(const Arguments &arguments) {
    return arguments.if_given("--as", [](const Arguments &given, std::string_view option) {
        return given.parsed(option, kind_of_word, "png, bmp, jpg or tif");
    });
}

// A picture that has the kind already keeps its name: photo.jpeg stays photo.jpeg.
std::string output_for(const std::string &input, const BatchPlan &plan,
                       std::optional<FileFormat> kind) {
    std::string name = input.substr(file_name_begin(input));
    if (kind && format_of_name(name) != kind)
        name = name.substr(0, name.rfind('.')) + extension_of(*kind);
    return inside(plan.folder, name);
}

// Two names of a file have the same.
std::wstring identity(const std::string &path) {
    std::wstring full(32768, L'\0');
    full.resize(GetFullPathNameW(to_wide(native_path(path)).c_str(),
                                 static_cast<DWORD>(full.size()), full.data(), nullptr));
    CharLowerBuffW(full.data(), static_cast<DWORD>(full.size()));
    return full;
}

// What is read for every picture: operands between, and whatever an option names.
std::vector<std::string> shared_files(const Command &command, const Arguments &arguments) {
    const size_t count = shared_operands(command);
    std::vector<std::string> files(arguments.operands().end() - static_cast<ptrdiff_t>(count),
                                   arguments.operands().end());
    for (const Option &option : command.options)
        if (!option.value.empty() && arguments.has(option.name) &&
            !arguments.value(option.name).empty())
            files.push_back(arguments.value(option.name));
    return files;
}

void check_outputs(const Command &command, const Arguments &arguments, const BatchPlan &plan) {
    std::map<std::wstring, std::string> writers, readers;
    for (const Request &picture : plan.pictures)
        for (const std::string &file : files_written(command, picture.output)) {
            const auto [other, is_new] = writers.emplace(identity(file), picture.input);
            if (!is_new)
                throw UsageError(other->second + " and " + picture.input + " would both become " +
                                 file + "; rename one or write to another folder");
        }
    const auto check = [&](const std::string &file, const std::string &reader) {
        const auto writer = writers.find(identity(file));
        if (writer != writers.end() && writer->second != reader)
            throw UsageError(writer->second + " would be written over " + file +
                             ", which is read, too; write to another folder");
    };
    for (const Request &picture : plan.pictures)
        check(picture.input, picture.input);
    for (const std::string &file : shared_files(command, arguments))
        check(file, "");
    if (!arguments.has("--resume"))
        return;
    for (const Request &picture : plan.pictures)
        if (writers.count(identity(picture.input)) != 0)
            throw UsageError("--resume is for pictures that go to another folder, and " +
                             picture.input + " would be replaced");
}

void check_folder(BatchPlan &plan) {
    if (is_folder(plan.folder))
        return;
    if (attributes_of(plan.folder) != INVALID_FILE_ATTRIBUTES)
        throw Failure(plan.folder, "this is a file", "name a folder to write to");
    const size_t name = file_name_begin(plan.folder);
    if (!is_folder(name == 0 ? "." : plan.folder.substr(0, name)))
        throw Failure(plan.folder, "the folder that this folder would be in does not exist",
                      "create it first");
    plan.makes_folder = true;
}

// The limit of the command line, in equal parts. A value that makes no sense is left to whoever
// understands the option.
void share_memory_limit(Arguments &arguments, unsigned processes) {
    if (!arguments.has("--memory-limit"))
        return;
    if (const auto bytes = parse_bytes(arguments.value("--memory-limit")))
        arguments.set("--memory-limit", std::to_string(*bytes / processes));
}

unsigned processors() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return std::min<unsigned>(info.dwNumberOfProcessors, most_jobs);
}

// The command line of each picture is that of the command for it alone.
void write_command_lines(const Command &command, const Arguments &arguments, BatchPlan &plan) {
    Arguments single = arguments;
    for (const Option &option : batch_options(command))
        single.drop(option.name);
    for (const std::string_view name : {"--progress", "--timings"})
        single.drop(name);
    if (!plan.folder.empty())
        single.set("--quiet", "");
    share_memory_limit(single, plan.processes);
    const std::vector<std::string> shared(arguments.operands().end() -
                                              static_cast<ptrdiff_t>(shared_operands(command)),
                                          arguments.operands().end());
    for (Request &picture : plan.pictures) {
        std::vector<std::string> operands = {picture.input};
        operands.insert(operands.end(), shared.begin(), shared.end());
        if (writes_operand(command))
            operands.push_back(picture.output);
        else if (!plan.folder.empty())
            single.set(output_option_name, picture.output);
        single.set_operands(operands);
        picture.words = single.words(command);
    }
}

// Finds faults of the command line that no picture is to blame for: the command runs for a name
// that no file can have, and fails there if not before. It gets so far for an output that could be
// there, which is of the kind of the picture's.
void check_options(const Command &command, const BatchPlan &plan) {
    const std::string no_name = "<no picture>";
    std::set<std::string> seen;
    for (const Request &picture : plan.pictures) {
        const size_t dot = picture.output.rfind('.');
        const std::string output =
            no_name + (dot == std::string::npos ? "" : picture.output.substr(dot));
        if (!seen.insert(output).second)
            continue;
        Arguments arguments(command, picture.words);
        std::vector<std::string> operands = arguments.operands();
        operands.front() = no_name;
        if (writes_operand(command))
            operands.back() = output;
        else if (writes_picture(command))
            arguments.set(output_option_name, output);
        arguments.set_operands(operands);
        try {
            command.run(arguments);
        } catch (const Failure &) {
        }
    }
}

} // namespace

bool is_batch(const Command &command, const Arguments &arguments) {
    if (arguments.is_for_many())
        return true;
    return command.takes == Takes::many_pictures && !writes_picture(command) &&
           has_wildcards(arguments.operand(0)) &&
           attributes_of(arguments.operand(0)) == INVALID_FILE_ATTRIBUTES;
}

BatchPlan plan_batch(const Command &command, const Arguments &arguments) {
    const std::string_view folder = folder_option(command);
    BatchPlan plan;
    if (writes_picture(command)) {
        if (!arguments.has(folder))
            throw UsageError("several pictures need " + std::string(folder) +
                             " FOLDER; see q32tool help " + std::string(command.name));
        if (arguments.has(output_option_name))
            throw UsageError("a picture goes to --output or to " + std::string(folder) +
                             "; leave out one of them");
        plan.folder = folder_of(arguments, folder);
    }
    const std::optional<FileFormat> kind = kind_from(arguments);
    const uint32_t jobs = arguments.number("--jobs", 1, most_jobs, processors());
    for (std::string &input : inputs_of(command, arguments)) {
        Request picture;
        picture.resume = arguments.has("--resume");
        picture.quiet = arguments.has("--quiet");
        picture.output = plan.folder.empty() ? "" : output_for(input, plan, kind);
        picture.input = std::move(input);
        picture.command = command.name;
        plan.pictures.push_back(std::move(picture));
    }
    plan.processes = std::max(1u, std::min(jobs, static_cast<unsigned>(plan.pictures.size())));
    write_command_lines(command, arguments, plan);
    if (!plan.folder.empty()) {
        check_outputs(command, arguments, plan);
        check_folder(plan);
    }
    check_options(command, plan);
    return plan;
}

} // namespace apps::q32tool
