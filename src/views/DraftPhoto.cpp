#include "views/DraftPhoto.h"

#include "views/Bands.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace lumivert {

namespace {

// Four channels of one pixel, or of two neighbours, worked on at once (GCC and Clang vectors).
using Bytes8 [[gnu::vector_size(8)]] = std::uint8_t;
using Words8 [[gnu::vector_size(16)]] = std::uint16_t;
using Pixels4 [[gnu::vector_size(16)]] = std::uint32_t;

/// Up to here a draft has a sample for each pixel. Measured on two cores at 2.5 GHz: about 2 ms.
constexpr std::int64_t mostSharpDraft = 2'000'000;

/// For each place along an axis the left one of two neighbours and the right one's share of 256.
struct Neighbour {
    int index;
    int share;
};

/// Places are `step` apart.
std::vector<Neighbour> neighbours(int places, int step, double photoStart, double photoLength,
                                  int pixels) {
    std::vector<Neighbour> result(static_cast<std::size_t>(places));
    const double scale = pixels / photoLength;
    for (int i = 0; i < places; ++i) {
        const double centre = (i * step + 0.5 - photoStart) * scale - 0.5;
        const double inside = std::clamp(centre, 0.0, pixels - 1.0);
        const int index = std::min(static_cast<int>(inside), pixels - 2);
        result[static_cast<std::size_t>(i)] = {
            index, static_cast<int>(std::lround((inside - index) * 256))};
    }
    return result;
}

/// `share` of 256 from `b`, the rest from `a`.
void mix(const uchar* a, const uchar* b, int share, std::span<uchar> out) {
    const auto lower = static_cast<std::uint16_t>(share);
    const auto upper = static_cast<std::uint16_t>(256 - share);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const auto sum = static_cast<std::uint16_t>(a[i] * upper + b[i] * lower + 128);
        out[i] = static_cast<uchar>(sum >> 8);
    }
}

/// Lines of a photo at places `step` apart both ways, each pixel a mixture of two by two.
class MixedLines {
public:
    MixedLines(const QImage& source, const PhotoPlacement& placement, int step)
        : m_source(source)
        , m_columns(neighbours((placement.size.width() + step - 1) / step + step - 1, step,
                               placement.photo.x(), placement.photo.width(), source.width()))
        , m_lines(neighbours((placement.size.height() + step - 1) / step + step - 1, step,
                             placement.photo.y(), placement.photo.height(), source.height()))
        , m_firstColumn(m_columns.front().index)
        , m_shares(m_columns.size()) {
        for (Neighbour& column : m_columns)
            column.index -= m_firstColumn;
        for (std::size_t x = 0; x < m_columns.size(); ++x)
            for (int c = 0; c < 4; ++c) {
                m_shares[x][c] = static_cast<std::uint16_t>(256 - m_columns[x].share);
                m_shares[x][c + 4] = static_cast<std::uint16_t>(m_columns[x].share);
            }
    }

    [[nodiscard]] std::size_t width() const { return m_columns.size(); }

    /// The bytes that `read` needs for its own use.
    [[nodiscard]] std::size_t scratchSize() const {
        const int columns = m_columns.back().index + 2;
        return static_cast<std::size_t>(columns) * 4;
    }

    /// Down first, many bytes at a time, then across.
    void read(int y, std::span<uchar> scratch, uchar* out) const {
        const Neighbour& line = m_lines[static_cast<std::size_t>(y)];
        const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(m_firstColumn) * 4;
        mix(m_source.constScanLine(line.index) + start,
            m_source.constScanLine(line.index + 1) + start, line.share, scratch);
        for (std::size_t x = 0; x < m_columns.size(); ++x) {
            Bytes8 bytes;
            std::memcpy(&bytes,
                        scratch.data() + static_cast<std::ptrdiff_t>(m_columns[x].index) * 4,
                        sizeof bytes);
            const Words8 weighed = __builtin_convertvector(bytes, Words8) * m_shares[x];
            const Words8 other = __builtin_shuffle(weighed, Words8{4, 5, 6, 7, 0, 1, 2, 3});
            const Words8 sum = (weighed + other + 128) >> 8;
            bytes = __builtin_convertvector(sum, Bytes8);
            std::memcpy(out + 4 * x, &bytes, 4);
        }
    }

private:
    const QImage& m_source;
    std::vector<Neighbour> m_columns; // counted from m_firstColumn
    std::vector<Neighbour> m_lines;
    int m_firstColumn;
    std::vector<Words8> m_shares;
};

