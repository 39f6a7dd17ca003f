// Calls a cdecl function with the stack at a wanted place. Windows callers keep it at multiples of
// 4 only, while the compiler assumes 16.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

namespace q32::frame {

// Calls with these 32-bit words as arguments; at the call esp % 16 is `remainder` (0, 4, 8 or 12;
// 0 is what the compiler expects). Gives back eax.
extern "C" std::uint32_t q32_call_at(const void *function, const std::uint32_t *words,
                                     std::uint32_t count, std::uint32_t remainder);

template <class Argument>
void append_words(std::vector<std::uint32_t> &words, Argument argument) {
    if constexpr (std::is_integral_v<Argument> && sizeof(Argument) < 4) {
        words.push_back(static_cast<std::uint32_t>(argument));
    } else {
        static_assert(sizeof argument % 4 == 0);
        const std::size_t place = words.size();
        words.resize(place + sizeof argument / 4);
        std::memcpy(&words[place], &argument, sizeof argument);
    }
}

// call_at(4, api().buf32Alloc, &handle, 24, ...): arguments are converted as in an ordinary call.
template <class Result, class... Parameters>
Result call_at(std::uint32_t remainder, Result (*function)(Parameters...),
               std::type_identity_t<Parameters>... arguments) {
    std::vector<std::uint32_t> words;
    (append_words<Parameters>(words, arguments), ...);
    const std::uint32_t result = q32_call_at(reinterpret_cast<const void *>(function), words.data(),
                                             static_cast<std::uint32_t>(words.size()), remainder);
    if constexpr (!std::is_void_v<Result>) {
        static_assert(sizeof(Result) == 4);
        Result typed;
        std::memcpy(&typed, &result, sizeof typed);
        return typed;
    }
}

} // namespace q32::frame
