#pragma once

#include "platform/UpdateWindow.h"

#include <cstddef>
#include <memory>
#include <utility>

class QDialog;

namespace lumivert {

/// The update window in the desktop's own widgets: not modal, made when it is first shown, kept,
/// and no reason for the program to stay when its other windows are closed.
class UpdateDialog : public UpdateWindow {
public:
    UpdateDialog();
    ~UpdateDialog() override;

    void setActions(Actions actions) override { m_actions = std::move(actions); }
    void present(const UpdateState& state, Attention attention) override;
    void close() override;
    [[nodiscard]] bool isOpen() const override;

    /// The widget, for tests; nothing before it is first shown.
    [[nodiscard]] QDialog* widget() const;

private:
    class Widget;

    Actions m_actions;
    std::unique_ptr<Widget> m_widget;
    std::size_t m_shownKind = 0; // which of the states
};

} // namespace lumivert
