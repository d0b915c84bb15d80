#include "decoder/CodePoints.h"
#include "decoder/HeifPhotos.h"
#include "decoder/JxlPhotos.h"
#include "decoder/PlainPhotos.h"
#include "decoder/TestProfiles.h"
#include "files/TiffWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

// Light brighter than paper, by the standards' own formulas: no part of the decoder has a hand in
// what is expected.
namespace lumivert::decoder {
namespace {

using namespace test;
using Color = std::array<double, 3>;

enum Transfer { pq = 16, hlg = 18 };

/// BT.2100, table 4: cd/m² of a number, and the number of cd/m².
double lightOfPq(double number) {
    const double power = std::pow(number, 32.0 / 2523);
    return 10000 * std::pow(std::max(0.0, power - 0.8359375) / (18.8515625 - 18.6875 * power),
                            1 / 0.1593017578125);
}
double pqOfLight(double light) {
    const double power = std::pow(light / 10000, 0.1593017578125);
    return std::pow((0.8359375 + 18.8515625 * power) / (1 + 18.6875 * power), 78.84375);
}

/// BT.2100, table 5: the inverse OETF, and the gamma of a screen of 1000 cd/m².
double lightOfHlg(double number) {
    const double scene = number > 0.5
                             ? (std::exp((number - 0.55991073) / 0.17883277) + 0.28466892) / 12
                             : number * number / 3;
    return 1000 * std::pow(scene, 1.2);
}

/// BT.2390, 5.4.1, steps 1 to 5 with L_B = L_min = 0, L_W of 1000 and L_max of 203 cd/m²: the light
/// on paper, 1 for its white.
double onPaper(double number, int transfer) {
    const double light = transfer == pq ? lightOfPq(number) : lightOfHlg(number);
    const double most = pqOfLight(1000);
    const double e1 = std::min(1.0, pqOfLight(light) / most);
    const double maxLum = pqOfLight(203) / most;
    const double ks = 1.5 * maxLum - 0.5;
    double e2 = e1;
    if (e1 >= ks) {
        const double t = (e1 - ks) / (1 - ks);
        const double t2 = t * t;
        const double t3 = t2 * t;
        e2 = (2 * t3 - 3 * t2 + 1) * ks + (t3 - 2 * t2 + t) * (1 - ks) + (3 * t2 - 2 * t3) * maxLum;
    }
    return lightOfPq(e2 * most) / 203;
}

/// BT.2020's primaries with a gamma of 2.2: what this profile makes of each channel is its own.
Bytes paperProfile() {
    cmsToneCurve* gamma = cmsBuildGamma(nullptr, 2.2);
    std::array<cmsToneCurve*, 3> curves{gamma, gamma, gamma};
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.708, 0.292, 1}, {0.170, 0.797, 1}, {0.131, 0.046, 1}};
    const Profile made(cmsCreateRGBProfile(&white, &primaries, curves.data()));
    cmsFreeToneCurve(gamma);
    return profileBytes(made);
}

/// The file's numbers, of 16 bits, with the meaning that brings their light down to paper; and the
/// same light in the page for a profile, and on the screen. `tolerance` is of the numbers, of 1.
void expectOnPaper(const std::string& file, const Color& color, int transfer, double tolerance) {
    const auto own = readRows(file);
    ASSERT_TRUE(own);
    EXPECT_EQ(own->bits, 16);
    EXPECT_EQ(own->profile, profileOf(9, transfer, 3));
    const auto paper = readRows(file, std::nullopt, Paper{paperProfile(), 1});
    const auto srgb = readRows(file, std::nullopt, Paper{profileBytes(srgbProfile()), 1});
    const auto screen = readRendition(file, 64);
    ASSERT_TRUE(paper && srgb && screen);
    for (std::size_t c = 0; c < 3; ++c) {
        const auto channel = static_cast<int>(c);
        EXPECT_NEAR(own->at(9, 9, channel) / 65535.0, color[c], tolerance) << c;
        const auto expected = [&](double off) {
            return 255 * std::pow(onPaper(std::clamp(color[c] + off, 0.0, 1.0), transfer), 1 / 2.2);
        };
        EXPECT_GE(paper->at(9, 9, channel), expected(-tolerance) - 1) << c;
        EXPECT_LE(paper->at(9, 9, channel), expected(tolerance) + 1) << c;
        EXPECT_NEAR(static_cast<int>(screen->words.front() >> (16 - 8 * c) & 255),
                    srgb->at(9, 9, channel), 1)
            << c;
    }
}

