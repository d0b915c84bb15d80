#pragma once

#include <string>

namespace lumivert::bench {

/// Writes what a camera's sensor would have seen of the scene in `photo`, as a digital negative.
void makeSensorFile(const std::string& photo, const std::string& file);

} // namespace lumivert::bench
