#include "views/SettingsPanel.h"

#include "manager/PageGeometry.h"
#include "manager/PrintManager.h"
#include "model/Text.h"
#include "platform/Image.h"
#include "views/PresetRow.h"
#include "views/controls/Accessibility.h"
#include "views/controls/Builders.h"
#include "views/controls/BusyPointer.h"
#include "views/controls/Dialogs.h"
#include "views/controls/MillimetreRow.h"

#include <QApplication>
#include <QDialog>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QScrollBar>
#include <QStyle>
#include <QTimer>

#include <algorithm>

namespace lumivert {

namespace {

constexpr int padding = 16;

QString fromUtf8(const std::string& text) {
    return QString::fromStdString(text);
}

QString tr(const char* text) {
    return SettingsPanel::tr(text);
}

OrientedPaper paperAsItLies(const PrintManager& pm) {
    return orientedPaper(pm.selectedPaperSize(), pm.effectiveOrientation());
}

/// What there is to know of the selected size where the queue gives it no measure; else nothing.
QString unmeasuredSizeNote(const PrintManager& pm) {
    if (!pm.selectedPaperSizeIsUnmeasured())
        return {};
    return fromUtf8(pm.selectedPaperSize().name +
                    ": the printer's driver states no measure for this size that Lumivert reads, "
                    "so it counts as A4. \"sudo lumivert-prepare-queue " +
                    pm.selectedPrinterID.get() + "\" shows what would give the sizes their own.");
}

QString marginsText(const Margins& m) {
    return QStringLiteral("T %1  B %2  L %3  R %4 mm")
        .arg(m.top, 0, 'f', 1)
        .arg(m.bottom, 0, 'f', 1)
        .arg(m.left, 0, 'f', 1)
        .arg(m.right, 0, 'f', 1);
}

QWidget* imageGroup(PrintManager& pm) {
    const auto pixels = [&pm] {
        const Bitmap* bitmap = pm.image.get() ? pm.image.get()->bitmap() : nullptr;
        return bitmap ? std::optional(bitmap->pixelSize()) : std::nullopt;
    };
    return group(tr("Image"), 4,
                 {
                     elidedText(
                         [&pm] {
                             return pm.imageURL.get()
                                        ? fromUtf8(pm.imageURL.get()->lastPathComponent())
                                        : QString();
                         },
                         TextSize::headline, Tone::primary, Qt::ElideMiddle),
                     visibleWhen([pixels] { return pixels().has_value(); },
                                 text(TextSource([pixels] {
                                          return QStringLiteral("%1 × %2 px")
                                              .arg(pixels()->width)
                                              .arg(pixels()->height);
                                      }),
                                      TextSize::caption, Tone::secondary)),
                     button(tr("Change Image..."), [&pm] { pm.showFileImporter = true; },
                            {.size = ButtonSize::small}),
                 });
}

QWidget* presetsGroup(PrintManager& pm) {
    const auto makeRow = [&pm](const PrintPreset& preset) {
        return presetRow(
            preset, [&pm, preset] { pm.applyPreset(preset); },
            [&pm, preset] { pm.deletePreset(preset); });
    };
    return group(
        tr("Presets"), 8,
        {
            visibleWhen([&pm] { return pm.presets->empty(); },
                        text(tr("No saved presets"), TextSize::caption, Tone::secondary)),
            visibleWhen([&pm] { return !pm.presets->empty(); },
                        overhanging(presetRowOverhang, rows<PrintPreset>(8, pm.presets, makeRow))),
            divider(),
            button(tr("Save Current Settings"), [&pm] { pm.showSavePreset = true; },
                   {.size = ButtonSize::small, .icon = Icon::plus, .fullWidth = true}),
        });
}

QWidget* printerGroup(PrintManager& pm) {
    const auto printers = [&pm] {
        std::vector<PickerItem> items;
        for (Printer printer : pm.availablePrinters.get()) {
            std::ranges::replace(printer.name, '_', ' ');
            items.push_back({printer.id, printer.name});
        }
        return items;
    };
    return group(tr("Printer"), 10,
                 {
                     picker(tr("Printer"), printers, binding(pm.selectedPrinterID)),
                     visibleWhen([&pm] { return pm.availablePrinters->empty(); },
                                 text(tr("No printers found"), TextSize::caption, Tone::warning)),
                     button(tr("Refresh"),
                            [&pm] {
                                const BusyPointer busy;
                                pm.detectPrinters();
                            },
                            {.size = ButtonSize::small}),
                 });
}

QWidget* paperGroup(PrintManager& pm) {
    return group(tr("Paper"), 10,
                 {
                     picker(tr("Size"), pm.availablePaperSizes, pm.selectedPaperSizeID,
                            [&pm] { return unmeasuredSizeNote(pm); }),
                     picker(tr("Type"), pm.availablePaperTypes, pm.selectedPaperTypeID),
                     picker(tr("Orientation"), pm.orientation),
                 });
}

QWidget* marginControls(PrintManager& pm) {
    const auto margin = [&pm](const QString& label, double Margins::*side) {
        constexpr double mostMM = 50;
        return marginSlider(label, tr("margin in millimetres"), binding(pm.margins, side),
                            [] { return mostMM; });
    };
    return column(10, {margin(tr("Top"), &Margins::top), margin(tr("Bottom"), &Margins::bottom),
                       margin(tr("Left"), &Margins::left), margin(tr("Right"), &Margins::right)});
}

QWidget* imageSizeControls(PrintManager& pm) {
    const auto side = [&pm](const QString& label, Published<double>& value,
                            double OrientedPaper::*most) {
        return imageSizeInput(label, tr("of the image in millimetres"), binding(value),
                              [&pm, most] { return paperAsItLies(pm).*most; });
    };
    const auto place = [&pm](const QString& label, Published<double>& value,
                             const Published<double>& size, double OrientedPaper::*sheet) {
        const auto room = [&pm, &size, sheet] {
            return std::max(0.0, paperAsItLies(pm).*sheet - size);
        };
        return visibleWhen(
            [&pm] { return !pm.imageSizeCentered; },
            marginSlider(label, tr("place of the image in millimetres"), binding(value), room));
    };
    return column(
        10, {
                side(tr("Width"), pm.imageWidthMM, &OrientedPaper::widthMM),
                side(tr("Height"), pm.imageHeightMM, &OrientedPaper::heightMM),
                divider(),
                toggle(tr("Centered"), binding(pm.imageSizeCentered)),
                place(tr("Top"), pm.imageSizeMarginTop, pm.imageHeightMM, &OrientedPaper::heightMM),
                place(tr("Left"), pm.imageSizeMarginLeft, pm.imageWidthMM, &OrientedPaper::widthMM),
                row(6,
                    {
                        text(tr("Margins:"), TextSize::caption, Tone::secondary),
                        numberText([&pm] { return marginsText(pm.marginsFromImageSize()); },
                                   TextSize::caption, Tone::secondary),
                    }),
            });
}

QWidget* sizingControls(PrintManager& pm) {
    return column(10,
                  {
                      segmentedPicker(tr("Mode"), pm.sizingMode),
                      visibleWhen([&pm] { return pm.sizingMode.get() == SizingMode::margins; },
                                  marginControls(pm)),
                      visibleWhen([&pm] { return pm.sizingMode.get() == SizingMode::imageSize; },
                                  imageSizeControls(pm)),
                  });
}

QWidget* marginsGroup(PrintManager& pm) {
    return group(
        tr("Margins"), 10,
        {
            toggle(tr("Borderless"), binding(pm.borderless)),
            visibleWhen(
                [&pm] { return pm.borderless && !pm.selectedPaperSize().cupsFullbleedName; },
                paragraph(
                    tr("This paper size may not support borderless printing on all printers."),
                    TextSize::caption, Tone::warning)),
            visibleWhen([&pm] { return !pm.borderless; }, sizingControls(pm)),
        });
}

QWidget* colorGroup(PrintManager& pm) {
    return group(
        tr("Color"), 10,
        {
            picker(tr("ICC Profile"), pm.availableICCProfiles, pm.selectedICCProfileID),
            visibleWhen(
                [&pm] { return pm.selectedICCProfileID.get() != printerManagedProfile().id; },
                picker(tr("Rendering"), pm.renderingIntent)),
        });
}

} // namespace

SettingsPanel::SettingsPanel(PrintManager& pm)
    : m_pm(pm)
    , m_printerID(pm.selectedPrinterID)
    , m_printerSubscription(pm.selectedPrinterID.subscribe([this] { reactToPrinter(); })) {
    setFixedWidth(columnWidth);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);

