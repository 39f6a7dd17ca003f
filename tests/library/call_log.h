// The order of what the DLL does, seen at its imports: watched functions enter each call with its
// arguments into one log, can be refused call by call, and otherwise do what they always do.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/library.h"

#include <list>
#include <memory>
#include <string>
#include <vector>

namespace q32::test {

// --- one call --------------------------------------------------------------------------------

struct Call {
    std::string name;
    std::vector<std::string> arguments; // texts quoted, numbers in decimal, addresses as *
    bool refused = false;
};
std::string text_of(const Call &call); // name(argument, argument)

std::string argument_text(const char *text);
std::string argument_text(const void *address); // "null" or "*"
inline std::string argument_text(char *address) {
    return argument_text(static_cast<const void *>(address)); // where a text is to be written
}
template <typename Number>
requires std::is_arithmetic_v<Number> std::string argument_text(Number number) {
    return std::to_string(number);
}

// --- the log ---------------------------------------------------------------------------------

class Calls {
public:
    // Returns the place of the new call in the log.
    std::size_t add(const char *name, std::vector<std::string> arguments);
    void refused(std::size_t place) { calls_[place].refused = true; }
    void clear() { calls_.clear(); }

    const std::vector<Call> &all() const { return calls_; }
    std::vector<Call> of(const std::string &name) const;
    int count(const std::string &name) const { return int(of(name).size()); }
    // The names alone, consecutive equal ones once.
    std::vector<std::string> sequence() const;
    // The place of the first call at or after `from` whose text begins so; -1 when there is none.
    int find(const std::string &beginning, int from = 0) const;
    std::string text() const; // one call a line

private:
    std::vector<Call> calls_;
};

// --- watched functions -----------------------------------------------------------------------

template <class Gate, class Body>
class WatchFor;

// Watches one function of the system for the time of its own life: Watch<frame::call::Sleep>.
template <class Gate>
using Watch = WatchFor<Gate, typename Gate::Body>;

template <class Gate, class R, class... A>
class WatchFor<Gate, std::function<R(A...)>> {
public:
    explicit WatchFor(Calls &calls)
        : replaced_([this, &calls](A... arguments) -> R {
              const std::size_t place = calls.add(Gate::name, {argument_text(arguments)...});
              if constexpr (!std::is_void_v<R>) {
                  if (refuse && refuse(arguments...)) {
                      calls.refused(place);
                      SetLastError(error);
                      return Gate::failure();
                  }
              }
              if (before)
                  before(arguments...);
              return instead ? instead(arguments...) : Gate::real(arguments...);
          }) {}

    std::function<bool(A...)> refuse; // true: the call fails
    std::function<void(A...)> before; // told of each call that is made
    std::function<R(A...)> instead;   // makes the call
    DWORD error = Gate::usual_error;

    void refuse_all() {
        refuse = [](A...) { return true; };
    }
    // The n-th call from now on, counted from 1.
    void refuse_call(int n) {
        refuse = [n](A...) mutable { return --n == 0; };
    }

private:
    frame::Replaced<Gate> replaced_;
};

// Watches one function of the common library.
class CommonWatch {
public:
    CommonWatch(const frame::Library &library, const std::string &function, Calls &calls);
    ~CommonWatch();
    CommonWatch(const CommonWatch &) = delete;
    CommonWatch &operator=(const CommonWatch &) = delete;

private:
    std::unique_ptr<frame::ImportHook> hook_;
};

} // namespace q32::test
