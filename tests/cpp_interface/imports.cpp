// What the linker would take from the import library of Q32BASE.DLL: the tests' own library behind
// the names that q32base.hpp calls.
#include "tests/cpp_interface/cpp_fixture.h"

#if defined(_WIN64)
#define IMPORTED(name) "__imp_" #name
#else
#define IMPORTED(name) "__imp__" #name
#endif

extern "C" {
#define Q32_EXPORT(name) decltype(&::name) imported_##name asm(IMPORTED(name));
#include "q32_exports.inc"
#undef Q32_EXPORT
}

namespace q32::test {

void import_from(const frame::Api &api) {
#define Q32_EXPORT(name) imported_##name = api.name;
#include "q32_exports.inc"
#undef Q32_EXPORT
}

} // namespace q32::test
