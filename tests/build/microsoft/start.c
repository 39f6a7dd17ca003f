/* Where a program begins that runs on msvcrt.dll and is linked by a Microsoft linker. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

typedef void (*Initialiser)(void);

int main(int argc, char **argv, char **environment);
void __getmainargs(int *argc, char ***argv, char ***environment, int wildcards, int *new_mode);

/* Compilers ask for it in every file that counts in floating point. */
int _fltused = 1;

/* The linker puts the addresses of initialisers of C++ between these two. */
__attribute__((section(".CRT$XCA"))) Initialiser first_initialiser = NULL;
__attribute__((section(".CRT$XCZ"))) Initialiser last_initialiser = NULL;

/* What lies between the locals of a function and its return address, and who looks at it there
 * (/GS). */
uintptr_t __security_cookie = 0xBB40E64Eu;
void __fastcall __security_check_cookie(uintptr_t cookie) {
    if (cookie != __security_cookie)
        abort();
}

/* Descriptions of C++ types that are thrown begin with the address of this table of functions. */
const void *const functions_of_type_info[2] __asm__("??_7type_info@@6B@") = {NULL, NULL};

#ifdef _M_IX86
/* What /safeseh has to say about a program has its place here: which exception handlers it has. */
extern char __safe_se_handler_table[], __safe_se_handler_count[];
const IMAGE_LOAD_CONFIG_DIRECTORY32 _load_config_used = {
    .Size = sizeof(IMAGE_LOAD_CONFIG_DIRECTORY32),
    .SEHandlerTable = (DWORD)__safe_se_handler_table,
    .SEHandlerCount = (DWORD)__safe_se_handler_count,
};
#endif

/* stdin, stdout and stderr of newer C libraries. */
FILE *__acrt_iob_func(unsigned index) {
    return &_iob[index];
}

/* Headers of C++ ask for MinGW's own printing. */
int __mingw_vfprintf(FILE *file, const char *format, va_list arguments) {
    return vfprintf(file, format, arguments);
}
int __mingw_vsnprintf(char *text, size_t size, const char *format, va_list arguments) {
    const int length = _vsnprintf(text, size, format, arguments);
    if (size && (length < 0 || (size_t)length >= size))
        text[size - 1] = 0;
    return length;
}
/* And those of C for the C library's, with an end to every text. */
int __ms_vsnprintf(char *text, size_t size, const char *format, va_list arguments) {
    return __mingw_vsnprintf(text, size, format, arguments);
}

int atexit(void (*function)(void)) {
    return _onexit((_onexit_t)(void *)function) ? 0 : -1;
}

static void initialise(void) {
    for (Initialiser *each = &first_initialiser; each < &last_initialiser; ++each)
        if (*each)
            (*each)();
}

void mainCRTStartup(void) {
    int argc = 0, new_mode = 0;
    char **argv = NULL, **environment = NULL;
    __getmainargs(&argc, &argv, &environment, 0, &new_mode);
    initialise();
    exit(main(argc, argv, environment));
}
