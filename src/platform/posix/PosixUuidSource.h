#pragma once

#include "platform/UuidSource.h"

namespace lumivert {

/// Identifiers from the kernel's random numbers.
class PosixUuidSource : public UuidSource {
public:
    [[nodiscard]] Uuid random() override;
};

} // namespace lumivert
