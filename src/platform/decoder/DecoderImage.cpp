#include "platform/decoder/DecoderImage.h"

#include "platform/decoder/DecoderBitmap.h"
#include "platform/system/SealedMemory.h"

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
    const auto process = service.pool().take();
    if (!process)
        return nullptr;
    const DecoderService::Interruptible interruptible(service, *process);
    if (interruptible.isStopped())
        return nullptr;
    protocol::Request request;
    request.kind = Kind::proof;
    request.screenEdge = screenEdge;
    request.intent = iccIntent(target.intent);
    request.rawWhite = photo.rawWhite;
    const std::array descriptors{photo.bytes.get(), profile->get()};
    const auto reply = process->ask(request, descriptors, service.options().answerTimeout);
    if (!reply || reply->descriptors.size() != 1 || !isRendition(reply->answer, screenEdge))
        return nullptr;
    const auto memory = mapSealed(reply->descriptors.front().get(), renditionBytes(reply->answer));
    if (!memory)
        return nullptr;
    return std::make_shared<const ScreenRendition>(rendition(reply->answer, *memory));
} catch (const std::bad_alloc&) {
    return nullptr;
}

} // namespace

std::shared_ptr<const Image> DecoderImage::load(std::shared_ptr<DecoderService> service,
                                                Descriptor photo, int screenEdge) {
    auto process = service->pool().take();
    if (!process)
        return nullptr;
    protocol::Request request;
    request.kind = Kind::load;
    request.screenEdge = screenEdge;
    const std::array descriptors{photo.get()};
    const auto reply = process->ask(request, descriptors, service->options().answerTimeout);
    process.reset();
    service->pool().prepareSpare();
    if (!reply || reply->descriptors.size() != 1)
        return nullptr;
    const Answer& answer = reply->answer;
    if (!isPhoto(answer) || !isRendition(answer, screenEdge))
        return nullptr;
    const auto memory =
        mapSealed(reply->descriptors.front().get(), renditionBytes(answer) + answer.profileSize);
    if (!memory)
        return nullptr;

    auto decoded = std::make_shared<DecodedPhoto>();
    decoded->bytes = std::move(photo);
    decoded->size = {answer.width, answer.height};
    decoded->channels = static_cast<int>(answer.channels);
    decoded->bitsPerComponent = static_cast<int>(answer.bitsPerComponent);
    decoded->rawWhite = answer.rawWhite;
    if (answer.profileSize > 0)
        decoded->profile = {memory->owner, memory->view.subspan(renditionBytes(answer))};
    decoded->jpeg = jpegStream(answer, decoded->profile);

    std::shared_ptr<DecoderImage> image(new DecoderImage);
    image->m_service = std::move(service);
    image->m_photo = decoded;
    image->m_screenEdge = screenEdge;
    image->m_size = {answer.width * 72.0 / answer.densityX, answer.height * 72.0 / answer.densityY};
    image->m_representations = {decoded->size};
    image->m_rendition = rendition(answer, *memory);
    return image;
}

void DecoderImage::softProof(
    const ColorTarget& target,
    std::function<void(std::shared_ptr<const ScreenRendition>)> completion) const {
    if (!target.space) {
        completion(nullptr);
        return;
    }
    // The task keeps what it needs of the image, not the image. It must not keep the service, on
    // whose thread it runs.
    m_service->runInBackground(
        m_photo.get(),
        [&service = *m_service, photo = m_photo, edge = m_screenEdge, target, completion] {
            completion(makeProof(service, *photo, edge, target));
            service.pool().prepareSpare();
        },
        [completion] { completion(nullptr); });
}

std::shared_ptr<const Bitmap> DecoderImage::bitmap() const {
    const PixelSize size = m_photo->size;
    return std::make_shared<DecoderBitmap>(m_service, m_photo,
                                           PixelRect{0, 0, size.width, size.height});
}

} // namespace lumivert
