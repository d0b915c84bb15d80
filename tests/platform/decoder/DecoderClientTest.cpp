#include "platform/decoder/DecoderClient.h"

#include "decoder/Profiles.h"
#include "decoder/TestPhotos.h"
#include "files/SensorPhoto.h"
#include "model/FileUrl.h"
#include "model/Models.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sys/stat.h>
#include <thread>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using decoder::test::image8;
using decoder::test::plain8;
using decoder::test::saved;

class Decoding : public testing::Test {
protected:
    std::shared_ptr<const Image> decode(const std::string& file) {
        return m_client.decode(FileUrl::fromPath(m_folder.write("photo", file)));
    }

    int m_edge = 2048;
    DecoderClient m_client{{.path = LUMIVERT_DECODER, .screenEdge = [this] { return m_edge; }}};
    TemporaryFolder m_folder;
};

// Every pixel tells where it is.
vips::VImage places(PixelSize size) {
    return image8(size, 3, [](int x, int y, int band) {
        return band == 0 ? x % 256 : band == 1 ? y % 256 : x / 256 + 16 * (y / 256);
    });
}

Bytes allRows(const Bitmap& bitmap, const std::optional<ColorTarget>& target = std::nullopt,
              std::size_t rowsAtOnce = 7, const std::optional<PixelRect>& part = std::nullopt) {
    const auto rows = bitmap.rows(target, part);
    if (!rows)
        return {};
    Bytes all;
    Bytes block(rows->format().bytesPerRow() * rowsAtOnce);
    while (const auto count = rows->readRows(block)) {
        if (*count == 0)
            return all;
        all.insert(all.end(), block.begin(),
                   block.begin() +
                       static_cast<std::ptrdiff_t>(*count * rows->format().bytesPerRow()));
    }
    return {};
}

ColorTarget target(const Bytes& profile, int channels,
                   RenderingIntent intent = RenderingIntent::relative) {
    auto space = std::make_shared<ColorSpace>();
    space->profile = sharedBytes(profile);
    space->channels = channels;
    space->isDestination = true;
    return {space, intent};
}

TEST_F(Decoding, handsOverEveryPixelOfAPhotoThatNoPipeHolds) {
    const PixelSize size{1500, 1100}; // 5 MB
    const auto image = decode(saved(places(size), ".png"));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->bitmap()->pixelSize(), size);
    const Bytes rows = allRows(*image->bitmap());
    ASSERT_EQ(rows.size(), std::size_t{1500 * 1100 * 3});
    for (int y = 0; y < size.height; y += 13)
        for (int x = 0; x < size.width; x += 7) {
            const std::size_t at =
                (static_cast<std::size_t>(y) * 1500 + static_cast<std::size_t>(x)) * 3;
            ASSERT_EQ(std::to_integer<int>(rows[at]), x % 256);
            ASSERT_EQ(std::to_integer<int>(rows[at + 1]), y % 256);
        }
}

TEST_F(Decoding, givesANominalSizeByTheDensityOfEachAxis) {
    const auto image = decode(
        saved(plain8({300, 300}, {1, 2, 3})
                  .copy(vips::VImage::option()->set("xres", 300 / 25.4)->set("yres", 150 / 25.4)),
              ".tif"));
    ASSERT_TRUE(image);
    EXPECT_NEAR(image->size().width, 72, 1e-3);
    EXPECT_NEAR(image->size().height, 144, 1e-3);
}

TEST_F(Decoding, staysDrawableWhenItsFileIsReplacedTruncatedOrRemoved) {
    const auto image = decode(saved(places({40, 30}), ".png"));
    ASSERT_TRUE(image);
    const Bytes before = allRows(*image->bitmap());
    ASSERT_EQ(before.size(), std::size_t{40 * 30 * 3});
    m_folder.write("photo", saved(plain8({50, 50}, {9}), ".png"));
    EXPECT_EQ(allRows(*image->bitmap()), before);
    m_folder.write("photo", "");
    EXPECT_EQ(allRows(*image->bitmap()), before);
    std::filesystem::remove(m_folder / "photo");
    EXPECT_EQ(allRows(*image->bitmap()), before);
    EXPECT_EQ(image->screenRendition().pixels.view.size(), std::size_t{40 * 30 * 4});
}

