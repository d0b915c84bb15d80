#include "journey/JourneyWorld.h"
#include "journey/Raster.h"
#include "journey/TestPhoto.h"
#include "journey/Widgets.h"
#include "manager/PrintManager.h"
#include "model/Text.h"
#include "support/PrivateScheduler.h"

#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QUrl>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr auto queue = "Photo_A3";

class Journey : public testing::Test {
protected:
    Journey()
        : m_temporary("TMPDIR", m_folder.path())
        , m_world(m_folder, m_scheduler.ppdFolder()) {
        m_scheduler.addQueue(queue);
        writeTestPhoto(m_folder / "first.jpg", {1200, 800}, 300);
        writeTestPhoto(m_folder / "second.JPG", {800, 1200}, 300);
    }

    void start() {
        m_app = std::make_unique<LumivertApp>(m_world.appServices());
        m_app->openWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_app->window()));
    }

    PrintManager& manager() { return *m_app->printManager(); }
    QWidget* window() { return m_app->window(); }

    void press(const QString& button) {
        QTest::mouseClick(control<QAbstractButton>(window(), button), Qt::LeftButton);
    }

    // The dialog of that title, once it shows.
    QDialog* dialog(const QString& title) {
        QDialog* found = nullptr;
        waitFor([&] {
            for (auto* candidate : window()->findChildren<QDialog*>())
                if (candidate->isVisible() && candidate->accessibleName() == title)
                    found = candidate;
            return found != nullptr;
        });
        if (!found)
            throw std::runtime_error("no dialog \"" + title.toStdString() + "\"");
        return found;
    }

    void choose(const QString& picker, const QString& entry) {
        auto* combo = control<QComboBox>(window(), picker);
        const int index = combo->findText(entry);
        ASSERT_GE(index, 0) << "no entry " << entry.toStdString();
        combo->setFocus();
        QTest::keyClick(combo, Qt::Key_Home);
        while (combo->currentIndex() != index)
            QTest::keyClick(combo, Qt::Key_Down);
    }

    void openByDialog(const std::string& path) {
        for (auto* action : window()->findChildren<QAction*>())
            if (action->text().remove(QLatin1Char('&')) == QLatin1String("Open Image..."))
                action->trigger();
        QFileDialog* dialog = nullptr;
        ASSERT_TRUE(waitFor([&] {
            dialog = window()->findChild<QFileDialog*>();
            return dialog && dialog->isVisible();
        }));
        dialog->setDirectory(QString::fromStdString(m_folder.path()));
        auto* name = dialog->findChild<QLineEdit*>();
        ASSERT_NE(name, nullptr);
        name->setText(QString::fromStdString(path));
        QTest::keyClick(name, Qt::Key_Return);
        ASSERT_TRUE(waitFor([&] { return manager().imageURL.get() == FileUrl::fromPath(path); }));
        EXPECT_FALSE(manager().showFileImporter);
    }

    void drop(const std::vector<std::string>& paths) {
        QMimeData mime;
        QList<QUrl> urls;
        for (const auto& path : paths)
            urls << QUrl::fromLocalFile(QString::fromStdString(path));
        mime.setUrls(urls);
        QDragEnterEvent enter({50, 50}, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window(), &enter);
        QDropEvent event({50, 50}, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window(), &event);
    }

    std::vector<std::string> temporaryPages() const {
        std::vector<std::string> pages;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.path()))
            if (entry.path().extension() == ".pdf" &&
                entry.path().filename().string().starts_with("Lumivert_"))
                pages.push_back(entry.path());
        return pages;
    }

    // Keeps the pictures where scripts/run says they lie.
    void keep(const std::string& page) {
        const char* folder = std::getenv("LUMIVERT_JOURNEY_OUTPUT");
        if (!folder)
            return;
        QTest::qWait(300);
        window()->grab().save(QString::fromLocal8Bit(folder) + QStringLiteral("/window.png"));
        std::ofstream(std::string(folder) + "/page.pdf", std::ios::binary) << page;
    }

    TemporaryFolder m_folder;
    ScopedEnvironment m_temporary;
    PrivateScheduler m_scheduler;
    SchedulerEnvironment m_environment{m_scheduler};
    JourneyWorld m_world;
    std::unique_ptr<LumivertApp> m_app;
};

