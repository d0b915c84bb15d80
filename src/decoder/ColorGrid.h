#pragma once

#include "decoder/ExactTransform.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace lumivert::decoder {

/// A conversion from RGB that evaluates each colour of a 256 x 256 x 256 grid the first time a
/// pixel asks for it. Pixels of 8 bits are grid points, so that they come out exactly as the
/// transform has them; those of 16 bits are interpolated between the four nearest (tetrahedral)
/// where these are close to each other, and evaluated themselves elsewhere. The grid's
/// planes lie closer in the shadows where the source's curve is known, so that linear light does
/// not band. A photo has far fewer colours than pixels; neighbours in colour share a page of
/// memory, and of the 128 MiB only those in use are ever touched. Any number of threads at once.
class ColorGrid {
public:
    /// `exact` takes RGB of 16 bits and gives `outChannels` of 16 bits. `from` is only looked at
    /// for the curves of a source of 16 bits.
    ColorGrid(std::unique_ptr<const ExactTransform> exact, const Profile& from, int inBits,
              int outChannels);
    ~ColorGrid();
    ColorGrid(const ColorGrid&) = delete;
    ColorGrid& operator=(const ColorGrid&) = delete;

    /// RGB of `inBits` to `outChannels` of 8 bits.
    void convert(const void* in, std::uint8_t* out, std::size_t pixels) const;

private:
    // Four values of 16 bits; 0 for a point that nobody has asked for yet, which is why a first
    // channel of 0 is kept as 1.
    using Node = std::atomic<std::uint64_t>;
    struct Position {
        std::uint16_t plane = 0;
        std::uint16_t fraction = 0; // of 65536, towards the next plane
    };

    // A tetrahedron's corners and their weights of 65536.
    struct Corners {
        std::array<std::uint32_t, 4> colors;
        std::array<std::uint32_t, 4> weights;
    };
    enum class Found { interpolated, steep, missing };
    // A node's four values; compared and subtracted all at once.
    typedef std::uint16_t Samples __attribute__((vector_size(8)));

    [[nodiscard]] Corners cornersOf(const std::uint16_t* pixel) const;
    Found interpolate(const std::uint16_t* pixel, std::uint8_t* out) const;
    void convert8(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels) const;
    void convert16(const std::uint16_t* in, std::uint8_t* out, std::size_t pixels) const;
    void convertExactly(const std::uint16_t* in, std::uint8_t* out,
                        const std::vector<std::uint32_t>& places) const;
    void evaluate(std::vector<std::uint32_t>& colors) const;
    [[nodiscard]] Node& node(std::uint32_t r, std::uint32_t g, std::uint32_t b) const;
    void placePlanes(const Profile& from);
    void store(std::uint64_t value, std::uint8_t* out) const;

    std::unique_ptr<const ExactTransform> m_exact;
    int m_inBits;
    int m_outChannels;
    Node* m_nodes = nullptr;
    std::array<std::array<std::uint16_t, 256>, 3> m_planes{};
    std::array<std::vector<Position>, 3> m_positions;
};

} // namespace lumivert::decoder
