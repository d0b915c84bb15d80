#include "platform/decoder/DecoderClient.h"

#include "model/FileUrl.h"
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

} // namespace lumivert
