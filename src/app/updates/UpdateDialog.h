#pragma once

#include "platform/Updates.h"

#include <QDialog>

#include <cstddef>
#include <optional>
#include <string>

class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

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

/// The update window in the desktop's own widgets: not modal, filled with widgets when it is first
/// shown, and no reason for the program to stay when its other windows are closed.
class UpdateDialog : public QDialog, public UpdateWindow {
    Q_OBJECT

public:
    void present(const UpdateState& state, Attention attention) override;
    void closeWindow() override { hide(); }
    [[nodiscard]] bool isOpen() const override { return isVisible(); }

    // Escape and the window's close button, too: `onDismiss` decides what they mean.
    void reject() override;

private:
    void build();
    void fill(const UpdateContent& content);

    std::size_t m_shownKind = 0; // which of the states
    QLabel* m_headline = nullptr;
    QLabel* m_text = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_notesLabel = nullptr;
    QPlainTextEdit* m_notes = nullptr;
    QPushButton* m_install = nullptr;
    QPushButton* m_dismiss = nullptr;
};

} // namespace lumivert
