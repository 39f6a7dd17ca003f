// What drivers ask of the common library, where that is not what is fuzzed.
#include "tests/fuzz/system/machine.h"

#include <q32comm.h>

namespace {

using q32::fuzz::machine;

int put_text(const std::string &text, char *buffer, int size) {
    if (buffer == nullptr || size < 1)
        return 0;
    // As its callers fear: without a terminator where the text is too long.
    std::strncpy(buffer, text.c_str(), std::size_t(size));
    return int(std::min<std::size_t>(text.size(), std::size_t(size)));
}

} // namespace

int Q32COMM_CALL c32SetDLLErrInfo(const char *, int, int, int, int, int) {
    return 1;
}

int Q32COMM_CALL c32GetString(int id, char *buffer, int size) {
    return put_text(machine().texts[id], buffer, size);
}

int Q32COMM_CALL q32GetQuillTempDir(char *buffer, int size) {
    return put_text(machine().directory, buffer, size);
}