TEST_F(Journey, goesFromFileToPaper) {
    start();
    EXPECT_EQ(manager().selectedPrinterID.get(), queue);

    // The photo, by both ways in.
    openByDialog(m_folder / "first.jpg");
    EXPECT_EQ(manager().effectiveOrientation(), PaperOrientation::landscape);
    drop({m_folder / "second.JPG", m_folder / "first.jpg"});
    ASSERT_TRUE(waitFor(
        [&] { return manager().imageURL.get() == FileUrl::fromPath(m_folder / "second.JPG"); }));
    EXPECT_EQ(manager().effectiveOrientation(), PaperOrientation::portrait);

    // Paper, media and margins: 5 mm, and ten steps more at the top.
    choose(QStringLiteral("Size"), QStringLiteral("A3 (297 × 420 mm)"));
    choose(QStringLiteral("Type"), QStringLiteral("Photo Paper Glossy"));
    EXPECT_EQ(manager().selectedPaperSizeID.get(), "A3");
    auto* top = control<QSlider>(window(), QStringLiteral("Top"));
    top->setFocus();
    for (int i = 0; i < 10; ++i)
        QTest::keyClick(top, Qt::Key_Right);
    EXPECT_EQ(manager().margins.get(), (Margins{.top = 10, .bottom = 5, .left = 5, .right = 5}));

    // A preset under a name of its own.
    press(QStringLiteral("Save Current Settings"));
    auto* alert = dialog(QStringLiteral("Save Preset"));
    QTest::keyClicks(alert->findChild<QLineEdit*>(), QStringLiteral(" A3 satin"));
    QTest::mouseClick(control<QAbstractButton>(alert, QStringLiteral("Save")), Qt::LeftButton);
    ASSERT_EQ(manager().presets->size(), 1U);
    EXPECT_EQ(manager().presets->front().name, " A3 satin");

    // Dry run: the command and the page, and no job.
    testing::internal::CaptureStdout();
    press(QStringLiteral("Show CUPS Command"));
    const std::string log = testing::internal::GetCapturedStdout();
    ASSERT_TRUE(manager().lastCUPSCommand->has_value());
    const std::string command = **manager().lastCUPSCommand;
    ASSERT_EQ(m_world.opened.size(), 1U);
    const std::string dryPage = m_world.opened.front();
    EXPECT_EQ(command, "lp -d Photo_A3 -o PageSize=A3 -o MediaType=Glossy -o "
                       "cupsPrintQuality=High \"" +
                           dryPage + "\"");
    EXPECT_THAT(dryPage, MatchesRegex(".*/Lumivert_[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}.pdf"));
    EXPECT_EQ(log, "Lumivert CUPS command: " + command + "\n");
    EXPECT_EQ(m_scheduler.takeOutput(queue), std::nullopt);

    // Print: the question first.
    press(QStringLiteral("Print"));
    auto* question = dialog(QStringLiteral("Print"));
    QTest::mouseClick(control<QAbstractButton>(question, QStringLiteral("Print")), Qt::LeftButton);
    const auto printedAt = std::chrono::steady_clock::now();
    EXPECT_EQ(manager().lastPrintError.get(), std::nullopt);
    ASSERT_EQ(temporaryPages().size(), 2U);
    const auto output = m_scheduler.takeOutput(queue);
    ASSERT_TRUE(output.has_value());
    EXPECT_THAT(*output, StartsWith("%PDF"));
    keep(*output);

    // It is still there for the print system; a machine that took longer so far cannot tell.
    std::this_thread::sleep_until(printedAt + 8s);
    const auto pagesThen = temporaryPages().size();
    if (std::chrono::steady_clock::now() < printedAt + 9s) {
        EXPECT_EQ(pagesThen, 2U);
    }

    // The page is the sheet, and the photo's corners lie where they must, to 0.2 mm.
    const std::string printed = m_folder.write("printed.pdf", *output);
    const QSizeF page = pageSizePoints(printed);
    EXPECT_NEAR(page.width(), 297.0 / 25.4 * 72, 0.15);
    EXPECT_NEAR(page.height(), 420.0 / 25.4 * 72, 0.15);
    constexpr double pixelsPerMM = 10;
    const QRect ink = inkedArea(rasterised(printed, {2970, 4200}));
    // 287 x 405 mm remain; 2:3 fits by its height: 270 mm wide, in the middle.
    EXPECT_NEAR(ink.left() / pixelsPerMM, 5 + (287 - 270) / 2.0, 0.2);
    EXPECT_NEAR((ink.right() + 1) / pixelsPerMM, 297 - 5 - (287 - 270) / 2.0, 0.2);
    EXPECT_NEAR(ink.top() / pixelsPerMM, 10, 0.2);
    EXPECT_NEAR((ink.bottom() + 1) / pixelsPerMM, 415, 0.2);

    // A printed page went ten seconds later; a dry run's stays, and so does a failed print's.
    m_scheduler.removeQueue(queue);
    press(QStringLiteral("Print"));
    QTest::mouseClick(
        control<QAbstractButton>(dialog(QStringLiteral("Print")), QStringLiteral("Print")),
        Qt::LeftButton);
    ASSERT_TRUE(manager().lastPrintError->has_value());
    EXPECT_THAT(**manager().lastPrintError, StartsWith("Print failed: "));
    EXPECT_GT((*manager().lastPrintError)->size(), std::string("Print failed: ").size());
    while (temporaryPages().size() > 2 && std::chrono::steady_clock::now() < printedAt + 60s)
        std::this_thread::sleep_for(50ms);
    const auto left = temporaryPages();
    EXPECT_EQ(left.size(), 2U);
    EXPECT_THAT(left, testing::Contains(dryPage));

    // The preset is there after a restart, the settings are not; it brings them back, until it is
    // deleted for good.
    m_app.reset();
    start();
    ASSERT_EQ(manager().presets->size(), 1U);
    EXPECT_EQ(manager().presets->front().name, " A3 satin");
    EXPECT_EQ(manager().presets->front().paperSizeID, "A3");
    EXPECT_EQ(manager().margins->top, 5);
    EXPECT_EQ(manager().image.get(), nullptr);
    const PrintPreset preset = manager().presets->front();
    manager().applyPreset(preset);
    EXPECT_EQ(manager().margins.get(), (Margins{.top = 10, .bottom = 5, .left = 5, .right = 5}));
    EXPECT_EQ(manager().selectedPaperSizeID.get(), "A3");
    EXPECT_EQ(manager().selectedPaperTypeID.get(), "Glossy");
    manager().deletePreset(preset);
    m_app.reset();
    start();
    EXPECT_TRUE(manager().presets->empty());
}

