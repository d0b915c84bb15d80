// Stands for the decoder under fuzz_answers. The photo holds its answers: a byte that says how many
// descriptors come with the one to a load (two less, by four), whether their memory is sealed (bit
// 3) and whether the answers have this version's mark (bit 2), two bytes for that memory's length,
// the answer to a load, the answer to a request for rows, the rows. So one that begins as a JPEG
// does is possible.
#include "platform/decoder/DecoderProtocol.h"
#include "platform/system/Packets.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

using namespace lumivert;

namespace {

std::vector<std::byte> allOf(int file) {
    std::vector<std::byte> bytes(static_cast<std::size_t>(::lseek(file, 0, SEEK_END)));
    if (::pread(file, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        ::_exit(1);
    return bytes;
}

int memory(std::span<const std::byte> bytes, bool sealed) {
    const int file = ::memfd_create("answer", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    (void)writeAll(file, bytes);
    if (sealed)
        ::fcntl(file, F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL);
    return file;
}

} // namespace

int main() {
    protocol::Request request;
    const auto descriptors =
        receivePacket(protocol::controlDescriptor, std::as_writable_bytes(std::span(&request, 1)));
    if (!descriptors || descriptors->empty())
        return 0;
    const auto all = allOf(descriptors->front().get());
    std::span<const std::byte> left(all);
    const auto take = [&](std::size_t count) {
        const auto taken = left.first(std::min(count, left.size()));
        left = left.subspan(taken.size());
        return taken;
    };
    const auto head = take(3);
    const auto loaded = take(sizeof(protocol::Answer));
    if (loaded.size() < sizeof(protocol::Answer))
        return 0;
    const auto flags = std::to_integer<unsigned>(head[0]);
    const auto marked = [&](std::span<const std::byte> bytes) {
        protocol::Answer answer;
        std::memcpy(&answer, bytes.data(), bytes.size());
        if ((flags & 4) != 0) {
            answer.magic = protocol::magic;
            answer.version = protocol::version;
        }
        return answer;
    };
    if (request.kind == protocol::Kind::load) {
        const auto size =
            std::to_integer<std::size_t>(head[1]) << 8 | std::to_integer<std::size_t>(head[2]);
        const std::vector<int> files(
            (flags + 2) % 4, memory(std::vector<std::byte>(size, std::byte{7}), (flags & 8) != 0));
        const auto answer = marked(loaded);
        (void)sendPacket(protocol::controlDescriptor, std::as_bytes(std::span(&answer, 1)), files);
        return 0;
    }
    const auto answer = marked(take(sizeof(protocol::Answer)));
    (void)sendPacket(protocol::controlDescriptor, std::as_bytes(std::span(&answer, 1)), {});
    if (descriptors->size() > 1)
        (void)writeAll(descriptors->at(1).get(), left);
    return 0;
}
