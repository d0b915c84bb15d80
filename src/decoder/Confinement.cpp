#include "decoder/Confinement.h"

#include "platform/decoder/DecoderProtocol.h"
#include "platform/system/Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/capability.h>
#include <memory>
#include <poll.h>
#include <sched.h>
#include <seccomp.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace lumivert::decoder {
namespace {

#if defined(LUMIVERT_SANITIZED)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

// What /proc shows as the environment is the memory that the process was started with.
void emptyEnvironment() {
    for (char** variable = environ; variable && *variable; ++variable)
        std::memset(*variable, 0, std::strlen(*variable));
    ::clearenv();
}

void dropCapabilities() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
    ::syscall(SYS_capset, &header, none.data());
}

// Everything that the kernel's version of Landlock can forbid, without an exception.
bool forbidFiles() {
    constexpr unsigned tellVersion = 1; // LANDLOCK_CREATE_RULESET_VERSION
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, tellVersion);
    if (version < 1)
        return false;
    // The rights to files of version 1, and by how many bits versions 2, 3 and 5 have more; TCP
    // came with version 4, other processes' sockets and signals with version 6.
    const int bits = 13 + (version >= 2) + (version >= 3) + (version >= 5);
    // The kernel's struct landlock_ruleset_attr: files, network, other processes. The later ones
    // this system's header may not know, nor an older kernel.
    const std::array<std::uint64_t, 3> all{(std::uint64_t{1} << bits) - 1, 3, 3};
    const std::size_t size = version >= 6 ? 24 : version >= 4 ? 16 : 8;
    const Descriptor rules(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, all.data(), size, 0U)));
    return rules && ::syscall(SYS_landlock_restrict_self, rules.get(), 0U) == 0;
}

constexpr const char* harmlessCalls =
    "read pread64 readv write writev close lseek fstat ftruncate fallocate poll ppoll "
    "brk mmap mprotect mremap munmap madvise "
    "futex membarrier rseq set_robust_list set_tid_address "
    "sched_yield sched_getaffinity sched_getattr getcpu "
    "clock_gettime clock_getres clock_nanosleep nanosleep gettimeofday alarm setitimer "
    "getpid gettid getrusage getrlimit sysinfo uname umask getrandom "
    "rt_sigaction rt_sigprocmask rt_sigreturn sigaltstack restart_syscall exit exit_group";

bool forbidCalls(int socket) {
    const std::unique_ptr<void, decltype(&seccomp_release)> filter(
        seccomp_init(SCMP_ACT_KILL_PROCESS), &seccomp_release);
    // A rule that cannot be added, for a call that this machine's kind has not, forbids more.
    const auto answer = [&](std::uint32_t action, int call, auto... arguments) {
        seccomp_rule_add(filter.get(), action, call, sizeof...(arguments), arguments...);
    };
    const auto allow = [&](int call, auto... arguments) {
        answer(SCMP_ACT_ALLOW, call, arguments...);
    };
    const auto is = [](unsigned argument, auto value) {
        return scmp_arg_cmp{argument, SCMP_CMP_EQ, static_cast<std::uint64_t>(value), 0};
    };
    const auto has = [](unsigned argument, std::uint64_t mask, std::uint64_t value) {
        return scmp_arg_cmp{argument, SCMP_CMP_MASKED_EQ, mask, value};
    };
    std::istringstream names(harmlessCalls);
    for (std::string name; names >> name;)
        allow(seccomp_syscall_resolve_name(name.c_str()));
    allow(SCMP_SYS(sendmsg), is(0, socket));
    allow(SCMP_SYS(recvmsg), is(0, socket));
    allow(SCMP_SYS(tgkill), is(0, ::getpid())); // abort()
    allow(SCMP_SYS(prlimit64), is(0, 0));
    allow(SCMP_SYS(prctl), is(0, PR_SET_NAME));
    for (const int command : {F_GETFD, F_GETFL, F_ADD_SEALS, F_GET_SEALS})
        allow(SCMP_SYS(fcntl), is(1, command));

    // Threads, but no processes. The flags of clone3 lie in memory, where no filter looks; the C
    // library falls back on clone.
    allow(SCMP_SYS(clone), has(0, CLONE_THREAD, CLONE_THREAD));
    answer(SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3));

    // What libraries look for as they go (time zone, number of processors, memory policy of the
    // machine, a file for code made at run time) they can do without.
    allow(SCMP_SYS(newfstatat), has(3, AT_EMPTY_PATH, AT_EMPTY_PATH));
    answer(SCMP_ACT_ERRNO(EACCES), SCMP_SYS(newfstatat), has(3, AT_EMPTY_PATH, 0));
    for (const int call : {SCMP_SYS(open), SCMP_SYS(openat), SCMP_SYS(access), SCMP_SYS(faccessat),
                           SCMP_SYS(stat), SCMP_SYS(readlink), SCMP_SYS(readlinkat)})
        answer(SCMP_ACT_ERRNO(EACCES), call);
    answer(SCMP_ACT_ERRNO(ENOTTY), SCMP_SYS(ioctl));
    return filter && seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1) == 0 &&
           seccomp_load(filter.get()) == 0;
}

