#pragma once

#include "model/Models.h"
#include "platform/Image.h"

#include <functional>
#include <memory>

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
/// proofs looked at last are kept, so that going back to one shows it at once. Main thread.
class SoftProof {
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
    [[nodiscard]] ProofState state() const;

private:
    struct State;

    Dispatcher& m_dispatcher;
    // Shared with the pending steps, which find nothing when this object is gone.
    std::shared_ptr<State> m_state;
};

} // namespace lumivert
