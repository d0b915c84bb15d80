#include "views/ImageFiles.h"

#include "model/PhotoFormats.h"
#include "model/Text.h"

#include <QCoreApplication>
#include <QFileDialog>

#include <algorithm>
#include <map>

namespace lumivert {

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("OpenImageDialog", text);
}

// "*.[jJ][pP][gG]": a native dialog tells letter cases apart.
QString pattern(std::string_view ending) {
    QString letters = QStringLiteral("*.");
    for (const QChar c : QLatin1String(ending.data(), static_cast<qsizetype>(ending.size())))
        letters += c.isLetter() ? QStringLiteral("[%1%2]").arg(c, c.toUpper()) : QString(c);
    return letters;
}

} // namespace

QStringList imageNameFilters() {
    std::map<int, QString> filters;
    QStringList all;
    const auto filter = [](const char* name, const QStringList& patterns) {
        return QStringLiteral("%1 (%2)").arg(translated(name), patterns.join(QLatin1Char(' ')));
    };
    for (const PhotoFormat& format : photoFormats()) {
        QStringList patterns;
        std::ranges::transform(format.endings, std::back_inserter(patterns), pattern);
        all << patterns;
        if (format.filterPlace > 0)
            filters[format.filterPlace] = filter(format.name.data(), patterns);
    }
    filters[0] = filter("Images", all);
    QStringList texts;
    for (const auto& [place, text] : filters)
        texts << text;
    return texts;
}

QFileDialog* makeOpenImageDialog(QWidget* window, const QString& folder) {
    auto* dialog = new QFileDialog(window, translated("Open Image"), folder);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setSupportedSchemes({QStringLiteral("file")});
    dialog->setOption(QFileDialog::HideNameFilterDetails);
    dialog->setNameFilters(imageNameFilters());
    return dialog;
}

std::optional<FileUrl> acceptedDrop(const std::optional<std::string>& dataRepresentation) {
    if (!dataRepresentation)
        return std::nullopt;
    auto url = FileUrl::fromDataRepresentation(*dataRepresentation);
    const std::string ending = url ? lowerCased(url->pathExtension()) : std::string();
    const auto takes = [&ending](const PhotoFormat& format) {
        return std::ranges::find(format.dropEndings, ending) != format.dropEndings.end();
    };
    return std::ranges::any_of(photoFormats(), takes) ? url : std::nullopt;
}

} // namespace lumivert
