#pragma once

#include "platform/ItemProvider.h"

#include <string>

class QMimeData;

/// The functions of Platform, and the reader of drops, that take Qt.
namespace lumivert {

/// What was dropped: one provider for each URL of a local file (RFC 8089), in the order of the drop
/// (text/uri-list, RFC 2483); other URLs are left out. A URL that names this machine as its host
/// (as senders by the X drag-and-drop protocol may) is of a local file and loses the host.
///
/// Each has the form "public.file-url", the encoded URL, and delivers on a thread of Qt's global
/// pool. `mime` is read at once and not kept.
[[nodiscard]] ItemProviders itemProviders(const QMimeData& mime);

/// Platform's openFile, by way of xdg-open or its portal. A failure is silent.
void openFile(const std::string& path);

/// Platform's randomUuid. Any thread.
[[nodiscard]] std::string randomUuid();

} // namespace lumivert
