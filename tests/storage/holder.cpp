// A program of the family, as other processes meet it, that somebody may kill at any moment:
//   holder LIBRARY FAMILY-DIRECTORY hold COUNT
//     allocates buffers in swap files, says where they are, and holds them until its input ends.
//   holder LIBRARY FAMILY-DIRECTORY busy|paused|restarting SEED
//     allocates and frees buffers in swap files for ever; with pauses between, or with a library
//     that is loaded anew again and again. Says "running" when it is first loaded.
//   holder LIBRARY FAMILY-DIRECTORY obey
//     does what its input says, one line after the other, and answers each with one:
//     load, unload; first EVENT: waits for the event and allocates a buffer in a swap file.
#include "tests/frame/random.h"
#include "tests/frame/recording_comm.h"

#include <q32base.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Of the swap file's name in a buffer's record.
constexpr size_t name_offset = sizeof(void *) == 8 ? 192 : 128;

template <class Function>
Function function_of(HMODULE module, const char *name) {
    return reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

class Product {
public:
    explicit Product(const char *path) : module_(LoadLibraryA(path)) {}
    ~Product() { FreeLibrary(module_); }
    Product(const Product &) = delete;
    Product &operator=(const Product &) = delete;

    bool is_loaded() const { return module_ != nullptr; }
    HBUF32 allocate(int width, int height) const {
        const auto allocate = function_of<decltype(&::buf32Alloc)>(module_, "buf32Alloc");
        HBUF32 buffer = 0;
        return allocate(&buffer, 8, width, height, BUF32_TILED_FILE, nullptr) == 0 ? 0 : buffer;
    }
    bool fill(HBUF32 buffer, int value, std::size_t bytes) const {
        const auto lock = function_of<decltype(&::buf32Lock)>(module_, "buf32Lock");
        void *pixels = nullptr;
        if (lock(buffer, BUF32_WRITE, &pixels) == 0)
            return false;
        std::memset(pixels, value, bytes);
        return true;
    }
    void free(HBUF32 buffer) const {
        function_of<decltype(&::buf32Free)>(module_, "buf32Free")(buffer);
    }

private:
    HMODULE module_;
};

void say(const std::string &line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

int hold(const char *library, int count) {
    const auto *const product = new Product(library); // whose buffers the end of the process frees
    if (!product->is_loaded())
        return 3;
    for (int i = 0; i < count; ++i) {
        const HBUF32 buffer = product->allocate(200, 200 + i);
        if (buffer == 0 || !product->fill(buffer, 0x40 + i, 200 * 200))
            return 4;
        say(reinterpret_cast<const char *>(buffer) + name_offset);
    }
    say("ready");
    while (std::getchar() != EOF) {
    }
    return 0;
}

[[noreturn]] void work_for_ever(const char *library, const std::string &manner, unsigned seed) {
    q32::test::Random random(seed, 0);
    const auto pause = [&] {
        if (manner == "paused")
            Sleep(DWORD(random.below(4)));
    };
    for (bool is_first = true;; is_first = false) {
        const Product product(library);
        if (!product.is_loaded())
            std::exit(3);
        if (is_first)
            say("running");
        const std::size_t rounds = manner == "restarting" ? 1 + random.below(3) : ~std::size_t{0};
        for (std::size_t round = 0; round < rounds; ++round) {
            HBUF32 buffers[3] = {};
            const std::size_t count = 1 + random.below(3);
            for (std::size_t i = 0; i < count; ++i, pause())
                if ((buffers[i] = product.allocate(200, 200)) == 0)
                    std::exit(4);
            for (std::size_t i = 0; i < count; ++i, pause())
                product.free(buffers[i]);
        }
    }
}

std::string first_after(const Product &product, const std::string &event) {
    const HANDLE start = OpenEventA(SYNCHRONIZE, FALSE, event.c_str());
    if (start == nullptr)
        return "no such event";
    WaitForSingleObject(start, INFINITE);
    CloseHandle(start);
    const HBUF32 buffer = product.allocate(200, 200);
    return buffer == 0 ? "refused" : reinterpret_cast<const char *>(buffer) + name_offset;
}

int obey(const char *library) {
    const Product *product = nullptr;
    char line[200];
    while (std::fgets(line, sizeof line, stdin) != nullptr) {
        const std::string order(line, std::strcspn(line, "\r\n"));
        if (order == "load") {
            product = new Product(library);
            say(product->is_loaded() ? "loaded" : "refused");
        } else if (order == "unload") {
            delete product;
            product = nullptr;
            say("unloaded");
        } else if (order.starts_with("first ")) {
            say(first_after(*product, order.substr(6)));
        } else {
            say("what?");
        }
    }
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    const HMODULE comm = LoadLibraryA("q32comm.dll");
    if (argc < 4 || comm == nullptr)
        return 2;
    const auto recording = function_of<q32::frame::RecordingExport>(comm, "q32_recording");
    std::strcpy(recording()->temporary_directory, argv[2]);
    const std::string manner = argv[3];
    if (manner == "obey")
        return obey(argv[1]);
    if (argc != 5)
        return 2;
    if (manner == "hold")
        return hold(argv[1], std::atoi(argv[4]));
    work_for_ever(argv[1], manner, unsigned(std::atoi(argv[4])));
}