TEST_F(Journey, checksForUpdatesFromTheApplicationMenu) {
    start();
    QStringList items;
    QAction* check = nullptr;
    for (auto* item : m_app->window()->applicationMenu()->actions()) {
        items << item->text();
        if (item->text() == QStringLiteral("Check for Updates…"))
            check = item;
    }
    ASSERT_NE(check, nullptr);
    EXPECT_EQ(items.value(0), QStringLiteral("About Lumivert"));
    EXPECT_EQ(items.value(1), check->text());
    ASSERT_TRUE(waitFor([&] { return check->isEnabled(); }));
    check->trigger();
    EXPECT_EQ(m_world.updateEngine.checks.size(), 1U);
    EXPECT_TRUE(waitFor([&] { return !check->isEnabled(); }));
}

TEST_F(Journey, keepsWhatWasLoadedWhenTheFileGoes) {
    start();
    openByDialog(m_folder / "first.jpg");
    std::filesystem::resize_file(m_folder / "first.jpg", 100);
    std::filesystem::remove(m_folder / "first.jpg");
    manager().sendToCUPS(false);
    EXPECT_EQ(manager().lastPrintError.get(), std::nullopt);
    const auto output = m_scheduler.takeOutput(queue);
    ASSERT_TRUE(output.has_value());
    // The sheet is not turned: 200 mm wide, two thirds of that high.
    const QRect ink = inkedArea(rasterised(m_folder.write("page.pdf", *output), {2100, 2970}));
    EXPECT_NEAR(ink.width(), 2000, 4);
    EXPECT_NEAR(ink.height(), 2000 * 2 / 3.0, 4);
}

TEST_F(Journey, prefersTheBorderlessChoiceOfTheQueue) {
    start();
    openByDialog(m_folder / "second.JPG");
    manager().borderless = true;
    manager().scalingMode = ScalingMode::fillPage;
    manager().sendToCUPS(false);
    EXPECT_THAT(**manager().lastCUPSCommand, HasSubstr("-o PageSize=A4.Fullbleed "));
    const auto output = m_scheduler.takeOutput(queue);
    ASSERT_TRUE(output.has_value());
    const QRect ink = inkedArea(rasterised(m_folder.write("page.pdf", *output), {2100, 2970}));
    EXPECT_EQ(ink, QRect(0, 0, 2100, 2970));
}

} // namespace
} // namespace lumivert
