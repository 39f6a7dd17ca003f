// Maps the DLL, fills its import table, and runs its entry point.
#include "tests/frame/library.h"

#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/counted.h"
#include "tests/frame/figures.h"
#include "tests/frame/misaligned.h"
#include "tests/frame/page_heap.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace q32::frame {
namespace {

[[noreturn]] void give_up(const std::string &what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

std::string small_letters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

template <class Type>
Type *at(HMODULE module, DWORD offset) {
    return reinterpret_cast<Type *>(reinterpret_cast<std::uintptr_t>(module) + offset);
}

const IMAGE_OPTIONAL_HEADER &header_of(HMODULE module) {
    const auto *const dos = at<const IMAGE_DOS_HEADER>(module, 0);
    return at<const IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew))->OptionalHeader;
}

// The import table may lie in a section that is not writable.
void write_slot(void **slot, void *value) {
    DWORD protection;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = value;
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

void *export_of(HMODULE module, const char *name) {
    return reinterpret_cast<void *>(GetProcAddress(module, name));
}

// body(name of the DLL in small letters, name of the function, its entry in the table)
template <class Body>
void for_each_import(HMODULE module, Body body) {
    const DWORD table =
        header_of(module).DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto *import = at<IMAGE_IMPORT_DESCRIPTOR>(module, table); import->Name != 0; ++import) {
        const std::string dll = small_letters(at<const char>(module, import->Name));
        const auto *name = at<const IMAGE_THUNK_DATA>(module, import->OriginalFirstThunk);
        auto *slot = at<void *>(module, import->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                give_up("an import by number from " + dll);
            const auto *const by_name =
                at<const IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData));
            body(dll, reinterpret_cast<const char *>(by_name->Name), slot);
        }
    }
}

// Blocks go from the test to the library and back.
void share_page_heap_with_program() {
    for_each_import(GetModuleHandleA(nullptr),
                    [](const std::string &, const std::string &function, void **slot) {
                        if (void *const own = page_heap_function(function))
                            write_slot(slot, own);
                    });
}

} // namespace

std::string library_path() {
    char path[MAX_PATH];
    if (GetEnvironmentVariableA("Q32BASE_TEST_LIBRARY", path, sizeof path) != 0)
        return path;
    GetModuleFileNameA(nullptr, path, sizeof path);
    const std::string program = path;
    return program.substr(0, program.rfind('\\')) + "\\..\\..\\bin\\Q32BASE.DLL";
}

Library::Library() {
    comm(); // the recording q32comm.dll, and the sandbox, before anything of the DLL runs
    char path[MAX_PATH];
    GetFullPathNameA(library_path().c_str(), sizeof path, path, nullptr);
    // Maps and relocates, and neither loads what is imported nor calls the entry point.
    module_ = LoadLibraryExA(path, nullptr, DONT_RESOLVE_DLL_REFERENCES);
    if (module_ == nullptr)
        give_up("cannot load " + std::string(path));
    share_page_heap_with_program();
    resolve_imports();
    load_api();
}

Library::~Library() {
    if (attached_)
        detach();
    FreeLibrary(module_);
    forget_holdings();
}

void Library::resolve_imports() {
    for_each_import(module_,
                    [this](const std::string &dll, const std::string &function, void **slot) {
                        const HMODULE provider = LoadLibraryA(dll.c_str());
                        if (provider == nullptr)
                            give_up("cannot load " + dll);
                        void *real = page_heap_function(function);
                        if (real == nullptr)
                            real = export_of(provider, function.c_str());
                        if (real == nullptr)
                            give_up(dll + " does not export " + function);
                        void *const gate = gate_for(dll, function, real);
                        write_slot(slot, gate != nullptr ? gate : real);
                        imports_[{dll, function}] = slot;
                    });
}

void Library::load_api() {
#define Q32_EXPORT(name)                                                                           \
    api_.name = reinterpret_cast<decltype(api_.name)>(export_of(module_, #name));                  \
    if (api_.name == nullptr)                                                                      \
        give_up("the DLL does not export " #name);
#include "q32_exports.inc"
#undef Q32_EXPORT
    if (figures::wanted())
        count_calls();
    if (stack_can_turn && GetEnvironmentVariableA("Q32BASE_TEST_STACK", nullptr, 0) != 0)
        turn_stack();
}

// Image bases are fixed: whenever the DLL is loaded, its functions lie at the same places.
void Library::count_calls() {
    static std::map<std::string, const std::atomic<std::size_t> *> counters;
    if (counters.empty())
        figures::at_the_end([] {
            for (const auto &[name, calls] : counters)
                if (*calls > 0)
                    figures::count("calls of " + name, *calls);
        });
#define Q32_EXPORT(name)                                                                           \
    {                                                                                              \
        struct Name;                                                                               \
        using CountedExport = Counted<Name, decltype(api_.name)>;                                  \
        counters[#name] = &CountedExport::calls;                                                   \
        CountedExport::function = api_.name;                                                       \
        api_.name = CountedExport::call;                                                           \
    }
#include "q32_exports.inc"
#undef Q32_EXPORT
}

void Library::turn_stack() {
#define Q32_EXPORT(name)                                                                           \
    {                                                                                              \
        struct Name;                                                                               \
        using Turning = OnTurningStack<Name, decltype(api_.name)>;                                 \
        Turning::function = api_.name;                                                             \
        api_.name = Turning::call;                                                                 \
    }
#include "q32_exports.inc"
#undef Q32_EXPORT
}

bool Library::call_entry(DWORD reason, void *reserved) const {
    using Entry = BOOL(WINAPI *)(HINSTANCE, DWORD, LPVOID);
    void *const entry = at<void>(module_, header_of(module_).AddressOfEntryPoint);
    return reinterpret_cast<Entry>(entry)(module_, reason, reserved) != FALSE;
}

bool Library::attach() {
    attached_ = call_entry(DLL_PROCESS_ATTACH, nullptr);
    return attached_;
}

void Library::detach(bool process_ends) {
    attached_ = false;
    call_entry(DLL_PROCESS_DETACH, process_ends ? &attached_ : nullptr);
}

void **Library::import_slot(const std::string &dll, const std::string &function) const {
    const auto found = imports_.find({small_letters(dll), function});
    return found == imports_.end() ? nullptr : found->second;
}

// --- the shared library ----------------------------------------------------------------------

namespace {

std::unique_ptr<Library> shared;

} // namespace

Library &shared_library() {
    if (shared == nullptr) {
        shared = std::make_unique<Library>();
        if (!shared->attach())
            give_up("the DLL refuses to start");
        // While what the library and its gates stand on is still there.
        static const int registered = std::atexit(drop_shared_library);
        static_cast<void>(registered);
    }
    return *shared;
}

const Api &api() {
    return shared_library().api();
}

void drop_shared_library() {
    shared.reset();
}

// --- hooks -----------------------------------------------------------------------------------

ImportHook::ImportHook(const Library &library, const std::string &dll, const std::string &function,
                       void *replacement)
    : slot_(library.import_slot(dll, function)) {
    if (slot_ == nullptr)
        give_up("the DLL does not import " + function + " from " + dll);
    original_ = *slot_;
    write_slot(slot_, replacement);
}

ImportHook::~ImportHook() {
    write_slot(slot_, original_);
}

} // namespace q32::frame
