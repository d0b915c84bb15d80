#include "views/OpenImageDialog.h"

#include "model/PhotoFormats.h"

#include <QCoreApplication>
#include <QFileDialog>

#include <map>

namespace lumivert {

namespace {

// "*.[jJ][pP][gG]": a native dialog tells letter cases apart.
QString pattern(const QString& extension) {
    QString letters = QStringLiteral("*.");
    for (const QChar c : extension)
        letters +=
            c.isLetter() ? QStringLiteral("[%1%2]").arg(c.toLower(), c.toUpper()) : QString(c);
    return letters;
}

QString filter(const QString& name, const QStringList& extensions) {
    QStringList patterns;
    for (const QString& extension : extensions)
        patterns << pattern(extension);
    return name + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')');
}

QString translated(const char* text) {
    return QCoreApplication::translate("OpenImageDialog", text);
}

} // namespace

QStringList imageNameFilters() {
    QStringList all;
    std::map<int, QString> filters;
    for (const PhotoFormat& format : photoFormats()) {
        QStringList endings;
        for (const std::string_view ending : format.endings)
            endings << QLatin1String(ending.data(), static_cast<qsizetype>(ending.size()));
        all << endings;
        if (format.filterPlace > 0)
            filters[format.filterPlace] = filter(translated(format.name.data()), endings);
    }
    filters[0] = filter(translated("Images"), all);
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

} // namespace lumivert
