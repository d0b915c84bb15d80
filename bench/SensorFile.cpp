#include "SensorFile.h"

#include "files/SensorPhoto.h"

#include <QImage>

#include <cmath>
#include <fstream>
#include <stdexcept>

namespace lumivert::bench {

void makeSensorFile(const std::string& photo, const std::string& file) {
    const QImage image =
        QImage(QString::fromStdString(photo)).convertToFormat(QImage::Format_RGB888);
    if (image.isNull())
        throw std::runtime_error(photo + " did not load");
    std::array<double, 256> light{};
    for (std::size_t i = 0; i < light.size(); ++i)
        light[i] = std::pow(static_cast<double>(i) / 255, 2.2);
    const test::SensorPhoto sensor{
        .width = image.width() / 2 * 2,
        .height = image.height() / 2 * 2,
        .light =
            [&](int x, int y) {
                const uchar* pixel = image.constScanLine(y) + 3 * x;
                return std::array{light[pixel[0]], light[pixel[1]], light[pixel[2]]};
            },
        .sensitivity = {0.5, 1, 0.7}};
    const std::string bytes = sensor.bytes();
    std::ofstream out(file, std::ios::binary);
    if (!out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
        throw std::runtime_error(file + " could not be written");
}

} // namespace lumivert::bench
