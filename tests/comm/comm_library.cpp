// Loading of the common library.
#include "tests/comm/comm_library.h"

#include <cstdio>
#include <cstdlib>

namespace q32::test {

std::string CommLibrary::path() {
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, sizeof program);
    const std::string path = program;
    const char *const named = std::getenv("Q32COMM_TEST_LIBRARY");
    return path.substr(0, path.rfind('\\')) + "\\..\\..\\bin\\" +
           (named != nullptr ? named : "q32comm.dll");
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

} // namespace q32::test
