#include "views/controls/Refresh.h"

#include "platform/Observable.h"

#include <utility>

namespace lumivert {

namespace {

// These are children of the widget that they serve, so they end with it and are found through it.

class Condition : public QObject {
    Q_OBJECT
public:
    Condition(QWidget* widget, std::function<bool()> shown)
        : QObject(widget)
        , m_widget(widget)
        , m_shown(std::move(shown)) {}

    void apply() {
        const bool shown = m_shown();
        if (shown == m_widget->isHidden())
            m_widget->setVisible(shown);
    }

private:
    QWidget* m_widget;
    std::function<bool()> m_shown;
};

class Refresher : public QObject {
    Q_OBJECT
public:
    Refresher(QWidget* widget, std::function<void()> refresh)
        : QObject(widget)
        , m_widget(widget)
        , m_refresh(std::move(refresh)) {}

    void applyIfShown(const QWidget* root) {
        if (m_widget == root || m_widget->isVisibleTo(root))
            m_refresh();
    }

private:
    QWidget* m_widget;
    std::function<void()> m_refresh;
};

class Follower : public QObject {
public:
    Follower(QWidget* root, const ObservableObject& source)
        : QObject(root)
        , m_subscription(source.subscribe([root] { refreshTree(root); })) {}

private:
    Subscription m_subscription;
};

} // namespace

void showWhen(QWidget* widget, std::function<bool()> condition) {
    new Condition(widget, std::move(condition));
}

void whenRefreshed(QWidget* widget, std::function<void()> refresh) {
    new Refresher(widget, std::move(refresh));
}

void refreshTree(QWidget* root) {
    // Conditions first: a control that is about to be hidden may have nothing valid to show.
    for (Condition* condition : root->findChildren<Condition*>())
        condition->apply();
    for (Refresher* refresher : root->findChildren<Refresher*>())
        refresher->applyIfShown(root);
}

void keepFresh(QWidget* root, const ObservableObject& source) {
    new Follower(root, source);
    refreshTree(root);
}

} // namespace lumivert

#include "Refresh.moc"
