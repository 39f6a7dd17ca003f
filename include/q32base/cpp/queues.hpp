/* Q32BASE for C++: messages between threads, jobs in steps; see q32base.hpp. */
#ifndef Q32BASE_CPP_QUEUES_HPP
#define Q32BASE_CPP_QUEUES_HPP

#include <q32base/cpp/errors.hpp>
#include <q32base/cpp/owner.hpp>
#include <q32base/cpp/values.hpp>
#include <q32base/queues.h>

#include <cassert>
#include <memory>
#include <new>

namespace q32 {

/* --- messages --------------------------------------------------------------------------------- */

namespace detail {

class HeldQueue {
public:
    std::uint32_t get() const { return owner_; }

    /* AddQueue: appends a copy of a message */
    template <Errors errors = Errors::thrown>
    Outcome<errors> add(ConstBytes message) const {
        return silent<errors>("AddQueue",
                              AddQueue(message.data(), static_cast<std::uint32_t>(message.size())));
    }
    /*
     * GetFromQueue: takes the oldest message out. The memory has two bytes more than the largest
     * message to accept. Returns the message's size, 0 without one, -1 when it is larger and stays.
     */
    int take(Bytes memory) const {
        assert(memory.size() >= 2);
        return GetFromQueue(memory.data(), static_cast<int>(memory.size()) - 2);
    }
    /* The size of the oldest message, 0 without one. */
    int next_size() const { return GetFromQueue(nullptr, -1); }
    /* Discards all messages, and says how many. */
    int clear() const { return ClearQueue(); }
    bool is_empty() const { return IsQueueEmpty() != 0; }

protected:
    bool holds() const { return owner_ != 0; }
    void give_back() const { DeleteQueue(owner_); }

    std::uint32_t owner_ = 0;
};

} // namespace detail

/* The message queue of the process, deleted by DeleteQueue. Its functions are for all threads. */
class [[nodiscard]] MessageQueue : public detail::Owner<detail::HeldQueue> {
public:
    /* CreateQueue, for an owner other than 0. Fails, without a report, while there is another. */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, MessageQueue> create(std::uint32_t owner) {
        return detail::silent<errors>("CreateQueue", owner != 0 && CreateQueue(owner), [&] {
            MessageQueue queue;
            queue.owner_ = owner;
            return queue;
        });
    }
};

/* --- jobs ------------------------------------------------------------------------------------- */

/* What a job's callback is told: D32_BEGIN, D32_STEP or D32_END, of which owner, and where. */
struct JobMessage {
    int message;
    std::uint32_t owner;
    std::intptr_t parameter;

    /* Of all messages but the D32_STEP of a job in steps. */
    Rect area() const { return Rect::from(*reinterpret_cast<const RECT *>(parameter)); }
    /* Of that one. */
    int step() const { return static_cast<int>(parameter); }
};

/* A job's mode, and the sizes or numbers that go with it (DispatchDesc). */
struct JobSteps {
    int mode;
    int first;
    int last;

    static constexpr JobSteps tiles(int width, int height) { return {D32_TILES, width, height}; }
    static constexpr JobSteps bands(int height) { return {D32_BANDS, height, 0}; }
    static constexpr JobSteps steps(int first, int last) { return {D32_STEPS, first, last}; }
};

namespace detail {

/* A callable behind the library's callback, at an address that stays while its owner moves. */
class JobCallback {
public:
    JobCallback() = default;
    JobCallback(const JobCallback &) = delete;
    JobCallback &operator=(const JobCallback &) = delete;
    virtual ~JobCallback() = default;
    virtual bool call(const JobMessage &message) = 0;

