/* Q32BASE for C++: what all owners share; see q32base.hpp. */
#ifndef Q32BASE_CPP_OWNER_HPP
#define Q32BASE_CPP_OWNER_HPP

#include <q32base/types.h>

#include <utility>

namespace q32 {

namespace detail {

/*
 * What all owners share. Held says what there is to give back, and what can be done with it: get()
 * and, for its owner, holds() and give_back(). A fresh one holds nothing.
 */
template <class Held>
class Owner : public Held {
public:
    Owner() = default;
    explicit Owner(const Held &held) : Held(held) {}
    Owner(Owner &&other) noexcept : Held(other.moved_out()) {}
    Owner &operator=(Owner &&other) noexcept {
        if (this != &other) {
            reset();
            held() = other.moved_out();
        }
        return *this;
    }
    ~Owner() { reset(); }

    explicit operator bool() const { return this->holds(); }
    /* Gives back what is held, if anything. */
    void reset() {
        if (this->holds()) {
            this->give_back();
            held() = Held();
        }
    }
    /* Whoever takes it gives it back. */
    auto release() { return moved_out().get(); }
    void swap(Owner &other) noexcept { std::swap(held(), other.held()); }
    friend void swap(Owner &a, Owner &b) noexcept { a.swap(b); }

protected:
    Held &held() { return *this; }
    Held moved_out() { return std::exchange(held(), Held()); }
};

class HeldGlobal {
public:
    HeldGlobal() = default;
    explicit HeldGlobal(HGLOBAL memory) : memory_(memory) {}

    HGLOBAL get() const { return memory_; }

protected:
    bool holds() const { return memory_ != nullptr; }
    void give_back() const { GlobalFree(memory_); }

private:
    HGLOBAL memory_ = nullptr;
};

} // namespace detail

/* A block of the global heap, freed by GlobalFree. */
class [[nodiscard]] GlobalBlock : public detail::Owner<detail::HeldGlobal> {
public:
    GlobalBlock() = default;
    /* Of a handle that is to be freed. */
    explicit GlobalBlock(HGLOBAL memory) : Owner(detail::HeldGlobal(memory)) {}
};

} // namespace q32

#endif
