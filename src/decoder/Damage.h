#pragma once

#include "decoder/Containers.h"

/// Damage that libraries paint over instead of failing: a photo with it prints grey or as noise.
/// docs/reliability.md says which damage each format can show.
namespace lumivert::decoder {

/// Whether the file shows no damage beside its pixels. JPEG: libjpeg reads it to its end without a
/// warning but harmless ones, every scan there, arithmetic coding not short of data. PNG: every
/// chunk's checksum is right. GIF: its first picture ends where a block begins. HEIF: no coded data
/// that zeros have replaced. DNG: every tile there, those of JPEG whole. Decodes a JPEG once more,
/// on this thread; any thread. True for formats that it has no word on.
[[nodiscard]] bool isWhole(ByteView bytes);

/// Remembers a library's warning that pixels are damaged; others are ignored. Any thread.
void noteWarning(const char* message);
/// Remembers that pixels could not be read. Any thread.
void noteDamage();
/// Whether there was any since forgetDamage(), or an error that libvips tells of; not the harmless
/// ones that isWhole() lets pass as well.
[[nodiscard]] bool isDamaged();
void forgetDamage();

} // namespace lumivert::decoder
