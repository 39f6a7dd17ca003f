// What a test program measured. With Q32BASE_TEST_FIGURES naming a file, every program adds its
// figures to that file when it ends, one a line, with tabs between the fields; without it nothing
// is kept.
//   count   NAME     NUMBER                      whoever reads the file adds up those of one name
//   value   NAME     NUMBER    UNIT              the last one counts
//   report  MESSAGE  SEVERITY  MODULE  POINT     a failure that the library reported; once each
#pragma once

#include <cstdint>
#include <string_view>

namespace q32::figures {

// Whether anybody wants them: who would have to gather them first asks.
bool wanted();

// From any thread. Loops add up by themselves, and tell the sum.
void count(std::string_view name, std::uint64_t number = 1);
void value(std::string_view name, double number, std::string_view unit);
void report(int message, int severity, int module, int point);

// Calls a function when the tests have been run, which tells what was gathered until then.
void at_the_end(void (*tell)());

// Adds them to the file; main does.
void write();

} // namespace q32::figures
