// The thread priority calls of a DLL taken out of a measurement. The exports that move rectangles
// raise and restore the priority, which costs two calls of the system: under Wine as much as a
// small rectangle ten times over.
#pragma once

#include <windows.h>

#include <cstring>

namespace q32::bench {

class NoPriorityCalls {
public:
    explicit NoPriorityCalls(const char *dll)
        : base_(reinterpret_cast<char *>(GetModuleHandleA(dll))) {
        for (Hook &hook : hooks_)
            exchange(hook);
    }
    ~NoPriorityCalls() {
        for (Hook &hook : hooks_)
            exchange(hook);
    }
    NoPriorityCalls(const NoPriorityCalls &) = delete;
    NoPriorityCalls &operator=(const NoPriorityCalls &) = delete;

    // Whether the DLL imports what is to be replaced.
    bool complete() const {
        for (const Hook &hook : hooks_)
            if (hook.slot == nullptr)
                return false;
        return true;
    }

private:
    struct Hook {
        const char *function;
        void *entry; // what the import slot does not hold at the moment
        void **slot;
    };

    static HANDLE WINAPI current_thread() { return nullptr; }
    static int WINAPI get_priority(HANDLE) { return THREAD_PRIORITY_NORMAL; }
    static BOOL WINAPI set_priority(HANDLE, int) { return TRUE; }

    template <class T>
    T *at(DWORD address) const {
        return reinterpret_cast<T *>(base_ + address);
    }

    void **find_slot(const char *function) const {
        const auto *dos = at<IMAGE_DOS_HEADER>(0);
        const auto *headers = at<IMAGE_NT_HEADERS>(DWORD(dos->e_lfanew));
        const DWORD table =
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto *dll = at<IMAGE_IMPORT_DESCRIPTOR>(table); dll->Name != 0; ++dll) {
            const auto *name = at<IMAGE_THUNK_DATA>(dll->OriginalFirstThunk);
            auto *slot = at<void *>(dll->FirstThunk);
            for (; name->u1.AddressOfData != 0; ++name, ++slot)
                if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                    std::strcmp(at<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData)->Name, function) ==
                        0)
                    return slot;
        }
        return nullptr;
    }

    void exchange(Hook &hook) const {
        if (hook.slot == nullptr)
            hook.slot = find_slot(hook.function);
        DWORD protection;
        if (hook.slot == nullptr ||
            !VirtualProtect(hook.slot, sizeof(void *), PAGE_READWRITE, &protection))
            return;
        void *const entry = *hook.slot;
        *hook.slot = hook.entry;
        hook.entry = entry;
        VirtualProtect(hook.slot, sizeof(void *), protection, &protection);
    }

    char *base_;
    Hook hooks_[3] = {
        {"GetCurrentThread", reinterpret_cast<void *>(current_thread), nullptr},
        {"GetThreadPriority", reinterpret_cast<void *>(get_priority), nullptr},
        {"SetThreadPriority", reinterpret_cast<void *>(set_priority), nullptr},
    };
};

} // namespace q32::bench
