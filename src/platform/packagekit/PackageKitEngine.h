#pragma once

#include "platform/Updates.h"

#include <memory>
#include <string>

namespace lumivert {

/// Updates through the system's PackageKit service: it knows the repositories and checks their
/// signatures, polkit grants the rights. Nothing is connected before the first piece of work.
/// Destroyed, it cancels a check; an installation goes on without the program.
///
/// `packageName`: the package that this program is installed as. `busAddress`: empty for the
/// system's bus.
[[nodiscard]] std::unique_ptr<UpdateEngine> packageKitEngine(const std::string& packageName,
                                                             const std::string& busAddress = {});

} // namespace lumivert
