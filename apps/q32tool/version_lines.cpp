// The versions that were built and loaded, and which kernels the library takes on this machine.
#include "version_lines.h"

#include "library/process/cpu.h"

#include <q32base/loaded_version.h>
#include <q32base/version.h>
#include <windows.h>

namespace apps::q32tool {
namespace {

std::string version_of(const char *module) {
    const int version = q32VersionOfModule(GetModuleHandleA(module));
    if (version == 0)
        return "of unknown version";
    return std::to_string(version / 1000000) + "." + std::to_string(version / 1000 % 1000) + "." +
           std::to_string(version % 1000);
}

// As the library finds it at its start.
std::string instruction_set() {
    char cap[16];
    const DWORD length = GetEnvironmentVariableA("Q32BASE_ISA", cap, sizeof cap);
    const bool has_cap = length != 0 && length < sizeof cap;
    const q32::InstructionSet best = q32::best_instruction_set(nullptr);
    const q32::InstructionSet taken = q32::best_instruction_set(has_cap ? cap : nullptr);
    const std::string name = q32::instruction_set_name(taken);
    return taken == best ? name
                         : name + " by Q32BASE_ISA (this machine has " +
                               q32::instruction_set_name(best) + ")";
}

} // namespace

std::string version_lines() {
    return "q32tool " Q32BASE_VERSION_STRING ", " + std::to_string(8 * sizeof(void *)) +
           " bits\nQ32BASE " + version_of("Q32BASE.DLL") + ", instruction set " +
           instruction_set() + "\nq32comm " + version_of("q32comm.dll") + "\n";
}

} // namespace apps::q32tool
