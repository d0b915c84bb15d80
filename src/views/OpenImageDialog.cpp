#include "views/OpenImageDialog.h"

#include <QCoreApplication>
#include <QFileDialog>

namespace lumivert {

namespace {

QString filter(const QString& name, const QStringList& extensions) {
    QStringList patterns;
    for (const QString& extension : extensions)
        patterns << QStringLiteral("*.") + extension << QStringLiteral("*.") + extension.toUpper();
    return name + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')');
}

QString translated(const char* text) {
    return QCoreApplication::translate("OpenImageDialog", text);
}

} // namespace

QStringList imageNameFilters() {
    const QStringList raw{"raw", "dng", "cr2", "cr3", "crw", "nef", "nrw", "arw", "srf",
                          "sr2", "raf", "rw2", "orf", "pef", "srw", "rwl", "3fr", "iiq",
                          "kdc", "x3f", "mrw", "mef", "mos", "erf", "dcr", "fff", "cap"};
    const QStringList tiff{"tif", "tiff"};
    const QStringList png{"png"};
    const QStringList jpeg{"jpg", "jpeg", "jpe", "jfif"};
    const QStringList heic{"heic", "heif", "hif"};
    const QStringList others{"webp", "avif", "gif"};
    return {
        filter(translated("Images"), jpeg + heic + png + tiff + raw + others),
        filter(translated("Camera RAW"), raw),
        filter(translated("TIFF"), tiff),
        filter(translated("PNG"), png),
        filter(translated("JPEG"), jpeg),
        filter(translated("HEIC"), heic),
    };
}

QFileDialog* makeOpenImageDialog(QWidget* window, const QString& folder) {
    auto* dialog = new QFileDialog(window, translated("Open Image"), folder);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setOption(QFileDialog::HideNameFilterDetails);
    dialog->setNameFilters(imageNameFilters());
    return dialog;
}

} // namespace lumivert
