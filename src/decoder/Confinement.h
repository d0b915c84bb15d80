#pragma once

#include "platform/Geometry.h"

#include <cstddef>

/// The walls around the decoder: what a photo that takes it over can reach, and what it may take
/// from the machine. Under a sanitizer, whose reports need files and calls of their own and whose
/// shadow memory is larger than any photo, shutDoor() leaves Landlock and seccomp out, and memory
/// and the length of files are not limited.
namespace lumivert::decoder {

/// To be called first, on the only thread. Empties the environment, leaves the working directory
/// for `/`, gives up every right and every way to new ones, and moves into a network without a
/// device where the system lets it; there the number of threads is bounded as well. From here on
/// the process is killed when the thread that started it ends, which must outlive it.
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

/// Seconds that a photo may take to load; a decoder that takes longer ends.
inline constexpr unsigned loadSeconds = 30;

/// To be called once, before any photo: 2 GiB of memory, less than half of what the machine has,
/// and a minute of processor time, until allowPhoto() widens them. No bound on what is mapped of
/// files, beyond half of the machine's memory for the photo's own.
void limitResources();

/// Widens the limits for a photo of the size that it states, of whose decoded pixels so many bytes
/// each are held until the last is made: four times these for memory, a second of processor time a
/// megapixel. Never beyond what limitResources() left. Throws std::runtime_error for a size that is
/// none, and where the pixels held would alone take half of the machine's memory.
void allowPhoto(PixelSize size, std::size_t heldBytesAPixel);

} // namespace lumivert::decoder
