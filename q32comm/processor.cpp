// What the processor is and can do.
#include "q32comm/copy_text.h"

#include <q32comm.h>

#include <cpuid.h>

namespace {

constexpr unsigned brand_leaf = 0x80000002, last_brand_leaf = 0x80000004;

// The brand string, or the maker's name on processors that have none.
struct Name {
    char text[49] = {};

    Name() {
        auto *const words = reinterpret_cast<unsigned *>(text);
        if (__get_cpuid_max(0x80000000, nullptr) >= last_brand_leaf) {
            for (unsigned leaf = brand_leaf; leaf <= last_brand_leaf; ++leaf) {
                unsigned *const part = words + 4 * (leaf - brand_leaf);
                __get_cpuid(leaf, part, part + 1, part + 2, part + 3);
            }
        } else {
            unsigned highest;
            __get_cpuid(0, &highest, words, words + 2, words + 1);
        }
    }

    const char *trimmed() const {
        const char *start = text;
        while (*start == ' ')
            ++start;
        return start;
    }
};

} // namespace

int Q32COMM_CALL IsSupportMMX(void) {
    unsigned eax, ebx, ecx, edx;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) && (edx & bit_MMX) != 0;
}

int Q32COMM_CALL GetCPUName(char *buffer, int size) {
    return q32comm::copy_text(Name().trimmed(), buffer, size);
}