    QWidget* command = withRole(
        QAccessible::AlertMessage,
        padded(4, selectableText([&pm] { return fromUtf8(pm.lastCUPSCommand->value_or("")); },
                                 TextSize::monospacedCaption, Tone::primary)));
    QWidget* error = withRole(
        QAccessible::AlertMessage,
        padded(0, selectableText([&pm] { return fromUtf8(pm.lastPrintError->value_or("")); },
                                 TextSize::caption, Tone::error)));
    const auto hasImage = [&pm] { return pm.image.get() != nullptr; };
    QWidget* content =
        column(20, {
                       visibleWhen([&pm] { return pm.imageURL.get().has_value(); }, imageGroup(pm)),
                       presetsGroup(pm),
                       printerGroup(pm),
                       paperGroup(pm),
                       marginsGroup(pm),
                       group(tr("Scaling"), 10, {picker(tr("Mode"), pm.scalingMode)}),
                       colorGroup(pm),
                       button(tr("Print"), [&pm] { pm.showConfirmPrint = true; },
                              {.size = ButtonSize::large,
                               .icon = Icon::printer,
                               .fullWidth = true,
                               .prominent = true,
                               .shortcut = QKeySequence(Qt::CTRL | Qt::Key_P),
                               .enabledWhen = hasImage}),
                       button(tr("Show CUPS Command"),
                              [&pm] {
                                  const BusyPointer busy;
                                  pm.sendToCUPS(true);
                              },
                              {.icon = Icon::terminal, .fullWidth = true, .enabledWhen = hasImage}),
                       visibleWhen([&pm] { return pm.lastCUPSCommand.get().has_value(); },
                                   group(tr("Command"), 0, {command})),
                       visibleWhen([&pm] { return pm.lastPrintError.get().has_value(); }, error),
                       flexibleSpace(),
                   });
    tellOf(pm.lastCUPSCommand, command, false);
    tellOf(pm.lastPrintError, error, true);

