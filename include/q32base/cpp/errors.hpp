/* Q32BASE for C++: reports, exceptions and results, and how calls come to them; see q32base.hpp. */
#ifndef Q32BASE_CPP_ERRORS_HPP
#define Q32BASE_CPP_ERRORS_HPP

#include <q32base.h>
#include <q32comm.h>

#include <cstdlib>
#include <type_traits>
#include <utility>

#if defined(__cpp_exceptions) || defined(_CPPUNWIND)
#define Q32_HPP_EXCEPTIONS 1
#include <cstdio>
#include <exception>
#else
#define Q32_HPP_EXCEPTIONS 0
#endif

#if defined(__GNUC__)
#define Q32_HPP_UNLIKELY(condition) __builtin_expect(!!(condition), 0)
#define Q32_HPP_COLD                __attribute__((cold, noinline))
#define Q32_HPP_ASSUME(condition)   ((condition) ? static_cast<void>(0) : __builtin_unreachable())
#else
#define Q32_HPP_UNLIKELY(condition) (condition)
#define Q32_HPP_COLD                __declspec(noinline)
#define Q32_HPP_ASSUME(condition)   __assume(condition)
#endif

namespace q32 {

/* A sentence; converts to const char *. */
struct Text {
    char characters[256];
    operator const char *() const { return characters; }
};

/* Why a call failed: the numbers of q32base/errors.h. Message 0: the library gave no reason. */
struct Report {
    const char *function = ""; /* the C function that failed */
    int message = 0;
    int severity = 0;
    int library = 0;
    int module = 0;
    int point = 0;

    bool is_reported() const { return message != 0; }
    /* The sentence of the message, in English. */
    Text text() const {
        Text sentence = {"The library gives no reason."};
        if (is_reported())
            c32GetErrText(message, sentence.characters,
                          static_cast<int>(sizeof sentence.characters));
        return sentence;
    }
};

/* How a function tells of a failure: f(...) throws, f<nothrow>(...) returns a Result. */
enum class Errors { thrown, returned };
inline constexpr Errors nothrow = Errors::returned;

#if Q32_HPP_EXCEPTIONS
/* What is thrown: a report as an exception. what() has function, sentence and numbers. */
class Error : public std::exception {
public:
    explicit Error(const Report &report) noexcept : report_(report) {
        const Text sentence = report.text();
        const int length =
            std::snprintf(what_, sizeof what_, "%s: %s", report.function, sentence.characters);
        if (report.is_reported() && length > 0)
            std::snprintf(what_ + length, sizeof what_ - static_cast<std::size_t>(length),
                          " (message %d, severity %d, module %d, point %d)", report.message,
                          report.severity, report.module, report.point);
    }
    const char *what() const noexcept override { return what_; }
    const Report &report() const noexcept { return report_; }

private:
    Report report_;
    char what_[sizeof(Text) + 144]{};
};
#endif

namespace detail {

/* Ends the call, or the program where exceptions are off. */
[[noreturn]] Q32_HPP_COLD inline void raise(const Report &report) {
#if Q32_HPP_EXCEPTIONS
    throw Error(report);
#else
    static_cast<void>(report);
    std::abort();
#endif
}

} // namespace detail

/*
 * A value, or the report of the call that should have made it. value() of a failure throws its
 * Error (without exceptions: ends the program); * and -> are for successes, error() for failures.
 */
template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : value_(std::move(value)), succeeded_(true) {}
    Result(const Report &report) : report_(report) {}

    bool has_value() const { return succeeded_; }
    explicit operator bool() const { return succeeded_; }
    T &operator*() { return value_; }
    const T &operator*() const { return value_; }
    T *operator->() { return &value_; }
    const T *operator->() const { return &value_; }
    T &value() & { return check(), value_; }
    const T &value() const & { return check(), value_; }
    T value() && { return check(), std::move(value_); }
    const Report &error() const { return report_; }

private:
    void check() const {
        if (Q32_HPP_UNLIKELY(!succeeded_))
            detail::raise(report_);
    }

    T value_{};
    Report report_{};
    bool succeeded_ = false;
};

template <>
class [[nodiscard]] Result<void> {
public:
    Result() : succeeded_(true) {}
    Result(const Report &report) : report_(report) {}

    bool has_value() const { return succeeded_; }
    explicit operator bool() const { return succeeded_; }
    void value() const {
        if (Q32_HPP_UNLIKELY(!succeeded_))
            detail::raise(report_);
    }
    const Report &error() const { return report_; }

private:
    Report report_{};
    bool succeeded_ = false;
};

