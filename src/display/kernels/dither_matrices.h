// The matrices of ordered dithering. A value is stepped up, or a plane's bit set, where it reaches
// the threshold of its pixel's place. What is compared, and with which matrix, is the affair of
// those who draw.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace q32::display {

struct Place {
    int x, y;
};

// Row by row.
template <int side>
using Matrix = std::array<std::uint8_t, std::size_t(side) * side>;

// The places of a matrix of side 2, 4, 8 or 16 in the order of their ranks. Those of side 2 are
// given. A larger matrix takes the one of half its side four times, its places two apart, once from
// each place of side 2 on: neighbouring ranks lie far from each other at every scale.
template <int side>
constexpr std::array<Place, std::size_t(side) * side> places_by_rank() {
    constexpr std::array<Place, 4> corners{{{0, 0}, {1, 1}, {0, 1}, {1, 0}}};
    if constexpr (side == 2) {
        return corners;
    } else {
        constexpr auto half = places_by_rank<side / 2>();
        std::array<Place, std::size_t(side) * side> places{};
        auto place = places.begin();
        for (const Place &corner : corners)
            for (const Place &inner : half)
                *place++ = {corner.x + 2 * inner.x, corner.y + 2 * inner.y};
        return places;
    }
}

template <int side>
constexpr Matrix<side> rank_matrix() {
    Matrix<side> ranks{};
    std::uint8_t rank = 0;
    for (const Place &place : places_by_rank<side>())
        ranks[place.y * side + place.x] = rank++;
    return ranks;
}

// The threshold of a rank, of `ranks` that there are, for values that go up to `maximum`. Those are
// spread from 1 on where there are more ranks than values, and rounded where there are fewer.
constexpr std::uint8_t threshold(int rank, int ranks, int maximum) {
    if (maximum == 256 && ranks == 256)
        return std::uint8_t(rank == 255 ? rank : rank + 1);
    if (maximum == 256)
        maximum = 255;
    if (ranks > maximum)
        return std::uint8_t(rank * maximum / ranks + 1);
    return std::uint8_t(((rank + 1) * maximum + ranks / 2) / ranks);
}

template <int side>
constexpr Matrix<side> threshold_matrix(int maximum) {
    Matrix<side> thresholds = rank_matrix<side>();
    for (std::uint8_t &entry : thresholds)
        entry = threshold(entry, side * side, maximum);
    return thresholds;
}

// Sixteen-colour displays: samples of 0 to 255 against 4 to 255, so that 255 always sets the bit of
// its plane and 3 never.
inline constexpr Matrix<8> sixteen_colour_thresholds = threshold_matrix<8>(255);

// Palette displays: fractions of 0 to 50 (colour_cube.h) against 1 to 51.
inline constexpr Matrix<8> palette_thresholds = threshold_matrix<8>(51);

// High-colour displays: the lower three bits of a sample against 1 to 8.
inline constexpr Matrix<4> high_colour_thresholds = threshold_matrix<4>(8);

} // namespace q32::display
