#pragma once

namespace lumivert::decoder {

/// Bounds what a hostile photo can take from the machine: memory (half of what it has, at least
/// 2 GiB, at most 16), open files, core dumps. Not under a sanitizer, whose shadow is larger.
void limitResources();

/// Ends the process as soon as the other end of `socket` closes, whatever it is doing. A thread of
/// its own watches, since the signal of PR_SET_PDEATHSIG follows the thread that started the
/// process, not the program.
void endWithPeer(int socket);

} // namespace lumivert::decoder
