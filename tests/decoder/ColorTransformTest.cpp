#include "decoder/ColorTransform.h"

#include "decoder/CodePoints.h"
#include "decoder/ColorGrid.h"
#include "decoder/TestPhotos.h"
#include "decoder/TestProfiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <random>

namespace lumivert::decoder {
namespace {

constexpr std::size_t samplePixels = 2'000;

struct Space {
    const char* name;
    int channels;
    std::shared_ptr<const Profile> profile;
};

Profile installed(const char* path) {
    return Profile(cmsOpenProfileFromFile(path, "r"));
}

Profile tableProfile() {
    return sourceProfile({}, 4);
}

Profile linearRgb() {
    cmsToneCurve* gamma = cmsBuildGamma(nullptr, 1.0);
    std::array<cmsToneCurve*, 3> curves{gamma, gamma, gamma};
    cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    cmsCIExyY white{0.3127, 0.3290, 1};
    Profile result(cmsCreateRGBProfile(&white, &primaries, curves.data()));
    cmsFreeToneCurve(gamma);
    return result;
}

std::shared_ptr<const Profile> made(Profile profile) {
    return std::make_shared<const Profile>(std::move(profile));
}

const std::vector<Space>& sources() {
    static const std::vector<Space> spaces{
        {"sRGB", 3, made(srgbProfile())},
        {"Adobe RGB", 3, made(openProfile(adobeRgbBytes()))},
        {"wide gamut", 3, made(openProfile(wideGamutBytes()))},
        {"linear", 3, made(linearRgb())},
        {"table RGB", 3, made(test::TableRgb().profile())},
        {"grey", 1, made(sourceProfile({}, 1))},
        {"CMYK", 4, made(tableProfile())},
    };
    return spaces;
}

const std::vector<Space>& targets() {
    static const std::vector<Space> spaces{
        {"sRGB", 3, made(srgbProfile())},
        {"Adobe RGB", 3, made(openProfile(adobeRgbBytes()))},
        {"table RGB", 3, made(test::TableRgb().profile())},
        {"CMYK", 4, made(tableProfile())},
        {"grey", 1, made(sourceProfile({}, 1))},
    };
    return spaces;
}

cmsUInt32Number floatType(int channels) {
    const cmsUInt32Number space = channels == 1 ? PT_GRAY : channels == 3 ? PT_RGB : PT_CMYK;
    return FLOAT_SH(1) | COLORSPACE_SH(space) |
           CHANNELS_SH(static_cast<cmsUInt32Number>(channels)) | BYTES_SH(4);
}

// Random colours, half of them dark: that is where curves are steep. A few stand on the faces and
// edges of what there is: from there an intent may lead far out of the target.
std::vector<std::uint16_t> colors(int channels, int bits) {
    const char* const seed = std::getenv("LUMIVERT_COLOR_SEED");
    std::mt19937 random(seed ? static_cast<std::uint32_t>(std::strtoul(seed, nullptr, 10)) : 42);
    std::vector<std::uint16_t> values(samplePixels * static_cast<std::size_t>(channels));
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::uint32_t range = i / static_cast<std::size_t>(channels) % 2 ? 65536 : 8192;
        values[i] = static_cast<std::uint16_t>(random() % range);
        if (random() % 5 == 0)
            values[i] = random() % 2 == 0 ? 0 : 65535;
        if (bits == 8)
            values[i] = static_cast<std::uint16_t>((values[i] >> 8) * 257);
    }
    return values;
}

// What comes out of pixels of 8 or 16 bits.
template <class Sample>
std::vector<std::uint8_t> convertedTo8(const std::vector<Sample>& samples, int channels,
                                       const ColorRoute& route) {
    using vips::VImage;
    const VImage image = VImage::new_from_memory(
        const_cast<Sample*>(samples.data()), samples.size() * sizeof(Sample),
        static_cast<int>(samples.size()) / channels, 1, channels,
        sizeof(Sample) == 1 ? VIPS_FORMAT_UCHAR : VIPS_FORMAT_USHORT);
    std::size_t size = 0;
    const std::unique_ptr<void, decltype(&g_free)> out(
        converted(image, route, 8).write_to_memory(&size), &g_free);
    const auto* bytes = static_cast<const std::uint8_t*>(out.get());
    return {bytes, bytes + size};
}

// The largest distance, in steps of 1/255, from Little CMS in floating point and unoptimised.
double worstError(const Space& source, const Space& target, int bits, std::uint32_t intent) {
    const Profile& from = *source.profile;
    const Profile& to = *target.profile;
    const auto in = colors(source.channels, bits);
    const double inkScale = source.channels == 4 ? 100 : 1;
    std::vector<float> exactIn(in.size());
    for (std::size_t i = 0; i < in.size(); ++i)
        exactIn[i] = static_cast<float>(in[i] / 65535.0 * inkScale);
    const auto outChannels = static_cast<std::size_t>(target.channels);
    std::vector<float> expected(samplePixels * outChannels);
    const cmsUInt32Number blackPoint =
        intent == INTENT_ABSOLUTE_COLORIMETRIC ? 0 : cmsFLAGS_BLACKPOINTCOMPENSATION;
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> straight(
        cmsCreateTransform(from.get(), floatType(source.channels), to.get(),
                           floatType(target.channels), intent,
                           cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE | blackPoint),
        &cmsDeleteTransform);
    cmsDoTransform(straight.get(), exactIn.data(), expected.data(), samplePixels);

    std::vector<std::uint8_t> narrow(in.begin(), in.end());
    for (std::size_t i = 0; i < in.size(); ++i)
        narrow[i] = static_cast<std::uint8_t>(in[i] >> 8);
    const auto out = bits == 8 ? convertedTo8(narrow, source.channels, {from, to, nullptr, intent})
                               : convertedTo8(in, source.channels, {from, to, nullptr, intent});
    double worst = 0;
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double value =
            std::clamp(expected[i] * (target.channels == 4 ? 2.55 : 255), 0.0, 255.0);
        worst = std::max(worst, std::abs(out[i] - value));
    }
    return worst;
}

