#pragma once

#include "model/Uuid.h"

namespace lumivert {

/// Random identifiers. Any thread.
class UuidSource {
public:
    virtual ~UuidSource() = default;

    /// A fresh random UUID (RFC 9562, version 4).
    [[nodiscard]] virtual Uuid random() = 0;
};

} // namespace lumivert
