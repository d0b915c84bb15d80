#pragma once

#include "model/Models.h"
#include "platform/Image.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace lumivert {

class Dispatcher;

/// How the shown photo stands to the chosen profile.
enum class ProofState {
    none,   ///< the printer manages colour
    inWork, ///< what was shown before still is
    shown,  ///< the photo is shown through the profile
    failed, ///< the profile cannot be used, or no proof could be made: shown without it
};

/// Keeps the picture of the current photo for the screen: plain, or as a profile will print it. The
/// proofs looked at last are kept, so that going back to one shows it at once. Main thread. Held by
/// a shared pointer: steps that are pending when it goes find nothing.
class SoftProof : public std::enable_shared_from_this<SoftProof> {
public:
    /// What is to be shown.
    struct Wanted {
        std::shared_ptr<const Image> image;
        bool proofed = false;
        /// Null for a profile that cannot be used.
        std::shared_ptr<const ColorSpace> space;
        RenderingIntent intent = RenderingIntent::perceptual;
    };

    /// `wanted` and `changed` run on the main thread, on a later turn than the call that leads to
    /// them; `changed` when another picture, or another state, stands ready.
    SoftProof(Dispatcher& dispatcher, std::function<Wanted()> wanted,
              std::function<void()> changed);

    /// Something that a proof depends on may have changed. What is wanted is asked for once,
    /// however often this is called in one turn.
    void follow();

    /// What to show for `image`: its proof; while that is made what was shown of it before, at
    /// first the plain photo. Starts nothing. Null without an image.
    [[nodiscard]] std::shared_ptr<const ScreenRendition>
    rendition(const std::shared_ptr<const Image>& image) const;
    [[nodiscard]] ProofState state() const { return m_state; }

private:
    struct Proof {
        std::uint64_t number = 0;
        std::shared_ptr<const ColorSpace> space;
        RenderingIntent intent = RenderingIntent::perceptual;
        std::shared_ptr<const ScreenRendition> rendition; // null while it is made
    };

    void showWanted();
    void show(std::shared_ptr<const ScreenRendition> rendition, ProofState state);
    void take(std::uint64_t number, std::shared_ptr<const ScreenRendition> rendition);

    Dispatcher& m_dispatcher;
    const std::function<Wanted()> m_wanted;
    const std::function<void()> m_changed;
    bool m_isFollowing = false;
    std::shared_ptr<const Image> m_image;
    std::shared_ptr<const ScreenRendition> m_shown;
    ProofState m_state = ProofState::none;
    std::uint64_t m_lastNumber = 0;
    std::vector<Proof> m_proofs; // of `m_image`; the one wanted last is the last
};

} // namespace lumivert