TEST(Hdr, isBroughtToPaperByTheStandardsCurve) {
    const Profile linear(cmsCreateXYZProfile());
    for (const int transfer : {pq, hlg}) {
        const Profile profile = openProfile(profileOf(9, transfer, 3));
        ASSERT_TRUE(profile);
        const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
            cmsCreateTransform(profile.get(), TYPE_RGB_DBL, linear.get(), TYPE_XYZ_DBL,
                               INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE),
            &cmsDeleteTransform);
        for (int i = 0; i <= 1000; ++i) {
            const double number = i / 1000.0;
            const Color grey{number, number, number};
            cmsCIEXYZ xyz{};
            cmsDoTransform(way.get(), grey.data(), &xyz, 1);
            EXPECT_NEAR(xyz.Y, onPaper(number, transfer), 0.0002) << transfer << ' ' << number;
        }
    }
    // docs/colour.md says so.
    EXPECT_NEAR(onPaper(pqOfLight(203), pq), 0.78, 0.005);
    EXPECT_NEAR(onPaper(pqOfLight(80), pq), 80 / 203.0, 1e-6);
    EXPECT_NEAR(onPaper(pqOfLight(87), pq), 87 / 203.0, 1e-4);
    EXPECT_LT(onPaper(pqOfLight(95), pq), 95 / 203.0 - 1e-4);
    EXPECT_NEAR(onPaper(pqOfLight(1000), pq), 1, 1e-6);
    EXPECT_NEAR(onPaper(1, hlg), 1, 1e-6);
}

// Highlights, the reference white of BT.2408 (0.58 and 0.75), shadows, colours.
const std::vector<std::pair<int, Color>> colors{
    {pq, {0.5807, 0.5807, 0.5807}}, {pq, {0.72, 0.6, 0.5}},    {pq, {0.3, 0.42, 0.36}},
    {pq, {0.1, 0.1, 0.12}},         {hlg, {0.75, 0.75, 0.75}}, {hlg, {0.9, 0.8, 0.7}},
    {hlg, {0.3, 0.45, 0.4}}};

TEST(Hdr, ofAvifAndHeicIsTheSameOnScreenAndPaper) {
    int made = 0;
    for (const bool isAv1 : {true, false})
        for (const bool isFullRange : {true, false})
            for (const int bits : {10, 12})
                for (const auto& [transfer, color] : colors) {
                    HeifPhoto photo{
                        .isAv1 = isAv1, .bits = bits, .color = [&](int, int) { return color; }};
                    photo.transfer = transfer;
                    photo.isFullRange = isFullRange;
                    const auto file = photo.bytes();
                    if (!file)
                        continue;
                    SCOPED_TRACE(std::string(isAv1 ? "AV1" : "HEVC") +
                                 (isFullRange ? ", full" : ", limited") + ", of " +
                                 std::to_string(bits) + " bits, " + std::to_string(transfer) +
                                 ", red of " + std::to_string(color[0]));
                    expectOnPaper(*file, color, transfer, 0.005);
                    ++made;
                }
    if (made == 0)
        GTEST_SKIP() << "libheif has no encoder here";
}

TEST(Hdr, ofJpegXlIsTheSameOnScreenAndPaper) {
    for (const bool isLossless : {true, false})
        for (const auto& [transfer, color] : colors) {
            SCOPED_TRACE(std::string(isLossless ? "lossless " : "lossy ") +
                         std::to_string(transfer) + ", red of " + std::to_string(color[0]));
            const std::string file = JxlPhoto{.color = [&](int, int) { return color; },
                                              .transfer = transfer,
                                              .isLossless = isLossless}
                                         .bytes();
            ASSERT_FALSE(file.empty());
            expectOnPaper(file, color, transfer, isLossless ? 0.0001 : 0.01);
        }
}

TEST(Hdr, isNoJpegXlOfAnotherTransfer) {
    // Other transfers keep the profile that the reader makes of them.
    JxlPhoto photo{.color = [](int, int) { return Color{0.5, 0.6, 0.7}; }};
    photo.transfer = 13;
    const auto plain = readRows(photo.bytes());
    ASSERT_TRUE(plain);
    EXPECT_FALSE(plain->profile.empty());
    EXPECT_NE(plain->profile, profileOf(9, 13, 3));
}

/// A segment of a JPEG.
std::string segment(int marker, const std::string& content) {
    return std::string("\xff") + static_cast<char>(marker) +
           lumivert::test::TiffWriter(false).number(content.size() + 2, 2) + content;
}

std::string withSegments(const std::string& jpeg, const std::string& segments) {
    return jpeg.substr(0, 2) + segments + jpeg.substr(2);
}

/// CIPA DC-007: the directory of a file of two pictures, the second of which is at `offset`.
std::string multiPicture(std::size_t first, std::size_t second, std::size_t offset) {
    const lumivert::test::TiffWriter writer(true);
    const auto entry = [&](std::uint32_t kind, std::size_t size, std::size_t at) {
        return writer.number(kind, 4) + writer.number(size, 4) + writer.number(at, 4) +
               writer.number(0, 4);
    };
    return std::string("MPF\0", 4) + writer.header() +
           writer.directory({{0xb000, 7, 4, "0100"},
                             {0xb001, 4, 1, writer.number(2, 4)},
                             {0xb002, 7, 32, entry(0x030000, first, 0) + entry(0, second, offset)}},
                            8);
}

