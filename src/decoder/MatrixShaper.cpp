#include "decoder/MatrixShaper.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <random>

namespace lumivert::decoder {
namespace {

using Matrix = std::array<std::array<double, 3>, 3>;

constexpr std::array curveTags{cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
constexpr std::array colorantTags{cmsSigRedColorantTag, cmsSigGreenColorantTag,
                                  cmsSigBlueColorantTag};

// The table of encoded values is indexed by the upper bits of a float: its exponent and ten bits
// of its mantissa, which is 0.12/255 at worst. Below 2^-32 even a gamma of 3 gives 0.
constexpr int dropBits = 13;
constexpr float darkest = 0x1p-32f;
constexpr std::uint32_t firstIndex = std::bit_cast<std::uint32_t>(darkest) >> dropBits;
constexpr std::uint32_t lastIndex = std::bit_cast<std::uint32_t>(1.0f) >> dropBits;

const cmsToneCurve* curveOf(const Profile& profile, std::size_t channel) {
    return static_cast<const cmsToneCurve*>(cmsReadTag(profile.get(), curveTags[channel]));
}

std::optional<Matrix> colorants(const Profile& profile) {
    Matrix matrix{};
    for (std::size_t c = 0; c < 3; ++c) {
        const auto* xyz = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile.get(), colorantTags[c]));
        if (!xyz || !curveOf(profile, c))
            return std::nullopt;
        matrix[0][c] = xyz->X;
        matrix[1][c] = xyz->Y;
        matrix[2][c] = xyz->Z;
    }
    return matrix;
}

std::optional<Matrix> inverse(const Matrix& m) {
    const auto minor = [&](std::size_t r, std::size_t c) {
        const auto at = [&](std::size_t i, std::size_t j) { return m[(r + i) % 3][(c + j) % 3]; };
        return at(1, 1) * at(2, 2) - at(1, 2) * at(2, 1);
    };
    const double determinant =
        m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    if (std::abs(determinant) < 1e-9)
        return std::nullopt;
    Matrix result{};
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            result[r][c] = minor(c, r) / determinant;
    return result;
}

std::uint8_t encodedIndex(const std::vector<std::uint8_t>& table, float light) {
    if (!(light > darkest))
        return table.front();
    if (light >= 1)
        return table.back();
    return table[(std::bit_cast<std::uint32_t>(light) >> dropBits) - firstIndex];
}

std::vector<std::uint8_t> encodingTable(const cmsToneCurve* curve) {
    const std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)> back(
        cmsReverseToneCurve(curve), &cmsFreeToneCurve);
    std::vector<std::uint8_t> table;
    if (!back)
        return table;
    const auto encode = [&](float light) {
        const float value = cmsEvalToneCurveFloat(back.get(), light);
        return static_cast<std::uint8_t>(
            std::lround(std::clamp(std::isfinite(value) ? value : 0, 0.0f, 1.0f) * 255));
    };
    table.push_back(encode(0));
    for (std::uint32_t index = firstIndex + 1; index < lastIndex; ++index)
        table.push_back(encode( // the middle of what falls into the entry
            std::bit_cast<float>(index << dropBits | 1u << (dropBits - 1))));
    table.push_back(encode(1));
    return table;
}

} // namespace

std::unique_ptr<const MatrixShaper> MatrixShaper::create(const ExactTransform& exact,
                                                         const Profile& from, const Profile& to,
                                                         int inBits) {
    const bool isShaper = cmsIsMatrixShaper(from.get()) && cmsIsMatrixShaper(to.get()) &&
                          channelsOf(from) == 3 && channelsOf(to) == 3;
    if (!isShaper)
        return nullptr;
    const auto there = colorants(from);
    const auto target = colorants(to);
    const auto back = target ? inverse(*target) : std::nullopt;
    if (!there || !back)
        return nullptr;
    std::unique_ptr<MatrixShaper> shaper(new MatrixShaper);
    shaper->m_inBits = inBits;
    const std::size_t values = std::size_t{1} << inBits;
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t k = 0; k < 3; ++k)
            shaper->m_matrix[c][k] =
                static_cast<float>((*back)[c][0] * (*there)[0][k] + (*back)[c][1] * (*there)[1][k] +
                                   (*back)[c][2] * (*there)[2][k]);
        shaper->m_light[c].resize(values);
        for (std::size_t i = 0; i < values; ++i)
            shaper->m_light[c][i] = cmsEvalToneCurveFloat(
                curveOf(from, c), static_cast<float>(i) / static_cast<float>(values - 1));
        shaper->m_encoded[c] = encodingTable(curveOf(to, c));
        if (shaper->m_encoded[c].empty())
            return nullptr;
    }
    return shaper->agreesWith(exact) ? std::move(shaper) : nullptr;
}

bool MatrixShaper::agreesWith(const ExactTransform& exact) const {
    constexpr std::size_t count = 2048;
    std::mt19937 random(1);
    std::vector<std::uint16_t> wide(count * 3);
    std::vector<std::uint8_t> narrow(count * 3);
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const std::uint32_t value = random() % (i / 3 % 2 ? 65536 : 8192);
        narrow[i] = static_cast<std::uint8_t>(value >> 8);
        wide[i] = static_cast<std::uint16_t>(m_inBits == 8 ? narrow[i] * 257u : value);
    }
    std::vector<std::uint16_t> expected(wide.size());
    std::vector<std::uint8_t> got(wide.size());
    exact.convert(wide.data(), expected.data(), count);
    convert(m_inBits == 8 ? static_cast<const void*>(narrow.data()) : wide.data(), got.data(),
            count);
    for (std::size_t i = 0; i < got.size(); ++i)
        if (std::abs(got[i] * 257 - expected[i]) > 257 * 7 / 10)
            return false;
    return true;
}

void MatrixShaper::convert(const void* in, std::uint8_t* out, std::size_t pixels) const {
    if (m_inBits == 16)
        convertSamples(static_cast<const std::uint16_t*>(in), out, pixels);
    else
        convertSamples(static_cast<const std::uint8_t*>(in), out, pixels);
}

template <class Sample>
void MatrixShaper::convertSamples(const Sample* in, std::uint8_t* out, std::size_t pixels) const {
    const auto& m = m_matrix;
    for (std::size_t i = 0; i < pixels; ++i, in += 3, out += 3) {
        const float r = m_light[0][in[0]];
        const float g = m_light[1][in[1]];
        const float b = m_light[2][in[2]];
        for (std::size_t c = 0; c < 3; ++c)
            out[c] = encodedIndex(m_encoded[c], m[c][0] * r + m[c][1] * g + m[c][2] * b);
    }
}

} // namespace lumivert::decoder
