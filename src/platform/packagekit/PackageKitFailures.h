#pragma once

#include "platform/Updates.h"

#include <QDBusMessage>
#include <QString>

#include <optional>

namespace lumivert {

/// What went wrong, from the service's numbers: `exit` of Finished, `code` and `details` of
/// ErrorCode. Nothing when nothing did.
[[nodiscard]] std::optional<UpdateFailed> packageKitFailure(uint exit, std::optional<uint> code,
                                                            const QString& details);

/// What went wrong when a call was answered with this error. `created`: a transaction exists, so
/// the service was there.
[[nodiscard]] UpdateFailed packageKitCallFailure(const QDBusMessage& error, bool created);

} // namespace lumivert