    void rethrow() { caught_.rethrow(); }
    static int Q32_CALL receive(int message, std::uint32_t owner, std::intptr_t parameter,
                                std::intptr_t user_data) {
        auto &callback = *reinterpret_cast<JobCallback *>(user_data);
        return callback.caught_.call([&] {
            return callback.call(JobMessage{message, owner, parameter});
        });
    }

private:
    Caught caught_{};
};

template <class Callable>
class JobCallable : public JobCallback {
public:
    explicit JobCallable(Callable callable) : callable_(std::move(callable)) {}
    bool call(const JobMessage &message) override { return bool(callable_(message)); }

private:
    Callable callable_;
};

} // namespace detail

/*
 * The jobs of one owner in the dispatch queue, which share a callback; the destructor ends them all
 * (d32DeleteQueue), the current one with D32_END. Not to be destroyed by the callback itself.
 *
 * callback(const JobMessage &): false ends the job. What it throws ends the job too, and is thrown
 * by the next step(), wait() or add() of this object.
 */
class [[nodiscard]] Jobs {
public:
    Jobs() = default;
    Jobs(Jobs &&other) noexcept
        : owner_(std::exchange(other.owner_, 0)), callback_(std::move(other.callback_)) {}
    Jobs &operator=(Jobs &&other) noexcept {
        if (this != &other) {
            reset();
            owner_ = std::exchange(other.owner_, 0);
            callback_ = std::move(other.callback_);
        }
        return *this;
    }
    ~Jobs() { reset(); }

    /* Of an owner other than 0, which has no others. The callback is kept in a block of its own. */
    template <Errors errors = Errors::thrown, class Callback>
    static Outcome<errors, Jobs> of(std::uint32_t owner, Callback callback) {
        using Callable = detail::JobCallable<Callback>;
        Jobs jobs;
        if (owner != 0)
            jobs.callback_.reset(new (std::nothrow) Callable(std::move(callback)));
        const bool done = jobs.callback_ != nullptr;
        if (done)
            jobs.owner_ = owner;
        return detail::silent<errors>("q32::Jobs::of", done, [&] { return std::move(jobs); });
    }

    /* d32AddQueue; replace: this owner's other jobs are taken out */
    template <Errors errors = Errors::thrown>
    Outcome<errors> add(Rect area, JobSteps steps, bool replace = false) {
        const RECT rectangle = area.rect();
        const DispatchDesc description = {0, detail::JobCallback::receive,
                                          reinterpret_cast<std::intptr_t>(callback_.get()),
                                          steps.first, steps.last};
        const Result<void> added = detail::checked<nothrow>(
            "d32AddQueue", detail::cleared(d32AddQueue, owner_, &rectangle, replace, 0, 0,
                                           steps.mode, &description));
        rethrow();
        if constexpr (errors == Errors::thrown)
            return added.value();
        else
            return added;
    }
    /* d32DispatchQueue: one step of whichever job is current; false when there is none left. */
    bool step() {
        const bool more = d32DispatchQueue() != 0;
        rethrow();
        return more;
    }
    /* d32IsInQueue: makes steps until this owner's jobs are done. Whether there were any. */
    bool wait() {
        const bool had = d32IsInQueue(owner_, 1) != 0;
        rethrow();
        return had;
    }
    /* d32IsInQueue */
    bool has_any() const { return d32IsInQueue(owner_, 0) != 0; }
    /* d32DeleteQueue */
    void reset() {
        if (owner_ != 0)
            d32DeleteQueue(std::exchange(owner_, 0));
        callback_.reset();
    }

    /* The owner. */
    std::uint32_t get() const { return owner_; }
    explicit operator bool() const { return owner_ != 0; }
    void swap(Jobs &other) noexcept {
        std::swap(owner_, other.owner_);
        callback_.swap(other.callback_);
    }
    friend void swap(Jobs &a, Jobs &b) noexcept { a.swap(b); }

private:
    void rethrow() {
        if (callback_ != nullptr)
            callback_->rethrow();
    }

    std::uint32_t owner_ = 0;
    std::unique_ptr<detail::JobCallback> callback_{};
};

/* The current job's owner, 0 without one, and a block with its rectangles (d32GetCurQueue). */
class CurrentJob {
public:
    static CurrentJob now() {
        CurrentJob current;
        HGLOBAL rects = nullptr;
        current.owner_ = d32GetCurQueue(&rects);
        current.rects_ = GlobalBlock(rects);
        return current;
    }

    std::uint32_t owner() const { return owner_; }
    HGLOBAL get() const { return rects_.get(); }
    /* The current job's, then those of its owner's waiting jobs; none for a lack of memory. */
    Span<const RECT> rectangles() const {
        const auto *rects = static_cast<const DispatchRects *>(rects_.get());
        if (rects == nullptr)
            return {};
        return {rects->rectangles, static_cast<std::size_t>(rects->count)};
    }

private:
    std::uint32_t owner_ = 0;
    GlobalBlock rects_{};
};

} // namespace q32

#endif
