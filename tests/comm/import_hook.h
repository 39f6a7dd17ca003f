// Another function in the import table of the loaded q32comm.dll, for what a test cannot bring
// about otherwise.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace q32::test {

// Puts it there for the time of its own life, which ends before the library's.
class ImportHook {
public:
    template <class Function>
    ImportHook(const char *name, Function *replacement) : slot_(find(name)) {
        EXPECT_NE(slot_, nullptr) << name << " is not imported";
        if (slot_ != nullptr)
            original_ = put(reinterpret_cast<void *>(replacement));
    }
    ~ImportHook() {
        if (slot_ != nullptr)
            put(original_);
    }
    ImportHook(const ImportHook &) = delete;
    ImportHook &operator=(const ImportHook &) = delete;

private:
    template <class Type>
    static Type *at(std::uintptr_t module, DWORD offset) {
        return reinterpret_cast<Type *>(module + offset);
    }

    static void **find(const char *name) {
        const auto module = reinterpret_cast<std::uintptr_t>(GetModuleHandleA("q32comm.dll"));
        const auto *dos = at<const IMAGE_DOS_HEADER>(module, 0);
        const auto *headers = at<const IMAGE_NT_HEADERS>(module, DWORD(dos->e_lfanew));
        const DWORD table =
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto *dll = at<IMAGE_IMPORT_DESCRIPTOR>(module, table); dll->Name != 0; ++dll) {
            const auto *entry = at<const IMAGE_THUNK_DATA>(module, dll->OriginalFirstThunk);
            auto *slot = at<void *>(module, dll->FirstThunk);
            for (; entry->u1.AddressOfData != 0; ++entry, ++slot)
                if (!IMAGE_SNAP_BY_ORDINAL(entry->u1.Ordinal) &&
                    std::strcmp(at<const char>(module, entry->u1.AddressOfData + sizeof(WORD)),
                                name) == 0)
                    return slot;
        }
        return nullptr;
    }

    void *put(void *function) {
        DWORD protection;
        VirtualProtect(slot_, sizeof *slot_, PAGE_READWRITE, &protection);
        return std::exchange(*slot_, function);
    }

    void **slot_;
    void *original_ = nullptr;
};

} // namespace q32::test
