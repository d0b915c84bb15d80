#pragma once

#include "views/controls/MillimetreRow.h"

#include <QString>

#include <functional>

namespace lumivert {

/// 1 to `maxValue` in steps of 0.5 mm. A `maxValue` below 1 ends the program: no sheet of paper is
/// that small, so the caller is broken.
[[nodiscard]] StepScale imageSizeScale(double maxValue);

/// A row for a side of the image in millimetres. `maxValue`, the sheet's side, is asked for at
/// every refresh while the row is shown.
class ImageSizeInput : public MillimetreRow {
    Q_OBJECT
public:
    ImageSizeInput(const QString& label, const Binding<double>& value,
                   std::function<double()> maxValue, QWidget* parent = nullptr);
};

} // namespace lumivert
