#pragma once

#include "decoder/ColorTransform.h"

#include <array>
#include <atomic>
#include <vector>

namespace lumivert::decoder {

/// A conversion from three channels to 8 bits that evaluates each colour of a 256 x 256 x 256 grid
/// the first time a pixel asks for it. Pixels of 8 bits are grid points, so that they come out
/// exactly as the transform has them. Those of 16 bits are interpolated between the four nearest
/// points (tetrahedral) of every fifth plane, or of every one, or evaluated themselves: a cell of
/// five planes a side is measured the first time a pixel falls into it, and its errors decide. The
/// planes lie closer in the shadows where the source's curve is known, so that those of linear
/// light are quick too. A photo has far fewer colours than pixels; neighbours in colour share a
/// page of memory, and of the 128 MiB only those in use are ever touched.
class ColorGrid : public ColorTransform {
public:
    /// `exact` takes three channels of 16 bits and gives `outChannels` of 16 bits. `from` is only
    /// looked at for the curves of a source of 16 bits.
    ColorGrid(std::unique_ptr<const ColorTransform> exact, const Profile& from, int inBits,
              int outChannels);

    void convert(const void* in, void* out, std::size_t pixels) const override;

private:
    // Four values of 16 bits; 0 for a point that nobody has asked for yet, which is why a first
    // channel of 0 is kept as 1.
    using Node = std::atomic<std::uint64_t>;
    struct Unmap {
        void operator()(Node* nodes) const;
    };
    // What pixels in a cell are interpolated between.
    enum Way : std::uint8_t { unmeasured, coarse, fine, evaluated };
    // A tetrahedron's corners and their weights of 65536.
    struct Corners {
        std::array<std::uint32_t, 4> points;
        std::array<std::uint32_t, 4> weights;
    };

    // Of the grid whose sides have so many steps; the first corner's number is the cell's.
    template <std::uint32_t steps>
    [[nodiscard]] Corners cornersOf(const std::uint16_t* pixel) const;
    template <std::uint32_t steps>
    [[nodiscard]] std::uint64_t between(const Corners& corners) const;
    template <std::uint32_t steps>
    [[nodiscard]] std::uint64_t valueAt(std::uint32_t point) const;
    [[nodiscard]] std::uint64_t evaluatedAt(const std::uint16_t* pixel) const;
    [[nodiscard]] Way measured(std::uint32_t cell) const;
    [[nodiscard]] std::uint64_t converted(const std::uint16_t* pixel) const;
    void placePlanes(const Profile& from);

    std::unique_ptr<const ColorTransform> m_exact;
    int m_inBits;
    std::size_t m_outChannels;
    std::unique_ptr<Node, Unmap> m_nodes;
    // By channel: the value of each plane, and where each value of 16 bits lies among them, 65535
    // at the last.
    std::array<std::array<std::uint16_t, 256>, 3> m_planes{};
    std::array<std::vector<std::uint16_t>, 3> m_places;
    // Every fifth plane's points, close together, and the cells that begin at them.
    mutable std::vector<Node> m_coarseNodes;
    mutable std::vector<std::atomic<Way>> m_ways;
};

} // namespace lumivert::decoder
