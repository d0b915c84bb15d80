#pragma once

#include <QWidget>

namespace lumivert {

class PrintManager;

/// What the preview column shows while no photo is loaded: the invitation to drop or choose one.
/// The drop itself is the window's.
class DropZoneView : public QWidget {
    Q_OBJECT
public:
    explicit DropZoneView(PrintManager& pm, QWidget* parent = nullptr);
};

} // namespace lumivert
