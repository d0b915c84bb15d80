#include "platform/qt/QtUpdateClock.h"

#include <QRandomGenerator>
#include <QTimer>

#include <utility>

namespace lumivert {

namespace {

class TimerAlarm : public UpdateAlarm {
public:
    TimerAlarm(std::chrono::milliseconds delay, std::function<void()> task) {
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [task = std::move(task)] {
            const auto copy = task; // the task may destroy the alarm, and so itself
            copy();
        });
        m_timer.start(delay);
    }

private:
    QTimer m_timer;
};

} // namespace

std::chrono::sys_seconds QtUpdateClock::now() {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

std::unique_ptr<UpdateAlarm> QtUpdateClock::after(std::chrono::milliseconds delay,
                                                  std::function<void()> task) {
    return std::make_unique<TimerAlarm>(delay, std::move(task));
}

std::chrono::seconds QtUpdateClock::randomBetween(std::chrono::seconds least,
                                                  std::chrono::seconds most) {
    return least + std::chrono::seconds(QRandomGenerator::system()->bounded(
                       static_cast<quint32>((most - least).count() + 1)));
}

} // namespace lumivert