void average(const uchar* a, const uchar* b, uchar* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        out[i] = static_cast<uchar>((a[i] + b[i] + 1) / 2);
}

/// Each pixel of `line`, and between it and the next their average: `width` pixels.
void doubled(const std::vector<uchar>& line, std::vector<uchar>& between, uchar* out, int width) {
    average(line.data(), line.data() + 4, between.data(), line.size() - 4);
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        const auto at = static_cast<std::size_t>(x) * 2;
        Pixels4 even;
        Pixels4 odd;
        std::memcpy(&even, &line[at], sizeof even);
        std::memcpy(&odd, &between[at], sizeof odd);
        const Pixels4 left = __builtin_shuffle(even, odd, Pixels4{0, 4, 1, 5});
        const Pixels4 right = __builtin_shuffle(even, odd, Pixels4{2, 6, 3, 7});
        std::memcpy(out + 4 * x, &left, sizeof left);
        std::memcpy(out + 4 * x + 16, &right, sizeof right);
    }
    for (; x < width; x += 2) {
        const auto at = static_cast<std::size_t>(x) * 2;
        std::memcpy(out + 4 * x, &line[at], 4);
        if (x + 1 < width)
            std::memcpy(out + 4 * x + 4, &between[at], 4);
    }
}

// A neighbour both ways is always there to read.
QImage atLeastTwoByTwo(const QImage& level) {
    if (level.width() >= 2 && level.height() >= 2)
        return level;
    return level.scaled(std::max(level.width(), 2), std::max(level.height(), 2));
}

} // namespace

double draftDensity(QSize size) {
    return static_cast<std::int64_t>(size.width()) * size.height() > mostSharpDraft ? 0.5 : 1;
}

QImage draftPhoto(const QImage& level, const PhotoPlacement& placement) {
    if (placement.size.isEmpty())
        return {};
    QImage result(placement.size, QImage::Format_RGB32);
    return draftPhotoInto({result.bits(), result.bytesPerLine()}, level, placement) ? result
                                                                                    : QImage();
}

bool draftPhotoInto(PixelTarget target, const QImage& level, const PhotoPlacement& placement) {
    if (!canScale(level, placement))
        return false;
    const QImage source = atLeastTwoByTwo(level);
    const int width = placement.size.width();
    const int height = placement.size.height();
    const std::int64_t pixels = static_cast<std::int64_t>(width) * height;
    const auto row = [&](int y) { return target.bits + y * target.bytesPerLine; };
    if (draftDensity(placement.size) == 1) {
        const MixedLines lines(source, placement, 1);
        inBands(height, pixels, [&](int first, int last) {
            std::vector<uchar> scratch(lines.scratchSize());
            for (int y = first; y < last; ++y)
                lines.read(y, scratch, row(y));
        });
        return true;
    }

    // Every other row is sampled, the one between is the average of its neighbours. A band writes
    // no row of the next: the neighbour there is sampled once more, aside.
    const MixedLines lines(source, placement, 2);
    const auto rowBytes = static_cast<std::size_t>(width) * 4;
    inBands((height + 1) / 2, pixels, [&](int first, int last) {
        std::vector<uchar> scratch(lines.scratchSize());
        std::vector<uchar> line(lines.width() * 4);
        std::vector<uchar> between(line.size());
        std::vector<uchar> beyond(rowBytes);
        const auto sample = [&](int y, uchar* out) {
            lines.read(y, scratch, line.data());
            doubled(line, between, out, width);
        };
        sample(first, row(2 * first));
        for (int y = first; y < last; ++y) {
            uchar* next = y + 1 < last ? row(2 * y + 2) : beyond.data();
            sample(y + 1, next);
            if (2 * y + 1 < height)
                average(row(2 * y), next, row(2 * y + 1), rowBytes);
        }
    });
    return true;
}

} // namespace lumivert
