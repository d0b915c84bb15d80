#pragma once

#include <QLabel>
#include <QTextEdit>

namespace lumivert {

/// `text` for a tooltip, shown as it is whatever it looks like; empty for an empty text.
[[nodiscard]] QString plainToolTip(const QString& text);

/// Answers a widget's request for a tooltip: the whole text where another is shown, else none.
/// Whether `event` was such a request.
bool answerWithWhole(QWidget* widget, QEvent* event, const QString& shown, const QString& whole);

/// One line of plain text that is cut where it does not fit, as `mode` says; then its tooltip is
/// the whole text.
class ElidedLabel : public QLabel {
    Q_OBJECT
public:
    explicit ElidedLabel(Qt::TextElideMode mode);

    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString shownText() const;

    Qt::TextElideMode m_mode;
};

/// One line in a frame that cannot grow: the font is made smaller, down to two fifths, until
/// `reference` fits (so that several of these look alike), and all digits are equally wide.
class FittedLabel : public QLabel {
    Q_OBJECT
public:
    FittedLabel(const QString& reference, Qt::Alignment alignment);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QFont fittedFont() const;

    QString m_reference;
};

/// Plain text that can be selected and copied and that wraps anywhere where it has to, as tall as
/// it needs.
class WrappedText : public QTextEdit {
    Q_OBJECT
public:
    WrappedText();

    void setShownText(const QString& text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void wheelEvent(QWheelEvent* event) override;

private:
    QString m_shownText;
};

} // namespace lumivert
