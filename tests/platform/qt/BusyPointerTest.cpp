#include "platform/qt/BusyPointer.h"

#include "model/FileUrl.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <gtest/gtest.h>

#include <chrono>
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

TEST(BusyPointer, showsWhileItLives) {
    {
        const BusyPointer busy;
        EXPECT_EQ(shownPointer(), Qt::WaitCursor);
    }
    EXPECT_EQ(shownPointer(), std::nullopt);
}

TEST(BusyPointer, nests) {
    const BusyPointer outer;
    {
        const BusyPointer inner;
        EXPECT_EQ(shownPointer(), Qt::WaitCursor);
    }
    EXPECT_EQ(shownPointer(), Qt::WaitCursor);
}

TEST(BusyPointer, asksThePlatformToSendItBeforeTheBlock) {
    int sent = 0;
    std::optional<Qt::CursorShape> pointerWhenSent;
    const auto connection = QObject::connect(QAbstractEventDispatcher::instance(),
                                             &QAbstractEventDispatcher::aboutToBlock, [&] {
                                                 ++sent;
                                                 pointerWhenSent = shownPointer();
                                             });
    {
        const BusyPointer outer;
        EXPECT_EQ(sent, 1);
        EXPECT_EQ(pointerWhenSent, Qt::WaitCursor);
        const BusyPointer inner;
        EXPECT_EQ(sent, 1) << "it shows already";
    }
    QObject::disconnect(connection);
}

TEST(BusyPointer, handlesNoEvent) {
    QObject receiver;
    bool handled = false;
    QMetaObject::invokeMethod(
        &receiver, [&] { handled = true; }, Qt::QueuedConnection);
    { const BusyPointer busy; }
    EXPECT_FALSE(handled);
    QCoreApplication::processEvents();
    EXPECT_TRUE(handled);
}

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

} // namespace
} // namespace lumivert
