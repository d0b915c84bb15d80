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
    ASSERT_EQ(world.pdf.pages.size(), 1U);
    EXPECT_EQ(world.pdf.pages[0]->lines.front(), "page 595.276 841.890");
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

TEST(FakePdf, writesDownWhatAPageShows) {
    const fakes::FakeBitmap bitmap({3, 2});
    fakes::FakePdfWriter writer;
    PdfPage page{.size = {10.5, 20}};
    page.bitmap = &bitmap;
    page.rect = {1, 2, 3, 4};
    page.whiteAreas = {{0, 0, 5, 6}};
    EXPECT_TRUE(writer.write("/a.pdf", page));
    const auto& record = *writer.pages.at(0);
    EXPECT_EQ(record.path, "/a.pdf");
    EXPECT_EQ(record.lines, (std::vector<std::string>{"page 10.500 20.000",
                                                      "draw whole in 1.000 2.000 3.000 4.000",
                                                      "white 0.000 0.000 5.000 6.000"}));
    EXPECT_EQ(record.drawn.size(), 1U);
    page.part = {1, 0, 2, 2};
    EXPECT_EQ(fakes::recordOf("", page).lines[1], "draw part 1,0,2,2 in 1.000 2.000 3.000 4.000");
    for (const PixelRect& outside : {PixelRect{1, 0, 3, 2},
                                     {1, 0, 2, 3},
                                     {-1, 0, 2, 2},
                                     {0, -1, 2, 2},
                                     {0, 0, 0, 2},
                                     {0, 0, 2, 0}}) {
        page.part = outside;
        EXPECT_EQ(fakes::recordOf("", page).lines[1], "draw a part that the bitmap lacks");
        EXPECT_TRUE(fakes::recordOf("", page).drawn.empty());
    }
    writer.writes = false;
    EXPECT_FALSE(writer.write("/b.pdf", page));
    EXPECT_EQ(writer.pages.size(), 1U);
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
