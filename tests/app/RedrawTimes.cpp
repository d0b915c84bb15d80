// lumivert_redraw_times PHOTO [WIDTH HEIGHT]: moves a margin slider of a window of that size and
// prints how long a step takes from the slider's change to the painted and flushed window.

#include "app/SystemServices.h"
#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "views/ContentView.h"
#include "views/controls/StepSlider.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QStyleFactory>

#include <algorithm>
#include <iostream>
#include <vector>

using namespace lumivert;

namespace {

void wait(int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds)
        QApplication::processEvents(QEventLoop::AllEvents, 10);
}

StepSlider* sliderNamed(QWidget& window, const QString& name) {
    for (StepSlider* slider : window.findChildren<StepSlider*>())
        if (slider->accessibleName() == name && slider->isVisible())
            return slider;
    return nullptr;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 2 && arguments.size() != 4) {
        std::cerr << "usage: lumivert_redraw_times PHOTO [WIDTH HEIGHT]\n";
        return 2;
    }
    SystemServices services;
    const AppServices real = services.appServices();
    fakes::FakePlatform fakes;
    const Platform platform{fakes.processes,      fakes.files,       fakes.preferences,
                            real.platform.images, fakes.colorSpaces, fakes.pdf,
                            fakes.dispatcher,     fakes.desktop,     fakes.uuids,
                            fakes.console};
    LumivertApp app(
        {.platform = platform, .providersOf = real.providersOf, .firstWindowPainted = nullptr});
    app.openWindow();
    if (arguments.size() == 4)
        app.window()->resize(arguments[2].toInt(), arguments[3].toInt());
    app.printManager()->loadImage(FileUrl::fromPath(arguments[1].toStdString()));
    wait(1000);

    StepSlider* slider = sliderNamed(*app.window(), "Top:");
    std::vector<double> milliseconds;
    for (int step = 0; step < 400; ++step) {
        const int position = step % 80 < 40 ? step % 40 : 40 - step % 40;
        QElapsedTimer timer;
        timer.start();
        slider->setValue(20 + position);
        QApplication::sendPostedEvents();
        QApplication::processEvents();
        milliseconds.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        // A mouse moves again after a frame; a fine pass may begin in between.
        wait(4);
    }
    std::ranges::sort(milliseconds);
    const auto at = [&](double share) {
        return milliseconds[static_cast<std::size_t>(share *
                                                     static_cast<double>(milliseconds.size() - 1))];
    };
    const QSize size = app.window()->size();
    std::cout << size.width() << " x " << size.height() << ": median " << at(0.5) << " ms, p99 "
              << at(0.99) << " ms, most " << at(1) << " ms\n";
}
