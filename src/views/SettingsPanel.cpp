#include "views/SettingsPanel.h"

#include "manager/PageGeometry.h"
#include "manager/PrintManager.h"
#include "model/Text.h"
#include "platform/Image.h"
#include "views/MillimetreInputs.h"
#include "views/PresetRow.h"
#include "views/SettingsTexts.h"
#include "views/controls/Accessibility.h"
#include "views/controls/Builders.h"
#include "views/controls/BusyPointer.h"
#include "views/controls/Dialogs.h"

#include <QApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace lumivert {

namespace {

QString fromUtf8(const std::string& text) {
    return QString::fromStdString(text);
}

OrientedPaper paperAsItLies(const PrintManager& pm) {
    return orientedPaper(pm.selectedPaperSize(), pm.effectiveOrientation());
}

bool hasImage(const PrintManager& pm) {
    return pm.image.get() != nullptr;
}

} // namespace

SettingsPanel::SettingsPanel(PrintManager& pm, QWidget* parent)
    : QScrollArea(parent)
    , m_pm(pm)
    , m_printerID(m_pm.selectedPrinterID)
    , m_printerSubscription(m_pm.selectedPrinterID.subscribe([this] { reactToPrinter(); })) {
    setFixedWidth(columnWidth);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);

    QWidget* content = column(
        20,
        {
            visibleWhen([this] { return m_pm.imageURL.get().has_value(); }, imageGroup()),
            presetsGroup(),
            printerGroup(),
            paperGroup(),
            marginsGroup(),
            scalingGroup(),
            colorGroup(),
            button(tr("Print"), [this] { m_pm.showConfirmPrint = true; },
                   {.size = ButtonSize::large,
                    .icon = Icon::printer,
                    .fullWidth = true,
                    .prominent = true,
                    .shortcut = QKeySequence(Qt::CTRL | Qt::Key_P),
                    .enabledWhen = [this] { return hasImage(m_pm); }}),
            button(tr("Show CUPS Command"),
                   [this] {
                       const BusyPointer busy;
                       m_pm.sendToCUPS(true);
                   },
                   {.icon = Icon::terminal,
                    .fullWidth = true,
                    .enabledWhen = [this] { return hasImage(m_pm); }}),
            visibleWhen([this] { return m_pm.lastCUPSCommand.get().has_value(); }, commandGroup()),
            visibleWhen([this] { return m_pm.lastPrintError.get().has_value(); }, errorNotice()),
            flexibleSpace(),
        });

    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(content, 1, Qt::AlignLeft);
    whenAppearanceChanges(page, [this, content, layout] {
        // The scroll bar comes and goes within the padding behind the content: nothing moves.
        constexpr int padding = 16;
        const int scrollBar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
        content->setFixedWidth(columnWidth - padding - std::max(padding, scrollBar + 2));
        layout->setContentsMargins(mirrored({padding, padding, 0, padding}));
    });
    alignPickerLabels(page);
    // What is hidden is so before it is first laid out: that costs as much as what is shown.
    keepFresh(page, pm);
    setWidget(page);
    presentSavePreset();
}

