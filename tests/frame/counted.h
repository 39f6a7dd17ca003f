// Counts the calls of a function, and leaves the stack where the caller has it.
#pragma once

#include <atomic>
#include <cstddef>

namespace q32::frame {

// Stands before a function. Name tells the functions apart that have one type.
template <class Name, class Function>
struct Counted;

template <class Name, class Result, class... Parameters>
struct Counted<Name, Result (*)(Parameters...)> {
    static inline Result (*function)(Parameters...);
    static inline std::atomic<std::size_t> calls;

    static Result call(Parameters... arguments) {
        calls.fetch_add(1, std::memory_order_relaxed);
        return function(arguments...);
    }
};

} // namespace q32::frame