    auto* page = new QWidget;
    auto* layout = new QHBoxLayout(page);
    layout->setContentsMargins(0, padding, 0, padding);
    layout->setSpacing(0);
    layout->addSpacing(padding);
    layout->addWidget(content);
    layout->addStretch();
    whenAppearanceChanges(page, [this, content] {
        // The scroll bar comes and goes within the padding behind the content: nothing moves.
        const int scrollBar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
        content->setFixedWidth(columnWidth - padding - std::max(padding, scrollBar + 2));
    });
    alignPickerLabels(page);
    // What is hidden is so before it is first laid out: that costs as much as what is shown.
    keepFresh(page, pm);
    setWidget(page);
    presentSavePreset();
}

void SettingsPanel::tellOf(const Published<std::optional<std::string>>& outcome, QWidget* notice,
                           bool isError) {
    m_outcomes.push_back(outcome.subscribe([this, &outcome, notice, isError] {
        // Once what is shown has been refreshed and laid out.
        QTimer::singleShot(0, notice, [this, &outcome, notice, isError] {
            if (!outcome.get())
                return;
            announce(notice, fromUtf8(*outcome.get()), isError);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
            if (QApplication::mouseButtons() == Qt::NoButton)
                ensureWidgetVisible(notice, 0, 16);
        });
    }));
}

void SettingsPanel::reactToPrinter() {
    if (m_pm.selectedPrinterID.get() == m_printerID)
        return;
    m_printerID = m_pm.selectedPrinterID;
    // A copy: what is loaded may settle the selection anew.
    const std::string printer = m_printerID;
    const BusyPointer busy;
    m_pm.loadPaperSizes(printer);
    m_pm.loadMediaTypes(printer);
}

void SettingsPanel::presentSavePreset() {
    present(
        this, m_pm.showSavePreset,
        [this](QWidget* window) {
            auto* field = new QLineEdit(m_presetName);
            field->setPlaceholderText(tr("Preset name"));
            connect(field, &QLineEdit::textChanged, this,
                    [this](const QString& typed) { m_presetName = typed; });
            return alert(window, tr("Save Preset"), tr("Enter a name for this preset"), tr("Save"),
                         field);
        },
        [this](QDialog&, int result) {
            if (result != QDialog::Accepted) {
                m_presetName.clear();
            } else if (!trimmed(m_presetName.toStdString()).empty()) {
                m_pm.savePreset(m_presetName.toStdString());
                m_presetName.clear();
            }
        });
}

} // namespace lumivert
