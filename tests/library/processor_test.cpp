// What the library learns of the processor at its start: the common library's word on wide paths,
// and the instruction set up to which kernels may go.
#include "library/process/cpu.h"
#include "tests/library/library_fixture.h"

#include <algorithm>
#include <cstdint>

namespace q32::test {
namespace {

class Processor : public LibraryTest {
protected:
    // A row of every 5-6-5 value through the library, which must be right at any instruction set.
    void expect_rows_are_right() {
        std::vector<uint16_t> from(0x10000);
        Bytes to(from.size() * 3);
        for (std::size_t i = 0; i < from.size(); ++i)
            from[i] = uint16_t(i);
        EXPECT_EQ(api().mem32_565To888(to.data(), from.data(), int(from.size())), 1);
        int wrong = 0;
        for (uint32_t i = 0; i < from.size(); ++i) {
            wrong += to[3 * i] != (i >> 11 << 3 | 7);
            wrong += to[3 * i + 1] != ((i >> 5 & 63) << 2 | 3);
            wrong += to[3 * i + 2] != ((i & 31) << 3 | 7);
        }
        EXPECT_EQ(wrong, 0);
    }
};

TEST_F(Processor, IsAskedOnceAndNeverAgain) {
    for (bool mmx : {false, true}) {
        SCOPED_TRACE(mmx);
        frame::comm().mmx = mmx;
        load();
        Calls calls;
        {
            CommonWatch flag{library(), "IsSupportMMX", calls};
            CommonWatch name{library(), "GetCPUName", calls};
            start();
            expect_rows_are_right();
            free(allocate(24, 200, 200, BUF32_TILED));
            EXPECT_EQ(calls.sequence(), (std::vector<std::string>{"GetCPUName", "IsSupportMMX"}));
            EXPECT_EQ(calls.all().size(), 2u);
        }
        stop();
    }
}

// Runs one call instruction by instruction and notes which families of instructions the library
// uses in it.
class SingleSteps {
public:
    explicit SingleSteps(HMODULE module) : first_(reinterpret_cast<std::uintptr_t>(module)) {
        const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(module);
        const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS *>(first_ + dos->e_lfanew);
        last_ = first_ + headers->OptionalHeader.SizeOfImage - 1;
        current_ = this;
        handler_ = AddVectoredExceptionHandler(1, step);
    }
    ~SingleSteps() {
        RemoveVectoredExceptionHandler(handler_);
        current_ = nullptr;
    }
    SingleSteps(const SingleSteps &) = delete;
    SingleSteps &operator=(const SingleSteps &) = delete;

    template <class Function>
    void run(Function function) {
        running_ = true;
#ifdef _WIN64
        asm volatile("pushfq\n\torq $0x100, (%%rsp)\n\tpopfq" ::: "memory", "cc");
#else
        asm volatile("pushfl\n\torl $0x100, (%%esp)\n\tpopfl" ::: "memory", "cc");
#endif
        function();
        running_ = false;
    }

    InstructionSet highest() const {
        return highest_;
    }
    int steps() const {
        return steps_;
    }

private:
    static constexpr DWORD trap_flag = 0x100;

    static LONG CALLBACK step(EXCEPTION_POINTERS *pointers) {
        if (pointers->ExceptionRecord->ExceptionCode != EXCEPTION_SINGLE_STEP)
            return EXCEPTION_CONTINUE_SEARCH;
        if (current_->running_) {
            current_->look_at(
                reinterpret_cast<std::uintptr_t>(pointers->ExceptionRecord->ExceptionAddress));
            pointers->ContextRecord->EFlags |= trap_flag;
        } else {
            pointers->ContextRecord->EFlags &= ~trap_flag;
        }
        return EXCEPTION_CONTINUE_EXECUTION;
    }

    void look_at(std::uintptr_t place) {
        if (place < first_ || place > last_)
            return;
        ++steps_;
        const auto *code = reinterpret_cast<const unsigned char *>(place);
        while (*code == 0x66 || *code == 0xF2 || *code == 0xF3)
            ++code;
        if (frame::is_64_bit && (*code & 0xF0) == 0x40) // REX
            ++code;
        // In 32 bits these begin old instructions, too, whose second byte is another.
        const bool is_of_vectors = frame::is_64_bit || code[1] >= 0xC0;
        InstructionSet used = InstructionSet::sse2;
        if (code[0] == 0x62 && is_of_vectors)
            used = InstructionSet::avx512; // EVEX
        else if ((code[0] == 0xC4 || code[0] == 0xC5) && is_of_vectors)
            used = InstructionSet::avx2; // VEX
        else if (code[0] == 0x0F && (code[1] == 0x38 || code[1] == 0x3A))
            used = InstructionSet::sse41;
        highest_ = std::max(highest_, used);
    }

