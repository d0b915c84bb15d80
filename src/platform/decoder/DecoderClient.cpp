#include "platform/decoder/DecoderClient.h"

#include "model/FileUrl.h"
#include "platform/IccHeader.h"
#include "platform/decoder/DecoderImage.h"
#include "platform/system/SealedMemory.h"

#include <algorithm>
#include <new>
#include <utility>

namespace lumivert {

DecoderClient::DecoderClient(DecoderOptions options)
    : m_service(std::make_shared<DecoderService>(std::move(options))) {}

DecoderClient::~DecoderClient() {
    m_service->stop();
}

void DecoderClient::prepareSpare() {
    m_service->pool().prepareSpare();
}

std::shared_ptr<const Image> DecoderClient::decode(const FileUrl& url) try {
    auto photo = sealedCopyOfFile(url.path());
    if (!photo)
        return nullptr;
    const int wanted = m_service->options().screenEdge ? m_service->options().screenEdge() : 2048;
    return DecoderImage::load(m_service, std::move(*photo),
                              std::clamp(wanted, 1, protocol::maximumScreenEdge));
} catch (const std::bad_alloc&) {
    return nullptr;
}

std::optional<std::shared_ptr<const ColorSpace>> DecoderClient::colorSpace(SharedBytes profile) {
    const auto header = iccHeader(profile.view);
    if (!header || profile.view.size() > protocol::maximumProfileBytes)
        return nullptr;
    const auto memory = sealedCopyOf(profile.view);
    auto process = memory ? m_service->pool().take() : nullptr;
    if (!process)
        return std::nullopt;
    protocol::Request request;
    request.kind = protocol::Kind::profile;
    const int fd = memory->get();
    const auto reply = process->ask(request, {&fd, 1}, m_service->options().answerTimeout);
    process.reset();
    m_service->pool().prepareSpare();
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
