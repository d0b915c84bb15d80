#pragma once

#include "views/controls/Binding.h"
#include "views/controls/StepScale.h"

#include <QWidget>

#include <functional>

namespace lumivert {

/// A row for a length in millimetres: the label with a colon in a frame 55 wide, a slider over
/// `scale` (asked for at every refresh), the value with one decimal in a frame 55 wide. The value
/// is shown as stored, also where the slider cannot.
class MillimetreRow : public QWidget {
    Q_OBJECT
public:
    MillimetreRow(const QString& label, const Binding<double>& value,
                  std::function<StepScale()> scale, QWidget* parent = nullptr);

    static constexpr int frameWidth = 55;
};

} // namespace lumivert