void SettingsPanel::tellOf(const Published<std::optional<std::string>>& outcome, QWidget* notice) {
    m_outcomes.push_back(outcome.subscribe([this, &outcome, notice] {
        if (!outcome.get())
            return;
        // Once what is shown has been refreshed and laid out.
        QTimer::singleShot(0, notice, [this, &outcome, notice] {
            if (!outcome.get())
                return;
            const bool isError = &outcome == &m_pm.lastPrintError;
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

QWidget* SettingsPanel::imageGroup() {
    const auto pixels = [this]() -> const PixelSize* {
        const std::shared_ptr<const Image>& image = m_pm.image;
        return image && !image->representations().empty() ? &image->representations().front()
                                                          : nullptr;
    };
    return group(
        tr("Image"), 4,
        {
            elidedText(
                [this] {
                    return m_pm.imageURL.get() ? fromUtf8(m_pm.imageURL.get()->lastPathComponent())
                                               : QString();
                },
                TextSize::headline),
            visibleWhen([pixels] { return pixels() != nullptr; },
                        text(TextSource([pixels] { return fromUtf8(pixelSizeText(*pixels())); }),
                             TextSize::caption, Tone::secondary)),
            button(tr("Change Image..."), [this] { m_pm.showFileImporter = true; },
                   {.size = ButtonSize::small}),
        });
}

QWidget* SettingsPanel::presetsGroup() {
    const auto makeRow = [this](const PrintPreset& preset) {
        return presetRow(
            preset, [this, preset] { m_pm.applyPreset(preset); },
            [this, preset] { m_pm.deletePreset(preset); });
    };
    return group(tr("Presets"), 8,
                 {
                     visibleWhen([this] { return m_pm.presets->empty(); },
                                 text(tr("No saved presets"), TextSize::caption, Tone::secondary)),
                     visibleWhen([this] { return !m_pm.presets->empty(); },
                                 overhanging(presetRowOverhang,
                                             rows<PrintPreset>(8, m_pm.presets, makeRow))),
                     divider(),
                     button(tr("Save Current Settings"), [this] { m_pm.showSavePreset = true; },
                            {.size = ButtonSize::small, .icon = Icon::plus, .fullWidth = true}),
                 });
}

QWidget* SettingsPanel::printerGroup() {
    const auto printers = [this] {
        std::vector<PickerItem> items;
        for (const Printer& printer : m_pm.availablePrinters.get())
            items.push_back({printer.id, printerTitle(printer)});
        return items;
    };
    return group(tr("Printer"), 10,
                 {
                     picker(tr("Printer"), printers, binding(m_pm.selectedPrinterID)),
                     visibleWhen([this] { return m_pm.availablePrinters->empty(); },
                                 text(tr("No printers found"), TextSize::caption, Tone::warning)),
                     button(tr("Refresh"),
                            [this] {
                                const BusyPointer busy;
                                m_pm.detectPrinters();
                            },
                            {.size = ButtonSize::small}),
                 });
}

QWidget* SettingsPanel::paperGroup() {
    return group(tr("Paper"), 10,
                 {
                     picker(tr("Size"), m_pm.availablePaperSizes, m_pm.selectedPaperSizeID,
                            [this] { return fromUtf8(unmeasuredSizeNote(m_pm)); }),
                     picker(tr("Type"), m_pm.availablePaperTypes, m_pm.selectedPaperTypeID),
                     picker(tr("Orientation"), m_pm.orientation),
                 });
}

QWidget* SettingsPanel::marginsGroup() {
    return group(
        tr("Margins"), 10,
        {
            toggle(tr("Borderless"), binding(m_pm.borderless)),
            visibleWhen(
                [this] { return m_pm.borderless && !m_pm.selectedPaperSize().cupsFullbleedName; },
                paragraph(
                    tr("This paper size may not support borderless printing on all printers."),
                    TextSize::caption, Tone::warning)),
            visibleWhen([this] { return !m_pm.borderless; }, sizingControls()),
        });
}

QWidget* SettingsPanel::sizingControls() {
    return column(10,
                  {
                      segmentedPicker(tr("Mode"), m_pm.sizingMode),
                      visibleWhen([this] { return m_pm.sizingMode.get() == SizingMode::margins; },
                                  marginControls()),
                      visibleWhen([this] { return m_pm.sizingMode.get() == SizingMode::imageSize; },
                                  imageSizeControls()),
                  });
}

QWidget* SettingsPanel::marginControls() {
    const auto margin = [this](const QString& label, double Margins::*side) {
        constexpr double mostMM = 50;
        auto* row = new MarginSlider(label, binding(m_pm.margins, side), [] { return mostMM; });
        return row->describedAs(tr("margin in millimetres"));
    };
    return column(10, {margin(tr("Top"), &Margins::top), margin(tr("Bottom"), &Margins::bottom),
                       margin(tr("Left"), &Margins::left), margin(tr("Right"), &Margins::right)});
}

QWidget* SettingsPanel::imageSizeControls() {
    const auto side = [this](const QString& label, Published<double>& value,
                             double OrientedPaper::*most) {
        auto* row = new ImageSizeInput(label, binding(value),
                                       [this, most] { return paperAsItLies(m_pm).*most; });
        return row->describedAs(tr("of the image in millimetres"));
    };
    const auto place = [this](const QString& label, Published<double>& value,
                              const Published<double>& size, double OrientedPaper::*sheet) {
        auto* row = new MarginSlider(label, binding(value), [this, &size, sheet] {
            return std::max(0.0, paperAsItLies(m_pm).*sheet - size);
        });
        row->describedAs(tr("place of the image in millimetres"));
        return visibleWhen([this] { return !m_pm.imageSizeCentered; }, row);
    };
    return column(
        10,
        {
            side(tr("Width"), m_pm.imageWidthMM, &OrientedPaper::widthMM),
            side(tr("Height"), m_pm.imageHeightMM, &OrientedPaper::heightMM),
            divider(),
            toggle(tr("Centered"), binding(m_pm.imageSizeCentered)),
            place(tr("Top"), m_pm.imageSizeMarginTop, m_pm.imageHeightMM, &OrientedPaper::heightMM),
            place(tr("Left"), m_pm.imageSizeMarginLeft, m_pm.imageWidthMM, &OrientedPaper::widthMM),
            row(6,
                {
                    text(tr("Margins:"), TextSize::caption, Tone::secondary),
                    numberText(
                        [this] { return fromUtf8(marginsText(m_pm.marginsFromImageSize())); },
                        TextSize::caption, Tone::secondary),
                }),
        });
}

QWidget* SettingsPanel::scalingGroup() {
    return group(tr("Scaling"), 10, {picker(tr("Mode"), m_pm.scalingMode)});
}

QWidget* SettingsPanel::colorGroup() {
    return group(
        tr("Color"), 10,
        {
            picker(tr("ICC Profile"), m_pm.availableICCProfiles, m_pm.selectedICCProfileID),
            visibleWhen(
                [this] { return m_pm.selectedICCProfileID.get() != printerManagedProfile().id; },
                picker(tr("Rendering"), m_pm.renderingIntent)),
        });
}

QWidget* SettingsPanel::commandGroup() {
    QWidget* shown = notice(
        padded(4, selectableText([this] { return fromUtf8(m_pm.lastCUPSCommand->value_or("")); },
                                 TextSize::monospacedCaption, Tone::primary)));
    tellOf(m_pm.lastCUPSCommand, shown);
    return group(tr("Command"), 0, {shown});
}

QWidget* SettingsPanel::errorNotice() {
    QWidget* shown =
        notice(selectableText([this] { return fromUtf8(m_pm.lastPrintError->value_or("")); },
                              TextSize::caption, Tone::error));
    tellOf(m_pm.lastPrintError, shown);
    return shown;
}

void SettingsPanel::presentSavePreset() {
    present(
        this, m_pm.showSavePreset,
        [this](QWidget* window) {
            auto* alert = new Alert(window, tr("Save Preset"), tr("Enter a name for this preset"),
                                    tr("Save"));
            QLineEdit* field = alert->addField(tr("Preset name"), m_presetName);
            connect(field, &QLineEdit::textChanged, this,
                    [this](const QString& typed) { m_presetName = typed; });
            return alert;
        },
        [this](QDialog&, int result) {
            if (result != QDialog::Accepted) {
                m_presetName.clear();
            } else if (!isBlankName(m_presetName.toStdString())) {
                m_pm.savePreset(m_presetName.toStdString());
                m_presetName.clear();
            }
        });
}

} // namespace lumivert