using Resource = decltype(RLIMIT_CORE);

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
    now.rlim_max = std::min(most, now.rlim_max);
    now.rlim_cur = std::min(value, now.rlim_max);
    ::setrlimit(resource, &now);
}

void raise(Resource resource, rlim_t value) {
    rlimit now{};
    ::getrlimit(resource, &now);
    now.rlim_cur = std::max(now.rlim_cur, std::min(value, now.rlim_max));
    ::setrlimit(resource, &now);
}

std::uint64_t halfOfMachine() {
    static const auto pages = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES));
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) / 2;
}

// Addresses that cost no memory: libraries, the photo's bytes, the answer's, stacks never filled.
std::uint64_t freeAddresses() {
    static const std::uint64_t addresses = [] {
        std::uint64_t inUse = 1 << 20;
        std::ifstream("/proc/self/statm") >> inUse;
        return inUse * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) + halfOfMachine() +
               2 * gibibyte + std::thread::hardware_concurrency() * addressesOfCore;
    }();
    return addresses;
}

} // namespace

void leaveSurroundings() {
    emptyEnvironment();
    if (::chdir("/") != 0)
        std::abort();
    // An ordinary user gets a network of its own with a user namespace, which a changed root
    // forbids; there root gets it without.
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) {
        // Threads count as processes, and those of the user outside do not count here.
        const rlim_t threads = 32 + 8 * std::thread::hardware_concurrency();
        limit(RLIMIT_NPROC, threads, threads);
    } else {
        ::unshare(CLONE_NEWNET);
    }
    dropCapabilities();
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    // A parent that was gone before this call has left the socket closed: see endWithPeer().
    ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
}

void shutDoor(int socket, bool tells) {
    if (isSanitized)
        return;
    // Libraries' complaints about odd files are for nobody to read.
    const Descriptor standardError(::dup(STDERR_FILENO));
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    ::dup2(nowhere.get(), STDERR_FILENO);
    const auto tellThatThereIsNo = [&](const char* wall) {
        if (tells)
            ::dprintf(standardError.get(), "lumivert-decoder: no %s here; going on without\n",
                      wall);
    };
    if (!forbidFiles())
        tellThatThereIsNo("Landlock");
    if (!forbidCalls(socket))
        tellThatThereIsNo("seccomp");
}

void endWithPeer(int socket) {
    std::thread([socket] {
        pollfd entry{socket, POLLRDHUP, 0};
        while (::poll(&entry, 1, -1) < 0 && errno == EINTR) {
        }
        ::_exit(0);
    }).detach();
}

void limitResources() {
    limit(RLIMIT_CORE, 0, 0);
    limit(RLIMIT_NOFILE, 32, 32);
    const std::uint64_t largestPhoto = largestPixel * protocol::maximumPixels;
    limit(RLIMIT_CPU, cpuSeconds, cpuSeconds + (protocol::maximumPixels >> 20));
    if (isSanitized)
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
    if (isSanitized)
        return;
    const std::uint64_t memory = 2 * gibibyte + 4 * heldBytes;
    raise(RLIMIT_FSIZE, pixels * largestPixel);
    raise(RLIMIT_DATA, memory);
    raise(RLIMIT_AS, freeAddresses() + std::min(memory, halfOfMachine()) + pixels * largestPixel);
}

} // namespace lumivert::decoder