/* What a function returns: the value itself, or a Result. */
template <Errors errors, class T = void>
using Outcome = std::conditional_t<errors == Errors::thrown, T, Result<T>>;

namespace detail {

/* The thread's report, which the caller knows to be that of this function. */
Q32_HPP_COLD inline Report last_report(const char *function) {
    Report report;
    report.function = function;
    C32ERRINFO info;
    if (c32GetDLLErrInfo(&info)) {
        report.message = info.message;
        report.severity = info.severity;
        report.library = info.library;
        report.module = info.module;
        report.point = info.point;
    }
    return report;
}

Q32_HPP_COLD inline Report no_report(const char *function) {
    Report report;
    report.function = function;
    return report;
}

[[noreturn]] Q32_HPP_COLD inline void raise_last(const char *function) {
    raise(last_report(function));
}

[[noreturn]] Q32_HPP_COLD inline void raise_none(const char *function) {
    raise(no_report(function));
}

struct Nothing {
    void operator()() const {}
};

template <class Value>
using ValueOf = decltype(std::declval<Value &>()());

/*
 * The outcome of a call: its value when it is done, else a failure with the thread's report, which
 * must be that of this call, or without one.
 */
template <Errors errors, bool reports, class Value = Nothing, class T = ValueOf<Value>>
Outcome<errors, T> outcome(const char *function, bool done, Value value) {
    static_assert(Q32_HPP_EXCEPTIONS || errors == Errors::returned,
                  "without exceptions functions are called as f<q32::nothrow>(...)");
    if (Q32_HPP_UNLIKELY(!done)) {
        if constexpr (errors == Errors::returned)
            return reports ? last_report(function) : no_report(function);
        else if constexpr (reports)
            raise_last(function);
        else
            raise_none(function);
    }
    if constexpr (errors == Errors::returned && std::is_void_v<T>)
        return {};
    else
        return value();
}

/* Of a call that may report: cleared or repeated (below). */
template <Errors errors, class Value = Nothing>
auto checked(const char *function, bool done, Value value = {}) {
    return outcome<errors, true>(function, done, value);
}

/* Of a call that never reports. */
template <Errors errors, class Value = Nothing>
auto silent(const char *function, bool done, Value value = {}) {
    return outcome<errors, false>(function, done, value);
}

/* Makes a call with the thread's report cleared: what stands there afterwards is this call's. */
template <class R, class... Parameters, class... Arguments>
R cleared(R(Q32_CALL *function)(Parameters...), Arguments... arguments) {
    c32ClearDLLErrInfo();
    return function(arguments...);
}

template <class R, class... Parameters, class... Arguments>
Q32_HPP_COLD R again(R(Q32_CALL *function)(Parameters...), Arguments... arguments) {
    return cleared(function, arguments...);
}

/*
 * The same for inner loops, where clearing would cost as much as some calls, and for functions that
 * change nothing when they fail: a call that has failed is made again, with the report cleared.
 */
template <class R, class... Parameters, class... Arguments>
R repeated(R(Q32_CALL *function)(Parameters...), Arguments... arguments) {
    R result = function(arguments...);
    if (Q32_HPP_UNLIKELY(!result))
        result = again(function, arguments...);
    return result;
}

/* Keeps the exception of a callback, which must not leave it, until rethrow. */
class Caught {
public:
    /* What the callback says; false when it throws. */
    template <class Callback>
    bool call(Callback callback) {
#if Q32_HPP_EXCEPTIONS
        try {
            return callback();
        } catch (...) {
            if (!exception_)
                exception_ = std::current_exception();
            return false;
        }
#else
        return callback();
#endif
    }

    void rethrow() {
#if Q32_HPP_EXCEPTIONS
        if (Q32_HPP_UNLIKELY(static_cast<bool>(exception_)))
            std::rethrow_exception(std::exchange(exception_, nullptr));
#endif
    }

#if Q32_HPP_EXCEPTIONS
private:
    std::exception_ptr exception_{};
#endif
};

} // namespace detail

/*
 * Any function of the library whose 0 or null means failure, with its failure as an error:
 * q32::call(mem32Fill, row, colour, 3, 640).
 */
template <Errors errors = Errors::thrown, class R, class... Parameters, class... Arguments>
Outcome<errors, R> call(R(Q32_CALL *function)(Parameters...), Arguments... arguments) {
    const R result = detail::cleared(function, arguments...);
    return detail::checked<errors>("the call", result != R{}, [&] { return result; });
}

} // namespace q32

#endif
