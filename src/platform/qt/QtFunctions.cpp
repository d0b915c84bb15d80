#include "platform/qt/QtFunctions.h"

#include "model/FileUrl.h"

#include <QByteArray>
#include <QDesktopServices>
#include <QMimeData>
#include <QSysInfo>
#include <QThreadPool>
#include <QUrl>
#include <QUuid>

#include <utility>

namespace lumivert {
namespace {

bool namesThisMachine(const QString& host) {
    return host.isEmpty() || host == "localhost" ||
           host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

} // namespace

ItemProviders itemProviders(const QMimeData& mime) {
    ItemProviders providers;
    for (QUrl url : mime.urls()) {
        if (!url.isLocalFile() || !namesThisMachine(url.host()))
            continue;
        url.setHost({});
        providers.push_back([bytes = url.toEncoded(QUrl::FullyEncoded).toStdString()](
                                const std::string& typeIdentifier, auto completion) {
            const auto item = typeIdentifier == fileUrlType ? std::optional(bytes) : std::nullopt;
            QThreadPool::globalInstance()->start(
                [item, completion = std::move(completion)] { completion(item); });
        });
    }
    return providers;
}

void openFile(const std::string& path) {
    // By way of the escaped form: a path need not be text in any encoding.
    const auto url = FileUrl::fromPath(path).dataRepresentation();
    QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(url)));
}

std::string randomUuid() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

} // namespace lumivert
