// A program of the family, as other processes meet it: it loads the library, allocates buffers in
// swap files, says where they are, and holds them until its input ends or somebody kills it.
//   holder LIBRARY FAMILY-DIRECTORY COUNT
#include "tests/frame/recording_comm.h"

#include <q32base.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

template <class Function>
Function function_of(HMODULE module, const char *name) {
    return reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

} // namespace

int main(int argc, char **argv) {
    const HMODULE comm = LoadLibraryA("q32comm.dll");
    if (argc != 4 || comm == nullptr)
        return 2;
    const auto recording = function_of<q32::frame::RecordingExport>(comm, "q32_recording");
    std::strcpy(recording()->temporary_directory, argv[2]);

    const HMODULE library = LoadLibraryA(argv[1]);
    if (library == nullptr)
        return 3;
    const auto allocate = function_of<decltype(&::buf32Alloc)>(library, "buf32Alloc");
    const auto lock = function_of<decltype(&::buf32Lock)>(library, "buf32Lock");
    for (int i = 0; i < std::atoi(argv[3]); ++i) {
        HBUF32 buffer = 0;
        void *pixels = nullptr;
        if (allocate(&buffer, 8, 200, 200 + i, BUF32_TILED_FILE, nullptr) == 0 ||
            lock(buffer, BUF32_WRITE, &pixels) == 0)
            return 4;
        std::memset(pixels, 0x40 + i, 200 * 200);
        // The name of the swap file in the buffer's record.
        std::printf("%s\n", reinterpret_cast<const char *>(buffer) + 128);
    }
    std::printf("ready\n");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0; // the buffers are left to the end of the process
}