TEST(Hdr, ofAJpegWithAGainMapIsItsBasePicture) {
    const std::string base =
        saved(plain8({64, 48}, {200, 60, 40}), ".jpg", options()->set("Q", 100));
    const std::string map = saved(plain8({32, 24}, {250}), ".jpg");
    const std::string isoName("urn:iso:std:iso:ts:21496:-1\0", 28);
    const std::string isoVersion = segment(0xe2, isoName + std::string(4, '\0'));
    const std::string isoOfMap = segment(0xe2, isoName + gainMapMetadata());
    const auto xmp = [](const std::string& description) {
        std::string text("http://ns.adobe.com/xap/1.0/\0", 29);
        text += "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
                "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
                "xmlns:hdrgm='http://ns.adobe.com/hdr-gain-map/1.0/' hdrgm:Version='1.0' ";
        text += description;
        text += "</rdf:RDF></x:xmpmeta>";
        return segment(0xe1, text);
    };
    const std::string xmpOfMap =
        xmp("hdrgm:GainMapMin='0' hdrgm:GainMapMax='2' hdrgm:Gamma='1' hdrgm:OffsetSDR='0.015625' "
            "hdrgm:OffsetHDR='0.015625' hdrgm:HDRCapacityMin='0' hdrgm:HDRCapacityMax='2' "
            "hdrgm:BaseRenditionIsHDR='False'/>");
    const std::string item = "<rdf:li rdf:parseType='Resource'><Container:Item "
                             "Item:Mime='image/jpeg' Item:Semantic='";
    const std::string itemEnd = "'/></rdf:li>";
    for (const bool hasIso : {true, false})
        for (const bool hasXmp : {true, false})
            for (const bool hasDirectory : {true, false}) {
                const std::string second =
                    withSegments(map, (hasXmp ? xmpOfMap : "") + (hasIso ? isoOfMap : ""));
                std::string head;
                if (hasXmp)
                    head = xmp("xmlns:Container='http://ns.google.com/photos/1.0/container/' "
                               "xmlns:Item='http://ns.google.com/photos/1.0/container/item/'>"
                               "<Container:Directory><rdf:Seq>" +
                               item + "Primary" + itemEnd + item + "GainMap' Item:Length='" +
                               std::to_string(second.size()) + itemEnd +
                               "</rdf:Seq></Container:Directory></rdf:Description>");
                head += hasIso ? isoVersion : "";
                if (hasDirectory) {
                    // The second picture's place counts from the directory's own byte order mark.
                    const std::size_t mark = 2 + head.size() + 4 + 4;
                    const std::size_t first =
                        base.size() + head.size() + segment(0xe2, multiPicture(0, 0, 0)).size();
                    head += segment(0xe2, multiPicture(first, second.size(), first - mark));
                }
                const std::string file = withSegments(base, head) + second;
                const auto rows = readRows(file);
                ASSERT_TRUE(rows);
                EXPECT_EQ(rows->size, (PixelSize{64, 48}));
                expectNear(outcome(file), {3, 8, {200, 60, 40}}, 2);
                const auto screen = readRendition(file, 64);
                ASSERT_TRUE(screen);
                EXPECT_EQ(screen->size, rows->size);
                EXPECT_NEAR(static_cast<int>(screen->words.front() >> 16 & 255), 200, 2);
            }
    // As does a stereo camera's file of two pictures of the same size.
    const std::string other = saved(plain8({64, 48}, {10, 20, 200}), ".jpg");
    const std::string mpo =
        withSegments(base, segment(0xe2, multiPicture(base.size(), other.size(), base.size()))) +
        other;
    expectNear(outcome(mpo), {3, 8, {200, 60, 40}}, 2);
}

TEST(Hdr, ofAHeicOrAvifWithAGainMapIsItsBasePicture) {
    int made = 0;
    for (const bool isAv1 : {true, false})
        for (const auto map : {HeifPhoto::auxiliary, HeifPhoto::toneMap})
            for (const char* brand : {"mif1", "tmap"}) {
                HeifPhoto photo{.isAv1 = isAv1, .bits = 8, .color = [](int, int) {
                                    return Color{0.8, 0.3, 0.2};
                                }};
                photo.primaries = 12;
                photo.transfer = 13;
                photo.gainMap = map;
                photo.brand = brand;
                const auto file = photo.bytes();
                if (!file)
                    continue;
                SCOPED_TRACE(std::string(isAv1 ? "AV1, " : "HEVC, ") + brand);
                const auto rows = readRows(*file);
                ASSERT_TRUE(rows);
                EXPECT_EQ(rows->profile, profileOf(12, 13, 3));
                expectNear(outcome(*file), {3, 8, {204, 77, 51}}, 3);
                EXPECT_TRUE(readRendition(*file, 64));
                ++made;
            }
    if (made == 0)
        GTEST_SKIP() << "libheif has no encoder here";
}

TEST(Hdr, ofAPngIsTheSameOnScreenAndPaper) {
    for (const auto& [transfer, color] : colors) {
        Pixel pixel;
        for (const double value : color)
            pixel.push_back(static_cast<int>(std::lround(65535 * value)));
        const std::string code{'\x09', static_cast<char>(transfer), '\0', '\1'};
        expectOnPaper(pngWith(saved(plain16(pixel), ".png"), {{"cICP", code}}), color, transfer,
                      0.0001);
    }
}

} // namespace
} // namespace lumivert::decoder
