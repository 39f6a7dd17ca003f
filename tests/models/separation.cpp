// The model's tables and pixels.
#include "tests/models/separation.h"

#include <algorithm>
#include <map>
#include <vector>

namespace q32::test::model {
namespace {

// A whole number of any size: 16 bits a place, the lowest first.
class Number {
public:
    Number &operator*=(unsigned factor) {
        unsigned carry = 0;
        for (std::uint16_t &place : places_) {
            carry += place * factor;
            place = static_cast<std::uint16_t>(carry & 0xFFFF);
            carry >>= 16;
        }
        if (carry != 0)
            places_.push_back(static_cast<std::uint16_t>(carry));
        return *this;
    }
    bool operator<=(const Number &other) const {
        if (places_.size() != other.places_.size())
            return places_.size() < other.places_.size();
        return !std::lexicographical_compare(other.places_.rbegin(), other.places_.rend(),
                                             places_.rbegin(), places_.rend());
    }

private:
    std::vector<std::uint16_t> places_{1};
};

Number power(unsigned base, int exponent) {
    Number result;
    for (; exponent > 0; --exponent)
        result *= base;
    return result;
}

// Whether (b / 255)^amount <= (value / 255)^100.
bool is_below(int b, int value, int amount) {
    Number left = power(255, 100 - amount);
    for (int i = 0; i < amount; ++i)
        left *= static_cast<unsigned>(b);
    return left <= power(static_cast<unsigned>(value), 100);
}

// (value / 255) to the power of 100 / amount, times 255, cut off.
using Curve = std::array<int, 256>;
const Curve &bent(int amount) {
    static std::map<int, Curve> curves;
    const auto [found, made] = curves.try_emplace(amount);
    if (made)
        for (int value = 1; value < 256; ++value) {
            int &b = found->second[std::size_t(value)];
            b = found->second[std::size_t(value - 1)];
            while (b < 255 && is_below(b + 1, value, amount))
                ++b;
        }
    return found->second;
}

} // namespace

Separation separation(const Inks &inks) {
    Separation tables;
    for (int v = 0; v < 256; ++v)
        tables.removal[std::size_t(v)] = (v * inks.removal + 50) / 100;
    if (inks.amount != 0) {
        const int s = (inks.start * 255 + 50) / 100;
        std::array<int, 256> &curve = tables.black;
        for (int k = 0; k < 255 - s; ++k)
            curve[std::size_t(s + k)] = (k * 255 + (255 - s) / 2) / (255 - s);
        if (inks.amount < 100)
            for (int i = s; i < 255; ++i)
                curve[std::size_t(i)] = bent(inks.amount)[std::size_t(curve[std::size_t(i)])];
        curve[255] = 255;
        // Levels of black up to this one have their grey.
        int filled = -1;
        for (int v = 0; v < 256; ++v)
            while (filled < curve[std::size_t(v)])
                tables.inverse[std::size_t(++filled)] = v;
    }
    tables.limit = (inks.limit * 1020 + 200) / 400;
    return tables;
}

std::uint32_t to_cmyk(const Separation &tables, int red, int green, int blue) {
    int inks[3] = {255 - red, 255 - green, 255 - blue};
    const int black = tables.black[std::size_t(std::min({inks[0], inks[1], inks[2]}))];
    for (int &ink : inks)
        ink -= tables.removal[std::size_t(black)];
    if (tables.limit < 1020) {
        const int excess = black - tables.limit + inks[0] + inks[1] + inks[2];
        if (excess > 0)
            for (int &ink : inks)
                ink -= excess / 3;
    }
    return std::uint32_t(inks[0] & 255) | std::uint32_t(inks[1] & 255) << 8 |
           std::uint32_t(inks[2] & 255) << 16 | std::uint32_t(black) << 24;
}

std::uint32_t to_rgb(const Separation &tables, int cyan, int magenta, int yellow, int black) {
    const int add =
        std::max(tables.inverse[std::size_t(black)] - std::min({cyan, magenta, yellow}), 0);
    const auto inverted = [add](int ink) {
        return std::uint32_t(255 - std::clamp(ink + add, 0, 255));
    };
    return inverted(cyan) | inverted(magenta) << 8 | inverted(yellow) << 16;
}

} // namespace q32::test::model
