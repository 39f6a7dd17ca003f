/*
 * Has the library read where nothing is, and prints where it lies and which instruction that was.
 * With an argument its own place is taken, so that it has to be loaded elsewhere.
 */
#include <q32base.h>
#include <stdio.h>

static HMODULE library;

static LONG WINAPI tell(EXCEPTION_POINTERS *crash) {
    printf("%p %p\n", (void *)library, crash->ExceptionRecord->ExceptionAddress);
    fflush(stdout);
    ExitProcess(0);
}

/* A function of the library, of the type that the headers declare. */
#define FUNCTION(name) ((__typeof__(&name))(void *)GetProcAddress(library, #name))

int main(int count, char **arguments) {
    const uintptr_t own_place = (uintptr_t)(sizeof(void *) == 4 ? 0x51320000 : 0x351320000);
    const int is_taken = count > 1;
    HBUF32 image;
    (void)arguments;
    if (is_taken && !VirtualAlloc((void *)own_place, 1, MEM_RESERVE, PAGE_NOACCESS))
        return 1;
    library = LoadLibraryA("Q32BASE.DLL");
    if (!library || ((uintptr_t)library == own_place) == is_taken)
        return 2;
    if (!FUNCTION(buf32Alloc)(&image, 16, 640, 480, BUF32_TILED, NULL) ||
        !FUNCTION(buf32Lock)(image, BUF32_WRITE, NULL))
        return 3;
    SetUnhandledExceptionFilter(tell);
    FUNCTION(buf32Line)(image, 0, BUF32_LINE_WRITE_565, (void *)16);
    return 4;
}
