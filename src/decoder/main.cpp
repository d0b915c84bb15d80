#include "decoder/Confinement.h"
#include "decoder/Requests.h"
#include "platform/decoder/DecoderProtocol.h"
#include "platform/decoder/Packets.h"

#include <cstdlib>
#include <exception>
#include <span>
#include <unistd.h>

using namespace lumivert;

int main(int, char** argv) {
    try {
        decoder::limitResources();
        decoder::endWithPeer(protocol::controlDescriptor);
        decoder::prepareLibraries(argv[0]);
        protocol::Request request;
        auto descriptors = protocol::receivePacket(protocol::controlDescriptor,
                                                   std::as_writable_bytes(std::span(&request, 1)));
        if (!descriptors)
            ::_exit(EXIT_SUCCESS); // not needed any more
        const bool served =
            decoder::serve(protocol::controlDescriptor, request, std::move(*descriptors));
        // Without tidying up: the system does it at once.
        ::_exit(served ? EXIT_SUCCESS : EXIT_FAILURE);
    } catch (const std::exception&) {
        ::_exit(EXIT_FAILURE);
    }
}
