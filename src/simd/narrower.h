// What a kernel table has no form of its own for: the form of the next narrower table.
#pragma once

namespace q32 {
namespace {

template <const auto &narrower, auto entry>
struct HandedOn;

template <const auto &narrower, class Kernels, class... Arguments,
          void (*Kernels::*entry)(Arguments...)>
struct HandedOn<narrower, entry> {
    static void run(Arguments... arguments) { (narrower.*entry)(arguments...); }
};

template <const auto &narrower, auto entry>
inline constexpr auto *handed_on = HandedOn<narrower, entry>::run;

} // namespace
} // namespace q32
