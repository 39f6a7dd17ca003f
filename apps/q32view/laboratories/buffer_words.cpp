// Sentences out of facts.
#include "buffer_words.h"

#include "apps/pictures/numbers.h"

#include <algorithm>

namespace apps::q32view {
namespace {

std::string listed(const std::vector<std::string> &names) {
    std::string list;
    for (const std::string &name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

std::string in_kilobytes(size_t bytes) {
    constexpr size_t kilobyte = 1024;
    return std::to_string((bytes + kilobyte / 2) / kilobyte) + " KB";
}

const char *lock_mode_in_words(int mode) {
    switch (mode) {
    case BUF32_READ:
        return "read";
    case BUF32_WRITE:
    case BUF32_WRITE_3:
        return "write";
    case BUF32_OVERWRITE:
        return "overwrite";
    default:
        return "mode 0";
    }
}

std::string storage_in_words(const SeenBuffer &buffer) {
    const Place place = buffer.cells.empty() ? Place::nowhere : buffer.cells.front();
    if (place == Place::nowhere)
        return "without pixels";
    return (place == Place::memory ? "memory " : "swap file ") +
           in_kilobytes(buffer.info.reserved_bytes);
}

std::string sentence(std::string text) {
    while (text.ends_with('.'))
        text.pop_back();
    return text;
}

// The first step after which rules and library differ; none: they never do.
std::optional<size_t> first_difference(const std::vector<Moment> &moments) {
    for (size_t i = 0; i < moments.size(); ++i)
        if (!moments[i].agrees())
            return i;
    return std::nullopt;
}

std::string comparison_in_words(const BufferExperiment &experiment) {
    const auto different = first_difference(experiment.moments());
    if (!different)
        return "Bytes and cells are as the rules say, after each step so far.";
    const Moment &moment = experiment.moments()[*different];
    return "The rules differ from step " + std::to_string(*different) + " on: by them " +
           (moment.should_be_done ? "it can be done, with " : "it cannot be done, with ") +
           with_groups(moment.expected.memory) + " bytes in memory and " +
           with_groups(moment.expected.files) + " in swap files.";
}

std::string last_step_in_words(const BufferExperiment &experiment) {
    const std::string count =
        std::to_string(experiment.done()) + " of " + std::to_string(experiment.length());
    const Operation *const last = experiment.last();
    if (last == nullptr)
        return "Step " + count + ": nothing has been done yet. Space takes the next step.";
    return "Step " + count + ", line " + std::to_string(last->line) + ": " +
           outcome_in_words(experiment.moments().back().outcome) + ".";
}

} // namespace

std::string with_groups(size_t number) {
    std::string text = std::to_string(number);
    for (size_t end = text.size(); end > 3; end -= 3)
        text.insert(end - 3, ",");
    return text;
}

std::string size_in_words(const SeenBuffer &buffer) {
    return std::to_string(buffer.info.width) + "x" + std::to_string(buffer.info.height) + "x" +
           std::to_string(buffer.info.bits_per_pixel);
}

std::string place_in_words(const SeenBuffer &buffer, const BufferModel &model) {
    const ModelledBuffer *const modelled = model.find(buffer.name);
    if (!buffer.is_seen)
        return "cannot be looked at";
    if (buffer.info.type == BUF32_ONE_COLOUR)
        return "one colour";
    if (buffer.info.type == BUF32_PATTERN)
        return "pattern";
    if (!buffer.shares_with.empty() && modelled != nullptr && !modelled->source.empty())
        return "reads " + modelled->source + "'s cells";
    return storage_in_words(buffer);
}

std::string detail_in_words(const SeenBuffer &buffer, const BufferModel &model) {
    const ModelledBuffer *const modelled = model.find(buffer.name);
    if (modelled == nullptr)
        return {};
    if (modelled->is_block())
        return modelled->block_bytes > 0 ? "block of " + in_kilobytes(modelled->block_bytes)
                                         : "no block yet";
    if (!modelled->source.empty() && modelled->storage_bytes > 0)
        return "keeps " + in_kilobytes(modelled->storage_bytes);
    if (modelled->source.empty() && !buffer.shares_with.empty())
        return "also for " + listed(buffer.shares_with);
    return {};
}

std::string locks_in_words(const SeenBuffer &buffer) {
    const int locks = buffer.info.lock_count;
    if (locks == 0)
        return {};
    return counted(static_cast<uint64_t>(locks), "lock") + ": " +
           lock_mode_in_words(buffer.info.access_mode);
}

std::string outcome_in_numbers(const Outcome &outcome) {
    const LibraryReport &report = outcome.report;
    if (report.message == 0)
        return outcome.is_done ? "done" : "no report";
    return std::to_string(report.message) + ", module " + std::to_string(report.module) +
           ", point " + std::to_string(report.point);
}

std::string outcome_in_words(const Outcome &outcome) {
    if (!outcome.words.empty())
        return outcome.words;
    if (outcome.is_done)
        return "done";
    if (outcome.report.message == 0)
        return "not done, and the library reports nothing";
    return "not done. " + sentence(outcome.report.text) + " " + outcome.report.numbers();
}

std::string state_in_words(const BufferExperiment &experiment) {
    return last_step_in_words(experiment) + "\n" + comparison_in_words(experiment) +
           "\nSeen: bytes, locks, reports, cells' addresses, and what the system has there. By the "
           "rules: sources, blocks.";
}

} // namespace apps::q32view
