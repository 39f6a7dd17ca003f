// Calls a cdecl function with the stack at a wanted place. Windows callers of 32 bits keep it at
// multiples of 4 only, while the compiler assumes 16. In 64 bits both have 16, and it stays there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace q32::frame {

#ifdef _WIN64
inline constexpr bool stack_can_turn = false;

template <class Result, class... Parameters>
Result call_at(std::uint32_t, Result (*function)(Parameters...),
               std::type_identity_t<Parameters>... arguments) {
    return function(arguments...);
}
#else
inline constexpr bool stack_can_turn = true;

// Calls with these 32-bit words as arguments; at the call esp % 16 is `remainder` (0, 4, 8 or 12;
// 0 is what the compiler expects). Gives back eax.
extern "C" std::uint32_t q32_call_at(const void *function, const std::uint32_t *words,
                                     std::uint32_t count, std::uint32_t remainder);

// Of an argument on the stack.
template <class Argument>
inline constexpr std::size_t words_of = (sizeof(Argument) + 3) / 4;

template <class Argument>
std::uint32_t *append_words(std::uint32_t *words, Argument argument) {
    if constexpr (std::is_integral_v<Argument> && sizeof(Argument) < 4) {
        *words = static_cast<std::uint32_t>(argument);
    } else {
        static_assert(sizeof argument % 4 == 0);
        std::memcpy(words, &argument, sizeof argument);
    }
    return words + words_of<Argument>;
}

// call_at(4, api().buf32Alloc, &handle, 24, ...): arguments are converted as in an ordinary call.
template <class Result, class... Parameters>
Result call_at(std::uint32_t remainder, Result (*function)(Parameters...),
               std::type_identity_t<Parameters>... arguments) {
    constexpr std::size_t count = (std::size_t{0} + ... + words_of<Parameters>);
    std::uint32_t words[count + 1] = {}; // one more, as there are no arrays of none
    [[maybe_unused]] std::uint32_t *end = words;
    ((end = append_words<Parameters>(end, arguments)), ...);
    const std::uint32_t result =
        q32_call_at(reinterpret_cast<const void *>(function), words, count, remainder);
    if constexpr (!std::is_void_v<Result>) {
        static_assert(sizeof(Result) == 4);
        Result typed;
        std::memcpy(&typed, &result, sizeof typed);
        return typed;
    }
}

#endif

// Stands before a function and calls it with the stack at the four places in turn. Name tells the
// functions apart that have one type.
template <class Name, class Function>
struct OnTurningStack;

template <class Name, class Result, class... Parameters>
struct OnTurningStack<Name, Result (*)(Parameters...)> {
    static inline Result (*function)(Parameters...);

    static Result call(Parameters... arguments) {
        static thread_local std::uint32_t calls;
        return call_at(4 * (calls++ % 4), function, arguments...);
    }
};

} // namespace q32::frame