TEST_F(Decoding, refusesWhatIsNoPhotoOrNoFile) {
    EXPECT_FALSE(m_client.decode(FileUrl::fromPath(m_folder / "absent")));
    EXPECT_FALSE(m_client.decode(FileUrl::fromPath(m_folder / "")));
    EXPECT_FALSE(decode(""));
    EXPECT_FALSE(decode("hello"));
    ASSERT_EQ(::mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(
        m_client.decode(FileUrl::fromPath(m_folder / "pipe"))); // and does not wait for a writer
    EXPECT_FALSE(m_client.decode(FileUrl::fromPath("/dev/zero")));
    const std::string noise =
        saved(vips::VImage::gaussnoise(200, 200).cast(VIPS_FORMAT_UCHAR), ".jpg");
    EXPECT_TRUE(decode(noise));
    EXPECT_FALSE(decode(noise.substr(0, noise.size() / 2)));
}

TEST_F(Decoding, goesByWhatAFileHoldsWhateverItIsCalled) {
    test::SensorPhoto negative{.width = 64, .height = 48};
    negative.light = [](int, int) { return std::array{0.5, 0.5, 0.5}; };
    const std::string png = saved(plain8({20, 10}, {1, 2, 3}), ".png");
    for (const char* name : {"photo.jpg", "photo.png", "photo.dng", "photo.txt", "photo"}) {
        const auto raw = m_client.decode(FileUrl::fromPath(m_folder.write(name, negative.bytes())));
        ASSERT_TRUE(raw) << name;
        EXPECT_EQ(raw->screenRendition().size, (PixelSize{64, 48})) << name;
        const auto plain = m_client.decode(FileUrl::fromPath(m_folder.write(name, png)));
        ASSERT_TRUE(plain) << name;
        EXPECT_EQ(plain->screenRendition().size, (PixelSize{20, 10})) << name;
    }
}

TEST_F(Decoding, refusesAFileThatMemoryDoesNotHoldBeforeCopyingIt) {
    const FileUrl url = FileUrl::fromPath(m_folder.write("vast.tif", "II*"));
    std::filesystem::resize_file(url.path(), std::uintmax_t{1} << 40); // sparse
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(m_client.decode(url));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

TEST_F(Decoding, makesTheRenditionForTheScreenOfTheMoment) {
    const std::string png = saved(plain8({900, 600}, {200, 60, 40}), ".png");
    m_edge = 300;
    const auto small = decode(png);
    ASSERT_TRUE(small);
    EXPECT_EQ(small->screenRendition().size, (PixelSize{300, 200}));
    std::uint32_t word = 0;
    std::memcpy(&word, small->screenRendition().pixels.view.data(), sizeof word);
    EXPECT_EQ(word, 0xffc83c28);
    m_edge = 1000;
    EXPECT_EQ(decode(png)->screenRendition().size, (PixelSize{900, 600}));
    m_edge = -5;
    EXPECT_EQ(decode(png)->screenRendition().size, (PixelSize{1, 1}));
}

TEST_F(Decoding, handsOverThePartThatIsAskedFor) {
    const auto image = decode(saved(places({40, 30}), ".png"));
    ASSERT_TRUE(image);
    const Bytes rows = allRows(*image->bitmap(), std::nullopt, 7, PixelRect{25, 5, 5, 2});
    ASSERT_EQ(rows.size(), 30u);
    EXPECT_EQ(std::to_integer<int>(rows[0]), 25);
    EXPECT_EQ(std::to_integer<int>(rows[1]), 5);
    const Bytes edge = allRows(*image->bitmap(), std::nullopt, 7, PixelRect{39, 29, 1, 1});
    ASSERT_EQ(edge.size(), 3u);
    EXPECT_EQ(std::to_integer<int>(edge[0]), 39);
    for (const PixelRect& outside : {PixelRect{40, 0, 5, 5},
                                     {0, 0, 0, 5},
                                     {0, 0, -4, 5},
                                     {36, 0, 5, 5},
                                     {2147483647, 2147483647, 2147483647, 2147483647}})
        EXPECT_FALSE(image->bitmap()->rows(std::nullopt, outside));
}

TEST_F(Decoding, handsOverTheVeryBytesOfAJpeg) {
    const decoder::test::ExifBuilder exif{.orientation = 6};
    const std::string jpeg = decoder::test::withExif(
        decoder::test::withoutSegments(saved(places({48, 32}), ".jpg"), 0xe1), exif.bytes());
    const auto image = decode(jpeg);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->bitmap()->pixelSize(), (PixelSize{32, 48}));
    const auto stream = image->bitmap()->jpegStream();
    ASSERT_TRUE(stream);
    EXPECT_TRUE(std::ranges::equal(stream->bytes.view, decoder::test::asBytes(jpeg)));
    EXPECT_EQ(stream->storedSize, (PixelSize{48, 32}));
    EXPECT_EQ(stream->orientation, 6);
    EXPECT_EQ(stream->channels, 3);
    EXPECT_FALSE(stream->inverted);
    EXPECT_TRUE(stream->profile.empty());
    EXPECT_FALSE(decode(saved(places({48, 32}), ".png"))->bitmap()->jpegStream());
}

TEST_F(Decoding, tellsThatAdobesInksAreInvertedAndWhatTheyMean) {
    const Bytes& adobe = decoder::adobeRgbBytes();
    auto tagged = plain8({16, 16}, {1, 2, 3}).copy();
    tagged.set("icc-profile-data", nullptr, const_cast<std::byte*>(adobe.data()), adobe.size());
    const auto color = decode(saved(tagged, ".jpg"));
    ASSERT_TRUE(color);
    EXPECT_TRUE(std::ranges::equal(color->bitmap()->jpegStream()->profile.view, adobe));
    const auto rows = color->bitmap()->rows(std::nullopt);
    ASSERT_TRUE(rows);
    EXPECT_TRUE(std::ranges::equal(rows->format().profile.view, adobe));

    const auto inks = decode(
        saved(plain8({16, 16}, {255, 0, 0, 0})
                  .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_CMYK)),
              ".jpg"));
    ASSERT_TRUE(inks);
    const auto stream = inks->bitmap()->jpegStream();
    ASSERT_TRUE(stream);
    EXPECT_TRUE(stream->inverted);
    EXPECT_EQ(stream->channels, 4);
    const Bytes samples = allRows(*inks->bitmap());
    EXPECT_GT(std::to_integer<int>(samples.at(0)), 250);
    EXPECT_LT(std::to_integer<int>(samples.at(3)), 5);
}

