// Which words of a command line are pictures is told by the tables of operands and options.
#include "picture_pipes.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/text.h"
#include "batch_options.h"
#include "file_kind.h"
#include "standard_streams.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <optional>

namespace apps::q32tool {
namespace {

constexpr std::string_view pictures_read[] = {"IN",      "IN.bmp",  "PICTURE",
                                              "OVERLAY", "PATTERN", "BASE"};
constexpr std::string_view pipe_word = "-";

// Empty: there is none.
std::wstring input_file, output_file;

bool is_read(std::string_view operand) {
    return std::find(std::begin(pictures_read), std::end(pictures_read), operand) !=
           std::end(pictures_read);
}

std::string temporary_path(const std::string &end) {
    wchar_t folder[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, folder);
    std::string path =
        to_utf8(folder) + "q32tool-" + std::to_string(GetCurrentProcessId()) + "-" + end;
    std::replace(path.begin(), path.end(), '\\', '/'); // may stand in quotes
    return path;
}

// path: empty when nothing has another name.
std::string renamed(std::string text, const std::string &path, std::string_view name) {
    if (!path.empty())
        for (size_t at = 0; (at = text.find(path, at)) != std::string::npos; at += name.size())
            text.replace(at, path.size(), name);
    return text;
}

// The words that stand for streams, and what takes their place.
class Pipes {
public:
    Pipes(const Command &command, const Arguments &arguments)
        : command_(command), arguments_(arguments) {}
    Pipes(const Pipes &) = delete;
    Pipes &operator=(const Pipes &) = delete;
    ~Pipes() { remove_piped_files(); }

    bool are_used() { return reads() || writes(); }

    void run() {
        if (writes()) {
            if (command_.outputs != nullptr)
                throw UsageError(std::string(command_.name) +
                                 " writes several pictures, and standard output takes one");
            check_standard_output_takes_pictures();
        }
        if (reads()) {
            input_ = temporary_path("input");
            input_file = to_wide(input_);
            save_standard_input(input_file);
            for_each_input([&](const std::string &) { return input_; });
        }
        if (writes()) {
            output_ = temporary_path("output" + extension_of(kind_of_output()));
            output_file = to_wide(output_);
            set_output();
            arguments_.set("--quiet", "");
        }
        arguments_.drop("--as");
        change_printed([input = input_, output = output_](StandardStream, std::string_view text) {
            return renamed(renamed(std::string(text), input, "standard input"), output,
                           "standard output");
        });
        command_.run(arguments_);
        if (!output_.empty())
            send_to_standard_output(output_file);
    }

private:
    // Calls change(word) for the names of all pictures that are read; the word becomes its result.
    template <typename Change>
    void for_each_input(const Change &change) {
        std::vector<std::string> operands = arguments_.operands();
        for (size_t i = 0; i < std::min(operands.size(), command_.operands.size()); ++i)
            if (is_read(command_.operands[i]) && operands[i] == pipe_word)
                operands[i] = change(operands[i]);
        arguments_.set_operands(operands);
        for (const Option &option : command_.options)
            if (is_read(option.value) && arguments_.has(option.name) &&
                arguments_.value(option.name) == pipe_word)
                arguments_.set(option.name, change(arguments_.value(option.name)));
    }

    bool reads() {
        bool found = false;
        for_each_input([&](const std::string &word) {
            found = true;
            return word;
        });
        return found;
    }

    bool writes() const {
        return writes_operand(command_) ? arguments_.last_operand() == pipe_word
                                        : arguments_.has(output_option_name) &&
                                              arguments_.value(output_option_name) == pipe_word;
    }

    void set_output() {
        if (!writes_operand(command_)) {
            arguments_.set(output_option_name, output_);
            return;
        }
        std::vector<std::string> operands = arguments_.operands();
        operands.back() = output_;
        arguments_.set_operands(operands);
    }

    // What --as says; else that of the picture from standard input, or of the first one; else PNG.
    FileFormat kind_of_output() const {
        if (arguments_.has("--as"))
            return arguments_.parsed("--as", kind_of_word, "png, bmp, jpg or tif");
        std::optional<FileFormat> kind;
        if (!input_.empty())
            kind = kind_of_file(input_);
        else if (!command_.operands.empty() && is_read(command_.operands[0]))
            kind = kind_of_file(arguments_.operand(0));
        return kind.value_or(FileFormat::png);
    }

    const Command &command_;
    Arguments arguments_;
    std::string input_, output_; // the files' names; empty: none
};

// Words that would change nothing are mistakes.
void check_unused(const Command &command, const Arguments &arguments, bool has_pipes) {
    for (const Option &option : batch_options(command))
        if (arguments.has(option.name) && !(option.name == "--as" && has_pipes))
            throw UsageError(std::string(option.name) + " is for several pictures; add " +
                             (writes_picture(command)
                                  ? std::string(folder_option(command)) + " FOLDER"
                                  : "them"));
}

} // namespace

void run_with_pipes(const Command &command, const Arguments &arguments) {
    Pipes pipes(command, arguments);
    const bool has_pipes = command.takes != Takes::sequence && pipes.are_used();
    check_unused(command, arguments, has_pipes);
    if (has_pipes)
        pipes.run();
    else
        command.run(arguments);
}

void remove_piped_files() {
    for (std::wstring *file : {&input_file, &output_file})
        if (!file->empty())
            DeleteFileW(std::exchange(*file, {}).c_str());
}

} // namespace apps::q32tool
