#pragma once

#include "decoder/ColorTransform.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace lumivert::decoder {

/// A conversion from three channels to 8 bits that evaluates each colour of a 256 x 256 x 256 grid
/// the first time a pixel asks for it. Pixels of 8 bits are grid points, so that they come out
/// exactly as the transform has them. Those of 16 bits are interpolated between the four nearest
/// points (tetrahedral) of every fifth plane, or of every one, or evaluated themselves: a cell of
/// five planes a side is measured the first time a pixel falls into it, and its error decides. The
/// planes lie closer in the shadows where the source's curve is known, so that linear light does
/// not band. A photo has far fewer colours than pixels; neighbours in colour share a page of
/// memory, and of the 128 MiB only those in use are ever touched.
class ColorGrid : public ColorTransform {
public:
    /// `exact` takes three channels of 16 bits and gives `outChannels` of 16 bits. `from` is only
    /// looked at for the curves of a source of 16 bits.
    ColorGrid(std::unique_ptr<const ColorTransform> exact, const Profile& from, int inBits,
              int outChannels);
    ~ColorGrid() override;
    ColorGrid(const ColorGrid&) = delete;
    ColorGrid& operator=(const ColorGrid&) = delete;

    void convert(const void* in, void* out, std::size_t pixels) const override;

private:
    // Four values of 16 bits; 0 for a point that nobody has asked for yet, which is why a first
    // channel of 0 is kept as 1.
    using Node = std::atomic<std::uint64_t>;
    struct Position {
        std::uint16_t plane = 0;
        std::uint16_t fraction = 0; // of 65536, towards the next plane
    };
    // What pixels in a cell are interpolated between.
    enum Way : std::uint8_t { unmeasured, coarse, fine, evaluated };
    // By channel and 16-bit value, where it lies between the planes of a lattice.
    using Positions = std::array<std::vector<Position>, 3>;
    // A tetrahedron's corners and their weights of 65536.
    struct Corners {
        std::array<std::uint32_t, 4> points;
        std::array<std::uint32_t, 4> weights;
    };

    [[nodiscard]] Corners fineCorners(const std::uint16_t* pixel) const;
    [[nodiscard]] Corners coarseCorners(const std::uint16_t* pixel) const;
    [[nodiscard]] std::uint64_t betweenCoarse(const Corners& corners) const;
    [[nodiscard]] std::optional<std::uint64_t> betweenFine(const Corners& corners) const;
    [[nodiscard]] std::uint32_t cellOf(const std::uint16_t* pixel) const;
    void convert8(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels) const;
    void convert16(const std::uint16_t* in, std::uint8_t* out, std::size_t pixels) const;
    void convertExactly(const std::uint16_t* in, std::uint8_t* out,
                        const std::vector<std::uint32_t>& places) const;
    void measure(std::vector<std::uint32_t>& cells) const;
    void evaluate(std::vector<std::uint32_t> colors) const;
    [[nodiscard]] Node& node(std::uint32_t color) const;
    void placePlanes(const Profile& from);
    void store(std::uint64_t value, std::uint8_t* out) const;

    std::unique_ptr<const ColorTransform> m_exact;
    int m_inBits;
    int m_outChannels;
    Node* m_nodes = nullptr;
    std::array<std::array<std::uint16_t, 256>, 3> m_planes{};
    Positions m_coarse;
    Positions m_fine;
    // Every fifth plane's points, close together; the cells begin at them.
    mutable std::vector<Node> m_coarseNodes;
    mutable std::vector<std::atomic<Way>> m_ways;
};

} // namespace lumivert::decoder
