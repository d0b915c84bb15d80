#include "Windows.h"

#include "BenchWorld.h"
#include "Timing.h"
#include "app/LumivertApp.h"
#include "manager/PrintManager.h"
#include "manager/SoftProof.h"
#include "views/preview/PaperPreview.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QMimeData>
#include <QScreen>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace lumivert::bench {
namespace {

// Counts the paintings of whatever widget it watches, timing them from `restart`.
class PaintWatch : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

void runEventsFor(int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
}

Seconds dropToPreview(const std::string& photo) {
    BenchWorld world;
    LumivertApp app(world.appServices());
    app.openWindow();
    runEventsFor(300); // the spare decoder is up
    // Hidden, and so not painted, until there is a photo.
    PaintWatch watch;
    app.window()->findChild<PaperPreview*>()->installEventFilter(&watch);
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(QString::fromStdString(photo))});
    return timed([&] {
        QDragEnterEvent enter({50, 50}, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(app.window(), &enter);
        QDropEvent drop({50, 50}, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(app.window(), &drop);
        QDeadlineTimer patience(30000);
        while (watch.paints == 0) {
            if (patience.hasExpired())
                throw std::runtime_error(photo + " was not shown");
            QApplication::processEvents(QEventLoop::AllEvents, 1000);
        }
    });
}

void benchRedraw(const std::string& photo, QSize size, double medianLimit, double worstLimit) {
    BenchWorld world;
    LumivertApp app(world.appServices());
    app.openWindow();
    app.window()->resize(size);
    PrintManager& pm = *app.printManager();
    pm.loadImage(FileUrl::fromPath(photo));
    runEventsFor(500);
    auto* preview = app.window()->findChild<PaperPreview*>();
    PaintWatch watch;
    preview->installEventFilter(&watch);
    std::vector<double> times;
    for (int i = 0; i < 400; ++i) {
        Margins margins = pm.margins;
        margins.top = 5 + 0.5 * (i % 60);
        const int before = watch.paints;
        const Seconds seconds = timed([&] {
            pm.margins = margins;
            QApplication::processEvents(QEventLoop::AllEvents);
        });
        // Half a millimetre may not move anything by a pixel: then nothing is painted.
        if (watch.paints > before)
            times.push_back(seconds);
    }
    if (times.size() < 100)
        throw std::runtime_error("the slider moved too little");
    const std::string work = "redraw while a slider moves, " + std::to_string(size.width()) +
                             " x " + std::to_string(size.height());
    const double median = quantile(times, 0.5) * 1000;
    const double worst = quantile(times, 0.99) * 1000;
    printRow(work + ", median", "–", milliseconds(median / 1000), median, medianLimit, " ms");
    printRow(work + ", p99", "–", milliseconds(worst / 1000), worst, worstLimit, " ms");
}

/// From the choice of the other of two intents, both shown before, to its painted proof.
void benchIntents(const std::string& photo, const std::string& profile) {
    BenchWorld world;
    LumivertApp app(world.appServices());
    app.openWindow();
    PrintManager& pm = *app.printManager();
    pm.loadImage(FileUrl::fromPath(photo));
    pm.availableICCProfiles = {{profile, "bench", profile, true}};
    pm.selectedICCProfileID = profile;
    PaintWatch watch;
    app.window()->findChild<PaperPreview*>()->installEventFilter(&watch);
    const auto show = [&](RenderingIntent intent) {
        const int before = watch.paints;
        const Seconds seconds = timed([&] {
            QDeadlineTimer patience(30000);
            pm.renderingIntent = intent;
            do {
                if (patience.hasExpired())
                    throw std::runtime_error("the proof was not shown");
                QApplication::processEvents(QEventLoop::AllEvents, 1);
            } while (pm.previewProofState() != ProofState::shown || watch.paints == before);
        });
        runEventsFor(300); // the settled picture of it
        return seconds;
    };
    std::vector<double> times;
    for (int i = 0; i < 12; ++i)
        times.push_back(show(i % 2 ? RenderingIntent::relative : RenderingIntent::absolute));
    times.erase(times.begin(), times.begin() + 2);
    printRow("another rendering intent in the preview, shown before, 45 MP JPEG, slowest", "–",
             milliseconds(quantile(times, 1)), quantile(times, 1) * 1000, 200, " ms");
}

/// The longest time that nothing else gets its turn while `work` and what it leads to are done.
Seconds longestStall(const std::function<void()>& work) {
    QElapsedTimer sinceTick;
    qint64 longest = 0;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        longest = std::max(longest, sinceTick.nsecsElapsed());
        sinceTick.start();
    });
    tick.start(1);
    sinceTick.start();
    QTimer::singleShot(100, &tick, work);
    runEventsFor(200); // until the work is done, however long that takes
    runEventsFor(500);
    return static_cast<double>(longest) / 1e9;
}

