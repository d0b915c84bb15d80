#include "decoder/TestPhotos.h"
#include "model/FileUrl.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/pdf/PdfPageWriter.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>

// JPEG streams whose markers say different things of their colours, on a page: whatever is handed
// on as it is shows in every reader that is installed as the decoder's libjpeg reads it.
namespace lumivert {
namespace {

using Pixel = std::array<int, 3>;

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

Pixel middleOf(const std::string& ppm) {
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
    if (magic != "P6" || samples.size() != 3 * width * height || samples.empty())
        return {-1, -1, -1};
    const std::size_t at = 3 * (height / 2 * width + width / 2);
    const auto sample = [&](std::size_t i) {
        return static_cast<int>(static_cast<unsigned char>(samples[at + i]));
    };
    return {sample(0), sample(1), sample(2)};
}

struct Reader {
    const char* program;
    const char* command; ///< behind it: the picture's file without ".ppm", and the page's
    const char* output;  ///< how the picture is named
};

constexpr std::array readers{
    Reader{"pdftoppm", "pdftoppm -r 72 -singlefile ", ""},
    Reader{"gs", "gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=ppmraw -r72 ", "-o "},
    Reader{"mutool", "mutool draw -q -r 72 ", "-o "},
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
    int shown = 0;
    for (const auto& [name, bytes, isEmbedded] :
         {Mutant{"JFIF", jfif, true}, Mutant{"Adobe, YCC", withMarker(bare, adobe(1)), true},
          Mutant{"JFIF and Adobe, YCC", withMarker(jfif, adobe(1))},
          Mutant{"JFIF and Adobe, RGB", withMarker(jfif, adobe(0)), false},
          Mutant{"Adobe, RGB", withMarker(bare, adobe(0))},
          Mutant{"Adobe, YCCK of three", withMarker(bare, adobe(2))}, Mutant{"bare", bare},
          Mutant{"bare, R G B", withIdentifiers(bare, "RGB")},
          Mutant{"bare, 0 1 2", withIdentifiers(bare, std::string_view("\0\1\2", 3))},
          Mutant{"JFIF, R G B", withIdentifiers(jfif, "RGB")},
          Mutant{"JFIF, other identifiers", withIdentifiers(jfif, "abc")},
          Mutant{"grey", decoder::test::saved(decoder::test::plain8({64, 64}, {90}), ".jpg"),
                 true}}) {
        SCOPED_TRACE(name);
        const auto image = client.decode(FileUrl::fromPath(folder.write("photo.jpg", bytes)));
        if (!image) {
            EXPECT_FALSE(isEmbedded) << "did not load";
            continue;
        }
        const auto bitmap = image->bitmap();
        if (isEmbedded) {
            EXPECT_EQ(bitmap->jpegStream().has_value(), *isEmbedded);
        }
        const auto rows = bitmap->rows(std::nullopt);
        ASSERT_TRUE(rows);
        const auto channels = static_cast<std::size_t>(rows->format().channels);
        Bytes all(rows->format().bytesPerRow() * 64);
        ASSERT_EQ(rows->readRows(all), 64u);
        const std::size_t middle = channels * (32 * 64 + 32);

        const std::string page = folder / "page.pdf";
        std::remove(page.c_str());
        PdfPage whole{.size = {64, 64}};
        whole.bitmap = bitmap;
        whole.rect = {0, 0, 64, 64};
        ASSERT_TRUE(writePdfPage(page, whole));
        for (const Reader& reader : readers) {
            if (std::system((std::string("command -v ") + reader.program + " >/dev/null").c_str()))
                continue;
            const std::string picture = folder / "picture";
            std::remove((picture + ".ppm").c_str());
            const bool namesItself = *reader.output == '\0';
            const std::string line =
                reader.command +
                (namesItself ? page + " " + picture : reader.output + picture + ".ppm " + page);
            ASSERT_EQ(std::system((line + " 2>/dev/null").c_str()), 0) << line;
            const Pixel pixel = middleOf(picture + ".ppm");
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_NEAR(pixel[c], std::to_integer<int>(all[middle + (channels == 3 ? c : 0)]),
                            4)
                    << reader.program << ", channel " << c
                    << (bitmap->jpegStream() ? ", embedded" : ", decoded");
            ++shown;
        }
    }
    EXPECT_GE(shown, 12) << "no reader is installed, or next to nothing loads";
}

} // namespace
} // namespace lumivert
