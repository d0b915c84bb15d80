#include "decoder/Limits.h"

#include "platform/decoder/DecoderProtocol.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace lumivert::decoder {
namespace {

using Resource = decltype(RLIMIT_CORE);

#if defined(LUMIVERT_SANITIZED)
constexpr bool limitsMemory = false;
#else
constexpr bool limitsMemory = true;
#endif

constexpr std::uint64_t gibibyte = std::uint64_t{1} << 30;
constexpr std::uint64_t largestPixel = 8; // four inks of 16 bits
constexpr rlim_t cpuSeconds = 60;

// Those of one thread more than the libraries start at once for a core: its stack and the room
// that malloc reserves for it.
constexpr std::uint64_t addressesOfCore = 256u << 20;

// A limit that raise() can widen up to `most`.
void limit(Resource resource, rlim_t value, rlim_t most) {
    rlimit now{};
    ::getrlimit(resource, &now);
    most = std::min(most, now.rlim_max);
    const rlimit both{std::min(value, most), most};
    ::setrlimit(resource, &both);
}

void raise(Resource resource, rlim_t value) {
    rlimit now{};
    if (::getrlimit(resource, &now) != 0 || now.rlim_cur >= value)
        return;
    now.rlim_cur = std::min(value, now.rlim_max);
    ::setrlimit(resource, &now);
}

std::uint64_t pages(int name) {
    return static_cast<std::uint64_t>(::sysconf(name)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

std::uint64_t halfOfMachine() {
    static const std::uint64_t half = pages(_SC_PHYS_PAGES) / 2;
    return half;
}

// Addresses that cost no memory: libraries, the photo's bytes, the answer's, stacks never filled.
std::uint64_t freeAddresses() {
    static const std::uint64_t addresses = [] {
        unsigned long long inUse = 0;
        const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen("/proc/self/statm", "re"),
                                                         &std::fclose);
        if (!file || std::fscanf(file.get(), "%llu", &inUse) != 1)
            inUse = (1 << 20);
        return inUse * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) + halfOfMachine() +
               2 * gibibyte + std::thread::hardware_concurrency() * addressesOfCore;
    }();
    return addresses;
}

} // namespace

void limitResources() {
    limit(RLIMIT_CORE, 0, 0);
    limit(RLIMIT_NOFILE, 32, 32);
    const std::uint64_t largestPhoto = largestPixel * protocol::maximumPixels;
    limit(RLIMIT_CPU, cpuSeconds, cpuSeconds + (protocol::maximumPixels >> 20));
    if (!limitsMemory)
        return;
    limit(RLIMIT_FSIZE, 2 * gibibyte, largestPhoto);
    // Private memory that can be written; mappings of the photo and of files do not count.
    limit(RLIMIT_DATA, 2 * gibibyte, halfOfMachine());
    limit(RLIMIT_AS, freeAddresses() + 2 * gibibyte,
          freeAddresses() + halfOfMachine() + largestPhoto);
}

void allowPhoto(PixelSize size, std::size_t heldBytesAPixel) {
    const auto pixels = protocol::isPossible(size) ? static_cast<std::uint64_t>(size.width) *
                                                         static_cast<std::uint64_t>(size.height)
                                                   : 0;
    const std::uint64_t heldBytes = pixels * heldBytesAPixel;
    if (pixels == 0 || heldBytes >= halfOfMachine())
        throw std::runtime_error("too large a photo");
    raise(RLIMIT_CPU, cpuSeconds + (pixels >> 20));
    if (!limitsMemory)
        return;
    const std::uint64_t memory = 2 * gibibyte + 4 * heldBytes;
    raise(RLIMIT_FSIZE, pixels * largestPixel);
    raise(RLIMIT_DATA, memory);
    raise(RLIMIT_AS, freeAddresses() + std::min(memory, halfOfMachine()) + pixels * largestPixel);
}

} // namespace lumivert::decoder