    static inline SingleSteps *current_ = nullptr;
    std::uintptr_t first_, last_ = 0;
    void *handler_ = nullptr;
    volatile bool running_ = false;
    InstructionSet highest_ = InstructionSet::sse2;
    int steps_ = 0;
};

// Memory that the calls below work on, and what they work on it with.
struct Pixels {
    static constexpr int count = 160;
    Bytes from = Bytes(12 * count, 0x5A), to = Bytes(12 * count, 0x81), mask = Bytes(count, 0x40);
    BITMAPINFOHEADER header = {.biWidth = 96, .biHeight = 2, .biBitCount = 24};
    VCRESAMPLE record = {.source = &header, .width = 48, .height = 1, .method = RESAMPLE_BILINEAR};
    HDC dc = CreateCompatibleDC(nullptr);
    HDISPRUN run = 0;

    explicit Pixels(const frame::Api &api) : api_(api) {
        EXPECT_EQ(api.vcResampleInit(&record), 1);
        EXPECT_EQ(api.disp32SetDevType(DISP32_HIGH_COLOUR), 1);
        EXPECT_EQ(api.disp32ShowInit(&run, dc, 24, 0, 0, count, 4, nullptr, 0, 0), 1);
    }
    ~Pixels() {
        api_.disp32ShowEnd(run);
        api_.vcResampleEnd(&record);
        DeleteDC(dc);
    }
    Pixels(const Pixels &) = delete;
    Pixels &operator=(const Pixels &) = delete;

private:
    const frame::Api &api_;
};

// A call of each family of kernels, and the highest set that has forms of its own for it.
struct FamilyCall {
    const char *family;
    InstructionSet highest;
    int (*call)(const frame::Api &, Pixels &);
};

constexpr FamilyCall family_calls[] = {
    {"rows", InstructionSet::avx512,
     [](const frame::Api &api, Pixels &p) {
         return api.mem32_565To888(p.to.data(), p.from.data(), p.count);
     }},
    {"scaling of bits", InstructionSet::avx512,
     [](const frame::Api &api, Pixels &p) {
         api.mem32BitEnlarge(p.to.data(), p.from.data(), 8 * p.count, 2);
         return 1;
     }},
    {"scaling", InstructionSet::avx2,
     [](const frame::Api &api, Pixels &p) {
         api.mem32Enlarge(p.to.data(), p.from.data(), p.count, 2, 1, 0);
         return 1;
     }},
    {"blends", InstructionSet::avx512,
     [](const frame::Api &api, Pixels &p) {
         return api.i32Merge(p.to.data(), p.to.data(), p.mask.data(), p.from.data(), 3, p.count,
                             MERGE_ADD, 0);
     }},
    {"effects", InstructionSet::avx512,
     [](const frame::Api &api, Pixels &p) {
         return api.i32Merge(p.to.data(), p.to.data(), p.mask.data(), p.from.data(), 3, p.count,
                             MERGE_LIGHTEN, 0);
     }},
    {"colours", InstructionSet::avx512,
     [](const frame::Api &api, Pixels &p) {
         return api.i32ColorspaceConvert(p.to.data(), p.from.data(), p.count, I32_RGB_TO_HSV);
     }},
    {"resampling", InstructionSet::avx512,
     [](const frame::Api &api, Pixels &p) {
         return api.vcResampleEx(0, p.from.data(), &p.header, p.to.data(), 48, 1, RESAMPLE_BILINEAR,
                                 &p.record);
     }},
    {"display", InstructionSet::avx512,
     [](const frame::Api &api, Pixels &p) {
         return api.disp32ShowData(p.run, p.from.data(), 0, 0, 1, 3 * p.count);
     }},
};

// The environment variable caps what the kernels of every family really execute, and each family
// goes as far as it may.
TEST_F(Processor, TheCapIsKept) {
    char before[64] = "";
    GetEnvironmentVariableA("Q32BASE_ISA", before, sizeof before);
    for (const char *cap :
         {"sse2", "sse41", "avx2", "avx512", "", "nonsense", "sse2 and what else there is"}) {
        SetEnvironmentVariableA("Q32BASE_ISA", cap);
        start();
        expect_rows_are_right();
        for (const FamilyCall &family : family_calls) {
            SCOPED_TRACE(std::string(family.family) + ", cap " + cap);
            Pixels pixels(api());
            SingleSteps single_steps(library().module());
            int result = 0;
            single_steps.run([&] { result = family.call(api(), pixels); });
            EXPECT_EQ(result, 1);
            EXPECT_GT(single_steps.steps(), 20);
            EXPECT_EQ(single_steps.highest(), std::min(family.highest, best_instruction_set(cap)));
        }
        stop();
    }
    SetEnvironmentVariableA("Q32BASE_ISA", before[0] != 0 ? before : nullptr);
}

} // namespace
} // namespace q32::test
