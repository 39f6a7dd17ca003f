// What the processor says about itself.
#include "q32comm/text_copy.h"

#include <q32comm.h>

#include <cpuid.h>

namespace q32::comm {
namespace {

constexpr unsigned leaf_maker = 0;
constexpr unsigned leaf_features = 1;
constexpr unsigned mmx_bit = 1u << 23; // of edx
constexpr unsigned leaf_extended = 0x80000000u;
constexpr unsigned leaf_name = 0x80000002u; // and the two after it

struct Registers {
    unsigned eax, ebx, ecx, edx;
};

Registers ask(unsigned leaf) {
    Registers r;
    __cpuid(leaf, r.eax, r.ebx, r.ecx, r.edx);
    return r;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

} // namespace
} // namespace q32::comm

using namespace q32::comm;

int Q32COMM_CALL IsSupportMMX(void) {
    return ask(leaf_maker).eax >= leaf_features && (ask(leaf_features).edx & mmx_bit) != 0;
}

int Q32COMM_CALL GetCPUName(char *buffer, int size) {
    char name[49] = {};
    if (ask(leaf_extended).eax >= leaf_name + 2) {
        for (unsigned part = 0; part < 3; ++part) {
            const Registers r = ask(leaf_name + part);
            std::memcpy(name + 16 * part, &r, 16);
        }
    } else {
        const Registers r = ask(leaf_maker);
        std::memcpy(name, &r.ebx, 4);
        std::memcpy(name + 4, &r.edx, 4);
        std::memcpy(name + 8, &r.ecx, 4);
    }
    return copy_out(trimmed(name), buffer, size);
}
