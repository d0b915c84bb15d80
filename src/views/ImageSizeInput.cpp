#include "views/ImageSizeInput.h"

#include "platform/FatalError.h"

#include <utility>

namespace lumivert {

StepScale imageSizeScale(double maxValue) {
    if (!(maxValue >= 1))
        fatalError("an image size cannot be chosen for a sheet smaller than 1 mm");
    return {.minimum = 1, .maximum = maxValue, .step = 0.5};
}

ImageSizeInput::ImageSizeInput(const QString& label, const Binding<double>& value,
                               std::function<double()> maxValue, QWidget* parent)
    : MillimetreRow(
          label, value, [maxValue = std::move(maxValue)] { return imageSizeScale(maxValue()); },
          parent) {}

} // namespace lumivert
