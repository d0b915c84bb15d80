#include "decoder/GridMeasure.h"
#include "decoder/GridPoints.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <functional>
#include <random>

namespace lumivert::decoder {
namespace {

// The corners of a cell, in the order of their numbers.
template <std::uint32_t steps>
void makeCornersStand(const GridPoints& points, std::uint32_t cell) {
    for (std::uint32_t corner = 0; corner < 8; ++corner) {
        std::uint32_t point = cell;
        for (std::size_t c = 0; c < 3; ++c)
            point += (corner >> c & 1) * strides<steps>[c];
        points.valueAt<steps>(point);
    }
}

using Values = std::array<int, 3>;

// A conversion by a function of one pixel's numbers.
Convert by(std::function<Values(int red, int green, int blue)> values) {
    return [=](const void* in, void* out, std::size_t) {
        const auto* pixel = static_cast<const std::uint16_t*>(in);
        auto* result = static_cast<std::uint16_t*>(out);
        for (const int value : values(pixel[0], pixel[1], pixel[2]))
            *result++ = static_cast<std::uint16_t>(value);
    };
}

Values straight(int red, int green, int blue) {
    return {5'000 + red / 4 + green / 8, 60'000 - green / 2 - blue / 4, 1'000 + blue / 2};
}

TEST(GridCells, haveEachPlaceInTheTetrahedronOfItsOrder) {
    std::mt19937 random(1);
    for (int i = 0; i < 10'000; ++i) {
        const Pixel pixel{static_cast<std::uint16_t>(random()),
                          static_cast<std::uint16_t>(random()),
                          static_cast<std::uint16_t>(random())};
        const Position position = positionOf<fineSteps>(pixel.data());
        const Pixel corner = placeOfPoint<fineSteps>(position.cell);
        Offset offset;
        for (std::size_t c = 0; c < 3; ++c)
            offset[c] = pixel[c] - corner[c];
        EXPECT_NE(tetrahedraAt(offset) >> position.order() & 1, 0);
        EXPECT_EQ(placeFrom(corner, offset), pixel);
    }
    EXPECT_FALSE(placeFrom({0, 0, 0}, {0, -1, 0}));
    EXPECT_FALSE(placeFrom({0, 0, 65535}, {0, 0, 1}));
}

TEST(GridCells, haveSixEdgesOfEachTetrahedron) {
    std::array<int, 8> count{};
    for (const Edge& edge : edges) {
        const Tetrahedra around = tetrahedraAt(edge.at(2, 1));
        EXPECT_EQ(edge.isShared(), std::popcount(around) == 6);
        for (std::size_t order = 0; order < 8; ++order)
            count[order] += around >> order & 1;
    }
    EXPECT_EQ(count, (std::array{6, 6, 6, 0, 0, 6, 6, 6}));
    EXPECT_EQ((Edge{{1, 0, 1}, {0, 1, 0}}.axis()), 1u);
    EXPECT_FALSE((Edge{{1, 0, 0}, {0, 1, 1}}.axis()));
}

TEST(GridPoints, interpolateWhatIsStraight) {
    const GridPoints points(by(straight), 3);
    std::mt19937 random(2);
    for (int i = 0; i < 10'000; ++i) {
        Pixel pixel;
        for (std::uint16_t& channel : pixel)
            channel =
                static_cast<std::uint16_t>(random() % 5 == 0 ? random() % 2 * 65535 : random());
        const Position coarse = positionOf<coarseSteps>(pixel.data());
        const Position fine = positionOf<fineSteps>(pixel.data());
        makeCornersStand<coarseSteps>(points, coarse.cell);
        makeCornersStand<fineSteps>(points, fine.cell);
        const std::uint64_t exact = points.exactly(pixel.data());
        EXPECT_LE(points.distanceOf(points.between<coarseSteps>(coarse), exact), 3);
        EXPECT_LE(points.distanceOf(points.between<fineSteps>(fine), exact), 3);
    }
}

// Whose low corner is at these planes.
template <std::uint32_t steps>
constexpr std::uint32_t cellAt(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red * strides<steps>[0] + green * strides<steps>[1] + blue * strides<steps>[2];
}

constexpr Tetrahedra everyOne = 0b11100111;

TEST(GridMeasure, findsTheTetrahedraThatABendGoesThrough) {
    // Red bends between two planes, by two steps of 255 from each plane to the next.
    const auto bent = by([](int red, int green, int blue) {
        Values values = straight(red, green, blue);
        values[0] += 2 * std::max(red - (102 * 257 + 128), 0);
        return values;
    });
    const GridPoints points(bent, 3);
    const GridMeasure measure(points, {});
    EXPECT_EQ(measure.roughInFine(cellAt<fineSteps>(102, 50, 30)), everyOne);
    EXPECT_EQ(measure.roughInFine(cellAt<fineSteps>(101, 50, 30)), 0);
    EXPECT_EQ(measure.roughInFine(cellAt<fineSteps>(104, 50, 30)), 0);
    EXPECT_EQ(measure.roughInCoarse(cellAt<coarseSteps>(20, 10, 6)), everyOne);
    EXPECT_EQ(measure.roughInCoarse(cellAt<coarseSteps>(19, 10, 6)), 0);
    EXPECT_EQ(measure.roughInCoarse(cellAt<coarseSteps>(21, 10, 6)), 0);
}

TEST(GridMeasure, leavesTheTetrahedraThatABendPassesBy) {
    // Where red is more than half of a cell ahead of blue, which half of the tetrahedra have.
    for (const int side : {257, 5 * 257}) {
        const auto bent = by([side](int red, int green, int blue) {
            Values values = straight(red, green, blue);
            values[1] -= std::max(2 * (red - blue) - side, 0);
            return values;
        });
        const GridPoints points(bent, 3);
        const GridMeasure measure(points, {});
        const Tetrahedra rough = side == 257 ? measure.roughInFine(cellAt<fineSteps>(20, 70, 20))
                                             : measure.roughInCoarse(cellAt<coarseSteps>(4, 14, 4));
        EXPECT_EQ(rough, 0b00000111) << side;
    }
}

TEST(GridMeasure, takesNoNumbersToAndFroForStraight) {
    // From plane to plane up and down, and straight between them: no place halfway is off.
    const auto zigzag = by([](int red, int green, int blue) {
        Values values = straight(red, green, blue);
        const int rest = red % 514;
        values[2] += std::min(rest, 514 - rest) / 2;
        return values;
    });
    const GridPoints points(zigzag, 3);
    EXPECT_EQ(GridMeasure(points, {}).roughInFine(cellAt<fineSteps>(7, 9, 11)), everyOne);
}

TEST(GridMeasure, evaluatesWhereLightBegins) {
    const auto cut = by([](int red, int, int) {
        return Values{std::max(red - 20 * 257, 0), 0, 0};
    });
    const GridPoints device(cut, 3);
    EXPECT_EQ(GridMeasure(device, {}).roughInFine(cellAt<fineSteps>(20, 9, 11)), everyOne);
    EXPECT_EQ(GridMeasure(device, {}).roughInFine(cellAt<fineSteps>(21, 9, 11)), 0);
    const GridPoints inks(cut, 4);
    EXPECT_EQ(GridMeasure(inks, {}).roughInFine(cellAt<fineSteps>(20, 9, 11)), 0);
}

TEST(GridMeasure, evaluatesWhereAStepOfTheLightShows) {
    // A channel's light goes up by so many 65535ths from plane to plane, the result by a quarter of
    // a step of 255.
    const GridPoints points(by(straight), 3);
    for (const int light : {1, 2, 0}) {
        LightOfPlanes lights{};
        for (std::size_t plane = 0; plane < lights[0].size(); ++plane)
            lights[0][plane] = light * static_cast<int>(plane);
        const GridMeasure measure(points, lights);
        const bool shows = light == 1;
        EXPECT_EQ(measure.roughInFine(cellAt<fineSteps>(7, 9, 11)), shows ? everyOne : 0) << light;
        EXPECT_EQ(measure.roughInCoarse(cellAt<coarseSteps>(7, 9, 11)), shows ? everyOne : 0)
            << light;
    }
}

} // namespace
} // namespace lumivert::decoder
