#include "platform/decoder/DecoderClient.h"

#include "model/FileUrl.h"
#include "model/Models.h"
#include "platform/IccHeader.h"
#include "platform/decoder/DecoderRows.h"
#include "platform/system/SealedMemory.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <utility>

namespace lumivert {
namespace {

using protocol::Answer;
using protocol::Kind;

bool isRendition(const Answer& answer, int screenEdge) {
    return answer.renditionWidth > 0 && answer.renditionHeight > 0 &&
           answer.renditionWidth <= screenEdge && answer.renditionHeight <= screenEdge;
}

bool isPhoto(const Answer& answer) {
    return protocol::isPossible({answer.width, answer.height}) &&
           (answer.channels == 1 || answer.channels == 3 || answer.channels == 4) &&
           (answer.bitsPerComponent == 8 || answer.bitsPerComponent == 16) &&
           protocol::isUsable(answer.densityX) && protocol::isUsable(answer.densityY) &&
           answer.profileSize <= protocol::maximumProfileBytes && std::isfinite(answer.rawWhite) &&
           answer.rawWhite >= 0;
}

std::uint64_t renditionBytes(const Answer& answer) {
    return std::uint64_t{4} * static_cast<std::uint64_t>(answer.renditionWidth) *
           static_cast<std::uint64_t>(answer.renditionHeight);
}

ScreenRendition rendition(const Answer& answer, const SharedBytes& memory) {
    return {{answer.renditionWidth, answer.renditionHeight},
            {memory.owner, memory.view.first(renditionBytes(answer))}};
}

// The stream as it was told, as far as it agrees with the rest and the bytes.
std::optional<JpegStream> toldStream(const Answer& answer, const SharedBytes& profile) {
    if (answer.jpegStream != 1 || answer.orientation < 1 || answer.orientation > 8 ||
        answer.bitsPerComponent != 8)
        return std::nullopt;
    const PixelSize stored{answer.storedWidth, answer.storedHeight};
    const PixelSize upright{answer.width, answer.height};
    const PixelSize turned{answer.height, answer.width};
    if (stored != (answer.orientation >= 5 ? turned : upright))
        return std::nullopt;
    JpegStream stream;
    stream.storedSize = stored;
    stream.orientation = static_cast<int>(answer.orientation);
    stream.channels = static_cast<int>(answer.channels);
    stream.inverted = answer.inverted == 1 && answer.channels == 4;
    stream.profile = profile;
    return stream;
}

std::shared_ptr<const ScreenRendition> makeProof(DecoderService& service, const DecodedPhoto& photo,
                                                 int screenEdge, const ColorTarget& target) try {
    const auto profile = sealedCopyOf(target.space->profile.view);
    if (!profile)
        return nullptr;
    protocol::Request request;
    request.kind = Kind::proof;
    request.screenEdge = screenEdge;
    request.intent = iccIntent(target.intent);
    request.rawWhite = photo.rawWhite;
    const auto reply = service.answer(request, std::array{photo.bytes.get(), profile->get()});
    if (!reply || reply->descriptors.size() != 1 || !isRendition(reply->answer, screenEdge))
        return nullptr;
    const auto memory = mapSealed(reply->descriptors.front().get(), renditionBytes(reply->answer));
    if (!memory)
        return nullptr;
    return std::make_shared<const ScreenRendition>(rendition(reply->answer, *memory));
} catch (const std::bad_alloc&) {
    return nullptr;
}

/// A photo whose bytes lie in memory of the program's own and whose pixels are made by decoders.
class DecoderImage : public Image, public Bitmap {
public:
    /// `answer` has been checked; `memory` holds what came with it.
    DecoderImage(std::shared_ptr<DecoderService> service, Descriptor bytes, int screenEdge,
                 const Answer& answer, const SharedBytes& memory)
        : m_service(std::move(service))
        , m_screenEdge(screenEdge)
        , m_size{answer.width * 72.0 / answer.densityX, answer.height * 72.0 / answer.densityY}
        , m_rendition(rendition(answer, memory)) {
        SharedBytes profile;
        if (answer.profileSize > 0)
            profile = {memory.owner, memory.view.subspan(renditionBytes(answer))};
        m_photo = std::make_shared<DecodedPhoto>(
            DecodedPhoto{.bytes = std::move(bytes),
                         .format = {{answer.width, answer.height},
                                    static_cast<int>(answer.channels),
                                    static_cast<int>(answer.bitsPerComponent),
                                    profile},
                         .rawWhite = answer.rawWhite,
                         .jpeg = toldStream(answer, profile)});
    }

