#pragma once

#include "platform/decoder/DecoderProtocol.h"
#include "platform/system/Descriptor.h"

#include <optional>
#include <vector>

namespace lumivert::decoder {

/// Serves one request that came in at `socket`; answers there exactly once. False when the rows of
/// an answer broke off. Nothing that a photo or a profile contains makes it throw.
bool serve(int socket, const protocol::Request& request, std::vector<Descriptor> descriptors);

/// To be called once, before anything is decoded: messages, caches, which readers are trusted, and
/// whatever else libraries and the answer need files and modules for.
void prepareLibraries(const char* programName);

} // namespace lumivert::decoder
