#pragma once

/// The walls around the decoder: what a photo that takes it over can reach. Under a sanitizer,
/// whose reports need files and calls of their own, shutDoor() leaves Landlock and seccomp out.
namespace lumivert::decoder {

/// To be called first, on the only thread. Empties the environment, leaves the working directory
/// for
/// `/`, gives up every right and every way to new ones, and moves into a network without a device
/// where the system lets it; there the number of threads is bounded as well. From here on the
/// process is killed when the thread that started it ends, which must outlive it.
void leaveSurroundings();

/// To be called when libraries and files are open, on the only thread. From here on nothing can be
/// opened (EACCES; Landlock, where the kernel has it, says the same), threads can be started, and
/// any system call that decoding has no use for, such as starting a process or a connection, kills
/// the process (seccomp). Messages go out at `socket` alone. Where the kernel lacks one of the two,
/// standard error is told so with `tells`; then it leads nowhere.
void shutDoor(int socket, bool tells);

/// Ends the process as soon as the other end of `socket` closes, whatever it is doing: a request
/// that nobody waits for any more, or a program that was gone before its end could be told. A
/// thread of its own watches.
void endWithPeer(int socket);

} // namespace lumivert::decoder
