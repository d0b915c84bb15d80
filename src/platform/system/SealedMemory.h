#pragma once

#include "platform/Bytes.h"
#include "platform/system/Descriptor.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// Memory with a descriptor (memfd_create) that a process hands to another. Sealed ones never
/// change again, so that looking at one is safe whoever made it.
namespace lumivert {

/// The whole content of the regular file at `path`, as it is now, sealed. Nothing for a file that
/// cannot be read, is empty or no regular file, or is larger than half of the machine's memory.
[[nodiscard]] std::optional<Descriptor> sealedCopyOfFile(const std::string& path);

/// A copy of `bytes`, sealed.
[[nodiscard]] std::optional<Descriptor> sealedCopyOf(std::span<const std::byte> bytes);

/// An empty memory file of `size` bytes to be filled and then sealed.
[[nodiscard]] std::optional<Descriptor> memoryFile(std::uint64_t size);

/// Seals against every change of content and length. Every writable mapping must be gone.
[[nodiscard]] bool seal(int fd);

/// Maps the sealed memory file; the mapping lives as long as its owner, the descriptor need not.
/// Nothing when it is not sealed, is empty or, with `expectedSize`, is of another length.
[[nodiscard]] std::optional<SharedBytes>
mapSealed(int fd, std::optional<std::uint64_t> expectedSize = std::nullopt);

} // namespace lumivert
