#include "manager/SoftProof.h"

#include "manager/PrintManager.h"
#include "platform/Dispatcher.h"

#include <utility>

namespace lumivert {

SoftProof::SoftProof(Dispatcher& dispatcher, std::function<void()> arrived)
    : m_dispatcher(dispatcher)
    , m_state(std::make_shared<State>()) {
    m_state->arrived = std::move(arrived);
}

std::shared_ptr<const ScreenRendition>
SoftProof::rendition(const Request& request,
                     const std::function<std::shared_ptr<const ColorSpace>()>& target) {
    if (m_state->request == request)
        return m_state->proof;
    m_state->request = request;
    m_state->proof = nullptr;
    const auto space = target();
    if (!space || !space->isDestination)
        return nullptr;

    request.image->softProof({.space = space, .intent = request.intent},
                             [&dispatcher = m_dispatcher, weak = std::weak_ptr(m_state),
                              request](std::shared_ptr<const ScreenRendition> proof) {
                                 dispatcher.asyncOnMain([weak, request, proof = std::move(proof)] {
                                     const auto state = weak.lock();
                                     // Another photo, profile or intent may have been chosen
                                     // meanwhile.
                                     if (!state || !proof || state->request != request)
                                         return;
                                     state->proof = proof;
                                     state->arrived();
                                 });
                             });
    return nullptr;
}

void SoftProof::clear() {
    m_state->request.reset();
    m_state->proof = nullptr;
}

std::shared_ptr<const ScreenRendition> PrintManager::previewRendition() {
    const std::shared_ptr<const Image> photo = image;
    if (!photo)
        return nullptr;
    const ICCProfile profile = selectedICCProfile();
    if (profile.path) {
        if (auto proof = m_softProof->rendition({photo, *profile.path, renderingIntent},
                                                [this] { return chosenColorSpace(); }))
            return proof;
    } else {
        m_softProof->clear();
    }
    return {photo, &photo->screenRendition()};
}

} // namespace lumivert
