#pragma once

#include "platform/Updates.h"

#include <optional>
#include <string>

namespace lumivert {

/// What the update window says and offers for one state; plain text throughout.
struct UpdateContent {
    std::string headline;
    std::string text;
    std::string dismissLabel;
    std::string notesLabel = {}; ///< names the notes
    std::string notes = {};      ///< several lines to read at leisure; often none
    /// Shown while something goes on; without a percentage, as busy without a measure.
    std::optional<UpdateProgress> progress = {};
    bool offersInstall = false;
};

[[nodiscard]] UpdateContent updateContent(const UpdateState& state);

} // namespace lumivert
