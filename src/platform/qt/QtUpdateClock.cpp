#include "platform/qt/QtUpdateClock.h"

#include <QRandomGenerator>
#include <QTimer>

#include <utility>

namespace lumivert {

std::chrono::sys_seconds QtUpdateClock::now() {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

UpdateClock::Alarm QtUpdateClock::after(std::chrono::milliseconds delay,
                                        std::function<void()> task) {
    auto timer = std::make_shared<QTimer>();
    timer->setSingleShot(true);
    QObject::connect(timer.get(), &QTimer::timeout, timer.get(), [task = std::move(task)] {
        const auto copy = task; // the task may destroy the timer, and so itself
        copy();
    });
    timer->start(delay);
    return timer;
}

std::chrono::seconds QtUpdateClock::randomBetween(std::chrono::seconds least,
                                                  std::chrono::seconds most) {
    return least + std::chrono::seconds(QRandomGenerator::system()->bounded(
                       static_cast<quint32>((most - least).count() + 1)));
}

} // namespace lumivert
