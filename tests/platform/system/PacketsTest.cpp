#include "platform/system/Packets.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <sys/socket.h>
#include <sys/uio.h>

namespace lumivert {
namespace {

TEST(Packets, bringNoMoreDescriptorsThanAgreed) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    const Descriptor mine(ends[0]);
    const Descriptor its(ends[1]);
    const std::array<int, 4> four{its.get(), its.get(), its.get(), its.get()};
    for (const std::size_t count : {3u, 4u}) {
        char byte = 'x';
        iovec part{&byte, 1};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof four)> control{};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = CMSG_SPACE(count * sizeof(int));
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(count * sizeof(int));
        std::memcpy(CMSG_DATA(header), four.data(), count * sizeof(int));
        ASSERT_EQ(::sendmsg(its.get(), &message, 0), 1);
        std::byte received{};
        const auto descriptors = receivePacket(mine.get(), {&received, 1});
        EXPECT_EQ(descriptors.has_value(), count == 3) << count;
    }
}

} // namespace
} // namespace lumivert
