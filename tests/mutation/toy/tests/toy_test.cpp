// Loads the library that it is told to, and fails in GoogleTest's words.
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

int main() {
    const char *const path = std::getenv("Q32BASE_TEST_LIBRARY");
    void *const library = path != nullptr ? dlopen(path + 2, RTLD_NOW) : nullptr; // behind "Z:"
    if (library == nullptr)
        return 2;
    const auto call = [library](const char *name, int value) {
        return reinterpret_cast<int (*)(int)>(dlsym(library, name))(value);
    };
    std::puts("[ RUN      ] Toy.Loads");
    if (call("loads", 2) != 42) {
        std::puts("toy_test.cpp:1: Failure");
        return 1;
    }
    std::puts("[ RUN      ] Toy.Counted");
    std::fflush(stdout);
    return call("counted", 3) == 1 ? 0 : 1;
}
