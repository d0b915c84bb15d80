#pragma once

#include "views/SettingsPanel.h"
#include "views/ViewFixture.h"
#include "views/controls/Picker.h"
#include "views/controls/StepSlider.h"

#include <QAbstractButton>
#include <QGroupBox>
#include <QTest>

namespace lumivert {

/// A shown settings panel over a print manager in a world of fakes.
class PanelTest : public ViewTest {
protected:
    PanelTest() {
        panel = std::make_unique<SettingsPanel>(*pm);
        panel->resize(320, 900);
        panel->show();
        QApplication::processEvents();
    }

    QStringList groups() {
        QStringList titles;
        for (QGroupBox* box : shown<QGroupBox>(*panel))
            titles << box->title();
        return titles;
    }
    QAbstractButton* button(const QString& name) { return control<QAbstractButton>(*panel, name); }
    Picker* picker(const QString& name) { return control<Picker>(*panel, name); }
    StepSlider* slider(const QString& name) { return control<StepSlider>(*panel, name); }
    /// The upper end of a slider, in millimetres.
    double most(const QString& name) {
        return slider(name)->scale().valueAt(slider(name)->maximum());
    }
    QStringList sliders() {
        QStringList names;
        for (StepSlider* found : shown<StepSlider>(*panel))
            names << accessibleName(found);
        return names;
    }

    std::unique_ptr<SettingsPanel> panel;
};

} // namespace lumivert
