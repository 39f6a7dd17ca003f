// Loading of the common library, and its import table.
#include "tests/comm/comm_library.h"

#include <cstdio>
#include <cstdlib>

namespace q32::test {

std::string CommLibrary::path() {
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, sizeof program);
    const std::string path = program;
    return path.substr(0, path.rfind('\\')) + "\\..\\..\\bin\\q32comm.dll";
}

CommLibrary::CommLibrary() {
    module_ = LoadLibraryA(path().c_str());
    if (module_ == nullptr) {
        std::fputs("cannot load q32comm.dll\n", stderr);
        std::abort();
    }
#define Q32_LOAD(name)                                                                             \
    name = reinterpret_cast<decltype(name)>(                                                       \
        reinterpret_cast<void *>(GetProcAddress(module_, #name)));                                 \
    if (name == nullptr) {                                                                         \
        std::fputs("q32comm.dll does not export " #name "\n", stderr);                             \
        std::abort();                                                                              \
    }
    Q32_COMM_EXPORTS(Q32_LOAD)
#undef Q32_LOAD
}

CommLibrary::~CommLibrary() {
    FreeLibrary(module_);
}

// --- the import table ------------------------------------------------------------------------

namespace {

template <class T>
T *at(HMODULE module, DWORD place) {
    return reinterpret_cast<T *>(reinterpret_cast<char *>(module) + place);
}

// Where the address of an imported function lies, null when there is none of that name.
void **import_slot(HMODULE module, const char *wanted) {
    const auto offset = DWORD(at<IMAGE_DOS_HEADER>(module, 0)->e_lfanew);
    const auto &header = at<IMAGE_NT_HEADERS>(module, offset)->OptionalHeader;
    const DWORD table = header.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto *import = at<IMAGE_IMPORT_DESCRIPTOR>(module, table); import->Name != 0; ++import) {
        const auto *name = at<IMAGE_THUNK_DATA>(module, import->OriginalFirstThunk);
        auto *slot = at<void *>(module, import->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            const auto *by_name = at<IMAGE_IMPORT_BY_NAME>(module, DWORD(name->u1.AddressOfData));
            if (std::strcmp(reinterpret_cast<const char *>(by_name->Name), wanted) == 0)
                return slot;
        }
    }
    return nullptr;
}

void write_slot(void **slot, void *function) {
    DWORD before;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
    *slot = function;
    VirtualProtect(slot, sizeof *slot, before, &before);
}

} // namespace

ReplacedImport::ReplacedImport(const char *name, void *replacement) {
    const HMODULE module = GetModuleHandleA("q32comm.dll");
    slot_ = module != nullptr ? import_slot(module, name) : nullptr;
    if (slot_ == nullptr) {
        std::fprintf(stderr, "q32comm.dll does not import %s\n", name);
        std::abort();
    }
    original_ = *slot_;
    write_slot(slot_, replacement);
}

ReplacedImport::~ReplacedImport() {
    write_slot(slot_, original_);
}

} // namespace q32::test
