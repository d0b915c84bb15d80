#include "platform/qt/OpenFile.h"

#include "model/FileUrl.h"

#include <QByteArray>
#include <QDesktopServices>
#include <QUrl>

namespace lumivert {

void openFile(const std::string& path) {
    // By way of the escaped form: a path need not be text in any encoding.
    const auto url = FileUrl::fromPath(path).dataRepresentation();
    QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(url)));
}

} // namespace lumivert
