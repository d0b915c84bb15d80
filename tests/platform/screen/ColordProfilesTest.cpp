#include "PrivateBus.h"
#include "platform/screen/DesktopScreenColors.h"
#include "support/TemporaryFolder.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QTest>
#include <gtest/gtest.h>

namespace lumivert {
namespace {

const QString service = "org.freedesktop.ColorManager";

/// colord with one display device, "DP-1", and its profiles' files.
class ScriptedColord : public QDBusVirtualObject {
public:
    explicit ScriptedColord(const QString& address)
        : m_bus(QDBusConnection::connectToBus(address, "scripted-colord")) {
        m_bus.registerVirtualObject("/", this, QDBusConnection::SubPath);
        m_bus.registerService(service);
    }
    ~ScriptedColord() override {
        m_bus.unregisterObject("/", QDBusConnection::UnregisterTree);
        QDBusConnection::disconnectFromBus("scripted-colord");
    }

    void tellOfAChange() {
        QDBusMessage signal =
            QDBusMessage::createSignal("/org/freedesktop/ColorManager", service, "DeviceChanged");
        signal << QVariant::fromValue(QDBusObjectPath("/device"));
        m_bus.send(signal);
    }

    QStringList files;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        const QVariantList arguments = message.arguments();
        const auto answer = [&](const QVariant& value) {
            return bus.send(message.createReply(value));
        };
        if (message.member() == "FindDeviceByProperty") {
            if (arguments != QVariantList{"XRANDR_name", "DP-1"})
                return bus.send(message.createErrorReply(service + ".NotFound", "no device"));
            return answer(QVariant::fromValue(QDBusObjectPath("/device")));
        }
        if (message.member() != "Get")
            return false;
        const QString property = arguments.value(1).toString();
        if (message.path() == "/device" && arguments.value(0) == service + ".Device" &&
            property == "Profiles") {
            QList<QDBusObjectPath> paths;
            for (int i = 0; i < files.size(); ++i)
                paths << QDBusObjectPath(QString("/profile/%1").arg(i));
            return answer(QVariant::fromValue(QDBusVariant(QVariant::fromValue(paths))));
        }
        if (arguments.value(0) == service + ".Profile" && property == "Filename")
            return answer(QVariant::fromValue(
                QDBusVariant(files.value(message.path().section('/', -1).toInt()))));
        return false;
    }

private:
    QDBusConnection m_bus;
};

class ColordProfiles : public testing::Test {
protected:
    ColordProfiles() { qDBusRegisterMetaType<QList<QDBusObjectPath>>(); }

    bool becomes(const QByteArray& profile) {
        return QTest::qWaitFor([&] { return profiles->profileOf("DP-1") == profile; });
    }

    TemporaryFolder folder;
    PrivateBus bus;
    ScriptedColord colord{QString::fromStdString(bus.address())};
    std::unique_ptr<DesktopScreenColors> profiles =
        colordScreenColors(QString::fromStdString(bus.address()));
    int changes = 0;
    const Subscription subscription = profiles->subscribe([this] { ++changes; });
};

TEST_F(ColordProfiles, areTheFilesOfADevicesFirstProfile) {
    colord.files = {QString::fromStdString(folder.write("first.icc", "first profile")),
                    QString::fromStdString(folder.write("second.icc", "second profile"))};
    EXPECT_EQ(profiles->profileOf("DP-1"), "") << "not waited for";
    EXPECT_TRUE(becomes("first profile"));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(profiles->profileOf("HDMI-1"), "");
}

TEST_F(ColordProfiles, followWhatTheServiceTellsOf) {
    colord.files = {QString::fromStdString(folder.write("first.icc", "first profile"))};
    ASSERT_TRUE(becomes("first profile"));
    colord.files.prepend(QString::fromStdString(folder.write("other.icc", "another profile")));
    colord.tellOfAChange();
    EXPECT_TRUE(becomes("another profile"));
    EXPECT_EQ(changes, 2);
    colord.files = QStringList{"/no/such/file"};
    colord.tellOfAChange();
    EXPECT_TRUE(becomes(""));
    colord.files.clear();
    colord.tellOfAChange();
    QTest::qWait(50);
    EXPECT_EQ(changes, 3) << "nothing has changed";
}

TEST(ColordProfilesWithoutAService, areNone) {
    const PrivateBus bus;
    const auto profiles = colordScreenColors(QString::fromStdString(bus.address()));
    EXPECT_EQ(profiles->profileOf("DP-1"), "");
    QTest::qWait(100);
    EXPECT_EQ(profiles->profileOf("DP-1"), "");
    const auto nowhere = colordScreenColors("unix:path=/no/such/socket");
    EXPECT_EQ(nowhere->profileOf("DP-1"), "");
    QTest::qWait(100);
    EXPECT_EQ(nowhere->profileOf("DP-1"), "");
}

} // namespace
} // namespace lumivert
