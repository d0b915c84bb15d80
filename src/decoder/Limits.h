#pragma once

#include "platform/Geometry.h"

#include <cstddef>

/// What a photo may take from the machine: memory, processor time, length of files, open files.
/// Not under a sanitizer, whose shadow memory is larger than any photo.
namespace lumivert::decoder {

/// Seconds that a photo may take to load; a decoder that takes longer ends.
inline constexpr unsigned loadSeconds = 30;

/// To be called once, before any photo: 2 GiB of memory, less than half of what the machine has,
/// and a minute of processor time, until allowPhoto() widens them. No bound on what is mapped of
/// files, beyond half of the machine's memory for the photo's own.
void limitResources();

/// Widens the limits for a photo of the size that it states, of whose decoded pixels so many bytes
/// each are held until the last is made: four times these for memory, a second of processor time a
/// megapixel. Never beyond what limitResources() left. Throws std::runtime_error for a size that is
/// none, and where the pixels held would alone take half of the machine's memory.
void allowPhoto(PixelSize size, std::size_t heldBytesAPixel);

} // namespace lumivert::decoder
