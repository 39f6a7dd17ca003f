// Callbacks that do whatever they may.
#pragma once

#include <q32base.h>

namespace q32::test {

// Both reply anything, and make a few calls of their own.
int Q32_CALL dispatch_callback(int message, std::uint32_t owner, std::intptr_t parameter,
                               std::intptr_t user_data);
int __stdcall progress_callback(int message, int value, int zero, std::uintptr_t user_data);

} // namespace q32::test
