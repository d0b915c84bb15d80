#include "decoder/Confinement.h"
#include "decoder/Requests.h"
#include "decoder/Strips.h"
#include "platform/decoder/DecoderProtocol.h"
#include "platform/system/Packets.h"

#include <cstdlib>
#include <exception>
#include <span>
#include <sys/prctl.h>
#include <unistd.h>

using namespace lumivert;

int main(int argc, char** argv) {
    constexpr int control = protocol::controlDescriptor;
    try {
        // It is started by its descriptor, and would be called by that one's number.
        ::prctl(PR_SET_NAME, "lumivert-decoder");
        ::close_range(control + 1, ~0U, 0);
        decoder::preparePixelFile(); // asks the environment for the folder
        decoder::leaveSurroundings();
        decoder::prepareLibraries(argv[0]);
        decoder::limitResources();
        decoder::shutDoor(control, argc < 2 || !*argv[1]);
        decoder::endWithPeer(control);
        protocol::Request request;
        auto descriptors = receivePacket(control, std::as_writable_bytes(std::span(&request, 1)));
        if (!descriptors)
            ::_exit(EXIT_SUCCESS); // not needed any more
        if (request.kind == protocol::Kind::load || request.kind == protocol::Kind::profile)
            ::alarm(decoder::loadSeconds);
        const bool served = decoder::serve(control, request, std::move(*descriptors));
        // Without tidying up: the system does it at once.
        ::_exit(served ? EXIT_SUCCESS : EXIT_FAILURE);
    } catch (const std::exception&) {
        ::_exit(EXIT_FAILURE);
    }
}
