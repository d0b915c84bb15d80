#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

TEST(Fakes, givePrintersAndPhotosToAManager) {
    fakes::FakePlatform world;
    world.addQueue("Photo_A3", "PageSize/Media Size: Letter *A4 A4.Fullbleed\n");
    const auto photo = std::make_shared<fakes::FakeImage>(PixelSize{3000, 2000});
    world.images.images["/photos/a.jpg"] = photo;
    PrintManager manager(world.platform);

    EXPECT_EQ(manager.selectedPrinterID.get(), "Photo_A3");
    EXPECT_EQ(manager.selectedPaperSize().cupsFullbleedName, "A4.Fullbleed");

    manager.loadImage(FileUrl::fromPath("/photos/a.jpg"));
    EXPECT_EQ(manager.image.get(), photo);
    manager.sendToCUPS(false);
    ASSERT_EQ(world.pdf.documents.size(), 1U);
    EXPECT_EQ(world.pdf.documents[0]->calls.front(), "beginPage 0.000 0.000 595.276 841.890");
    ASSERT_EQ(world.dispatcher.inBackground.size(), 1U);
    world.dispatcher.inBackground[0].second();
    EXPECT_EQ(
        world.files.removed,
        std::vector<std::string>{"/tmp/ada/Lumivert_00000000-0000-0000-0000-000000000001.pdf"});
}

} // namespace
} // namespace lumivert
