#pragma once

#include "views/controls/StepSlider.h"

#include <QWidget>

#include <functional>

namespace lumivert {

class FittedLabel;

/// A row for a length in millimetres: the label with a colon in a frame 55 wide, a slider over
/// `scale` (asked for at every refresh), the value with one decimal in a frame 55 wide. The value
/// is shown as stored, also where the slider cannot, and whole in the tool tip. A double click on
/// it or Return opens a field in its place, for any length from the scale's minimum to 10 m; Return
/// takes what was typed, Escape leaves it.
class MillimetreRow : public QWidget {
    Q_OBJECT
public:
    MillimetreRow(const QString& label, const Binding<double>& value,
                  std::function<StepScale()> scale);

    /// Says for assistive technology which length this is, where the label alone does not.
    MillimetreRow* describedAs(const QString& description);

    static constexpr int frameWidth = 55;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void openField();
    void closeField(QWidget* field);
    void take(const QString& typed);

    Binding<double> m_value;
    std::function<StepScale()> m_scale;
    StepSlider* m_slider;
    FittedLabel* m_number = nullptr;
};

} // namespace lumivert
