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
    enum class Kind { condition, refresh };

    Attachment(QWidget* served, Kind what, std::function<void()> how)
        : QObject(served)
        , widget(served)
        , kind(what)
        , apply(std::move(how)) {}

    QWidget* const widget;
    const Kind kind;
    const std::function<void()> apply;
};

class Follower : public QObject {
public:
    Follower(QWidget* root, const ObservableObject& source)
        : QObject(root)
        , m_root(root)
        , m_subscription(source.subscribe([this] { schedule(); })) {}

    bool event(QEvent* event) override {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        refresh();
        return true;
    }

protected:
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

void showWhen(QWidget* widget, std::function<bool()> condition) {
    new Attachment(widget, Attachment::Kind::condition, [widget, shown = std::move(condition)] {
        const bool isShown = shown();
        if (isShown == widget->isHidden())
            widget->setVisible(isShown);
    });
}

void whenRefreshed(QWidget* widget, std::function<void()> refresh) {
    new Attachment(widget, Attachment::Kind::refresh, std::move(refresh));
}

void refreshTree(QWidget* root) {
    const QList<Attachment*> all = root->findChildren<Attachment*>();
    // Conditions first: a control that is about to be hidden may have nothing valid to show.
    for (const Attachment* each : all)
        if (each->kind == Attachment::Kind::condition)
            each->apply();
    for (const Attachment* each : all)
        if (each->kind == Attachment::Kind::refresh &&
            (each->widget == root || each->widget->isVisibleTo(root)))
            each->apply();
}

void keepFresh(QWidget* root, const ObservableObject& source) {
    new Follower(root, source);
    refreshTree(root);
}

} // namespace lumivert

#include "Refresh.moc"
