// Memory as a 32-bit process finds it.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/edition.h"

#include <optional>

namespace q32::frame {

// While it exists, the library gets no block of a gigabyte or more, as in 32 bits, where there is
// no room for one: in 64 bits the machine might have it, and a test that asks for too much would
// take all of it. What fails in one edition so fails in both.
class SmallMemory {
public:
    SmallMemory() {
        if constexpr (is_64_bit)
            refusals_.emplace();
    }

private:
    static constexpr SIZE_T too_large = 1u << 30;

    // Grants by the given size what the real call grants.
    template <class Call, class... Arguments>
    static typename Call::Returned granted(SIZE_T size, Arguments... arguments) {
        if (size < too_large)
            return Call::real(arguments...);
        SetLastError(Call::usual_error);
        return nullptr;
    }

    struct Refusals {
        Replaced<call::malloc> malloc{
            [](size_t size) { return granted<call::malloc>(size, size); }};
        Replaced<call::GlobalAlloc> global_alloc{
            [](UINT flags, SIZE_T size) { return granted<call::GlobalAlloc>(size, flags, size); }};
        Replaced<call::VirtualAlloc> virtual_alloc{
            [](LPVOID at, SIZE_T size, DWORD kind, DWORD access) {
                return granted<call::VirtualAlloc>(size, at, size, kind, access);
            }};
    };
    std::optional<Refusals> refusals_;
};

} // namespace q32::frame
