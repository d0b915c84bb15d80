#include "views/ImageFiles.h"

#include "views/ViewFixture.h"

#include <QDir>
#include <QFileDialog>
#include <QRegularExpression>
#include <gtest/gtest.h>

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

bool accepts(const std::string& name) {
    return acceptedDrop("file:///photos/" + name).has_value();
}

TEST(AcceptedDrop, goesByTheEndingInEitherLetterCase) {
    for (const char* ending : {"jpg", "jpeg", "png", "tiff", "tif", "heic", "raw", "cr2", "cr3",
                               "nef", "arw", "JPG", "Jpeg", "HEIC", "NEF"})
        EXPECT_TRUE(accepts(std::string("a.") + ending)) << ending;
}

TEST(AcceptedDrop, refusesEverythingElse) {
    for (const char* name :
         {"a.webp", "a.pdf", "a.dng", "a", "jpg", ".jpg", "a.jpg.txt", "a.jpgx", "a."})
        EXPECT_FALSE(accepts(name)) << name;
}

TEST(AcceptedDrop, needsTheAddressOfAFile) {
    EXPECT_FALSE(acceptedDrop(std::nullopt));
    for (const char* data :
         {"", "/photos/a.jpg", "http://example.org/a.jpg", "file:a.jpg", "file:///photos/%zz.jpg"})
        EXPECT_FALSE(acceptedDrop(data)) << data;
}

TEST(AcceptedDrop, keepsThePathAsItIs) {
    EXPECT_EQ(acceptedDrop("file:///photos/two%20words%2C%20%C3%A5.JPG")->path(),
              "/photos/two words, å.JPG");
}

} // namespace
} // namespace lumivert