    [[nodiscard]] SizePoints size() const override { return m_size; }
    [[nodiscard]] const ScreenRendition& screenRendition() const override { return m_rendition; }
    [[nodiscard]] const Bitmap* bitmap() const override { return this; }

    [[nodiscard]] PixelSize pixelSize() const override { return m_photo->format.size; }
    [[nodiscard]] std::optional<JpegStream> jpegStream() const override {
        if (!m_photo->jpeg)
            return std::nullopt;
        auto bytes = mapSealed(m_photo->bytes.get());
        constexpr std::array start{std::byte{0xff}, std::byte{0xd8}, std::byte{0xff}};
        if (!bytes || bytes->view.size() < start.size() ||
            !std::ranges::equal(bytes->view.first(start.size()), start))
            return std::nullopt;
        JpegStream stream = *m_photo->jpeg;
        stream.bytes = std::move(*bytes);
        return stream;
    }
    [[nodiscard]] std::unique_ptr<RowSource>
    rows(const std::optional<ColorTarget>& target,
         const std::optional<PixelRect>& part) const override {
        return decodedRows(m_service, *m_photo, target, part);
    }

    // One that still waits for its turn when the next is asked for is not made.
    void softProof(
        const ColorTarget& target,
        std::function<void(std::shared_ptr<const ScreenRendition>)> completion) const override {
        // The task keeps what it needs of the image, not the image.
        m_service->options().inBackground([service = m_service, photo = m_photo,
                                           edge = m_screenEdge, target, completion,
                                           number = m_service->nextProof()] {
            const bool makes = target.space && service->isWanted(number);
            completion(makes ? makeProof(*service, *photo, edge, target) : nullptr);
        });
    }

private:
    std::shared_ptr<DecoderService> m_service;
    std::shared_ptr<const DecodedPhoto> m_photo;
    int m_screenEdge = 0;
    SizePoints m_size;
    ScreenRendition m_rendition;
};

} // namespace

DecoderClient::DecoderClient(DecoderOptions options)
    : m_service(std::make_shared<DecoderService>(std::move(options))) {}

DecoderClient::~DecoderClient() {
    m_service->stop();
}

void DecoderClient::prepareSpare() {
    m_service->prepareSpare();
}

std::shared_ptr<const Image> DecoderClient::decode(const FileUrl& url) try {
    auto photo = sealedCopyOfFile(url.path());
    if (!photo)
        return nullptr;
    const int wanted = m_service->options().screenEdge ? m_service->options().screenEdge() : 2048;
    protocol::Request request;
    request.kind = Kind::load;
    request.screenEdge = std::clamp(wanted, 1, protocol::maximumScreenEdge);
    const auto reply = m_service->answer(request, std::array{photo->get()});
    if (!reply || reply->descriptors.size() != 1 || !isPhoto(reply->answer) ||
        !isRendition(reply->answer, request.screenEdge))
        return nullptr;
    const auto memory = mapSealed(reply->descriptors.front().get(),
                                  renditionBytes(reply->answer) + reply->answer.profileSize);
    if (!memory)
        return nullptr;
    return std::make_shared<const DecoderImage>(m_service, std::move(*photo), request.screenEdge,
                                                reply->answer, *memory);
} catch (const std::bad_alloc&) {
    return nullptr;
}

std::optional<std::shared_ptr<const ColorSpace>> DecoderClient::colorSpace(SharedBytes profile) {
    const auto header = iccHeader(profile.view);
    if (!header || profile.view.size() > protocol::maximumProfileBytes)
        return nullptr;
    const auto memory = sealedCopyOf(profile.view);
    if (!memory)
        return std::nullopt;
    protocol::Request request;
    request.kind = Kind::profile;
    const auto reply = m_service->answer(request, std::array{memory->get()});
    if (!reply)
        return std::nullopt;
    if (reply->answer.channels == 0)
        return nullptr;
    if (reply->answer.channels != static_cast<std::uint32_t>(header->channels()))
        return std::nullopt;
    return std::make_shared<const ColorSpace>(
        ColorSpace{std::move(profile), header->channels(), reply->answer.isDestination == 1});
}

} // namespace lumivert