// docs/colour.md states the largest. LUMIVERT_COLOR_SEED takes other colours.
TEST(ColorTransform, isWithinOneStepOfLittleCmsStraight) {
    for (const int bits : {8, 16}) {
        double worst = 0;
        for (const Space& source : sources())
            for (const Space& target : targets())
                for (const std::uint32_t intent : {0u, 1u, 2u, 3u}) {
                    const double error = worstError(source, target, bits, intent);
                    EXPECT_LE(error, 1.0) << source.name << " of " << bits << " bits to "
                                          << target.name << ", intent " << intent;
                    worst = std::max(worst, error);
                }
        std::cout << "of " << bits << " bits at most " << worst << " of 255 off\n";
    }
}

// Where the wide space leaves a table's gamut its colours have kinks.
TEST(ColorTransform, isWithinOneStepAtTheBorderOfAGamut) {
    const Profile from = openProfile(wideGamutBytes());
    for (const Space& target : targets()) {
        const Profile& to = *target.profile;
        const ColorRoute route{from, to, nullptr, 3};
        std::mt19937 random(7);
        std::vector<std::uint16_t> in(3 * 60'000);
        // Saturated colours: one channel is dark.
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = static_cast<std::uint16_t>(random() % (i % 3 == i / 3 % 3 ? 12000 : 65536));
        const auto got = convertedTo8(in, 3, route);
        ASSERT_EQ(got.size(), 60'000 * static_cast<std::size_t>(target.channels));
        std::vector<std::uint16_t> expected(got.size());
        exactConversion(route, 16, 16)(in.data(), expected.data(), 60'000);
        int worst = 0;
        for (std::size_t i = 0; i < got.size(); ++i)
            worst = std::max(worst, std::abs(got[i] - (expected[i] + 128) / 257));
        EXPECT_LE(worst, 1) << target.name;
    }
}

// A film's log encoding: a table of 256 steps whose light ends at two thirds of the way, next to
// where it is steepest. Its kinks stand at single planes between the grid's coarse ones.
Profile filmLog() {
    std::array<std::uint16_t, 256> light{};
    const auto lightOf = [](double code) { return std::pow(10, (code - 685) / 300); };
    for (std::size_t i = 0; i < light.size(); ++i) {
        const double code = static_cast<double>(i) / 255 * 1023;
        const double value = (lightOf(code) - lightOf(95)) / (1 - lightOf(95));
        light[i] = static_cast<std::uint16_t>(std::lround(65535 * std::clamp(value, 0.0, 1.0)));
    }
    cmsToneCurve* curve = cmsBuildTabulatedToneCurve16(nullptr, 256, light.data());
    std::array<cmsToneCurve*, 3> curves{curve, curve, curve};
    const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    const cmsCIExyY white{0.3127, 0.3290, 1};
    Profile result(cmsCreateRGBProfile(&white, &primaries, curves.data()));
    cmsFreeToneCurve(curve);
    return result;
}

TEST(ColorTransform, isWithinOneStepWhereACurveIsSteepAndBreaksOff) {
    const Profile from = filmLog();
    // Around the last of the light, in one channel and in all.
    constexpr std::size_t count = 150'000;
    std::mt19937 random(11);
    std::vector<std::uint16_t> in(3 * count);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<std::uint16_t>(i % 3 == i / 3 % 3 || random() % 4 == 0
                                               ? 171 * 257 - 1285 + random() % 2570
                                               : random() % 65536);
    for (const Space& target : targets())
        for (const std::uint32_t intent : {1u, 3u}) {
            const ColorRoute route{from, *target.profile, nullptr, intent};
            const auto got = convertedTo8(in, 3, route);
            std::vector<std::uint16_t> expected(got.size());
            exactConversion(route, 16, 16)(in.data(), expected.data(), count);
            double worst = 0;
            for (std::size_t i = 0; i < got.size(); ++i)
                worst = std::max(worst, std::abs(got[i] - expected[i] / 257.0));
            EXPECT_LE(worst, 1.0) << target.name << ", intent " << intent;
        }
}

// sRGB's curve as a table of 1024 steps, as many of its profiles have it: Little CMS takes its dark
// tones in steps, which a table of inks may make larger.
Profile tabulatedSrgb() {
    const ToneCurve curve = srgbCurve();
    std::vector<std::uint16_t> light(1024);
    for (std::size_t i = 0; i < light.size(); ++i)
        light[i] = cmsEvalToneCurve16(curve.get(), static_cast<std::uint16_t>(i * 65535 / 1023));
    const ToneCurve table{cmsBuildTabulatedToneCurve16(nullptr, 1024, light.data()),
                          &cmsFreeToneCurve};
    return openProfile(
        rgbBytes({0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06}, table, "sRGB as a table"));
}

using Color = std::array<std::uint16_t, 3>;

// How far a conversion of 16 bits to 8 is off at most, of 255: of random colours, and of those that
// a search uphill from the worst of them finds.
double worstUphill(const Convert& convert, const Convert& exact, std::size_t channels) {
    const auto errorOf = [&](const Color& color) {
        std::array<std::uint8_t, 4> got{};
        std::array<std::uint16_t, 4> expected{};
        convert(color.data(), got.data(), 1);
        exact(color.data(), expected.data(), 1);
        double worst = 0;
        for (std::size_t c = 0; c < channels; ++c)
            worst = std::max(worst, std::abs(got[c] - expected[c] / 257.0));
        return worst;
    };
    std::mt19937 random(3);
    std::vector<std::pair<double, Color>> found(5'000);
    for (std::size_t i = 0; i < found.size(); ++i) {
        auto& [error, color] = found[i];
        for (std::uint16_t& channel : color)
            channel = random() % 5 == 0
                          ? static_cast<std::uint16_t>(random() % 2 * 65535)
                          : static_cast<std::uint16_t>(random() % (i % 2 ? 65536 : 8192));
        error = errorOf(color);
    }
    std::ranges::sort(found, std::greater());
    double worst = 0;
    for (std::size_t i = 0; i < 40; ++i) {
        auto [error, color] = found[i];
        int reach = 2570;
        for (int missed = 0; reach > 8;) {
            Color next = color;
            for (std::uint16_t& channel : next)
                if (random() % 2 == 0)
                    channel = static_cast<std::uint16_t>(std::clamp(
                        channel + std::uniform_int_distribution(-reach, reach)(random), 0, 65535));
            const double other = errorOf(next);
            if (other > error) {
                error = other;
                color = next;
                missed = 0;
            } else if (++missed > 30) {
                missed = 0;
                reach /= 2;
            }
        }
        worst = std::max(worst, error);
    }
    return worst;
}

// Where a curve is steep a cell holds several points of a table.
TEST(ColorTransform, isWithinOneStepWhereverASearchUphillLeads) {
    const std::vector<Space> from{
        {"sRGB", 3, made(srgbProfile())},
        {"wide gamut", 3, made(openProfile(wideGamutBytes()))},
        {"linear", 3, made(linearRgb())},
        {"film", 3, made(filmLog())},
        {"sRGB as a table", 3, made(tabulatedSrgb())},
        {"PQ", 3, made(openProfile(profileOf(9, 16, 3)))},
        {"HLG", 3, made(openProfile(profileOf(9, 18, 3)))},
    };
    const Space uneven{"uneven RGB", 3, made(test::TableRgb{.jumps = 1'000}.profile())};
    double most = 0;
    for (const Space& source : from)
        for (const Space& target : {targets()[1], targets()[2], targets()[3], uneven})
            for (const std::uint32_t intent : {0u, 1u, 3u}) {
                const ColorRoute route{*source.profile, *target.profile, nullptr, intent};
                const Convert exact = exactConversion(route, 16, 16);
                const Convert grid = colorGrid(route);
                ASSERT_TRUE(grid) << source.name << " to " << target.name;
                const double worst =
                    worstUphill(grid, exact, static_cast<std::size_t>(target.channels));
                EXPECT_LE(worst, 1.0)
                    << source.name << " to " << target.name << ", intent " << intent;
                most = std::max(most, worst);
            }
    std::cout << "at most " << most << " of 255 off\n";
}

TEST(ColorTransform, evaluatesWhatJumpsFromPointToPoint) {
    const auto jumping = made(test::TableRgb{.jumps = 60'000}.profile());
    for (const Space& source : {sources()[0], sources()[2]}) {
        const ColorRoute route{*source.profile, *jumping, nullptr, 1};
        const Convert exact = exactConversion(route, 16, 16);
        EXPECT_FALSE(colorGrid(route)) << source.name;
        const auto in = colors(3, 16);
        const auto got = convertedTo8(in, 3, route);
        std::vector<std::uint16_t> expected(got.size());
        exact(in.data(), expected.data(), samplePixels);
        for (std::size_t i = 0; i < got.size(); ++i)
            ASSERT_LE(std::abs(got[i] - expected[i] / 257.0), 0.51) << source.name;
    }
}

// As long as the last step is the only one that cuts off what a device has not: spaces of which
// primaries are no colours, into each other and into what paper has.
TEST(ColorTransform, ofUltraWideSpacesNeverWrapsNorClipsWhatTheProfileWouldNot) {
    const auto rgb = [](double gamma, const cmsCIExyY& white, const cmsCIExyYTRIPLE& primaries) {
        cmsToneCurve* curve = cmsBuildGamma(nullptr, gamma);
        std::array<cmsToneCurve*, 3> curves{curve, curve, curve};
        Profile result(cmsCreateRGBProfile(&white, &primaries, curves.data()));
        cmsFreeToneCurve(curve);
        return made(std::move(result));
    };
    const cmsCIExyY d65{0.3127, 0.3290, 1};
    const std::vector<Space> wide{
        {"ProPhoto", 3, made(openProfile(wideGamutBytes()))},
        {"Rec. 2020", 3, rgb(2.4, d65, {{0.708, 0.292, 1}, {0.170, 0.797, 1}, {0.131, 0.046, 1}})},
        // SMPTE ST 2065-1: a green of y = 1, a blue of negative light.
        {"ACES", 3,
         rgb(1.8, {0.32168, 0.33767, 1},
             {{0.7347, 0.2653, 1}, {0.0, 1.0, 1}, {0.0001, -0.0770, 1}})},
        // x and y beyond 1 and below 0 in each.
        {"beyond", 3, rgb(2.2, d65, {{1.05, 0.2, 1}, {-0.1, 1.1, 1}, {0.05, -0.1, 1}})},
    };
    std::vector<Space> into = targets();
    into.insert(into.end(), wide.begin() + 1, wide.end());
    double worst = 0;
    for (const int bits : {8, 16})
        for (const Space& source : wide)
            for (const Space& target : into)
                for (const std::uint32_t intent : {1u, 3u}) {
                    const double error = worstError(source, target, bits, intent);
                    EXPECT_LE(error, 1.0) << source.name << " of " << bits << " bits to "
                                          << target.name << ", intent " << intent;
                    worst = std::max(worst, error);
                }
    std::cout << "at most " << worst << " of 255 off\n";
}

TEST(ColorTransform, addsLittleToRoundingFor8BitColours) {
    EXPECT_LE(worstError(sources()[1], targets()[0], 8, 1), 0.65);
    EXPECT_LE(worstError(sources()[0], targets()[2], 8, 1), 0.51);
}

TEST(ColorTransform, givesTheSameColoursTheSecondTime) {
    const Profile from = srgbProfile();
    const Profile to = openProfile(adobeRgbBytes());
    const std::vector<std::uint8_t> in{0, 0, 0, 200, 60, 40, 0, 0, 0, 200, 60, 40};
    const auto out = convertedTo8(in, 3, {from, to, nullptr, 1});
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + 6, out.begin() + 6));
    EXPECT_EQ(out[0], 0);
    EXPECT_NE(out[3], in[3]);
}

TEST(ColorTransform, proofsPaperWhiteAsTheScreensWhite) {
    const Profile screen = srgbProfile();
    const Profile paper = tableProfile();
    for (const std::uint32_t intent : {0u, 1u, 2u}) {
        const std::vector<std::uint8_t> in{255, 255, 255, 0, 0, 255};
        const auto out = convertedTo8(in, 3, {screen, screen, &paper, intent});
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_GE(out[c], 254);
        // Ink has no such blue.
        EXPECT_LT(out[5], 240);
        EXPECT_GT(out[3] + out[4], 20);
    }
}

TEST(ColorTransform, refusesAProfileThatIsNoDestination) {
    const Profile from = srgbProfile();
    Profile inputOnly(cmsCreateProfilePlaceholder(nullptr));
    cmsSetDeviceClass(inputOnly.get(), cmsSigInputClass);
    cmsSetColorSpace(inputOnly.get(), cmsSigRgbData);
    cmsSetPCS(inputOnly.get(), cmsSigLabData);
    const Profile none;
    const Profile lab(cmsCreateLab4Profile(nullptr));
    const std::vector<std::uint8_t> in{1, 2, 3};
    for (const Profile* to : std::array<const Profile*, 3>{&inputOnly, &none, &lab})
        EXPECT_THROW((void)convertedTo8(in, 3, {from, *to}), std::runtime_error);
    EXPECT_THROW((void)convertedTo8(in, 3, {from, from, &none}), std::runtime_error);
    EXPECT_THROW((void)convertedTo8(in, 1, {from, from}), std::runtime_error);
}

TEST(Profiles, haveTheSameBytesEveryTimeAndTheRightWhite) {
    EXPECT_EQ(std::to_integer<int>(adobeRgbBytes()[24]), 0x07);
    for (const Bytes* bytes : {&adobeRgbBytes(), &wideGamutBytes()}) {
        const Profile profile = openProfile(*bytes);
        ASSERT_TRUE(profile);
        EXPECT_EQ(channelsOf(profile), 3);
        EXPECT_TRUE(describes(*bytes, 3));
        EXPECT_FALSE(describes(*bytes, 1));
        EXPECT_FALSE(describes(*bytes, 4));
    }
}

TEST(Profiles, thatBreakOffDescribeNothing) {
    Bytes bytes = adobeRgbBytes();
    bytes.pop_back(); // of the last tag's text, so that Little CMS reads all that colours take
    ASSERT_TRUE(openProfile(bytes));
    EXPECT_FALSE(describes(bytes, 3));
}

TEST(Profiles, ofMoreThan64MebibytesAreNone) {
    Bytes bytes = adobeRgbBytes();
    bytes.resize(std::size_t{64} << 20);
    EXPECT_TRUE(openProfile(bytes));
    bytes.push_back(std::byte{0});
    EXPECT_FALSE(openProfile(bytes));
}

TEST(Profiles, agreeWithTheInstalledAdobeRgb) {
    const Profile theirs = installed("/usr/share/color/icc/colord/AdobeRGB1998.icc");
    if (!theirs)
        GTEST_SKIP() << "colord-data is not installed";
    const Profile ours = openProfile(adobeRgbBytes());
    const Profile lab(cmsCreateLab4Profile(nullptr));
    for (const auto& color : {std::array<std::uint8_t, 3>{255, 0, 0},
                              {0, 255, 0},
                              {0, 0, 255},
                              {128, 128, 128},
                              {255, 255, 255}}) {
        std::array<cmsCIELab, 2> values{};
        for (std::size_t i = 0; i < 2; ++i) {
            const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
                cmsCreateTransform((i == 0 ? ours : theirs).get(), TYPE_RGB_8, lab.get(),
                                   TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE),
                &cmsDeleteTransform);
            cmsDoTransform(way.get(), color.data(), &values[i], 1);
        }
        EXPECT_LT(cmsDeltaE(&values[0], &values[1]), 0.1);
    }
}

} // namespace
} // namespace lumivert::decoder
