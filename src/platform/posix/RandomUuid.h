#pragma once

#include "model/Uuid.h"

namespace lumivert {

/// A fresh UUID (RFC 9562, version 4) from the kernel's random numbers. Any thread.
[[nodiscard]] Uuid randomUuid();

} // namespace lumivert
