#include "app/DesktopApplication.h"

#include "app/LumivertApp.h"
#include "fakes/FakePlatform.h"
#include "fakes/FakeUpdates.h"
#include "manager/PrintManager.h"
#include "model/PhotoFormats.h"
#include "platform/packagekit/PrivateBus.h"
#include "support/ScopedEnvironment.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>
#include <QMimeDatabase>
#include <QTest>
#include <QUrl>
#include <gtest/gtest.h>

#include <thread>

namespace lumivert {
namespace {

class DesktopApplicationTest : public testing::Test {
protected:
    DesktopApplicationTest() {
        EXPECT_TRUE(desktop.isFirst());
        app.openWindow();
        desktop.serve(app);
    }
    ~DesktopApplicationTest() override {
        for (const QString& name : {QStringLiteral("program"), QStringLiteral("desktop")})
            QDBusConnection::disconnectFromBus(name);
    }

    QDBusConnection connection(const QString& name) const {
        return QDBusConnection::connectToBus(QString::fromStdString(bus.address()), name);
    }

    /// As a file manager calls it.
    void call(const QString& method, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            QStringLiteral("org.lumivert.Lumivert"), QStringLiteral("/org/lumivert/Lumivert"),
            QStringLiteral("org.freedesktop.Application"), method);
        message.setArguments(arguments);
        const QDBusPendingCall pending = connection("desktop").asyncCall(message);
        ASSERT_TRUE(QTest::qWaitFor([&] { return pending.isFinished(); }));
        EXPECT_FALSE(pending.isError()) << pending.error().message().toStdString();
    }

    PrivateBus bus;
    QList<QUrl> dropped;
    fakes::FakePlatform fakes;
    fakes::FakeUpdateEngine updateEngine;
    fakes::FakeUpdateWindow updateWindow;
    fakes::FakeUpdateClock updateClock;
    LumivertApp app{{.platform = fakes.platform,
                     .updates = {updateEngine, updateWindow, updateClock, fakes.preferences},
                     .providersOf =
                         [this](const QMimeData& mime) {
                             dropped << mime.urls();
                             return ItemProviders();
                         },
                     .firstWindowPainted = {}}};
    DesktopApplication desktop{connection("program")};
};

TEST_F(DesktopApplicationTest, takesFilesAsIfTheyWereDropped) {
    const QStringList files{"file:///photos/a%20b.jpg", "file:///photos/c.png"};
    call("Open", {files, QVariantMap()});
    EXPECT_EQ(dropped, (QList<QUrl>{QUrl(files[0]), QUrl(files[1])}));
}

TEST_F(DesktopApplicationTest, bringsItsWindowForward) {
    for (const auto& [method, arguments] : std::vector<std::pair<QString, QVariantList>>{
             {"Activate", {QVariantMap()}},
             {"Open", {QStringList(), QVariantMap()}},
             {"ActivateAction", {QString("new"), QVariantList(), QVariantMap()}}}) {
        app.window()->showMinimized();
        call(method, arguments);
        EXPECT_FALSE(app.window()->isMinimized()) << method.toStdString();
    }
}

TEST_F(DesktopApplicationTest, handsTheDesktopsTokenToTheWindowSystem) {
    const ScopedEnvironment token("XDG_ACTIVATION_TOKEN", std::nullopt);
    call("Activate", {QVariantMap{{"activation-token", "token-1"}}});
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token-1");
}

TEST_F(DesktopApplicationTest, letsASecondStartRaiseTheWindowOfTheFirst) {
    app.window()->showMinimized();
    bool isFirst = true;
    // The first answers from its event loop.
    std::thread second([&] {
        DesktopApplication other(connection("desktop"));
        isFirst = other.isFirst();
    });
    EXPECT_TRUE(QTest::qWaitFor([&] { return !app.window()->isMinimized(); }));
    second.join();
    EXPECT_FALSE(isFirst);
}

TEST(DesktopApplicationWithoutABus, isFirst) {
    DesktopApplication desktop{QDBusConnection(QStringLiteral("none"))};
    EXPECT_TRUE(desktop.isFirst());
}

// Of camera RAW each desktop knows other ones.
TEST(DesktopEntry, takesWhatTheDialogOffers) {
    QFile entry(QStringLiteral(LUMIVERT_TREE "/data/org.lumivert.Lumivert.desktop"));
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QByteArray text = entry.readAll();
    const QList<QByteArray> types = text.mid(text.indexOf("MimeType=") + 9).split(';');
    for (const PhotoFormat& format : photoFormats())
        for (const std::string_view ending : format.endings) {
            const QString name = QStringLiteral("a.") + QString::fromStdString(std::string(ending));
            const QString type =
                QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension).name();
            const bool isKnown =
                format.kind != PhotoKind::cameraRaw && type.startsWith(QStringLiteral("image/"));
            EXPECT_TRUE(!isKnown || types.contains(type.toUtf8())) << type.toStdString();
        }
}

} // namespace
} // namespace lumivert
