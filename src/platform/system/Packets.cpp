#include "platform/system/Packets.h"

#include <array>
#include <cstring>
#include <sys/socket.h>

namespace lumivert {

constexpr std::size_t controlBytes = CMSG_SPACE(sizeof(int) * maximumPacketDescriptors);

bool sendPacket(int socket, std::span<const std::byte> packet, std::span<const int> descriptors) {
    if (descriptors.size() > maximumPacketDescriptors)
        return false;
    iovec part{const_cast<std::byte*>(packet.data()), packet.size()};
    alignas(cmsghdr) std::array<char, controlBytes> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size_bytes());
    }
    const ssize_t sent =
        retryingInterrupts([&] { return ::sendmsg(socket, &message, MSG_NOSIGNAL); });
    return sent == static_cast<ssize_t>(packet.size());
}

std::optional<std::vector<Descriptor>> receivePacket(int socket, std::span<std::byte> packet) {
    iovec part{packet.data(), packet.size()};
    alignas(cmsghdr) std::array<char, controlBytes> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t received =
        retryingInterrupts([&] { return ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC); });
    if (received <= 0)
        return std::nullopt;
    std::vector<Descriptor> descriptors;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int fd = -1;
            std::memcpy(&fd, CMSG_DATA(header) + i * sizeof(int), sizeof(int));
            descriptors.emplace_back(fd);
        }
    }
    if (static_cast<std::size_t>(received) != packet.size() ||
        (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 ||
        // Alignment leaves room for one more than is asked for.
        descriptors.size() > maximumPacketDescriptors)
        return std::nullopt;
    return descriptors;
}

} // namespace lumivert
