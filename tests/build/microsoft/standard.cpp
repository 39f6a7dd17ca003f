// What programs need of the C++ standard library beyond its headers. Those are MinGW's, read in
// Microsoft's ABI: templates become part of the program, and this file has what is no template.
// Containers, strings, algorithms and the standard exceptions work; streams, threads and locales do
// not.
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>

#include <stdlib.h>
#include <string.h>

namespace std {

template class allocator<char>;
template class allocator<wchar_t>;
template class basic_string<char>;
template class basic_string<wchar_t>;

exception::~exception() noexcept = default;
const char *exception::what() const noexcept {
    return "std::exception";
}
bad_exception::~bad_exception() noexcept = default;
const char *bad_exception::what() const noexcept {
    return "std::bad_exception";
}
bad_alloc::~bad_alloc() noexcept = default;
const char *bad_alloc::what() const noexcept {
    return "std::bad_alloc";
}
bad_array_new_length::~bad_array_new_length() noexcept = default;
const char *bad_array_new_length::what() const noexcept {
    return "std::bad_array_new_length";
}
bad_function_call::~bad_function_call() noexcept = default;
const char *bad_function_call::what() const noexcept {
    return "std::bad_function_call";
}

const nothrow_t nothrow{};

// The text of an exception, which copies with it and never throws.
__cow_string::__cow_string(const char *text, size_t length) : _M_p(nullptr) {
    if (char *copy = static_cast<char *>(malloc(length + 1))) {
        memcpy(copy, text, length);
        copy[length] = 0;
        _M_p = copy;
    }
}
__cow_string::__cow_string() : __cow_string("", 0) {}
__cow_string::__cow_string(const string &text) : __cow_string(text.data(), text.size()) {}
__cow_string::__cow_string(const __cow_string &other) noexcept
    : __cow_string(other._M_p ? other._M_p : "", other._M_p ? strlen(other._M_p) : 0) {}
__cow_string::~__cow_string() {
    free(const_cast<char *>(_M_p));
}
__cow_string::__cow_string(__cow_string &&other) noexcept : _M_p(other._M_p) {
    other._M_p = nullptr;
}
__cow_string &__cow_string::operator=(__cow_string &&other) noexcept {
    swap(_M_p, other._M_p);
    return *this;
}
__cow_string &__cow_string::operator=(const __cow_string &other) noexcept {
    return *this = __cow_string(other);
}

#define TEXTUAL(type)                                                                              \
    type::type(const char *text) : _M_msg(text, strlen(text)) {}                                   \
    type::type(const string &text) : _M_msg(text) {}                                               \
    type::type(const type &) noexcept = default;                                                   \
    type &type::operator=(const type &) noexcept = default;                                        \
    type::type(type &&) noexcept = default;                                                        \
    type &type::operator=(type &&) noexcept = default;                                             \
    type::~type() noexcept = default;                                                              \
    const char *type::what() const noexcept {                                                      \
        return _M_msg._M_p ? _M_msg._M_p : "";                                                     \
    }
TEXTUAL(logic_error)
TEXTUAL(runtime_error)
#undef TEXTUAL

#define DERIVED(type, base)                                                                        \
    type::type(const char *text) : base(text) {}                                                   \
    type::type(const string &text) : base(text) {}                                                 \
    type::~type() noexcept = default;                                                              \
    void __throw_##type(const char *text) {                                                        \
        throw type(text);                                                                          \
    }
DERIVED(domain_error, logic_error)
DERIVED(invalid_argument, logic_error)
DERIVED(length_error, logic_error)
DERIVED(out_of_range, logic_error)
DERIVED(range_error, runtime_error)
DERIVED(overflow_error, runtime_error)
DERIVED(underflow_error, runtime_error)
#undef DERIVED

void __throw_logic_error(const char *text) {
    throw logic_error(text);
}
void __throw_runtime_error(const char *text) {
    throw runtime_error(text);
}
void __throw_out_of_range_fmt(const char *format, ...) {
    throw out_of_range(format);
}
void __throw_bad_alloc() {
    throw bad_alloc();
}
void __throw_bad_array_new_length() {
    throw bad_array_new_length();
}
void __throw_bad_function_call() {
    throw bad_function_call();
}

} // namespace std
