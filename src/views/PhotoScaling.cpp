#include "views/PhotoScaling.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <numbers>
#include <span>
#include <thread>
#include <utility>

namespace lumivert {

namespace {

// Four channels of one pixel, or of two neighbours, worked on at once (GCC and Clang vectors).
using Bytes8 [[gnu::vector_size(8)]] = std::uint8_t;
using Words8 [[gnu::vector_size(16)]] = std::uint16_t;
using Pixels4 [[gnu::vector_size(16)]] = std::uint32_t;
using Floats4 [[gnu::vector_size(16)]] = float;

/// Up to here a draft has a sample for each pixel. Measured on two cores at 2.5 GHz: about 2 ms.
constexpr std::int64_t mostSharpDraft = 2'000'000;

/// Runs `work(first, last)` over bands of 0..count, on several threads for large work.
void inBands(int count, std::int64_t pixels, const std::function<void(int, int)>& work) {
    constexpr std::int64_t worthAThread = 250'000;
    const int cores = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 8u));
    const int bands = static_cast<int>(std::clamp<std::int64_t>(
        std::min<std::int64_t>(cores, count), 1, pixels / worthAThread + 1));
    const auto start = [&](int band) {
        return static_cast<int>(static_cast<std::int64_t>(count) * band / bands);
    };
    std::vector<std::jthread> others;
    for (int band = 1; band < bands; ++band)
        others.emplace_back([&, band] { work(start(band), start(band + 1)); });
    work(start(0), start(1));
}

QImage wrap(const std::shared_ptr<const ScreenRendition>& rendition) {
    if (rendition->size.width <= 0 || rendition->size.height <= 0)
        return {};
    auto* keepAlive = new std::shared_ptr<const ScreenRendition>(rendition);
    return {reinterpret_cast<const uchar*>(rendition->pixels.view.data()),
            rendition->size.width,
            rendition->size.height,
            static_cast<qsizetype>(rendition->size.width) * 4,
            QImage::Format_RGB32,
            [](void* kept) { delete static_cast<std::shared_ptr<const ScreenRendition>*>(kept); },
            keepAlive};
}

