#pragma once

#include "Pages.h"

namespace lumivert::bench {

/// Peak memory of program and decoder together while one page is made, in processes of their own.
void benchMemory(const BenchFiles& files);

} // namespace lumivert::bench
