#include "platform/decoder/DecoderClient.h"

#include "model/FileUrl.h"
#include "model/Models.h"
#include "platform/IccHeader.h"
#include "platform/decoder/DecoderBitmap.h"
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
std::optional<JpegStream> jpegStream(const Answer& answer, const SharedBytes& profile) {
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
class DecoderImage : public Image {
public:
    /// `answer` has been checked; `memory` holds what came with it.
    DecoderImage(std::shared_ptr<DecoderService> service, Descriptor photo, int screenEdge,
                 const Answer& answer, const SharedBytes& memory)
        : m_service(std::move(service))
        , m_screenEdge(screenEdge)
        , m_size{answer.width * 72.0 / answer.densityX, answer.height * 72.0 / answer.densityY}
        , m_representations{{answer.width, answer.height}}
        , m_rendition(rendition(answer, memory)) {
        auto decoded = std::make_shared<DecodedPhoto>();
        decoded->bytes = std::move(photo);
        decoded->size = m_representations.front();
        decoded->channels = static_cast<int>(answer.channels);
        decoded->bitsPerComponent = static_cast<int>(answer.bitsPerComponent);
        decoded->rawWhite = answer.rawWhite;
        if (answer.profileSize > 0)
            decoded->profile = {memory.owner, memory.view.subspan(renditionBytes(answer))};
        decoded->jpeg = jpegStream(answer, decoded->profile);
        m_photo = std::move(decoded);
    }

    [[nodiscard]] SizePoints size() const override { return m_size; }
    [[nodiscard]] const std::vector<PixelSize>& representations() const override {
        return m_representations;
    }
    [[nodiscard]] const ScreenRendition& screenRendition() const override { return m_rendition; }

    // Proofs are made one after the other; one that waits is overtaken by the next of its photo.
    void softProof(
        const ColorTarget& target,
        std::function<void(std::shared_ptr<const ScreenRendition>)> completion) const override {
        // The task keeps what it needs of the image, not the image. It must not keep the service,
        // on whose thread it runs.
        m_service->runInBackground(m_photo.get(), [&service = *m_service, photo = m_photo,
                                                   edge = m_screenEdge, target,
                                                   completion](bool isCancelled) {
            completion(isCancelled || !target.space ? nullptr
                                                    : makeProof(service, *photo, edge, target));
        });
    }

    [[nodiscard]] std::shared_ptr<const Bitmap> bitmap() const override {
        const PixelSize size = m_photo->size;
        return decoderBitmap(m_service, m_photo, {0, 0, size.width, size.height});
    }

private:
    std::shared_ptr<DecoderService> m_service;
    std::shared_ptr<const DecodedPhoto> m_photo;
    int m_screenEdge = 0;
    SizePoints m_size;
    std::vector<PixelSize> m_representations;
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
