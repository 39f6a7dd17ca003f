// The call with a misaligned stack. Assembler, because the compiler always aligns.
#include "tests/frame/misaligned.h"

#ifndef _WIN64
// ebp keeps the old stack; the words go to the new one, whose place is chosen by the remainder.
asm(".text\n"
    ".globl _q32_call_at\n"
    "_q32_call_at:\n"
    "    pushl %ebp\n"
    "    movl  %esp, %ebp\n"
    "    pushl %esi\n"
    "    pushl %edi\n"
    "    movl  12(%ebp), %esi\n" // words
    "    movl  16(%ebp), %ecx\n" // count
    "    leal  (,%ecx,4), %eax\n"
    "    subl  %eax, %esp\n"
    "    andl  $-16, %esp\n"
    "    subl  $16, %esp\n"
    "    addl  20(%ebp), %esp\n" // remainder
    "    movl  %esp, %edi\n"
    "    cld\n"
    "    rep movsl\n"
    "    call  *8(%ebp)\n" // function
    "    leal  -8(%ebp), %esp\n"
    "    popl  %edi\n"
    "    popl  %esi\n"
    "    popl  %ebp\n"
    "    ret\n");
#endif
