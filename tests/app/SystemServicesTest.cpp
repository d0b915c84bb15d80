#include "app/SystemServices.h"

#include "manager/PrintManager.h"
#include "manager/SoftProof.h"
#include "support/TemporaryFolder.h"

#include <QColorSpace>
#include <QCoreApplication>
#include <QImage>
#include <gtest/gtest.h>

namespace lumivert {
namespace {

// The proof's answer arrives while everything is being torn down, or never.
TEST(SystemServices, canGoWhileASoftProofIsBeingMade) {
    const TemporaryFolder folder;
    const std::string path = folder / "photo.png";
    QImage photo(3000, 2000, QImage::Format_RGB32);
    photo.fill(Qt::darkCyan);
    ASSERT_TRUE(photo.save(QString::fromStdString(path)));
    const QByteArray profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
    const std::string profilePath = folder.write("adobe.icc", profile.toStdString());

    for (int i = 0; i < 5; ++i) {
        SystemServices services;
        PrintManager manager(services.appServices().platform);
        manager.loadImage(FileUrl::fromPath(path));
        ASSERT_NE(manager.image.get(), nullptr);
        manager.availableICCProfiles = {{profilePath, "Adobe", profilePath, true}};
        manager.selectedICCProfileID = profilePath;
        QCoreApplication::processEvents(); // the proof is on its way
        ASSERT_EQ(manager.previewProofState(), ProofState::inWork);
    }
}

} // namespace
} // namespace lumivert
