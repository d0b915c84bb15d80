#pragma once

#include "platform/UpdateWindow.h"

#include <optional>
#include <string>

namespace lumivert {

/// What the update window says and offers for one state; plain text throughout.
struct UpdateContent {
    std::string headline;
    std::string text;
    std::string notesLabel; ///< names the notes
    std::string notes;      ///< several lines to read at leisure; often none
    bool showsProgress = false;
    std::optional<int> percent; ///< 0 to 100; nothing: busy without a measure
    bool offersInstall = false;
    std::string dismissLabel;
};

[[nodiscard]] UpdateContent updateContent(const UpdateState& state);

} // namespace lumivert