void benchStalls(const std::string& name, const std::string& photo, const std::string& profile) {
    const std::string loading = "longest stall of the event loop, opening, " + name;
    const std::string printing = "longest stall of the event loop, page with a profile, " + name;
    if (!isWanted(loading) && !isWanted(printing))
        return;
    std::vector<double> loads;
    std::vector<double> pages;
    for (int i = 0; i < 3; ++i) {
        BenchWorld world;
        LumivertApp app(world.appServices());
        app.openWindow();
        runEventsFor(300); // the spare decoder is up
        PrintManager& pm = *app.printManager();
        pm.availablePrinters = {{"Q", "Q"}};
        pm.selectedPrinterID = "Q";
        loads.push_back(longestStall([&] { pm.loadImage(FileUrl::fromPath(photo)); }));
        pm.availableICCProfiles = {{profile, "bench", profile, true}};
        pm.selectedICCProfileID = profile;
        runEventsFor(3000); // the proof is there
        pages.push_back(longestStall([&] { pm.sendToCUPS(true); }));
        if (!*pm.image || pm.lastPrintError->has_value())
            throw std::runtime_error(photo + " was not printed");
    }
    for (const auto& [work, times] : {std::pair(loading, loads), {printing, pages}}) {
        const double median = quantile(times, 0.5);
        printRow(work, "–", milliseconds(median), median * 1000, 0, " ms");
    }
}

} // namespace

void benchStalls(const BenchFiles& files) {
    benchStalls("45 MP JPEG", files.jpeg45, files.profile);
    benchStalls("400 MP TIFF", files.tiff400, files.profile);
    benchStalls("45 MP camera RAW", files.raw45, files.profile);
    benchStalls("45 MP HEIC", files.heic45, files.profile);
}

void benchWindows(const BenchFiles& files) {
    constexpr QSize large(3840, 2160);
    if (QGuiApplication::primaryScreen()->size() == large) {
        benchRedraw(files.jpeg45, large, 0, 16);
        return;
    }
    const Comparison drop = compare(
        5, [&] { return dropToPreview(files.jpeg45); },
        [&] {
            return timedProcess({"vipsthumbnail", "-s", "2048", files.jpeg45, "-o",
                                 files.scratch + "/thumbnail.jpg"});
        });
    printRow("drop to first painted preview, 45 MP JPEG", "`vipsthumbnail -s 2048`, whole process",
             milliseconds(drop.ours) + " : " + milliseconds(drop.theirs), drop.ratio, 1.2, " x");

    const Comparison raw = compare(
        5, [&] { return dropToPreview(files.raw45); },
        [&] {
            return timedProcess({"dcraw_emu", "-h", "-w", "-Z", "-", files.raw45});
        });
    printRow("drop to first painted preview, 45 MP camera RAW", "`dcraw_emu -h`, whole process",
             milliseconds(raw.ours) + " : " + milliseconds(raw.theirs), raw.ratio, 1.3, " x");

    benchRedraw(files.jpeg45, {1100, 750}, 4, 8);

    benchIntents(files.jpeg45, files.tableRgb);

    const std::string bin = QApplication::applicationDirPath().toStdString();
    std::vector<double> tools;
    std::vector<double> own;
    std::vector<double> least;
    std::vector<double> ratios;
    for (int i = 0; i < 16; ++i) {
        const double t = timedProcess({"/bin/zsh", "-c", "lpstat -p 2>/dev/null; true"}) +
                         timedProcess({"/bin/zsh", "-c", "lpstat -d 2>/dev/null; true"});
        forgetPreferences();
        const double a = timedProcess({bin + "/first_window"});
        const double b = timedProcess({bin + "/minimal_window"});
        if (i == 0)
            continue;
        tools.push_back(t);
        own.push_back(a);
        least.push_back(b);
        ratios.push_back((a - t) / b);
    }
    printRow("start to first painted window, no queue, less the two tools",
             "a minimal Qt Widgets window, whole process",
             milliseconds(quantile(own, 0.5)) + " - " + milliseconds(quantile(tools, 0.5)) + " : " +
                 milliseconds(quantile(least, 0.5)),
             quantile(ratios, 0.5), 2, " x");
}

} // namespace lumivert::bench
