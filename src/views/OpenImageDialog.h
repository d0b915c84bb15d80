#pragma once

#include <QStringList>

class QFileDialog;
class QWidget;

namespace lumivert {

/// The kinds of files to choose from, in the order offered: any image, camera RAW, TIFF, PNG, JPEG,
/// HEIC; by their endings, in any mixture of letter cases.
[[nodiscard]] QStringList imageNameFilters();

/// The desktop's dialog for one existing file of this machine, starting in `folder`.
[[nodiscard]] QFileDialog* makeOpenImageDialog(QWidget* window, const QString& folder);

} // namespace lumivert
