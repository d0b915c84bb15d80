#include "views/controls/Appearance.h"

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QPainter>
#include <QPointer>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivert {

namespace {

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

QColor mixed(const QColor& from, const QColor& to, double share) {
    const auto channel = [share](float a, float b) {
        return static_cast<float>(a + (b - a) * share);
    };
    return QColor::fromRgbF(channel(from.redF(), to.redF()), channel(from.greenF(), to.greenF()),
                            channel(from.blueF(), to.blueF()));
}

// A group box may tint its ground a little: what is chosen for the window's colour keeps its
// contrast on that as well.
constexpr double groupTint = 1.12;

/// Tells of a new font, palette or style once all widgets have heard of it.
class AppearanceNews : public QObject {
    Q_OBJECT
public:
    static AppearanceNews& ofApplication() {
        static QPointer<AppearanceNews> news;
        if (!news)
            qApp->installEventFilter(news = new AppearanceNews(qApp));
        return *news;
    }

signals:
    void changed();

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        const QEvent::Type type = event->type();
        if ((type == QEvent::ApplicationFontChange || type == QEvent::ApplicationPaletteChange ||
             type == QEvent::StyleChange || type == QEvent::ThemeChange) &&
            !std::exchange(m_isDue, true))
            QMetaObject::invokeMethod(this, &AppearanceNews::tell, Qt::QueuedConnection);
        return false;
    }

private:
    using QObject::QObject;

    void tell() {
        // Of another theme of the desktop windows hear as such, and keep the font of the one
        // before.
        for (QWidget* window : QApplication::topLevelWidgets()) {
            QEvent event(QEvent::ApplicationFontChange);
            QCoreApplication::sendEvent(window, &event);
        }
        emit changed();
        m_isDue = false; // only now: all this is no news
    }

    bool m_isDue = false;
};

} // namespace

QColor active(const QPalette& palette, QPalette::ColorRole role) {
    return palette.color(QPalette::Active, role);
}

double contrastRatio(const QColor& a, const QColor& b) {
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor readableOn(const QColor& ground, const QColor& hue, double contrast) {
    const QColor away =
        contrastRatio(ground, Qt::black) > contrastRatio(ground, Qt::white) ? Qt::black : Qt::white;
    constexpr int steps = 50;
    for (int i = 0; i < steps; ++i) {
        // As it will be on the screen, with eight bits a channel.
        const QColor candidate(mixed(hue, away, static_cast<double>(i) / steps).rgb());
        if (contrastRatio(candidate, ground) >= contrast)
            return candidate;
    }
    return away;
}

QFont scaledFont(const QFont& base, double factor) {
    QFont font = base;
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(std::max(1, qRound(font.pixelSize() * factor)));
    return font;
}

QFont fontFor(TextSize size, const QFont& base) {
    constexpr double caption = 0.88;
    QFont font = base;
    switch (size) {
    case TextSize::body:
        break;
    case TextSize::headline:
        font.setBold(true);
        break;
    case TextSize::title2:
        return scaledFont(base, 1.4);
    case TextSize::callout:
        return scaledFont(base, 0.95);
    case TextSize::caption:
        return scaledFont(base, caption);
    case TextSize::monospacedCaption:
        font.setFamilies({QFontDatabase::systemFont(QFontDatabase::FixedFont).family()});
        font.setStyleHint(QFont::Monospace);
        return scaledFont(font, caption);
    }
    return font;
}

QColor colorFor(Tone tone, const QPalette& palette, QPalette::ColorGroup group) {
    const QColor ground = palette.color(group, QPalette::Window);
    const QColor text = palette.color(group, QPalette::WindowText);
    double contrast = leastContrast * groupTint;
    if (group != QPalette::Active)
        contrast = std::min(contrast, contrastRatio(ground, text));
    switch (tone) {
    case Tone::primary:
        break;
    case Tone::secondary:
        return readableOn(ground, mixed(text, ground, 0.38), contrast);
    case Tone::divider:
        return mixed(ground, text, 0.2);
    case Tone::warning:
        return readableOn(ground, QColor(0xe0, 0x7a, 0x00), contrast);
    case Tone::error:
        return readableOn(ground, QColor(0xe0, 0x30, 0x28), contrast);
    }
    return text;
}

QColor accentFill(const QPalette& palette, bool down) {
    constexpr double downShare = 1.4;
    constexpr double smoothing = 1.1; // which the edges of small letters cost
    const QColor text = active(palette, QPalette::HighlightedText);
    const QColor fill =
        readableOn(text, active(palette, QPalette::Highlight), leastContrast * smoothing);
    return down ? readableOn(text, fill, contrastRatio(text, fill) * downShare) : fill;
}

QColor partColor(const QPalette& palette) {
    const QColor ground = active(palette, QPalette::Window);
    return readableOn(ground, ground, leastPartContrast * groupTint);
}

QColor focusColor(const QPalette& palette) {
    return readableOn(active(palette, QPalette::Window), active(palette, QPalette::Highlight),
                      leastPartContrast * groupTint);
}

QColor previewGround(const QPalette& palette) {
    const QColor base = active(palette, QPalette::Base);
    const double share = luminance(base) > 0.5 ? 0.13 : 0.02;
    const int grey = qGray(mixed(base, active(palette, QPalette::Text), share).rgb());
    return {grey, grey, grey};
}

void paintRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& fill,
                  const QPen& outline) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(outline);
    painter.setBrush(fill);
    painter.drawRoundedRect(rect, radius, radius);
}

void whenAppearanceChanges(QWidget* widget, std::function<void()> apply) {
    apply();
    QObject::connect(&AppearanceNews::ofApplication(), &AppearanceNews::changed, widget,
                     std::move(apply));
}

void setTextStyle(QWidget* widget, TextSize size, Tone tone) {
    whenAppearanceChanges(widget, [widget, size, tone] {
        const QFont font = fontFor(size, QApplication::font(widget));
        if (widget->font() != font)
            widget->setFont(font);
        if (tone == Tone::primary)
            return;
        QPalette palette = widget->palette();
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
                palette.setColor(group, role, colorFor(tone, QApplication::palette(), group));
        if (palette != widget->palette())
            widget->setPalette(palette);
    });
}

} // namespace lumivert

#include "Appearance.moc"