TEST_F(Decoding, handsOverSixteenBitsWithTheHighByteFirst) {
    const auto image = decode(
        saved(decoder::test::image16({4, 4}, 1, [](int, int, int) { return 0x1234; }), ".png"));
    ASSERT_TRUE(image);
    const auto rows = image->bitmap()->rows(std::nullopt);
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->format().bitsPerComponent, 16);
    EXPECT_EQ(rows->format().channels, 1);
    Bytes buffer(8);
    ASSERT_EQ(rows->readRows(buffer), 1u);
    EXPECT_EQ(buffer[0], std::byte{0x12});
    EXPECT_EQ(buffer[1], std::byte{0x34});
}

TEST_F(Decoding, convertsRowsIntoTheTarget) {
    const auto image = decode(saved(plain8({8, 8}, {255, 0, 0}), ".png"));
    ASSERT_TRUE(image);
    const auto rows = image->bitmap()->rows(target(decoder::adobeRgbBytes(), 3));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->format().channels, 3);
    EXPECT_EQ(rows->format().bitsPerComponent, 8);
    EXPECT_TRUE(rows->format().profile.empty());
    const Bytes samples = allRows(*image->bitmap(), target(decoder::adobeRgbBytes(), 3));
    EXPECT_NEAR(std::to_integer<int>(samples.at(0)), 219, 1);
    // What claims other channels than it has, and what is no profile.
    EXPECT_FALSE(image->bitmap()->rows(target(decoder::adobeRgbBytes(), 4)));
    EXPECT_FALSE(image->bitmap()->rows(target(Bytes(200), 3)));
    EXPECT_FALSE(image->bitmap()->rows(target({}, 3)));
}

TEST_F(Decoding, tellsWhatAPageCanDoWithAProfile) {
    const SharedBytes bytes = sharedBytes(decoder::adobeRgbBytes());
    const auto space = m_client.colorSpace(bytes);
    ASSERT_TRUE(space && *space);
    EXPECT_EQ((*space)->profile.view.data(), bytes.view.data());
    EXPECT_EQ((*space)->channels, 3);
    EXPECT_TRUE((*space)->isDestination);
    // A header alone, and none.
    Bytes cut(bytes.view.begin(), bytes.view.begin() + 128);
    EXPECT_EQ(m_client.colorSpace(sharedBytes(cut)), nullptr);
    EXPECT_EQ(m_client.colorSpace(sharedBytes(Bytes(128))), nullptr);
    EXPECT_EQ(m_client.colorSpace({}), nullptr);
    Bytes vast = decoder::adobeRgbBytes();
    vast.resize((std::size_t{64} << 20) + 1);
    EXPECT_EQ(m_client.colorSpace(sharedBytes(vast)), nullptr);
}

