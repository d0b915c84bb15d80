#pragma once

#include "Pages.h"

namespace lumivert::bench {

/// The window: from a drop to the painted preview, redraws under a moving slider, the start.
void benchWindows(const BenchFiles& files);

} // namespace lumivert::bench
