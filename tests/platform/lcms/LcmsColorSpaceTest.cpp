#include "platform/lcms/LcmsColorSpace.h"

#include "platform/lcms/TestProfiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

namespace lumivert {
namespace {

std::shared_ptr<const ColorSpace> build(const Bytes& bytes) {
    return colorSpaceFromIccProfile(sharedBytes(bytes));
}

void patch(Bytes& bytes, std::size_t offset, const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i)
        bytes[offset + i] = static_cast<std::byte>(text[i]);
}

constexpr std::size_t classOffset = 12; // ICC.1, 7.2
constexpr std::size_t spaceOffset = 16;

TEST(LcmsColorSpace, anRgbDisplayProfileIsADestination) {
    const auto space = build(rgbProfile());
    ASSERT_TRUE(space);
    EXPECT_EQ(space->channels, 3);
    EXPECT_TRUE(space->isDestination);
}

TEST(LcmsColorSpace, keepsTheBytesAsTheyAre) {
    const SharedBytes bytes = sharedBytes(rgbProfile());
    const auto space = colorSpaceFromIccProfile(bytes);
    ASSERT_TRUE(space);
    EXPECT_EQ(space->profile.view.data(), bytes.view.data());
    EXPECT_EQ(space->profile.view.size(), bytes.view.size());
}

TEST(LcmsColorSpace, aGreyProfileIsADestination) {
    const auto space = build(greyProfile());
    ASSERT_TRUE(space);
    EXPECT_EQ(space->channels, 1);
    EXPECT_TRUE(space->isDestination);
}

TEST(LcmsColorSpace, aCmykOutputProfileWithTablesBothWaysIsADestination) {
    const auto space = build(cmykProfile(TablesOf::bothWays));
    ASSERT_TRUE(space);
    EXPECT_EQ(space->channels, 4);
    EXPECT_TRUE(space->isDestination);
}

TEST(LcmsColorSpace, withoutTheWayBackItIsNoDestination) {
    const auto space = build(cmykProfile(TablesOf::thereOnly));
    ASSERT_TRUE(space);
    EXPECT_EQ(space->channels, 4);
    EXPECT_FALSE(space->isDestination);
}

TEST(LcmsColorSpace, anInputProfileIsNoDestination) {
    Bytes bytes = rgbProfile();
    patch(bytes, classOffset, "scnr");
    const auto space = build(bytes);
    ASSERT_TRUE(space);
    EXPECT_FALSE(space->isDestination);
}

TEST(LcmsColorSpace, aColourSpaceProfileIsADestination) {
    Bytes bytes = rgbProfile();
    patch(bytes, classOffset, "spac");
    const auto space = build(bytes);
    ASSERT_TRUE(space);
    EXPECT_TRUE(space->isDestination);
}

TEST(LcmsColorSpace, labHasNoDeviceNumbersToConvertInto) {
    const auto space = build(labColorSpaceProfile());
    ASSERT_TRUE(space);
    EXPECT_EQ(space->channels, 3);
    EXPECT_FALSE(space->isDestination);
}

TEST(LcmsColorSpace, whatAPageCannotDrawInIsNoColourSpace) {
    for (const char* profileClass : {"link", "abst", "nmcl", "xxxx"}) {
        Bytes bytes = rgbProfile();
        patch(bytes, classOffset, profileClass);
        EXPECT_FALSE(build(bytes)) << profileClass;
    }
    EXPECT_FALSE(build(deviceLink()));
    EXPECT_FALSE(build(labAbstractProfile()));
    for (const char* space :
         {"2CLR", "3CLR", "4CLR", "5CLR", "8CLR", "CMY ", "XYZ ", "HSV ", "\xff\xff\xff\xff"}) {
        Bytes bytes = rgbProfile();
        patch(bytes, spaceOffset, space);
        EXPECT_FALSE(build(bytes)) << space;
    }
}

TEST(LcmsColorSpace, aProfileWithoutItsTagsIsNoColourSpace) {
    EXPECT_TRUE(build(rgbProfile()));
    for (const std::string tag : {"rXYZ", "gTRC"})
        EXPECT_FALSE(build(withoutTag(rgbProfile(), tag))) << tag;
}

TEST(LcmsColorSpace, otherBytesAreNoColourSpace) {
    EXPECT_FALSE(build({}));
    EXPECT_FALSE(build(Bytes(1)));
    EXPECT_FALSE(build(Bytes(128)));
    EXPECT_FALSE(build(Bytes(100000, std::byte{0xff})));
}

TEST(LcmsColorSpace, aProfileThatBreaksOffIsNoColourSpace) {
    const Bytes whole = rgbProfile();
    ASSERT_LT(whole.size(), 4000U);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_FALSE(build(part)) << length;
    }
    Bytes longer = whole;
    longer.resize(whole.size() + 3);
    EXPECT_TRUE(build(longer));
}

// Here the stated size is true, as when the writer itself stopped too early.
TEST(LcmsColorSpace, aProfileCutWithItsHeaderMadeToMatchNeverCrashes) {
    for (const Bytes& whole : {rgbProfile(), cmykProfile(TablesOf::bothWays)}) {
        const std::size_t step = whole.size() < 4000 ? 1 : whole.size() / 500;
        for (std::size_t length = 128; length < whole.size(); length += step) {
            Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            for (int i = 0; i < 4; ++i)
                part[static_cast<std::size_t>(i)] = static_cast<std::byte>(length >> (24 - 8 * i));
            const auto space = build(part);
            if (space) {
                EXPECT_GT(space->channels, 0);
            }
        }
    }
}

TEST(LcmsColorSpace, flippedBytesNeverCrash) {
    std::mt19937 generator(20);
    for (const Bytes& whole : {rgbProfile(), greyProfile(), cmykProfile(TablesOf::bothWays)}) {
        // The header, the tag table and the tags' own headers are where the structure is.
        const std::size_t end = std::min<std::size_t>(whole.size(), 700);
        for (std::size_t i = 0; i < end; ++i) {
            Bytes bytes = whole;
            bytes[i] ^= static_cast<std::byte>(1 + generator() % 255);
            bytes[generator() % bytes.size()] = static_cast<std::byte>(generator());
            const auto space = build(bytes);
            if (space) {
                EXPECT_GT(space->channels, 0);
            }
        }
    }
}

TEST(LcmsColorSpace, sortsTheInstalledProfiles) {
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
        EXPECT_EQ(space ? space->channels : 0, channels) << name;
        EXPECT_EQ(space && space->isDestination, isDestination) << name;
        ++count;
    }
    if (count == 0)
        GTEST_SKIP() << "neither icc-profiles-free nor colord-data is installed";
}

} // namespace
} // namespace lumivert
