#include "platform/system/SealedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace lumivert {
namespace {

constexpr int allSeals = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

// Half of the machine's memory.
std::uint64_t largestCopy() {
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) / 2 *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

// False as well where there is more than `room`: the file may grow meanwhile.
bool copyAll(int from, int to, std::uint64_t room) {
    // What stays in the processor's cache: with 1 MiB a file of 1.2 GB takes a third longer.
    std::vector<std::byte> block(std::size_t{1} << 17);
    for (;;) {
        const ssize_t count =
            retryingInterrupts([&] { return ::read(from, block.data(), block.size()); });
        if (count <= 0)
            return count == 0;
        if (static_cast<std::uint64_t>(count) > room)
            return false;
        room -= static_cast<std::uint64_t>(count);
        if (!writeAll(to, {block.data(), static_cast<std::size_t>(count)}))
            return false;
    }
}

} // namespace

std::optional<Descriptor> sealedCopyOfFile(const std::string& path) {
    // Non-blocking, so that a pipe without a writer does not hold the program up.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    const std::uint64_t room = largestCopy();
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<std::uint64_t>(status.st_size) > room)
        return std::nullopt;
    auto memory = memoryFile(0);
    if (!memory || !copyAll(file.get(), memory->get(), room) ||
        ::fstat(memory->get(), &status) != 0 || status.st_size == 0 || !seal(memory->get()))
        return std::nullopt;
    return memory;
}

std::optional<Descriptor> sealedCopyOf(std::span<const std::byte> bytes) {
    auto memory = memoryFile(0);
    if (!memory || !writeAll(memory->get(), bytes) || !seal(memory->get()))
        return std::nullopt;
    return memory;
}

std::optional<Descriptor> memoryFile(std::uint64_t size) {
    Descriptor memory(::memfd_create("lumivert", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory || ::ftruncate(memory.get(), static_cast<off_t>(size)) != 0)
        return std::nullopt;
    return memory;
}

bool seal(int fd) {
    return ::fcntl(fd, F_ADD_SEALS, allSeals) == 0;
}

std::optional<SharedBytes> mapSealed(int fd, std::optional<std::uint64_t> expectedSize) {
    constexpr int needed = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
    const int seals = ::fcntl(fd, F_GET_SEALS);
    struct stat status {};
    if (seals < 0 || (seals & needed) != needed || ::fstat(fd, &status) != 0 || status.st_size <= 0)
        return std::nullopt;
    const auto size = static_cast<std::size_t>(status.st_size);
    if (expectedSize && *expectedSize != size)
        return std::nullopt;
    // Private: kernels before 6.7 refuse shared mappings of a file sealed against writing.
    void* address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (address == MAP_FAILED)
        return std::nullopt;
    std::shared_ptr<const void> owner(address, [size](void* mapped) { ::munmap(mapped, size); });
    return SharedBytes{std::move(owner), {static_cast<const std::byte*>(address), size}};
}

} // namespace lumivert
