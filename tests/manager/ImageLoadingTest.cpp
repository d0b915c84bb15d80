#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "manager/Properties.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lumivert {
namespace {

using Strings = std::vector<std::string>;

class ImageLoading : public testing::Test {
protected:
    ImageLoading() {
        world.images.images["/landscape.jpg"] = landscape;
        world.images.images["/portrait.jpg"] = portrait;
    }

    fakes::FakePlatform world;
    std::shared_ptr<fakes::FakeImage> landscape =
        std::make_shared<fakes::FakeImage>(PixelSize{3000, 2000});
    std::shared_ptr<fakes::FakeImage> portrait =
        std::make_shared<fakes::FakeImage>(PixelSize{2000, 3000});
};

TEST_F(ImageLoading, keepsThePhotoItsAddressAndTheProfilesFoundAnew) {
    PrintManager m(world.platform);
    world.files.folders["/Library/Printers"] = {"a.icc"};
    m.loadImage(FileUrl::fromPath("/landscape.jpg"));
    EXPECT_EQ(m.image.get(), landscape);
    EXPECT_EQ(m.imageURL.get(), FileUrl::fromPath("/landscape.jpg"));
    EXPECT_EQ(m.availableICCProfiles->size(), 2U);
    world.files.folders["/Library/Printers"] = {"a.icc", "b.icc"};
    m.loadImage(FileUrl::fromPath("/landscape.jpg"));
    EXPECT_EQ(m.availableICCProfiles->size(), 3U) << "at every load";
}

TEST_F(ImageLoading, announcesTheSheetsTurnWhenTheOrientationIsAutomatic) {
    PrintManager m(world.platform);
    AssignmentLog log(m);
    m.loadImage(FileUrl::fromPath("/landscape.jpg"));
    EXPECT_EQ(log.names, (Strings{"imageURL", "image", "availableICCProfiles"}));
    EXPECT_EQ(log.notifications, 4);
    EXPECT_EQ(m.effectiveOrientation(), PaperOrientation::landscape);
    for (const auto fixed : {PaperOrientation::portrait, PaperOrientation::landscape}) {
        m.orientation = fixed;
        log.notifications = 0;
        m.loadImage(FileUrl::fromPath("/portrait.jpg"));
        EXPECT_EQ(log.notifications, 3);
        EXPECT_EQ(m.effectiveOrientation(), fixed);
    }
}

TEST_F(ImageLoading, announcesTheTurnBeforeTheProfilesAreScanned) {
    PrintManager m(world.platform);
    // What each notification finds: whether the photo is there, and whether a folder was walked.
    Strings found;
    const auto subscription = m.subscribe([&] {
        found.push_back(std::string(*m.image ? "photo" : "no photo") +
                        (world.files.enumerated.empty() ? "" : ", scanned"));
    });
    m.loadImage(FileUrl::fromPath("/landscape.jpg"));
    EXPECT_EQ(found, (Strings{"no photo", "photo", "photo", "photo, scanned"}));
}

TEST_F(ImageLoading, ofNoPhotoChangesNothing) {
    PrintManager m(world.platform);
    m.loadImage(FileUrl::fromPath("/landscape.jpg"));
    m.lastPrintError = "an earlier one";
    world.files.enumerated.clear();
    AssignmentLog log(m);
    m.loadImage(FileUrl::fromPath("/notes.txt"));
    EXPECT_EQ(world.images.decoded.back(), "/notes.txt") << "the decoder judges, not the extension";
    EXPECT_EQ(log.notifications, 0);
    EXPECT_EQ(m.image.get(), landscape);
    EXPECT_EQ(m.imageURL->value().path(), "/landscape.jpg");
    EXPECT_EQ(m.lastPrintError.get(), "an earlier one");
    EXPECT_EQ(world.files.enumerated, Strings{});
}

TEST_F(ImageLoading, asksTheDecoderWhateverTheExtension) {
    world.images.images["/photo.of.ada"] = portrait;
    PrintManager m(world.platform);
    m.loadImage(FileUrl::fromPath("/photo.of.ada"));
    EXPECT_EQ(m.image.get(), portrait);
}

TEST_F(ImageLoading, replacesThePhotoAndKeepsEverySetting) {
    PrintManager m(world.platform);
    m.loadImage(FileUrl::fromPath("/landscape.jpg"));
    m.imageWidthMM = 123;
    m.imageHeightMM = 45.5;
    m.savePreset("before");
    m.loadImage(FileUrl::fromPath("/portrait.jpg"));
    EXPECT_EQ(m.image.get(), portrait);
    EXPECT_EQ(m.imageURL->value().path(), "/portrait.jpg");
    m.savePreset("before");
    PrintPreset after = m.presets->back();
    after.id = m.presets->front().id;
    EXPECT_EQ(after, m.presets->front());
}

TEST_F(ImageLoading, letsGoOfTheEarlierPhoto) {
    PrintManager m(world.platform);
    m.loadImage(FileUrl::fromPath("/landscape.jpg"));
    world.images.images.clear();
    world.images.images["/portrait.jpg"] = portrait;
    const std::weak_ptr<fakes::FakeImage> earlier = landscape;
    landscape.reset();
    EXPECT_FALSE(earlier.expired());
    m.loadImage(FileUrl::fromPath("/portrait.jpg"));
    EXPECT_TRUE(earlier.expired());
}

TEST_F(ImageLoading, takesTheAddressAlsoFromThePropertyItReplaces) {
    PrintManager m(world.platform);
    m.imageURL = FileUrl::fromPath("/portrait.jpg");
    m.loadImage(m.imageURL->value());
    EXPECT_EQ(m.imageURL->value().path(), "/portrait.jpg");
    EXPECT_EQ(m.image.get(), portrait);
}

} // namespace
} // namespace lumivert
