#pragma once

#include "platform/Image.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace lumivert {

class Dispatcher;

/// Keeps the soft proof of one photo under one profile and intent, made once for each change of any
/// of them. Main thread.
class SoftProof {
public:
    /// `arrived` runs on the main thread when a proof that is still wanted stands ready.
    SoftProof(Dispatcher& dispatcher, std::function<void()> arrived);

    /// What the proof is of. `profilePath` is the identity of the target.
    struct Request {
        std::shared_ptr<const Image> image;
        std::string profilePath;
        RenderingIntent intent = RenderingIntent::perceptual;

        bool operator==(const Request&) const = default;
    };

    /// The proof for `request`, when it stands ready. Otherwise nothing, and the first call of its
    /// kind starts it, provided that `target` yields a colour space that can be a destination.
    [[nodiscard]] std::shared_ptr<const ScreenRendition>
    rendition(const Request& request,
              const std::function<std::shared_ptr<const ColorSpace>()>& target);

    /// Lets go of the photo and the proof, also of one that is still being made.
    void clear();

private:
    struct State {
        std::optional<Request> request;
        /// Counts the changes; a proof of an earlier one comes too late.
        std::uint64_t generation = 0;
        std::shared_ptr<const ScreenRendition> proof;
        std::function<void()> arrived;
    };

    Dispatcher& m_dispatcher;
    // Shared with the pending step, which finds nothing when this object is gone.
    std::shared_ptr<State> m_state;
};

} // namespace lumivert
