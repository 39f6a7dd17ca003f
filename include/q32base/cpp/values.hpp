/* Q32BASE for C++: spans and rectangles; see q32base.hpp. */
#ifndef Q32BASE_CPP_VALUES_HPP
#define Q32BASE_CPP_VALUES_HPP

#include <q32base/types.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

namespace q32 {

/*
 * Memory of others: an address and a count. Made of whatever has data() and size(), and of arrays;
 * spans of bytes of memory of any plain type. Functions that take one expect as much memory as the
 * C function's comment says; that is asserted, and not looked at where NDEBUG is defined.
 */
template <class T>
class Span {
    template <class U>
    static constexpr bool is_seen_as = std::is_convertible_v<U (*)[], T (*)[]> ||
                                       (std::is_same_v<std::remove_const_t<T>, std::uint8_t> &&
                                        std::is_trivially_copyable_v<U> &&
                                        (std::is_const_v<T> || !std::is_const_v<U>));

public:
    constexpr Span() = default;
    constexpr Span(T *data, std::size_t size) : data_(data), size_(size) {}
    template <class Container,
              class U = std::remove_pointer_t<decltype(std::data(std::declval<Container &>()))>,
              class = std::enable_if_t<is_seen_as<U>>>
    Span(Container &&container)
        : data_(reinterpret_cast<T *>(std::data(container))),
          size_(std::size(container) * sizeof(U) / sizeof(T)) {}

    constexpr T *data() const { return data_; }
    constexpr std::size_t size() const { return size_; }
    constexpr bool empty() const { return size_ == 0; }
    constexpr T *begin() const { return data_; }
    constexpr T *end() const { return data_ + size_; }
    constexpr T &operator[](std::size_t index) const { return data_[index]; }
    constexpr Span part(std::size_t from, std::size_t size) const { return {data_ + from, size}; }

private:
    T *data_ = nullptr;
    std::size_t size_ = 0;
};

using Bytes = Span<std::uint8_t>;
using ConstBytes = Span<const std::uint8_t>;

/* A rectangle of pixels. */
struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    static constexpr Rect from(const RECT &rect) {
        return {int(rect.left), int(rect.top), int(rect.right - rect.left),
                int(rect.bottom - rect.top)};
    }
    constexpr RECT rect() const { return {x, y, x + width, y + height}; }

    friend constexpr bool operator==(const Rect &a, const Rect &b) {
        return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
    }
    friend constexpr bool operator!=(const Rect &a, const Rect &b) { return !(a == b); }
};

} // namespace q32

#endif
