#include "model/FileUrl.h"
#include "platform/qt/QtFunctions.h"

#include <QMimeData>
#include <QSysInfo>
#include <QThreadPool>
#include <QUrl>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace lumivert {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Item = std::optional<std::string>;

Item load(const ItemProvider& provider, const std::string& typeIdentifier = "public.file-url") {
    std::promise<Item> loaded;
    provider(typeIdentifier, [&](Item item) { loaded.set_value(std::move(item)); });
    return loaded.get_future().get();
}

/// The addresses that a drop of `uriList` delivers.
std::vector<Item> dropped(const std::string& uriList) {
    QMimeData mime;
    mime.setData("text/uri-list", QByteArray::fromStdString(uriList));
    std::vector<Item> items;
    for (const auto& provider : itemProviders(mime))
        items.push_back(load(provider));
    return items;
}

TEST(MimeItemProviders, areOneForEachFileInTheOrderOfTheDrop) {
    EXPECT_THAT(dropped("file:///b.jpg\r\nfile:///a.jpg\r\nfile:///b.jpg\r\n"),
                ElementsAre("file:///b.jpg", "file:///a.jpg", "file:///b.jpg"));
}

TEST(MimeItemProviders, areNoneForADropWithoutFiles) {
    EXPECT_THAT(itemProviders(QMimeData()), IsEmpty());
    EXPECT_THAT(dropped(""), IsEmpty());
    EXPECT_THAT(dropped("https://example.org/a.jpg\r\n"), IsEmpty());
    QMimeData text;
    text.setText("/tmp/a.jpg");
    EXPECT_THAT(itemProviders(text), IsEmpty());
}

TEST(MimeItemProviders, leaveOutWhatIsNoLocalFile) {
    EXPECT_THAT(dropped("# a comment\r\nhttps://example.org/a.jpg\r\nfile:///b.jpg\r\n"
                        "file://other.invalid/c.jpg\r\nsmb://host/d.jpg\r\n"),
                ElementsAre("file:///b.jpg"));
}

TEST(MimeItemProviders, takeThisMachineAsAHostForALocalFile) {
    const auto own = QSysInfo::machineHostName().toStdString();
    EXPECT_THAT(dropped("file://localhost/a.jpg\r\nfile://" + own + "/b.jpg\r\n"),
                ElementsAre("file:///a.jpg", "file:///b.jpg"));
}

TEST(MimeItemProviders, deliverEncodedAddresses) {
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile("/tmp/Åre 100 % #1?.JPG")});
    const auto providers = itemProviders(mime);
    ASSERT_EQ(providers.size(), 1u);
    EXPECT_EQ(load(providers[0]), "file:///tmp/%C3%85re%20100%20%25%20%231%3F.JPG");
}

TEST(MimeItemProviders, keepNamesThatAreNoText) {
    const auto items = dropped("file:///tmp/caf%E9%00.jpg\r\nfile:///tmp/caf%E9.jpg\r\n");
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(FileUrl::fromDataRepresentation(items[0].value()), std::nullopt);
    EXPECT_EQ(FileUrl::fromDataRepresentation(items[1].value()).value().path(), "/tmp/caf\351.jpg");
}

TEST(MimeItemProviders, haveNoOtherForm) {
    QMimeData mime;
    mime.setUrls({QUrl("file:///a.jpg")});
    const auto providers = itemProviders(mime);
    EXPECT_EQ(load(providers[0], "public.jpeg"), std::nullopt);
    EXPECT_EQ(load(providers[0], ""), std::nullopt);
    EXPECT_EQ(load(providers[0]), "file:///a.jpg");
}

TEST(MimeItemProviders, returnAtOnceAndDeliverOnAnotherThread) {
    QMimeData mime;
    mime.setUrls({QUrl("file:///a.jpg")});
    std::promise<void> mayGoOn;
    std::promise<std::thread::id> ranOn;
    itemProviders(mime)[0]("public.file-url", [&](const Item&) {
        mayGoOn.get_future().wait();
        ranOn.set_value(std::this_thread::get_id());
    });
    mayGoOn.set_value(); // stalls before this line if the completion ran inside it
    EXPECT_NE(ranOn.get_future().get(), std::this_thread::get_id());
}

TEST(MimeItemProviders, deliverAlthoughProviderAndDropAreGone) {
    std::promise<Item> loaded;
    {
        QMimeData mime;
        mime.setUrls({QUrl("file:///a.jpg")});
        auto providers = itemProviders(mime);
        providers[0]("public.file-url", [&](Item item) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            loaded.set_value(std::move(item));
        });
    }
    EXPECT_EQ(loaded.get_future().get(), "file:///a.jpg");
}

} // namespace
} // namespace lumivert
