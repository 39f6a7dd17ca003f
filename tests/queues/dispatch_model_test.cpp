// The library against the model: random sequences of calls, also from callbacks, must show the same
// messages and results line by line. A sequence that does not is cut down before it is shown.
#include "tests/frame/random.h"
#include "tests/queues/dispatch_fixture.h"
#include "tests/queues/dispatch_sequences.h"

#include <algorithm>

namespace q32::test {
namespace {

class ShippedDispatcher : public Dispatcher {
public:
    explicit ShippedDispatcher(const frame::Api &api) : api_(api) {}

    int add(uint32_t owner, const RECT &rectangle, bool replace, int mode,
            const DispatchDesc &description) override {
        return api_.d32AddQueue(owner, &rectangle, replace ? 1 : 0, 1, 2, mode, &description);
    }
    int dispatch() override { return api_.d32DispatchQueue(); }
    int remove(uint32_t owner) override { return api_.d32DeleteQueue(owner); }
    uint32_t current() override { return api_.d32GetCurQueue(nullptr); }
    std::vector<RECT> current_rectangles() override {
        HGLOBAL block = nullptr;
        api_.d32GetCurQueue(&block);
        if (block == nullptr)
            return {};
        const auto *const rects = static_cast<const DispatchRects *>(block);
        std::vector<RECT> copy(rects->rectangles, rects->rectangles + rects->count);
        frame::forget_block(block);
        ::GlobalFree(block);
        return copy;
    }
    int is_in_queue(uint32_t owner, bool wait) override {
        return api_.d32IsInQueue(owner, wait ? 1 : 0);
    }
    int set_end(uint32_t owner, const RECT &rectangle, const RECT &end) override {
        return api_.d32SetEndDispatchRect(owner, &rectangle, &end);
    }
    int set_first_service(uint32_t owner) override { return api_.d32SetFirstService(owner); }

private:
    const frame::Api &api_;
};

class DispatchSequences : public DispatchTest {
protected:
    // Empty when both show the same; else the first lines that differ and those before.
    std::string difference(const Sequence &sequence) {
        DispatchModel model;
        ShippedDispatcher shipped{api()};
        const Lines wanted = play(sequence, model), found = play(sequence, shipped);
        messages_ += wanted.size();
        const std::size_t common = std::min(wanted.size(), found.size());
        const auto place = std::size_t(
            std::mismatch(wanted.begin(), wanted.begin() + std::ptrdiff_t(common), found.begin())
                .first -
            wanted.begin());
        if (place == wanted.size() && place == found.size())
            return {};
        std::string text;
        for (std::size_t i = place < 40 ? 0 : place - 40; i < place; ++i)
            text += "    " + wanted[i] + '\n';
        const auto line = [&](const Lines &lines) {
            return place < lines.size() ? lines[place] : std::string("(the end)");
        };
        return text + "  is " + line(found) + "\n  not " + line(wanted) + '\n';
    }

    // The same on a library that knows nothing of sequences before.
    std::string fresh_difference(const Sequence &sequence) {
        stop();
        start();
        return difference(sequence);
    }

    // Leaves out calls as long as there is a difference.
    Sequence cut_down(Sequence sequence) {
        auto &calls = sequence.operations;
        for (std::size_t many = std::max<std::size_t>(calls.size() / 2, 1); many > 0; many /= 2)
            for (std::size_t from = 0; from < calls.size();) {
                Sequence shorter = sequence;
                const auto first = shorter.operations.begin() + std::ptrdiff_t(from);
                shorter.operations.erase(
                    first, first + std::ptrdiff_t(std::min(many, calls.size() - from)));
                if (fresh_difference(shorter).empty())
                    from += many;
                else
                    sequence = shorter;
            }
        return sequence;
    }

    std::size_t messages_ = 0;
};

TEST_F(DispatchSequences, ShowWhatTheModelShows) {
    constexpr std::uint64_t sequences = 6000;
    const Census before = Census::now();
    random_cases(sequences, [&](Random &random, std::uint64_t number) {
        const Sequence sequence = random_sequence(random, test_seed() + number);
        const std::string different = difference(sequence);
        if (different.empty()) {
            EXPECT_EQ(Census::now(), before) << rerun(number);
            return !HasFailure();
        }
        const std::string anew = fresh_difference(sequence);
        const Sequence shorter = anew.empty() ? sequence : cut_down(sequence);
        ADD_FAILURE() << rerun(number) << '\n'
                      << shorter.operations.size() << " of " << sequence.operations.size()
                      << " calls are enough:\n"
                      << (anew.empty() ? different : fresh_difference(shorter));
        return false;
    });
    if (environment_number("Q32BASE_TEST_CASE", no_case) == no_case) {
        EXPECT_GT(messages_, 80 * cases_of_the_round(sequences));
    }
}

} // namespace
} // namespace q32::test
