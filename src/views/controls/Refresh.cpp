#include "views/controls/Refresh.h"

#include "platform/Observable.h"

#include <QCoreApplication>
#include <QEvent>

#include <utility>

namespace lumivert {

namespace {

/// A child of the widget that it serves, so it ends with it and is found through it.
class Attachment : public QObject {
    Q_OBJECT
public:
    Attachment(QWidget* served, bool decides, std::function<void()> how)
        : QObject(served)
        , widget(served)
        , isCondition(decides)
        , apply(std::move(how)) {}

    QWidget* const widget;
    const bool isCondition;
    const std::function<void()> apply;
};

class Follower : public QObject {
public:
    Follower(QWidget* root, const ObservableObject& source)
        : QObject(root)
        , m_root(root)
        , m_subscription(source.subscribe([this] { schedule(); })) {}

protected:
    void customEvent(QEvent*) override { refresh(); }
    // A control that a person works before the posted event arrives would act on what it shows.
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->isInputEvent())
            refresh();
        return false;
    }

private:
    void schedule() {
        if (std::exchange(m_isDue, true))
            return;
        QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
        qApp->installEventFilter(this);
    }
    void refresh() {
        if (!std::exchange(m_isDue, false))
            return;
        qApp->removeEventFilter(this);
        refreshTree(m_root);
    }

    QWidget* m_root;
    bool m_isDue = false;
    Subscription m_subscription;
};

} // namespace

QWidget* visibleWhen(std::function<bool()> condition, QWidget* widget) {
    new Attachment(widget, true, [widget, condition = std::move(condition)] {
        const bool isShown = condition();
        if (isShown == widget->isHidden())
            widget->setVisible(isShown);
    });
    return widget;
}

void whenRefreshed(QWidget* widget, std::function<void()> refresh) {
    new Attachment(widget, false, std::move(refresh));
}

void refreshTree(QWidget* root) {
    const QList<Attachment*> all = root->findChildren<Attachment*>();
    // Conditions first: a control that is about to be hidden may have nothing valid to show.
    for (const bool conditions : {true, false})
        for (const Attachment* each : all)
            if (each->isCondition == conditions &&
                (conditions || each->widget == root || each->widget->isVisibleTo(root)))
                each->apply();
}

void keepFresh(QWidget* root, const ObservableObject& source) {
    new Follower(root, source);
    refreshTree(root);
}

} // namespace lumivert

#include "Refresh.moc"
