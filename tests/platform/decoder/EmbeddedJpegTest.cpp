#include "decoder/TestPhotos.h"
#include "files/TiffWriter.h"
#include "model/FileUrl.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/pdf/PdfPageWriter.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <vector>

// JPEG streams whose markers say different things of their colours, on a page: whatever is handed
// on as it is shows in every reader that is installed as the decoder's libjpeg reads it.
namespace lumivert {
namespace {

std::string adobe(char transform) {
    return std::string("\xff\xee\0\x0e", 4) + "Adobe" + std::string("\0\x64\0\0\0\0", 6) +
           transform;
}

std::string withMarker(const std::string& jpeg, const std::string& segment) {
    return jpeg.substr(0, 2) + segment + jpeg.substr(2);
}

// The components' identifiers in the frame's and the scan's header.
std::string withIdentifiers(std::string jpeg, std::string_view identifiers) {
    const std::size_t frame = jpeg.find("\xff\xc0");
    const std::size_t scan = jpeg.find("\xff\xda");
    for (std::size_t i = 0; i < identifiers.size(); ++i)
        jpeg.at(frame + 10 + 3 * i) = jpeg.at(scan + 5 + 2 * i) = identifiers[i];
    return jpeg;
}

/// The samples of a picture of 64 x 64; empty for any other.
std::string samplesOf(const std::string& ppm) {
    std::ifstream file(ppm, std::ios::binary);
    std::string magic;
    std::size_t width = 0;
    std::size_t height = 0;
    int most = 0;
    file >> magic >> std::ws;
    if (std::string comment; file.peek() == '#')
        std::getline(file, comment);
    file >> width >> height >> most;
    file.get();
    const std::string samples{std::istreambuf_iterator<char>(file), {}};
    return magic == "P6" && samples.size() == std::size_t{3} * 64 * 64 ? samples : "";
}

/// Exif with a thumbnail in its second directory.
std::string exifWithThumbnail(const std::string& thumbnail) {
    const test::TiffWriter writer(true);
    std::string first = writer.directory({{274, 3, 1, writer.number(1, 2)}}, 8);
    const std::size_t at = 8 + first.size();
    first.replace(2 + 12, 4, writer.number(at, 4));
    const auto second = [&](std::size_t thumbnailAt) {
        return writer.directory({{259, 3, 1, writer.number(6, 2)},
                                 {513, 4, 1, writer.number(thumbnailAt, 4)},
                                 {514, 4, 1, writer.number(thumbnail.size(), 4)}},
                                at);
    };
    return writer.header() + first + second(at + second(0).size()) + thumbnail;
}

struct Reader {
    const char* program;
    const char* command; ///< of the page in the working directory, to picture-000.ppm
};

constexpr std::array readers{
    // As Poppler decodes the picture: it interpolates where it paints.
    Reader{"pdfimages", "pdfimages page.pdf picture"},
    Reader{"gs",
           "gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=ppmraw -r72 -o picture-000.ppm page.pdf"},
    Reader{"mutool", "mutool draw -q -r 72 -o picture-000.ppm page.pdf"},
};

TEST(EmbeddedJpeg, showsInEveryReaderWhatTheDecoderReads) {
    const TemporaryFolder folder;
    DecoderClient client({.path = LUMIVERT_DECODER, .screenEdge = [] { return 100; }});
    const std::string bare = decoder::test::withoutSegments(
        decoder::test::saved(decoder::test::plain8({64, 64}, {200, 60, 40}), ".jpg"), 0xe0);
    const std::string jfif =
        withMarker(bare, std::string("\xff\xe0\0\x10JFIF\0\x01\x02\x01\0\x48\0\x48\0\0", 18));
    struct Mutant {
        const char* name;
        std::string bytes;
        std::optional<bool> isEmbedded = std::nullopt;
    };
    const auto photo = decoder::test::image8({64, 64}, 3, [](int x, int y, int band) {
        return static_cast<int>(128 + 60 * std::sin(x * 0.2 + band) + 50 * std::cos(y * 0.13));
    });
    // Not subsampled: readers interpolate colours otherwise.
    const auto savedAs = [&](const char* option, int value) {
        return decoder::test::saved(photo, ".jpg",
                                    vips::VImage::option()
                                        ->set("subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF)
                                        ->set(option, value));
    };
    const std::string sound = savedAs("Q", 90);
    const std::string other =
        decoder::test::saved(decoder::test::plain8({64, 64}, {10, 20, 250}), ".jpg");
    std::vector<Mutant> mutants{
        Mutant{"JFIF", jfif, true},
        Mutant{"Adobe, YCC", withMarker(bare, adobe(1)), true},
        Mutant{"JFIF and Adobe, YCC", withMarker(jfif, adobe(1))},
        Mutant{"JFIF and Adobe, RGB", withMarker(jfif, adobe(0)), false},
        Mutant{"Adobe, RGB", withMarker(bare, adobe(0))},
        Mutant{"Adobe, YCCK of three", withMarker(bare, adobe(2))},
        Mutant{"bare", bare},
        Mutant{"bare, R G B", withIdentifiers(bare, "RGB")},
        Mutant{"bare, 0 1 2", withIdentifiers(bare, std::string_view("\0\1\2", 3))},
        Mutant{"JFIF, R G B", withIdentifiers(jfif, "RGB")},
        Mutant{"JFIF, other identifiers", withIdentifiers(jfif, "abc")},
        Mutant{"grey", decoder::test::saved(decoder::test::plain8({64, 64}, {90}), ".jpg"), true},
        Mutant{"progressive", savedAs("interlace", 1), true},
        Mutant{"with restarts", savedAs("restart_interval", 2), true},
        Mutant{"with another picture behind it", sound + other, true},
        Mutant{"with zeros behind it", sound + std::string(1000, '\0'), true},
        Mutant{"with another thumbnail",
               decoder::test::withExif(decoder::test::withoutSegments(sound, 0xe1),
                                       exifWithThumbnail(other)),
               true},
        Mutant{"with another picture in a segment",
               withMarker(sound, "\xff\xe5" + test::TiffWriter(false).number(other.size() + 2, 2) +
                                     other)}};
    // Damaged ones: refused, or every reader shows the same.
    std::minstd_rand random(3);
    for (const std::string& file : {sound, savedAs("interlace", 1), savedAs("restart_interval", 2)})
        for (int i = 0; i < 12; ++i) {
            std::string flipped = file;
            const std::size_t bit = random() % (8 * file.size());
            flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
            mutants.push_back({"damaged", flipped});
        }
    int shown = 0;
    int embedded = 0;
    for (const auto& [name, bytes, isEmbedded] : mutants) {
        SCOPED_TRACE(name);
        const auto image = client.decode(FileUrl::fromPath(folder.write("photo.jpg", bytes)));
        if (!image) {
            EXPECT_FALSE(isEmbedded) << "did not load";
            continue;
        }
        if (const auto& size = image->screenRendition().size; size != PixelSize{64, 64})
            continue; // of its damage
        const auto bitmap = image->bitmap();
        if (isEmbedded) {
            EXPECT_EQ(bitmap->jpegStream().has_value(), *isEmbedded);
        }
        const auto rows = bitmap->rows(std::nullopt);
        ASSERT_TRUE(rows);
        const auto channels = static_cast<std::size_t>(rows->format().channels);
        Bytes all(rows->format().bytesPerRow() * 64);
        ASSERT_EQ(rows->readRows(all), 64u);
        embedded += bitmap->jpegStream() ? 1 : 0;
        const auto expected = [&](std::size_t pixel, std::size_t c) {
            return std::to_integer<int>(all[channels * pixel + (channels == 3 ? c : 0)]);
        };
        const auto expectSame = [&](const auto& sample, int tolerance, const std::string& reader) {
            int worst = 0;
            for (std::size_t pixel = 0; pixel < std::size_t{64} * 64; ++pixel)
                for (std::size_t c = 0; c < 3; ++c)
                    worst = std::max(worst, std::abs(sample(pixel, c) - expected(pixel, c)));
            EXPECT_LE(worst, tolerance) << reader << (bitmap->jpegStream() ? ", embedded" : "");
        };
        expectSame(
            [&](std::size_t pixel, std::size_t c) {
                std::uint32_t word = 0;
                std::memcpy(&word, image->screenRendition().pixels.view.data() + 4 * pixel, 4);
                return static_cast<int>(word >> (16 - 8 * c) & 255);
            },
            1, "the preview");

        const std::string page = folder / "page.pdf";
        std::remove(page.c_str());
        PdfPage whole{.size = {64, 64}};
        whole.bitmap = bitmap;
        whole.rect = {0, 0, 64, 64};
        ASSERT_TRUE(writePdfPage(page, whole));
        for (const Reader& reader : readers) {
            if (std::system((std::string("command -v ") + reader.program + " >/dev/null").c_str()))
                continue;
            const std::string picture = folder / "picture-000.ppm";
            std::remove(picture.c_str());
            const std::string line = "cd '" + folder.path() + "' && " + reader.command;
            ASSERT_EQ(std::system((line + " 2>/dev/null").c_str()), 0) << line;
            const std::string samples = samplesOf(picture);
            ASSERT_FALSE(samples.empty()) << reader.program;
            expectSame(
                [&](std::size_t pixel, std::size_t c) {
                    return static_cast<int>(static_cast<unsigned char>(samples[3 * pixel + c]));
                },
                6, reader.program);
            ++shown;
        }
    }
    std::cout << mutants.size() << " files, " << embedded << " embedded, " << shown
              << " pictures compared\n";
    EXPECT_GE(shown, 12) << "no reader is installed, or next to nothing loads";
}

} // namespace
} // namespace lumivert
