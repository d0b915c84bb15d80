#pragma once

#include "decoder/ExactTransform.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace lumivert::decoder {

/// The short way between two RGB spaces that are three curves and a matrix each: light by a table,
/// the matrix, and back by a table that is finest in the shadows. Any number of threads at once.
class MatrixShaper {
public:
    /// `exact` takes RGB of 16 bits and gives RGB of 16 bits. Null where the spaces are of another
    /// kind, or the short way does not give what `exact` gives (absolute colorimetry between
    /// different whites).
    [[nodiscard]] static std::unique_ptr<const MatrixShaper>
    create(const ExactTransform& exact, const Profile& from, const Profile& to, int inBits);

    /// RGB of `inBits` to RGB of 8 bits.
    void convert(const void* in, std::uint8_t* out, std::size_t pixels) const;

private:
    MatrixShaper() = default;
    template <class Sample>
    void convertSamples(const Sample* in, std::uint8_t* out, std::size_t pixels) const;
    [[nodiscard]] bool agreesWith(const ExactTransform& exact) const;

    int m_inBits = 8;
    std::array<std::vector<float>, 3> m_light;
    std::array<std::array<float, 3>, 3> m_matrix{};
    std::array<std::vector<std::uint8_t>, 3> m_encoded;
};

} // namespace lumivert::decoder
