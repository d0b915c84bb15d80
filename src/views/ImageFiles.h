#pragma once

#include "model/FileUrl.h"

#include <QStringList>

#include <optional>
#include <string>

class QFileDialog;
class QWidget;

// Which files can be chosen in the dialog, and which be dropped.
namespace lumivert {

/// The kinds of files to choose from, in the order offered: any image, camera RAW, TIFF, PNG, JPEG,
/// HEIC; by their endings, in any mixture of letter cases.
[[nodiscard]] QStringList imageNameFilters();

/// The desktop's dialog for one existing file of this machine, starting in `folder`.
[[nodiscard]] QFileDialog* makeOpenImageDialog(QWidget* window, const QString& folder);

/// The address in a dropped item's bytes, when it ends in one of the endings that a drop accepts:
/// jpg, jpeg, png, tiff, tif, heic, raw, cr2, cr3, nef, arw, in either letter case. Nothing for
/// anything else.
[[nodiscard]] std::optional<FileUrl>
acceptedDrop(const std::optional<std::string>& dataRepresentation);

} // namespace lumivert
