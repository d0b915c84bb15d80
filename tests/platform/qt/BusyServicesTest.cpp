#include "platform/qt/BusyServices.h"

#include "fakes/FakePdf.h"
#include "fakes/FakeServices.h"
#include "model/Models.h"

#include <QCursor>
#include <QGuiApplication>
#include <gtest/gtest.h>

#include <optional>

namespace lumivert {
namespace {

std::optional<Qt::CursorShape> shownPointer() {
    const QCursor* cursor = QGuiApplication::overrideCursor();
    return cursor ? std::optional(cursor->shape()) : std::nullopt;
}

class ProbingRunner : public ProcessRunner {
public:
    std::string executable;
    std::vector<std::string> arguments;
    std::optional<Qt::CursorShape> pointerMeanwhile;
    ProcessResult result = ProcessOutcome{3, "output"};

    ProcessResult run(const std::string& path, const std::vector<std::string>& list) override {
        executable = path;
        arguments = list;
        pointerMeanwhile = shownPointer();
        return result;
    }
};

class ProbingDecoder : public ImageDecoder {
public:
    std::optional<FileUrl> decoded;
    std::optional<Qt::CursorShape> pointerMeanwhile;
    // Never looked into: an address to recognise.
    std::shared_ptr<const Image> result{std::shared_ptr<void>(),
                                        reinterpret_cast<const Image*>(this)};

    std::shared_ptr<const Image> decode(const FileUrl& url) override {
        decoded = url;
        pointerMeanwhile = shownPointer();
        return result;
    }
};

TEST(BusyProcessRunner, showsThePointerAndPassesEverythingThrough) {
    ProbingRunner probe;
    BusyProcessRunner runner(probe);
    const auto outcome = std::get<ProcessOutcome>(runner.run("/bin/zsh", {"-c", "lpstat -p"}));
    EXPECT_EQ(probe.executable, "/bin/zsh");
    EXPECT_EQ(probe.arguments, (std::vector<std::string>{"-c", "lpstat -p"}));
    EXPECT_EQ(outcome.exitStatus, 3);
    EXPECT_EQ(outcome.output, "output");
    EXPECT_EQ(probe.pointerMeanwhile, Qt::WaitCursor);
    EXPECT_EQ(shownPointer(), std::nullopt);

    probe.result = LaunchFailure{"why"};
    EXPECT_EQ(std::get<LaunchFailure>(runner.run("/bin/zsh", {})).description, "why");
    EXPECT_EQ(shownPointer(), std::nullopt);
}

TEST(BusyImageDecoder, showsThePointerAndPassesEverythingThrough) {
    ProbingDecoder probe;
    BusyImageDecoder decoder(probe);
    EXPECT_EQ(decoder.decode(FileUrl::fromPath("/a.jpg")), probe.result);
    EXPECT_EQ(probe.decoded, FileUrl::fromPath("/a.jpg"));
    EXPECT_EQ(probe.pointerMeanwhile, Qt::WaitCursor);
    EXPECT_EQ(shownPointer(), std::nullopt);
}

class ProbingFiles : public fakes::FakeFileSystem {
public:
    std::optional<Qt::CursorShape> pointerMeanwhile;

    std::optional<std::vector<std::string>> enumerate(const std::string& folder) override {
        pointerMeanwhile = shownPointer();
        return FakeFileSystem::enumerate(folder);
    }
};

TEST(BusyFileSystem, showsThePointerOverAFoldersWalkAndPassesEverythingThrough) {
    ProbingFiles probe;
    probe.files["/a"] = "bytes";
    probe.folders["/f"] = {"b"};
    probe.removes = false;
    BusyFileSystem files(probe);
    EXPECT_EQ(files.enumerate("/f"), std::vector<std::string>{"b"});
    EXPECT_EQ(files.enumerate("/g"), std::nullopt);
    EXPECT_EQ(probe.pointerMeanwhile, Qt::WaitCursor);
    EXPECT_EQ(shownPointer(), std::nullopt);
    EXPECT_EQ(files.readFile("/a"), "bytes");
    EXPECT_EQ(files.homeDirectory(), probe.homeDirectory());
    EXPECT_EQ(files.temporaryDirectory(), probe.temporaryDirectory());
    EXPECT_EQ(files.dataHome(), probe.dataHome());
    EXPECT_EQ(files.dataDirectories(), probe.dataDirectories());
    EXPECT_FALSE(files.removeFile("/a"));
    EXPECT_EQ(probe.removed, std::vector<std::string>{"/a"});
}

TEST(BusyPdfContextFactory, showsThePointerWhileAPageIsMadeAndPassesEverythingThrough) {
    fakes::FakePdfContextFactory probe;
    fakes::FakePdfContextFactory direct;
    BusyPdfContextFactory factory(probe);
    const fakes::FakeBitmap bitmap({3, 2});
    const auto draw = [&](PdfContext& context) {
        context.beginPage({0, 0, 10, 20});
        context.setRenderingIntent(RenderingIntent::absolute);
        context.setFillColorSpace(
            std::make_shared<ColorSpace>(ColorSpace{sharedBytes({}), 4, true}));
        context.setFillColorRGB(1, 0, 1);
        context.setInterpolationQuality(InterpolationQuality::high);
        context.fillRect({1, 2, 3, 4});
        context.draw(bitmap, {5, 6, 7, 8});
        context.endPage();
        return context.close();
    };
    {
        const auto context = factory.create("/page.pdf");
        ASSERT_TRUE(context);
        EXPECT_EQ(shownPointer(), Qt::WaitCursor);
        EXPECT_TRUE(draw(*context));
        EXPECT_EQ(shownPointer(), Qt::WaitCursor);
        EXPECT_FALSE(probe.documents.front()->released);
    }
    EXPECT_EQ(shownPointer(), std::nullopt);
    EXPECT_TRUE(probe.documents.front()->released);
    EXPECT_EQ(probe.documents.front()->path, "/page.pdf");
    draw(*direct.create("/page.pdf"));
    EXPECT_EQ(probe.documents.front()->calls, direct.documents.front()->calls);

    probe.closes = false;
    EXPECT_FALSE(draw(*factory.create("/page.pdf")));
    probe.creates = false;
    EXPECT_EQ(factory.create("/page.pdf"), nullptr);
    EXPECT_EQ(shownPointer(), std::nullopt);
}

} // namespace
} // namespace lumivert
