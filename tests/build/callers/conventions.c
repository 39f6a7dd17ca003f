/*
 * Who cleans the stack: exports and D32CALLBACK are cdecl, RESAMPLECALLBACK is stdcall, and a
 * record by value stands among the arguments. Where the two sides disagree, nothing crashes at
 * once: the stack wanders by the bytes of the arguments with each call, which is what is measured
 * here.
 */
#include "expect.h"

#include <q32base.h>
#include <q32comm.h>
#include <string.h>

#if defined(WRONG_CONVENTION)
#define CDECL_CALLBACK   __stdcall
#define STDCALL_CALLBACK __cdecl
#else
#define CDECL_CALLBACK   __cdecl
#define STDCALL_CALLBACK __stdcall
#endif

#define OWNER 77u
#define STEPS 9

/* What a callback was told, and where the stack stood then. */
typedef struct Heard {
    int begun, ended;
    int steps;
    intptr_t sum;      /* of all steps' parameters */
    int strange;       /* arguments that nobody had passed */
    const char *stack; /* at the first step */
    int wandered;      /* steps at which it stood elsewhere */
} Heard;

static void look_at_stack(Heard *heard, const void *frame) {
    if (!heard->stack)
        heard->stack = (const char *)frame;
    heard->wandered += heard->stack != (const char *)frame;
}

static int CDECL_CALLBACK hear_job(int message, uint32_t owner, intptr_t parameter,
                                   intptr_t user_data) {
    Heard *heard = (Heard *)user_data;
    heard->strange += owner != OWNER;
    if (message == D32_STEP) {
        look_at_stack(heard, __builtin_frame_address(0));
        heard->sum += parameter;
        ++heard->steps;
        return 1;
    }
    heard->strange += ((const RECT *)parameter)->right != 640;
    heard->begun += message == D32_BEGIN;
    heard->ended += message == D32_END;
    return 1;
}

static int STDCALL_CALLBACK hear_progress(int message, int value, int zero, uintptr_t user_data) {
    Heard *heard = (Heard *)user_data;
    heard->strange += zero != 0;
    if (message == RESAMPLE_PROGRESS) {
        look_at_stack(heard, __builtin_frame_address(0));
        heard->sum += value;
        ++heard->steps;
        return 1;
    }
    heard->begun += message == RESAMPLE_BEGIN && value == 100;
    heard->ended += message == RESAMPLE_END && value == 200;
    return 1;
}

static void a_job_calls_back(void) {
    Heard heard = {0};
    const RECT rectangle = {0, 0, 640, 480};
    DispatchDesc job = {5, (D32CALLBACK *)hear_job, (intptr_t)&heard, 1, STEPS};
    EXPECT(d32AddQueue(OWNER, &rectangle, 0, 1, 2, D32_STEPS, &job) == 1);
    EXPECT(d32IsInQueue(OWNER, 1) == 1); /* all steps within one call */
    EXPECT(heard.begun == 1 && heard.ended == 1 && heard.steps == STEPS);
    EXPECT(heard.sum == STEPS * (STEPS + 1) / 2);
    EXPECT(heard.strange == 0);
    EXPECT(heard.wandered == 0);
}

static void scaling_calls_back(void) {
    Heard heard = {0};
    const RESAMPLEPROGRESS progress = {0, (RESAMPLECALLBACK *)hear_progress, (uintptr_t)&heard, 100,
                                       200};
    const SIZE size = {20, 10};
    HBUF32 source = 0, scaled = 0;
    EXPECT(buf32Alloc(&source, 24, 40, 30, BUF32_TILED, NULL));
    EXPECT(q32BufferResampleEx(&size, source, &scaled, &progress, 1, RESAMPLE_NEAREST) == 1);
    EXPECT(heard.begun == 1 && heard.ended == 1 && heard.steps == 9);
    EXPECT(heard.sum == 1350); /* 110, 120 ... 190: the first row's is that of the beginning */
    EXPECT(heard.strange == 0);
    EXPECT(heard.wandered == 0);
    EXPECT(buf32Free(source) && buf32Free(scaled));
}

/* Its own frame stands on the stack that its caller has: apart by as much as calls have left
 * behind. */
__attribute__((noinline)) static const char *stack_of_a_call(void) {
    return (const char *)__builtin_frame_address(0);
}

static void exports_leave_the_stack(void) {
    unsigned char image[8 * 8], overlay[4 * 4];
    RECT rectangle = {1, 1, 3, 4};
    const char *before = stack_of_a_call();
    memset(image, 10, sizeof image);
    for (int i = 0; i < 16; ++i)
        overlay[i] = (unsigned char)(100 + i);
    for (int x = 0; x < 5; ++x)
        EXPECT(i32MergeRamToRam(image, 8, 8, 1, x, 2, overlay, NULL, 4, 4, rectangle, MERGE_NORMAL,
                                0) == 1);
    EXPECT(stack_of_a_call() == before);
    EXPECT(image[8 * 2 + 0] == 105 && image[8 * 4 + 4] == 113 && image[8 * 4 + 5] == 114);
    EXPECT(image[8 * 2 + 6] == 10 && image[8 * 5 + 0] == 10);
    EXPECT(rectangle.left == 1 && rectangle.bottom == 4); /* the library had a copy */
}

static void results_arrive_whole(void) {
    const uint8_t rgb[3] = {255, 0, 0};
    uint8_t cmyk[4];
    size_t in_use = 1, mapped = 1;
    HGLOBAL none = (HGLOBAL)1;
    EXPECT(qfdClrRgbToCmyk(rgb, cmyk) == cmyk);
    EXPECT(cmyk[0] == 0 && cmyk[1] == 255 && cmyk[2] == 255 && cmyk[3] == 0);
    EXPECT(buf32GetVMDataExt(&in_use, &mapped) == &mapped && mapped == 0);
    EXPECT(buf32PointAddr(0, 0, 0) == NULL);
    EXPECT(d32GetCurQueue(&none) == 0 && none == NULL);
}

int main(void) {
    exports_leave_the_stack();
    results_arrive_whole();
    scaling_calls_back();
    a_job_calls_back();
    return finish("conventions");
}