/// Tasks that the test runs.
struct Background {
    std::vector<std::function<void()>> tasks;

    DecoderOptions options() {
        return {.path = LUMIVERT_DECODER,
                .screenEdge = [] { return 500; },
                .inBackground = [this](auto task) { tasks.push_back(std::move(task)); }};
    }
};

TEST_F(Decoding, proofsInTheBackground) {
    Background background;
    DecoderClient client(background.options());
    const auto image = client.decode(
        FileUrl::fromPath(m_folder.write("photo", saved(plain8({64, 32}, {0, 0, 255}), ".png"))));
    ASSERT_TRUE(image);
    std::shared_ptr<const ScreenRendition> proof;
    image->softProof(target(decoder::adobeRgbBytes(), 3), [&](auto made) { proof = made; });
    EXPECT_FALSE(proof);
    ASSERT_EQ(background.tasks.size(), 1u);
    background.tasks[0]();
    ASSERT_TRUE(proof);
    EXPECT_EQ(proof->size, image->screenRendition().size);
    EXPECT_EQ(proof->pixels.view.size(), std::size_t{64 * 32 * 4});
}

TEST_F(Decoding, overtakesAProofThatStillWaits) {
    Background background;
    DecoderClient client(background.options());
    const auto image =
        client.decode(FileUrl::fromPath(m_folder.write("photo", saved(places({70, 50}), ".png"))));
    const auto other =
        client.decode(FileUrl::fromPath(m_folder.write("other", saved(places({50, 70}), ".png"))));
    ASSERT_TRUE(image && other);
    std::vector<bool> made;
    const auto note = [&](const auto& proof) { made.push_back(proof != nullptr); };
    image->softProof(target(decoder::adobeRgbBytes(), 3), note);
    background.tasks[0]();
    for (int i = 0; i < 3; ++i)
        image->softProof(target(decoder::adobeRgbBytes(), 3), note);
    other->softProof(target(decoder::adobeRgbBytes(), 3), note);
    for (std::size_t i = 1; i < 5; ++i)
        background.tasks.at(i)();
    EXPECT_EQ(made, (std::vector{true, false, false, false, true}));
}

TEST_F(Decoding, completesProofsWhenTheClientIsGone) {
    Background background;
    auto client = std::make_unique<DecoderClient>(background.options());
    const auto image = client->decode(
        FileUrl::fromPath(m_folder.write("photo", saved(places({800, 600}), ".png"))));
    ASSERT_TRUE(image);
    int completed = 0;
    const auto expectNone = [&](const auto& proof) {
        EXPECT_FALSE(proof);
        ++completed;
    };
    image->softProof(target(decoder::adobeRgbBytes(), 3), expectNone);
    client.reset();
    background.tasks[0]();
    image->softProof(target(decoder::adobeRgbBytes(), 3), expectNone);
    background.tasks[1]();
    EXPECT_EQ(completed, 2);
    EXPECT_EQ(allRows(*image->bitmap()).size(), std::size_t{800 * 600 * 3});
}

TEST_F(Decoding, letsGoOfRowsThatNobodyReads) {
    const auto image = decode(saved(places({1500, 1000}), ".png"));
    ASSERT_TRUE(image);
    const auto start = std::chrono::steady_clock::now();
    auto rows = image->bitmap()->rows(std::nullopt);
    ASSERT_TRUE(rows);
    rows.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
}

std::vector<pid_t> childrenOfThisProcess() {
    std::vector<pid_t> children;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "children");
        for (pid_t child = 0; file >> child;)
            children.push_back(child);
    }
    return children;
}

