#include "manager/SoftProof.h"

#include "platform/Dispatcher.h"

#include <algorithm>
#include <utility>

namespace lumivert {
namespace {

// Two are compared with each other; each takes four bytes for every pixel of the screen.
constexpr std::size_t mostKept = 2;

std::shared_ptr<const ScreenRendition> plain(const std::shared_ptr<const Image>& image) {
    return image ? std::shared_ptr<const ScreenRendition>(image, &image->screenRendition())
                 : nullptr;
}

} // namespace

SoftProof::SoftProof(Dispatcher& dispatcher, std::function<Wanted()> wanted,
                     std::function<void()> changed)
    : m_dispatcher(dispatcher)
    , m_wanted(std::move(wanted))
    , m_changed(std::move(changed)) {}

void SoftProof::follow() {
    if (std::exchange(m_isFollowing, true))
        return;
    m_dispatcher.asyncOnMain([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->showWanted();
    });
}

void SoftProof::showWanted() {
    m_isFollowing = false;
    const Wanted wanted = m_wanted();
    if (std::exchange(m_image, wanted.image) != wanted.image) {
        m_proofs.clear();
        m_shown = plain(wanted.image);
    }
    if (!wanted.image || !wanted.proofed)
        return show(plain(wanted.image), ProofState::none);
    if (!wanted.space || !wanted.space->isDestination)
        return show(plain(wanted.image), ProofState::failed);

    const auto known = std::ranges::find_if(m_proofs, [&wanted](const Proof& proof) {
        // By its contents: the file behind the same path may be another one.
        return proof.intent == wanted.intent &&
               std::ranges::equal(proof.space->profile.view, wanted.space->profile.view);
    });
    if (known != m_proofs.end()) {
        std::rotate(known, known + 1, m_proofs.end());
        const auto rendition = m_proofs.back().rendition;
        return show(rendition ? rendition : m_shown,
                    rendition ? ProofState::shown : ProofState::inWork);
    }
    if (m_proofs.size() == mostKept)
        m_proofs.erase(m_proofs.begin());
    const std::uint64_t number = ++m_lastNumber;
    m_proofs.push_back({number, wanted.space, wanted.intent, nullptr});
    // The step carries a number, not the proof: a photo replaced meanwhile must neither be kept by
    // it nor be destroyed on the thread that runs it.
    wanted.image->softProof({.space = wanted.space, .intent = wanted.intent},
                            [&dispatcher = m_dispatcher, weak = weak_from_this(),
                             number](std::shared_ptr<const ScreenRendition> rendition) {
                                dispatcher.asyncOnMain(
                                    [weak, number, rendition = std::move(rendition)] {
                                        if (const auto self = weak.lock())
                                            self->take(number, rendition);
                                    });
                            });
    show(m_shown, ProofState::inWork);
}

void SoftProof::show(std::shared_ptr<const ScreenRendition> rendition, ProofState state) {
    const bool same = rendition == m_shown && state == m_state;
    m_shown = std::move(rendition);
    m_state = state;
    if (!same)
        m_changed();
}

void SoftProof::take(std::uint64_t number, std::shared_ptr<const ScreenRendition> rendition) {
    // Another photo may have been chosen meanwhile, or two other proofs.
    const auto proof = std::ranges::find(m_proofs, number, &Proof::number);
    if (proof == m_proofs.end())
        return;
    const bool isWanted = m_state == ProofState::inWork && proof + 1 == m_proofs.end();
    proof->rendition = rendition;
    if (!rendition)
        m_proofs.erase(proof); // to be tried again when it is chosen again
    if (isWanted)
        show(rendition ? rendition : plain(m_image),
             rendition ? ProofState::shown : ProofState::failed);
}

std::shared_ptr<const ScreenRendition>
SoftProof::rendition(const std::shared_ptr<const Image>& image) const {
    return image && image == m_image ? m_shown : plain(image);
}

} // namespace lumivert
