#include "decoder/Profiles.h"
#include "platform/screen/TestProfiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

namespace lumivert {
namespace {

using decoder::PageSpace;

PageSpace build(const Bytes& bytes) {
    return decoder::pageSpace(bytes);
}

void patch(Bytes& bytes, std::size_t offset, const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i)
        bytes[offset + i] = static_cast<std::byte>(text[i]);
}

constexpr std::size_t classOffset = 12; // ICC.1, 7.2
constexpr std::size_t spaceOffset = 16;

TEST(PageSpace, anRgbDisplayProfileIsADestination) {
    const auto space = build(rgbProfile());
    EXPECT_EQ(space.channels, 3);
    EXPECT_TRUE(space.isDestination);
}

TEST(PageSpace, aGreyProfileIsADestination) {
    const auto space = build(greyProfile());
    EXPECT_EQ(space.channels, 1);
    EXPECT_TRUE(space.isDestination);
}

TEST(PageSpace, aCmykOutputProfileWithTablesBothWaysIsADestination) {
    const auto space = build(cmykProfile(TablesOf::bothWays));
    EXPECT_EQ(space.channels, 4);
    EXPECT_TRUE(space.isDestination);
}

TEST(PageSpace, withoutTheWayBackItIsNoDestination) {
    const auto space = build(cmykProfile(TablesOf::thereOnly));
    EXPECT_EQ(space.channels, 4);
    EXPECT_FALSE(space.isDestination);
}

TEST(PageSpace, anInputProfileIsNoDestination) {
    Bytes bytes = rgbProfile();
    patch(bytes, classOffset, "scnr");
    const auto space = build(bytes);
    EXPECT_FALSE(space.isDestination);
}

TEST(PageSpace, aColourSpaceProfileIsADestination) {
    Bytes bytes = rgbProfile();
    patch(bytes, classOffset, "spac");
    const auto space = build(bytes);
    EXPECT_TRUE(space.isDestination);
}

TEST(PageSpace, labHasNoDeviceNumbersToConvertInto) {
    const auto space = build(labColorSpaceProfile());
    EXPECT_EQ(space.channels, 3);
    EXPECT_FALSE(space.isDestination);
}

TEST(PageSpace, whatAPageCannotDrawInIsNone) {
    for (const char* profileClass : {"link", "abst", "nmcl", "xxxx"}) {
        Bytes bytes = rgbProfile();
        patch(bytes, classOffset, profileClass);
        EXPECT_EQ(build(bytes).channels, 0) << profileClass;
    }
    EXPECT_EQ(build(deviceLink()).channels, 0);
    EXPECT_EQ(build(labAbstractProfile()).channels, 0);
    for (const char* space :
         {"2CLR", "3CLR", "4CLR", "5CLR", "8CLR", "CMY ", "XYZ ", "HSV ", "\xff\xff\xff\xff"}) {
        Bytes bytes = rgbProfile();
        patch(bytes, spaceOffset, space);
        EXPECT_EQ(build(bytes).channels, 0) << space;
    }
}

TEST(PageSpace, aProfileWithoutItsTagsIsNone) {
    EXPECT_NE(build(rgbProfile()).channels, 0);
    for (const std::string tag : {"rXYZ", "gTRC"})
        EXPECT_EQ(build(withoutTag(rgbProfile(), tag)).channels, 0) << tag;
}

TEST(PageSpace, otherBytesAreNoColourSpace) {
    EXPECT_EQ(build({}).channels, 0);
    EXPECT_EQ(build(Bytes(1)).channels, 0);
    EXPECT_EQ(build(Bytes(128)).channels, 0);
    EXPECT_EQ(build(Bytes(100000, std::byte{0xff})).channels, 0);
}

TEST(PageSpace, aProfileThatBreaksOffIsNone) {
    const Bytes whole = rgbProfile();
    ASSERT_LT(whole.size(), 4000U);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(build(part).channels, 0) << length;
    }
    Bytes longer = whole;
    longer.resize(whole.size() + 3);
    EXPECT_NE(build(longer).channels, 0);
}

// Here the stated size is true, as when the writer itself stopped too early.
TEST(PageSpace, aProfileCutWithItsHeaderMadeToMatchNeverCrashes) {
    for (const Bytes& whole : {rgbProfile(), cmykProfile(TablesOf::bothWays)}) {
        const std::size_t step = whole.size() < 4000 ? 1 : whole.size() / 500;
        for (std::size_t length = 128; length < whole.size(); length += step) {
            Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            for (int i = 0; i < 4; ++i)
                part[static_cast<std::size_t>(i)] = static_cast<std::byte>(length >> (24 - 8 * i));
            const auto space = build(part);
            EXPECT_TRUE(space.channels != 0 || !space.isDestination);
        }
    }
}

TEST(PageSpace, flippedBytesNeverCrash) {
    std::mt19937 generator(20);
    for (const Bytes& whole : {rgbProfile(), greyProfile(), cmykProfile(TablesOf::bothWays)}) {
        // The header, the tag table and the tags' own headers are where the structure is.
        const std::size_t end = std::min<std::size_t>(whole.size(), 700);
        for (std::size_t i = 0; i < end; ++i) {
            Bytes bytes = whole;
            bytes[i] ^= static_cast<std::byte>(1 + generator() % 255);
            bytes[generator() % bytes.size()] = static_cast<std::byte>(generator());
            const auto space = build(bytes);
            EXPECT_TRUE(space.channels != 0 || !space.isDestination);
        }
    }
}

TEST(PageSpace, sortsTheInstalledProfiles) {
    const std::string folder = "/usr/share/color/icc/";
    struct Expected {
        std::string name;
        int channels; // 0: no colour space
        bool isDestination;
    };
    int count = 0;
    for (const auto& [name, channels, isDestination] :
         {Expected{"sRGB.icc", 3, true}, Expected{"compatibleWithAdobeRGB1998.icc", 3, true},
          Expected{"Gray.icc", 1, true}, Expected{"ITULab.icc", 3, false},
          Expected{"LCMSXYZI.ICM", 0, false}, Expected{"colord/ProPhotoRGB.icc", 3, true},
          Expected{"colord/AdobeRGB1998.icc", 3, true}, Expected{"colord/Crayons.icc", 0, false},
          Expected{"ghostscript/default_cmyk.icc", 4, true}}) {
        std::ifstream file(folder + name, std::ios::binary);
        if (!file)
            continue;
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        const auto view = std::as_bytes(std::span(text));
        const auto space = build(Bytes(view.begin(), view.end()));
        EXPECT_EQ(space.channels, channels) << name;
        EXPECT_EQ(space.isDestination, isDestination) << name;
        ++count;
    }
    if (count == 0)
        GTEST_SKIP() << "neither icc-profiles-free nor colord-data is installed";
}

} // namespace
} // namespace lumivert
