// The test's side of the recording q32comm.dll.
#include "tests/frame/comm.h"

#include "tests/frame/figures.h"
#include "tests/frame/sandbox.h"

#include <q32base/types.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ostream>

namespace q32::frame {
namespace {

struct DefaultText {
    int id;
    const char *text;
};

// Other names than those of the shipped q32comm.dll, with the same room for the digit (10 and 6).
constexpr DefaultText default_texts[] = {
    {4700, "Refused: %s"},    {4701, "Refused"},          {10001, "TestFolder"},
    {10003, "Switch"},        {10006, "FileSwitch"},      {10007, "MemorySwitch"},
    {10008, "FileKilobytes"}, {10009, "Kilobytes"},       {12002, "TestDisplay"},
    {12003, "RedHundredths"}, {12004, "GreenHundredths"}, {12005, "BlueHundredths"},
    {12010, "GammaSwitch"},   {12011, "DitherSwitch"},
};

template <std::size_t size>
void put(const std::string &text, char (&out)[size]) {
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
}

Recording *load() {
    const HMODULE module = LoadLibraryA("q32comm.dll");
    const FARPROC found = module ? GetProcAddress(module, recording_export) : nullptr;
    if (found == nullptr) {
        std::fputs("the recording q32comm.dll does not lie beside the test program\n", stderr);
        std::abort();
    }
    return reinterpret_cast<RecordingExport>(reinterpret_cast<void *>(found))();
}

Text &place_of(int id) {
    Recording &recording = comm();
    for (int i = 0; i < recording.text_count; ++i)
        if (recording.texts[i].id == id)
            return recording.texts[i];
    if (recording.text_count == Recording::most_texts)
        std::abort();
    Text &text = recording.texts[recording.text_count++];
    text = {id, false, {}};
    return text;
}

} // namespace

Recording &comm() {
    static Recording *const recording = load();
    static bool ready = false;
    if (!ready) {
        ready = true;
        reset_comm();
    }
    return *recording;
}

void reset_comm() {
    Recording &recording = comm();
    recording = {};
    recording.mmx = true;
    recording.listener = figures::wanted() ? figures::report : nullptr;
    put("Processor of the tests", recording.processor_name);
    put(sandbox_family(), recording.temporary_directory);
    for (const DefaultText &text : default_texts)
        set_text(text.id, text.text);
    set_text(10000, "Q32T" + std::to_string(GetCurrentProcessId()) + ".INI");
}

void set_text(int id, const std::string &text) {
    Text &place = place_of(id);
    place.present = true;
    put(text, place.text);
}

void remove_text(int id) {
    place_of(id).present = false;
}

std::string text_of(int id) {
    const Text &place = place_of(id);
    return place.present ? place.text : "";
}

// --- reports ---------------------------------------------------------------------------------

std::ostream &operator<<(std::ostream &out, const Failure &failure) {
    return out << '(' << failure.message << ", severity " << failure.severity << ", module "
               << failure.module << ", point " << failure.point << ')';
}

std::vector<Failure> reports() {
    const Recording &recording = comm();
    EXPECT_LE(recording.report_count, Recording::most_reports) << "more reports than are kept";
    std::vector<Failure> failures;
    for (int i = 0; i < std::min(recording.report_count, Recording::most_reports); ++i) {
        const Report &report = recording.reports[i];
        EXPECT_FALSE(report.has_text) << "a report with the text " << report.text;
        EXPECT_EQ(report.library, Q32_LIBRARY_NUMBER) << "in a report of " << report.message;
        failures.push_back({report.message, report.severity, report.module, report.point});
    }
    return failures;
}

void forget_reports() {
    comm().report_count = 0;
}

testing::AssertionResult check_reports(const std::vector<Failure> &wanted, bool result_as_wanted,
                                       const char *call) {
    const std::vector<Failure> made = reports();
    if (made == wanted && result_as_wanted)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << call << "\n  reports: " << testing::PrintToString(made)
           << "\n  wanted:  " << testing::PrintToString(wanted)
           << (result_as_wanted ? "" : "\n  and its result says the opposite");
}

} // namespace q32::frame
