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

TEST(FakeProcessRunner, launchesTheShellAloneAndAnswersByTheCommandsBeginning) {
    fakes::FakeProcessRunner runner;
    runner.outcomes["lp -d Q"] = {3, "no"};
    EXPECT_TRUE(std::holds_alternative<LaunchFailure>(runner.run("/bin/sh", {"-c", "lp"})));
    EXPECT_TRUE(std::holds_alternative<LaunchFailure>(runner.run("/bin/zsh", {"lp"})));
    EXPECT_TRUE(runner.commands.empty());
    EXPECT_EQ(std::get<ProcessOutcome>(runner.run("/bin/zsh", {"-c", "lp -d Q x"})).exitStatus, 3);
    EXPECT_EQ(std::get<ProcessOutcome>(runner.run("/bin/zsh", {"-c", "lp -d"})).output, "");
    runner.launchFailure = "gone";
    EXPECT_EQ(std::get<LaunchFailure>(runner.run("/bin/zsh", {"-c", "lp"})).description, "gone");
    EXPECT_EQ(runner.commands.size(), 3U);
}

TEST(FakeFileSystem, answersFromItsTwoTables) {
    fakes::FakeFileSystem files;
    files.files["/a/b.icc"] = "bytes";
    files.folders["/c"] = {"d"};
    EXPECT_EQ(files.readFile("/a/b.icc"), "bytes");
    EXPECT_EQ(files.readFile("/c"), std::nullopt);
    EXPECT_EQ(files.enumerate("/c"), std::vector<std::string>{"d"});
    EXPECT_EQ(files.enumerate("/a"), std::nullopt);
}

TEST(FakeDispatcher, runsWhatWaitsForTheMainThreadInOrderAndWhatThatAdds) {
    fakes::FakeDispatcher dispatcher;
    std::string log;
    dispatcher.asyncOnMain([&] {
        log += "a";
        dispatcher.asyncOnMain([&] { log += "c"; });
    });
    dispatcher.asyncOnMain([&] { log += "b"; });
    EXPECT_EQ(log, "");
    dispatcher.runMain();
    EXPECT_EQ(log, "abc");
}

TEST(FakeBitmap, canBeCroppedToWhatLiesInsideIt) {
    const fakes::FakeBitmap bitmap({30, 20});
    const auto crop = bitmap.cropped({10, 5, 20, 15});
    ASSERT_TRUE(crop);
    EXPECT_EQ(crop->size(), (PixelSize{20, 15}));
    for (const PixelRect& outside : {PixelRect{10, 5, 21, 15},
                                     {10, 5, 20, 16},
                                     {-1, 0, 5, 5},
                                     {0, -1, 5, 5},
                                     {0, 0, 0, 5},
                                     {0, 0, 5, 0}})
        EXPECT_EQ(bitmap.cropped(outside), nullptr);
}

TEST(FakePdf, writesDownWhatIsDrawnAndWhenItIsReleased) {
    fakes::FakePdfContextFactory factory;
    auto context = factory.create("/a.pdf");
    context->beginPage({0, 0, 10.5, 20});
    context->setFillColorRGB(1, 0.998, 0.25);
    context->draw(fakes::FakeBitmap({3, 2}), {1, 2, 3, 4});
    context->draw(*fakes::FakeBitmap({3, 2}).cropped({1, 0, 2, 2}), {1, 2, 3, 4});
    const auto& record = *factory.documents.at(0);
    EXPECT_EQ(record.path, "/a.pdf");
    EXPECT_EQ(record.calls, (std::vector<std::string>{
                                "beginPage 0.000 0.000 10.500 20.000", "color 1.000 0.998 0.250",
                                "draw whole in 1.000 2.000 3.000 4.000",
                                "draw crop 1,0,2,2 in 1.000 2.000 3.000 4.000"}));
    EXPECT_EQ(record.drawn.size(), 2U);
    EXPECT_FALSE(record.released);
    EXPECT_TRUE(context->close());
    context.reset();
    EXPECT_TRUE(record.released);
    factory.closes = false;
    EXPECT_FALSE(factory.create("/b.pdf")->close());
    factory.creates = false;
    EXPECT_EQ(factory.create("/c.pdf"), nullptr);
}

TEST(FakeColorSpaces, knowFiveKindsOfBytes) {
    const auto spaceOf = [&](std::string_view text) {
        const auto bytes = std::as_bytes(std::span(text));
        return fakes::fakeColorSpace(sharedBytes(Bytes(bytes.begin(), bytes.end())));
    };
    EXPECT_EQ(spaceOf("profile x").value()->channels, 3);
    EXPECT_TRUE(spaceOf("profile x").value()->isDestination);
    EXPECT_EQ(spaceOf("grey profile").value()->channels, 1);
    EXPECT_FALSE(spaceOf("input profile").value()->isDestination);
    EXPECT_EQ(spaceOf("other").value(), nullptr);
    EXPECT_FALSE(spaceOf("lost profile"));
}

TEST(FakePreferences, keepTheirValuesByKey) {
    fakes::FakePreferencesStore store;
    EXPECT_EQ(store.data("a"), std::nullopt);
    store.setData("a", "1");
    store.setData("a", "2");
    EXPECT_EQ(store.data("a"), "2");
    EXPECT_EQ(store.data("b"), std::nullopt);
    EXPECT_EQ(store.writes, 2);
}

} // namespace
} // namespace lumivert
