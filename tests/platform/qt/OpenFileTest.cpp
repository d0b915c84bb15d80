#include "platform/qt/QtFunctions.h"

#include <QDesktopServices>
#include <QObject>
#include <QUrl>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivert {

/// Stands in for the desktop: takes the addresses that Qt would hand to it.
class UrlReceiver : public QObject {
    Q_OBJECT
public:
    UrlReceiver() { QDesktopServices::setUrlHandler("file", this, "open"); }
    ~UrlReceiver() override { QDesktopServices::unsetUrlHandler("file"); }

    std::vector<std::string> opened;

public Q_SLOTS:
    void open(const QUrl& url) { opened.push_back(url.toEncoded().toStdString()); }
};

namespace {

using testing::ElementsAre;

TEST(OpenFile, opensTheFileByItsAddress) {
    UrlReceiver desktop;
    openFile("/tmp/Lumivert_0F.pdf");
    EXPECT_THAT(desktop.opened, ElementsAre("file:///tmp/Lumivert_0F.pdf"));
}

TEST(OpenFile, opensPathsWithSignsThatAddressesReserve) {
    UrlReceiver desktop;
    openFile("/tmp/100 % #1?/å.pdf");
    openFile("/tmp/caf\351.pdf");
    EXPECT_THAT(desktop.opened, ElementsAre("file:///tmp/100%20%25%20%231%3F/%C3%A5.pdf",
                                            "file:///tmp/caf%E9.pdf"));
}

} // namespace
} // namespace lumivert

#include "OpenFileTest.moc"