QImage halved(const QImage& image) {
    const int width = image.width() / 2;
    const int height = image.height() / 2;
    QImage half(width, height, QImage::Format_RGB32);
    uchar* bits = half.bits();
    const qsizetype stride = half.bytesPerLine();
    inBands(height, static_cast<std::int64_t>(width) * height, [&](int first, int last) {
        for (int y = first; y < last; ++y) {
            const uchar* above = image.constScanLine(2 * y);
            const uchar* below = image.constScanLine(2 * y + 1);
            uchar* out = bits + y * stride;
            for (int x = 0; x < width; ++x) {
                Bytes8 a;
                Bytes8 b;
                std::memcpy(&a, above + 8 * x, sizeof a);
                std::memcpy(&b, below + 8 * x, sizeof b);
                const Words8 sum =
                    __builtin_convertvector(a, Words8) + __builtin_convertvector(b, Words8);
                for (int c = 0; c < 4; ++c)
                    out[4 * x + c] = static_cast<uchar>((sum[c] + sum[c + 4] + 2) / 4);
            }
        }
    });
    return half;
}

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
        , m_shares(m_columns.size()) {
        for (std::size_t x = 0; x < m_columns.size(); ++x)
            for (int c = 0; c < 4; ++c) {
                m_shares[x][c] = static_cast<std::uint16_t>(256 - m_columns[x].share);
                m_shares[x][c + 4] = static_cast<std::uint16_t>(m_columns[x].share);
            }
    }

    [[nodiscard]] std::size_t width() const { return m_columns.size(); }

    /// The bytes that `read` needs for its own use.
    [[nodiscard]] std::size_t scratchSize() const {
        const int columns = m_columns.back().index + 2 - m_columns.front().index;
        return static_cast<std::size_t>(columns) * 4;
    }

    /// Down first, many bytes at a time, then across.
    void read(int y, std::span<uchar> scratch, uchar* out) const {
        const Neighbour& line = m_lines[static_cast<std::size_t>(y)];
        const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(m_columns.front().index) * 4;
        mix(m_source.constScanLine(line.index) + start,
            m_source.constScanLine(line.index + 1) + start, line.share, scratch);
        const uchar* mixed = scratch.data() - start;
        for (std::size_t x = 0; x < m_columns.size(); ++x) {
            Bytes8 bytes;
            std::memcpy(&bytes, mixed + static_cast<std::ptrdiff_t>(m_columns[x].index) * 4,
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
    std::vector<Neighbour> m_columns;
    std::vector<Neighbour> m_lines;
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

/// For each place along an axis the first pixel of its filter and the weights from there on, whose
/// sum is 1.
struct Taps {
    int count = 0; // per place
    std::vector<int> first;
    std::vector<float> weights;
};

double lanczos3(double x) {
    constexpr double lobes = 3;
    if (x == 0)
        return 1;
    if (std::abs(x) >= lobes)
        return 0;
    const double t = std::numbers::pi * x;
    return lobes * std::sin(t) * std::sin(t / lobes) / (t * t);
}

Taps lanczosTaps(int places, double photoStart, double photoLength, int pixels) {
    const double scale = pixels / photoLength;
    const double stretch = std::max(scale, 1.0);
    const double reach = 3 * stretch;
    Taps taps;
    taps.count = std::min(static_cast<int>(std::ceil(reach)) * 2 + 1, pixels);
    taps.first.resize(static_cast<std::size_t>(places));
    taps.weights.resize(static_cast<std::size_t>(places) * static_cast<std::size_t>(taps.count));
    for (int i = 0; i < places; ++i) {
        const double centre = std::clamp((i + 0.5 - photoStart) * scale - 0.5, 0.0, pixels - 1.0);
        const int first = std::clamp(static_cast<int>(std::floor(centre)) - taps.count / 2, 0,
                                     pixels - taps.count);
        taps.first[static_cast<std::size_t>(i)] = first;
        float* weights =
            &taps.weights[static_cast<std::size_t>(i) * static_cast<std::size_t>(taps.count)];
        double sum = 0;
        for (int t = 0; t < taps.count; ++t)
            sum += lanczos3((first + t - centre) / stretch);
        for (int t = 0; t < taps.count; ++t)
            weights[t] = static_cast<float>(lanczos3((first + t - centre) / stretch) / sum);
    }
    return taps;
}

bool canScale(const QImage& level, const PhotoPlacement& placement) {
    return !level.isNull() && !placement.size.isEmpty() && placement.photo.width() > 0 &&
           placement.photo.height() > 0;
}

// A neighbour both ways is always there to read.
QImage atLeastTwoByTwo(const QImage& level) {
    if (level.width() >= 2 && level.height() >= 2)
        return level;
    return level.scaled(std::max(level.width(), 2), std::max(level.height(), 2));
}

} // namespace

PhotoPyramid::PhotoPyramid(std::shared_ptr<const ScreenRendition> rendition)
    : m_rendition(std::move(rendition))
    , m_levels{wrap(m_rendition)} {}

QImage PhotoPyramid::levelFor(QSizeF size, double factor) {
    const double width = size.width() * factor;
    const double height = size.height() * factor;
    std::size_t level = 0;
    while (true) {
        const int halfWidth = m_levels[level].width() / 2;
        const int halfHeight = m_levels[level].height() / 2;
        if (halfWidth < 1 || halfHeight < 1 || halfWidth < width || halfHeight < height)
            return m_levels[level];
        if (++level == m_levels.size())
            m_levels.push_back(halved(m_levels[level - 1]));
    }
}

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

QImage finePhoto(const QImage& level, const PhotoPlacement& placement,
                 const std::atomic<bool>& abandoned) {
    if (!canScale(level, placement))
        return {};
    const int width = placement.size.width();
    const int height = placement.size.height();
    const QRectF& photo = placement.photo;
    const Taps across = lanczosTaps(width, photo.x(), photo.width(), level.width());
    const Taps down = lanczosTaps(height, photo.y(), photo.height(), level.height());
    // The columns of the level that any place needs.
    const int firstColumn = across.first.front();
    const int columns = across.first.back() + across.count - firstColumn;

    QImage result(placement.size, QImage::Format_RGB32);
    uchar* bits = result.bits();
    const qsizetype stride = result.bytesPerLine();
    inBands(height, static_cast<std::int64_t>(width) * height, [&](int first, int last) {
        std::vector<float> line(static_cast<std::size_t>(columns) * 4);
        for (int y = first; y < last && !abandoned; ++y) {
            std::ranges::fill(line, 0.0F);
            const auto row = static_cast<std::size_t>(y);
            for (int t = 0; t < down.count; ++t) {
                const float weight = down.weights[row * static_cast<std::size_t>(down.count) +
                                                  static_cast<std::size_t>(t)];
                const uchar* source = level.constScanLine(down.first[row] + t) +
                                      static_cast<std::ptrdiff_t>(firstColumn) * 4;
                float* sums = line.data();
                for (std::size_t i = 0; i < line.size(); ++i)
                    sums[i] += weight * static_cast<float>(source[i]);
            }
            uchar* out = bits + y * stride;
            const float* weights = across.weights.data();
            for (int x = 0; x < width; ++x) {
                const float* from =
                    line.data() + static_cast<std::ptrdiff_t>(
                                      across.first[static_cast<std::size_t>(x)] - firstColumn) *
                                      4;
                Floats4 sum{0.5F, 0.5F, 0.5F, 0.5F};
                for (int t = 0; t < across.count; ++t, from += 4) {
                    Floats4 pixel;
                    std::memcpy(&pixel, from, sizeof pixel);
                    sum += pixel * *weights++;
                }
                for (int c = 0; c < 4; ++c)
                    out[4 * x + c] = static_cast<uchar>(std::clamp(sum[c], 0.0F, 255.0F));
            }
        }
    });
    if (abandoned)
        return {};
    return result;
}

} // namespace lumivert
