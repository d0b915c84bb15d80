#include "manager/SoftProof.h"

#include "platform/Dispatcher.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace lumivert {
namespace {

// Two are compared with each other; each takes four bytes for every pixel of the screen.
constexpr std::size_t mostKept = 2;

std::shared_ptr<const ScreenRendition> plain(const std::shared_ptr<const Image>& image) {
    return image ? std::shared_ptr<const ScreenRendition>(image, &image->screenRendition())
                 : nullptr;
}

} // namespace

struct SoftProof::State {
    struct Proof {
        std::uint64_t number = 0;
        std::shared_ptr<const ColorSpace> space;
        RenderingIntent intent = RenderingIntent::perceptual;
        std::shared_ptr<const ScreenRendition> rendition; // null while it is made

        // By its contents: the file behind the same path may be another one.
        [[nodiscard]] bool isOf(const Wanted& wanted) const {
            return intent == wanted.intent &&
                   std::ranges::equal(space->profile.view, wanted.space->profile.view);
        }
    };

    std::function<Wanted()> wanted;
    std::function<void()> changed;
    bool isFollowing = false;
    std::shared_ptr<const Image> image;
    std::shared_ptr<const ScreenRendition> shown;
    ProofState proofState = ProofState::none;
    std::uint64_t lastNumber = 0;
    std::vector<Proof> proofs; // of `image`; the one wanted last is the last

    void show(std::shared_ptr<const ScreenRendition> rendition, ProofState newState) {
        const bool same = rendition == shown && newState == proofState;
        shown = std::move(rendition);
        proofState = newState;
        if (!same)
            changed();
    }
    void take(std::uint64_t number, std::shared_ptr<const ScreenRendition> rendition) {
        // Another photo may have been chosen meanwhile, or two other proofs.
        const auto proof = std::ranges::find(proofs, number, &Proof::number);
        if (proof == proofs.end())
            return;
        const bool isWanted = proofState == ProofState::inWork && proof + 1 == proofs.end();
        proof->rendition = rendition;
        if (!rendition)
            proofs.erase(proof); // to be tried again when it is chosen again
        if (isWanted)
            show(rendition ? rendition : plain(image),
                 rendition ? ProofState::shown : ProofState::failed);
    }
};

SoftProof::SoftProof(Dispatcher& dispatcher, std::function<Wanted()> wanted,
                     std::function<void()> changed)
    : m_dispatcher(dispatcher)
    , m_state(std::make_shared<State>()) {
    m_state->wanted = std::move(wanted);
    m_state->changed = std::move(changed);
}

void SoftProof::follow() {
    if (std::exchange(m_state->isFollowing, true))
        return;
    m_dispatcher.asyncOnMain([&dispatcher = m_dispatcher, weak = std::weak_ptr(m_state)] {
        const auto state = weak.lock();
        if (!state)
            return;
        state->isFollowing = false;
        const Wanted wanted = state->wanted();
        if (std::exchange(state->image, wanted.image) != wanted.image) {
            state->proofs.clear();
            state->shown = plain(wanted.image);
        }
        if (!wanted.image || !wanted.proofed)
            return state->show(plain(wanted.image), ProofState::none);
        if (!wanted.space || !wanted.space->isDestination)
            return state->show(plain(wanted.image), ProofState::failed);

        auto& proofs = state->proofs;
        const auto known = std::ranges::find_if(
            proofs, [&wanted](const State::Proof& proof) { return proof.isOf(wanted); });
        if (known != proofs.end()) {
            std::rotate(known, known + 1, proofs.end());
            const auto rendition = proofs.back().rendition;
            return state->show(rendition ? rendition : state->shown,
                               rendition ? ProofState::shown : ProofState::inWork);
        }
        if (proofs.size() == mostKept)
            proofs.erase(proofs.begin());
        const std::uint64_t number = ++state->lastNumber;
        proofs.push_back({number, wanted.space, wanted.intent, nullptr});
        // The step carries a number, not the proof: a photo replaced meanwhile must neither be
        // kept by it nor be destroyed on the thread that runs it.
        wanted.image->softProof(
            {.space = wanted.space, .intent = wanted.intent},
            [&dispatcher, weak, number](std::shared_ptr<const ScreenRendition> rendition) {
                dispatcher.asyncOnMain([weak, number, rendition = std::move(rendition)] {
                    if (const auto still = weak.lock())
                        still->take(number, rendition);
                });
            });
        state->show(state->shown, ProofState::inWork);
    });
}

std::shared_ptr<const ScreenRendition>
SoftProof::rendition(const std::shared_ptr<const Image>& image) const {
    return image && image == m_state->image ? m_state->shown : plain(image);
}

ProofState SoftProof::state() const {
    return m_state->proofState;
}

} // namespace lumivert
