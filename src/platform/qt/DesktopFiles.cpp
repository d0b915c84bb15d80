#include "platform/qt/DesktopFiles.h"

#include "model/FileUrl.h"

#include <QByteArray>
#include <QDesktopServices>
#include <QMimeData>
#include <QSysInfo>
#include <QThreadPool>
#include <QUrl>

#include <utility>

namespace lumivert {
namespace {

class FileUrlProvider : public ItemProvider {
public:
    explicit FileUrlProvider(const QUrl& url)
        : m_bytes(url.toEncoded(QUrl::FullyEncoded).toStdString()) {}

    void loadItem(const std::string& typeIdentifier,
                  std::function<void(std::optional<std::string>)> completion) override {
        std::optional<std::string> item;
        if (typeIdentifier == fileUrlType)
            item = m_bytes;
        QThreadPool::globalInstance()->start(
            [item = std::move(item), completion = std::move(completion)] { completion(item); });
    }

private:
    std::string m_bytes;
};

bool namesThisMachine(const QString& host) {
    return host.isEmpty() || host == "localhost" ||
           host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

} // namespace

std::vector<std::unique_ptr<ItemProvider>> itemProviders(const QMimeData& mime) {
    std::vector<std::unique_ptr<ItemProvider>> providers;
    for (QUrl url : mime.urls()) {
        if (!url.isLocalFile() || !namesThisMachine(url.host()))
            continue;
        url.setHost({});
        providers.push_back(std::make_unique<FileUrlProvider>(url));
    }
    return providers;
}

void openFile(const std::string& path) {
    // By way of the escaped form: a path need not be text in any encoding.
    const auto url = FileUrl::fromPath(path).dataRepresentation();
    QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(url)));
}

} // namespace lumivert