// Two hundred moments from before the request to behind the last row.
TEST_F(Decoding, givesEveryRowOrBreaksOffWheneverADecoderIsKilledOrStopped) {
    const std::string file = m_folder.write("photo", saved(places({400, 300}), ".png"));
#if defined(LUMIVERT_SANITIZED)
    constexpr auto patience = 2s; // a decoder is slower there
#else
    constexpr auto patience = 500ms;
#endif
    DecoderClient client({.path = LUMIVERT_DECODER,
                          .screenEdge = [] { return 100; },
                          .answerTimeout = patience,
                          .rowTimeout = patience});
    std::shared_ptr<const Image> image;
    for (int i = 0; i < 20 && !image; ++i) // a loaded machine may need longer
        image = client.decode(FileUrl::fromPath(file));
    ASSERT_TRUE(image);
    const Bytes expected =
        allRows(*m_client.decode(FileUrl::fromPath(file))->bitmap(), std::nullopt, 50);
    ASSERT_EQ(expected.size(), std::size_t{400 * 300 * 3});
    std::mt19937 generator(7);
    int broken = 0;
    for (int i = 0; i < 200; ++i) {
        const auto moment = std::chrono::microseconds(generator() % 30'000);
        std::atomic<bool> isRead = false;
        std::thread killer([&, signal = i % 20 == 0 ? SIGSTOP : SIGKILL] {
            std::this_thread::sleep_for(moment);
            for (const pid_t child : childrenOfThisProcess())
                ::kill(child, signal);
            // Its start waits for a child that was stopped before it became the decoder.
            for (int wait = 0; wait < 300 && !isRead; ++wait)
                std::this_thread::sleep_for(10ms);
            if (!isRead)
                for (const pid_t child : childrenOfThisProcess())
                    ::kill(child, SIGKILL);
        });
        const Bytes rows = allRows(*image->bitmap(), std::nullopt, 3);
        isRead = true;
        killer.join();
        broken += rows.empty() ? 1 : 0;
        ASSERT_TRUE(rows.empty() || rows == expected) << i;
    }
    EXPECT_GT(broken, 0) << "no moment was hit";
    EXPECT_EQ(allRows(*m_client.decode(FileUrl::fromPath(file))->bitmap()), expected);
}

TEST(Samples, loadUprightAndHandOverAllTheirRows) {
    const char* samples = std::getenv("LUMIVERT_SAMPLES");
    if (!samples)
        GTEST_SKIP() << "LUMIVERT_SAMPLES is not set";
    DecoderClient client({.path = LUMIVERT_DECODER, .screenEdge = [] { return 2048; }});
    const std::vector<std::pair<std::string, PixelSize>> photos{
        {"tahoe.jpg", {2048, 1536}},
        {"exif-orientation-3.jpg", {1200, 1800}},
        {"exif-orientation-5.jpg", {1200, 1800}},
        {"exif-orientation-6.jpg", {1200, 1800}},
        {"exif-orientation-8.jpg", {1200, 1800}},
        {"broken-exif.jpg", {636, 227}},
        {"iphone_7.heic", {4032, 3024}},
        {"canon_eos_6d.dng", {1224, 816}},
        {"palette16.tif", {73, 43}},
        {"tiled.tif", {512, 384}},
    };
    for (const auto& [name, size] : photos) {
        SCOPED_TRACE(name);
        const std::string path = std::string(samples) + "/" + name;
        if (!std::filesystem::exists(path))
            continue; // the folder may hold other photos
        const auto image = client.decode(FileUrl::fromPath(path));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->bitmap()->pixelSize(), size);
        const auto rows = image->bitmap()->rows(std::nullopt);
        ASSERT_TRUE(rows);
        Bytes buffer(rows->format().bytesPerRow() * static_cast<std::size_t>(size.height));
        EXPECT_EQ(rows->readRows(buffer), static_cast<std::size_t>(size.height));
        EXPECT_EQ(rows->readRows(buffer), 0u);
    }
}

// The same scene, stored in four ways.
TEST(Samples, showTheSameSceneHoweverItIsStored) {
    const char* samples = std::getenv("LUMIVERT_SAMPLES");
    if (!samples)
        GTEST_SKIP() << "LUMIVERT_SAMPLES is not set";
    DecoderClient client({.path = LUMIVERT_DECODER, .screenEdge = [] { return 200; }});
    std::optional<ScreenRendition> first;
    for (const char* name : {"exif-orientation-3.jpg", "exif-orientation-5.jpg",
                             "exif-orientation-6.jpg", "exif-orientation-8.jpg"}) {
        const std::string path = std::string(samples) + "/" + name;
        if (!std::filesystem::exists(path))
            continue;
        const auto image = client.decode(FileUrl::fromPath(path));
        ASSERT_TRUE(image);
        if (!first)
            first = image->screenRendition();
        const auto& view = image->screenRendition().pixels.view;
        ASSERT_EQ(view.size(), first->pixels.view.size());
        double difference = 0;
        for (std::size_t i = 0; i < view.size(); ++i)
            difference += std::abs(std::to_integer<int>(view[i]) -
                                   std::to_integer<int>(first->pixels.view[i]));
        EXPECT_LT(difference / static_cast<double>(view.size()), 4) << name;
    }
}

} // namespace
} // namespace lumivert
