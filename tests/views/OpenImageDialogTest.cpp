#include "views/OpenImageDialog.h"

#include "views/ViewFixture.h"

#include <QDir>
#include <QFileDialog>
#include <QRegularExpression>

#include <memory>

namespace lumivert {
namespace {

/// Whether a filter lets a file name through, as a dialog that tells letter cases apart does.
bool passes(const QString& filter, const QString& name) {
    const int open = filter.lastIndexOf('(');
    for (const QString& pattern : filter.mid(open + 1).chopped(1).split(' '))
        if (QRegularExpression::fromWildcard(pattern, Qt::CaseSensitive).match(name).hasMatch())
            return true;
    return false;
}

TEST(ImageNameFilters, standInTheirOrder) {
    QStringList names;
    for (const QString& filter : imageNameFilters())
        names << filter.section(" (", 0, 0);
    EXPECT_EQ(names.join(", "), "Images, Camera RAW, TIFF, PNG, JPEG, HEIC");
}

TEST(ImageNameFilters, letTheirFilesThroughInAnyMixtureOfCases) {
    const QStringList filters = imageNameFilters();
    const std::vector<std::pair<int, const char*>> files{
        {1, "dng"},  {1, "cr2"}, {1, "cr3"}, {1, "nef"},  {1, "arw"},  {1, "raw"}, {2, "tif"},
        {2, "tiff"}, {3, "png"}, {4, "jpg"}, {4, "jpeg"}, {5, "heic"}, {1, "mrw"}, {1, "mef"},
        {1, "mos"},  {1, "erf"}, {1, "dcr"}, {1, "fff"},  {1, "cap"},  {4, "jfif"}};
    for (const auto& [filter, extension] : files)
        for (const QString& name :
             {QString("a.") + extension, "A." + QString(extension).toUpper(),
              "a." + QString(extension).replace(0, 1, QString(extension[0]).toUpper())}) {
            EXPECT_TRUE(passes(filters[filter], name)) << name.toStdString();
            EXPECT_TRUE(passes(filters[0], name)) << name.toStdString();
        }
    EXPECT_TRUE(passes(filters[0], "a.webp"));
    EXPECT_FALSE(passes(filters[0], "a.pdf"));
    EXPECT_FALSE(passes(filters[3], "a.jpg"));
}

TEST(OpenImageDialog, asksForOneExistingFile) {
    QWidget window;
    const std::unique_ptr<QFileDialog> dialog(makeOpenImageDialog(&window, QDir::tempPath()));
    EXPECT_EQ(dialog->fileMode(), QFileDialog::ExistingFile);
    EXPECT_EQ(dialog->acceptMode(), QFileDialog::AcceptOpen);
    EXPECT_EQ(dialog->nameFilters(), imageNameFilters());
    EXPECT_EQ(dialog->directory(), QDir(QDir::tempPath()));
    EXPECT_EQ(dialog->supportedSchemes(), QStringList{"file"});
    EXPECT_EQ(accessibleName(dialog.get()), "Open Image");
}

} // namespace
} // namespace lumivert
