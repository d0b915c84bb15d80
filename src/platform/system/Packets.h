#pragma once

#include "platform/system/Descriptor.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

/// Packets with descriptors over a SOCK_SEQPACKET socket.
namespace lumivert {

inline constexpr std::size_t maximumPacketDescriptors = 3;

/// Sends one packet, at most `maximumPacketDescriptors` descriptors beside it. Whether it went out
/// whole; a closed peer is a failure, not a signal.
[[nodiscard]] bool sendPacket(int socket, std::span<const std::byte> packet,
                              std::span<const int> descriptors);

/// Waits for one packet of exactly `packet.size()` bytes and returns the descriptors that came with
/// it, close-on-exec. Nothing at the stream's end, and for a packet of another length or with more
/// than `maximumPacketDescriptors`, whose descriptors are closed.
[[nodiscard]] std::optional<std::vector<Descriptor>> receivePacket(int socket,
                                                                   std::span<std::byte> packet);

} // namespace lumivert
