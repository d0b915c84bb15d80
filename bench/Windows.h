#pragma once

#include "Pages.h"

namespace lumivert::bench {

/// The window: from a drop to the painted preview, redraws under a moving slider, the start.
void benchWindows(const BenchFiles& files);

/// How long opening a photo, and making a page of it, keeps the event loop from everything else.
void benchStalls(const BenchFiles& files);

} // namespace lumivert::bench
