// What programs in C++ call without being asked. The exceptions themselves are msvcrt.dll's.
#include <new>
#include <stdlib.h>

void *operator new(size_t size) {
    if (void *block = malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}
void *operator new[](size_t size) {
    return operator new(size);
}
void *operator new(size_t size, const std::nothrow_t &) noexcept {
    return malloc(size ? size : 1);
}
void *operator new[](size_t size, const std::nothrow_t &) noexcept {
    return malloc(size ? size : 1);
}
void operator delete(void *block) noexcept {
    free(block);
}
void operator delete[](void *block) noexcept {
    free(block);
}
void operator delete(void *block, size_t) noexcept {
    free(block);
}
void operator delete[](void *block, size_t) noexcept {
    free(block);
}

extern "C" [[noreturn]] void __std_terminate() {
    abort();
}
