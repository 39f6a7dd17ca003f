// The shipped Q32BASE.DLL under test: mapped without the system's loader resolving its imports, so
// that a test can put its own functions into the import table before the DLL runs its first
// instruction. Load, attach, detach and unload are separate steps and can be repeated.
#pragma once

#include <q32base.h>

#include <map>
#include <string>
#include <utility>

namespace q32::frame {

// Every export, typed by the public headers, by its own name: api().buf32Alloc(...). With the
// environment variable Q32BASE_TEST_STACK set, each is called with its stack at the four places in
// turn that callers may have it at (misaligned.h); their calls are counted where figures are
// wanted.
struct Api {
#define Q32_EXPORT(name) decltype(&::name) name = nullptr;
#include "q32_exports.inc" // made from library/q32base.def
#undef Q32_EXPORT
};

class Library {
public:
    // Maps the DLL and fills its import table: q32comm.dll is the recording one, known system
    // functions (calls.h) go through a gate that counts them and can let them fail. Ends the
    // program when there is no DLL: nothing could be tested.
    Library();
    // Detaches when attached, and unmaps.
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    // Runs the entry point as the system would. attach gives its result; when that is false the DLL
    // counts as not attached. A process that ends detaches with `process_ends`.
    bool attach();
    void detach(bool process_ends = false);
    bool attached() const { return attached_; }

    HMODULE module() const { return module_; }
    const Api &api() const { return api_; }

    // Entry of the import table; null when the DLL does not import that function.
    void **import_slot(const std::string &dll, const std::string &function) const;
    const std::map<std::pair<std::string, std::string>, void **> &imports() const {
        return imports_;
    }

private:
    void resolve_imports();
    void load_api();
    void count_calls();
    void turn_stack();
    bool call_entry(DWORD reason, void *reserved) const;

    HMODULE module_ = nullptr;
    Api api_;
    // Keys: name of the DLL in small letters, name of the function.
    std::map<std::pair<std::string, std::string>, void **> imports_;
    bool attached_ = false;
};

// The library that most tests share: loaded and attached on first use, until the process ends.
Library &shared_library();
const Api &api();
// Detaches and unloads the shared library; the next use loads it anew.
void drop_shared_library();

// Full name of the DLL under test: bin/Q32BASE.DLL of the build tree, or what the environment
// variable Q32BASE_TEST_LIBRARY names.
std::string library_path();

// Puts another function into the import table for the time of its own life. The replacement may
// call original(), which is what stood there before.
class ImportHook {
public:
    // Ends the program when the DLL does not import the function.
    ImportHook(const Library &library, const std::string &dll, const std::string &function,
               void *replacement);
    ~ImportHook();
    ImportHook(const ImportHook &) = delete;
    ImportHook &operator=(const ImportHook &) = delete;
    template <class Function>
    Function original() const {
        return reinterpret_cast<Function>(original_);
    }

private:
    void **slot_;
    void *original_;
};

} // namespace q32::frame
