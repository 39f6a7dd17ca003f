// Texts of calls, and the functions that stand in for those of the common library.
#include "tests/library/call_log.h"

#include <cstdio>
#include <cstdlib>
#include <map>

namespace q32::test {
namespace {

// A function of the common library by number: where its calls go and what really answers them.
template <int number>
struct CommonFunction {
    static inline const char *name = nullptr;
    static inline Calls *calls = nullptr;
    static inline void *original = nullptr;

    template <class R, class... A>
    static R call(A... arguments) {
        calls->add(name, {argument_text(arguments)...});
        return reinterpret_cast<R (*)(A...)>(original)(arguments...);
    }
};

int set_report(const char *text, int message, int severity, int library, int module, int point) {
    return CommonFunction<0>::call<int>(text, message, severity, library, module, point);
}
int get_string(int id, char *buffer, int size) {
    return CommonFunction<1>::call<int>(id, buffer, size);
}
int show_message_box(const char *text, const char *title) {
    return CommonFunction<2>::call<int>(text, title);
}
int is_support_mmx() {
    return CommonFunction<3>::call<int>();
}
int get_cpu_name(char *buffer, int size) {
    return CommonFunction<4>::call<int>(buffer, size);
}
int get_directory(char *buffer, int size) {
    return CommonFunction<5>::call<int>(buffer, size);
}

struct Entry {
    void *replacement;
    const char **name;
    Calls **calls;
    void **original;
};

template <int number, class Function>
Entry entry(Function *replacement) {
    using Slot = CommonFunction<number>;
    return {reinterpret_cast<void *>(replacement), &Slot::name, &Slot::calls, &Slot::original};
}

const std::map<std::string, Entry> &entries() {
    static const std::map<std::string, Entry> all = {
        {"c32SetDLLErrInfo", entry<0>(set_report)}, {"c32GetString", entry<1>(get_string)},
        {"c32ShowMb", entry<2>(show_message_box)},  {"IsSupportMMX", entry<3>(is_support_mmx)},
        {"GetCPUName", entry<4>(get_cpu_name)},     {"q32GetQuillTempDir", entry<5>(get_directory)},
    };
    return all;
}

} // namespace

std::string argument_text(const char *text) {
    return text == nullptr ? "null" : '"' + std::string(text) + '"';
}

std::string argument_text(const void *address) {
    return address == nullptr ? "null" : "*";
}

std::string text_of(const Call &call) {
    std::string result = call.name + "(";
    for (std::size_t i = 0; i < call.arguments.size(); ++i)
        result += (i == 0 ? "" : ", ") + call.arguments[i];
    return result + (call.refused ? ") refused" : ")");
}

std::size_t Calls::add(const char *name, std::vector<std::string> arguments) {
    calls_.push_back({name, std::move(arguments)});
    return calls_.size() - 1;
}

std::vector<Call> Calls::of(const std::string &name) const {
    std::vector<Call> result;
    for (const Call &call : calls_)
        if (call.name == name)
            result.push_back(call);
    return result;
}

std::vector<std::string> Calls::sequence() const {
    std::vector<std::string> result;
    for (const Call &call : calls_)
        if (result.empty() || result.back() != call.name)
            result.push_back(call.name);
    return result;
}

int Calls::find(const std::string &beginning, int from) const {
    for (int i = from; i < int(calls_.size()); ++i)
        if (text_of(calls_[i]).starts_with(beginning))
            return i;
    return -1;
}

std::string Calls::text() const {
    std::string result;
    for (const Call &call : calls_)
        result += text_of(call) + "\n";
    return result;
}

CommonWatch::CommonWatch(const frame::Library &library, const std::string &function, Calls &calls) {
    const auto found = entries().find(function);
    if (found == entries().end()) {
        std::printf("%s is not a function of the common library\n", function.c_str());
        std::abort();
    }
    const Entry &entry = found->second;
    *entry.name = found->first.c_str();
    *entry.calls = &calls;
    hook_ =
        std::make_unique<frame::ImportHook>(library, "q32comm.dll", function, entry.replacement);
    *entry.original = hook_->original<void *>();
}

CommonWatch::~CommonWatch() = default;

} // namespace q32::test
