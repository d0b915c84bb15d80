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
    const std::uint64_t generation = ++m_state->generation;
    const auto space = target();
    if (!space || !space->isDestination)
        return nullptr;

    // The step carries a number, not the request: a photo replaced meanwhile must neither be kept
    // by it nor be destroyed on the thread that runs it.
    const auto ready = [&dispatcher = m_dispatcher, weak = std::weak_ptr(m_state),
                        generation](std::shared_ptr<const ScreenRendition> proof) {
        dispatcher.asyncOnMain([weak, generation, proof = std::move(proof)] {
            const auto state = weak.lock();
            // Another photo, profile or intent may have been chosen meanwhile.
            if (!state || !proof || state->generation != generation)
                return;
            state->proof = proof;
            state->arrived();
        });
    };
    request.image->softProof({.space = space, .intent = request.intent}, ready);
    return nullptr;
}

void SoftProof::clear() {
    ++m_state->generation;
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
