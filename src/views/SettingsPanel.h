#pragma once

#include "platform/Observable.h"

#include <QScrollArea>
#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace lumivert {

class PrintManager;

/// The right column of the window: every setting as a control, the presets, the buttons that print,
/// the last command and the last error. Its own reaction: whenever the value of `selectedPrinterID`
/// changes, the paper sizes and then the media types of that printer are loaded. It scrolls to a
/// new command or error, unless a person is dragging something.
class SettingsPanel : public QScrollArea {
    Q_OBJECT
public:
    explicit SettingsPanel(PrintManager& pm);

    static constexpr int columnWidth = 320;

private:
    void presentSavePreset();
    void reactToPrinter();
    /// Brings what a print left behind into view, and has it said.
    void tellOf(const Published<std::optional<std::string>>& outcome, QWidget* notice,
                bool isError);

    PrintManager& m_pm;
    /// What is typed into the "Save Preset" alert.
    QString m_presetName;
    std::string m_printerID;
    Subscription m_printerSubscription;
    std::vector<Subscription> m_outcomes;
};

} // namespace lumivert
