// A decoder that misbehaves in the way that the first word of the "photo" says. "good" behaves:
// 2 x 2 pixels, RGB of 8 bits, density 72.
#include "platform/decoder/DecoderProtocol.h"
#include "platform/system/Packets.h"
#include "platform/system/SealedMemory.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <unistd.h>

using namespace lumivert;
using protocol::Answer;
using protocol::Kind;

namespace {

constexpr int socketFd = protocol::controlDescriptor;

void crash() {
    std::signal(SIGSEGV, SIG_DFL); // no report of a sanitizer's
    ::raise(SIGSEGV);
}

[[noreturn]] void hang() {
    for (;;)
        ::pause();
}

void send(const Answer& answer, std::span<const int> descriptors) {
    if (!sendPacket(socketFd, std::as_bytes(std::span(&answer, 1)), descriptors))
        std::_Exit(2);
}

void sendText(const std::string& text) {
    if (!sendPacket(socketFd, std::as_bytes(std::span(text)), {}))
        std::_Exit(2);
}

Descriptor memory(std::size_t size, bool sealed) {
    auto file = memoryFile(size);
    if (sealed && !seal(file->get()))
        std::_Exit(2);
    return std::move(*file);
}

void answerLoad(const std::string& word) {
    Answer answer;
    answer.kind = Kind::load;
    answer.done = 1;
    answer.width = answer.height = 2;
    answer.channels = 3;
    answer.bitsPerComponent = 8;
    answer.densityX = answer.densityY = 72;
    answer.renditionWidth = answer.renditionHeight = 2;
    std::size_t size = 16;
    bool sealed = true;
    if (word == "crash")
        crash();
    if (word == "exit")
        std::_Exit(0);
    if (word == "hang")
        hang();
    if (word == "garbage")
        return sendText("I am no answer");
    if (word == "long")
        return sendText(std::string(sizeof(Answer) + 1, 'x'));
    if (word == "magic")
        answer.magic = 1;
    if (word == "version")
        answer.version = 99;
    if (word == "kind")
        answer.kind = Kind::proof;
    if (word == "refused")
        answer.done = 0;
    if (word == "done")
        answer.done = 2;
    if (word == "dense")
        answer.densityY = std::numeric_limits<double>::infinity();
    if (word == "dark")
        answer.rawWhite = -1;
    if (word == "zero")
        answer.width = 0;
    if (word == "negative")
        answer.height = -2;
    if (word == "huge")
        answer.width = std::numeric_limits<std::int32_t>::max();
    if (word == "vast")
        answer.width = answer.height = protocol::maximumEdge;
    if (word == "channels")
        answer.channels = 2;
    if (word == "bits")
        answer.bitsPerComponent = 32;
    if (word == "density")
        answer.densityX = 0;
    if (word == "nan")
        answer.densityY = std::numeric_limits<double>::quiet_NaN();
    if (word == "white")
        answer.rawWhite = std::numeric_limits<double>::infinity();
    if (word == "rendition")
        answer.renditionWidth = 3000, size = std::size_t{3000} * 2 * 4;
    if (word == "norendition")
        answer.renditionHeight = 0;
    if (word == "short")
        size = 15;
    if (word == "surplus")
        size = 17;
    if (word == "profile")
        answer.profileSize = std::numeric_limits<std::uint64_t>::max();
    if (word == "unsealed")
        sealed = false;
    if (word == "jpeg" || word == "jpegturn" || word == "jpegsize") {
        answer.jpegStream = 1;
        answer.orientation = word == "jpegturn" ? 9 : 1;
        answer.storedWidth = 2;
        answer.storedHeight = word == "jpegsize" ? 3 : 2;
    }
    const Descriptor file = memory(size, sealed);
    if (word == "pipe") { // something that is no memory file
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0)
            std::_Exit(2);
        return send(answer, {ends.data(), 1});
    }
    if (word == "nodescriptor")
        return send(answer, {});
    const std::array two{file.get(), file.get()};
    if (word == "two")
        return send(answer, two);
    send(answer, {two.data(), 1});
}

void answerRows(const std::string& word, int pipe) {
    Answer answer;
    answer.kind = Kind::rows;
    answer.done = 1;
    answer.width = answer.height = 2;
    answer.channels = 3;
    answer.bitsPerComponent = 8;
    if (word == "rowscrash")
        crash();
    if (word == "rowsrefused")
        answer.done = 0;
    if (word == "rowswidth")
        answer.width = 3;
    if (word == "rowsheight")
        answer.height = 1;
    if (word == "rowschannels")
        answer.channels = 4;
    if (word == "rowsbits")
        answer.bitsPerComponent = 16;
    const std::string rows = "abcdefghijkl";
    const auto write = [pipe](std::string_view bytes) {
        if (::write(pipe, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            std::_Exit(2);
    };
    if (word == "rowsfirst")
        write(rows);
    send(answer, {});
    if (word == "rowsfirst")
        return;
    if (word == "rowsdrip") { // never silent for long, and never done
        for (const char& byte : rows) {
            if (::write(pipe, &byte, 1) != 1)
                std::_Exit(2);
            ::usleep(200'000);
        }
        return;
    }
    write(word == "rowsend" || word == "rowsstall" ? rows.substr(0, 7) : rows);
    if (word == "rowsmore")
        write(rows);
    if (word == "rowsstall" || word == "rowslate")
        hang();
}

void answerProof(const std::string& word) {
    if (!word.starts_with("proof"))
        std::_Exit(3); // a proof never comes
    Answer answer;
    answer.kind = word == "proofkind" ? Kind::load : Kind::proof;
    answer.done = 1;
    answer.renditionWidth = word == "proofwide" ? protocol::maximumScreenEdge : 2;
    answer.renditionHeight = word == "proofwide" ? 1 : 2;
    if (word == "proofcrash")
        crash();
    if (word == "proofhang")
        hang();
    const Descriptor file =
        memory(word == "proofwide"    ? std::size_t{4} * protocol::maximumScreenEdge
               : word == "proofshort" ? 15
                                      : 16,
               word != "proofunsealed");
    const std::array two{file.get(), file.get()};
    send(answer, std::span(two).first(word == "proofnone" ? 0 : word == "prooftwo" ? 2 : 1));
}

// The word stands at the front of the profile, which goes on as an RGB one.
void answerProfile(const std::string& word) {
    Answer answer;
    answer.kind = Kind::profile;
    answer.done = word == "refused" ? 0 : 1;
    answer.channels = word == "none" ? 0 : word == "inks" ? 4 : word == "vast" ? ~0U : 3;
    answer.isDestination = word == "maybe" ? 2 : 1;
    if (word == "crash")
        crash();
    if (word == "hang")
        hang();
    if (word == "garbage")
        return sendText("I am no answer");
    send(answer, {});
}

} // namespace

int main() {
    if (std::getenv("FAKE_DECODER_ENDS_AT_ONCE"))
        return 0;
    protocol::Request request;
    const auto descriptors =
        receivePacket(socketFd, std::as_writable_bytes(std::span(&request, 1)));
    if (!descriptors)
        return 0;
    std::array<char, 32> text{};
    if (::pread(descriptors->front().get(), text.data(), text.size() - 1, 0) < 0)
        return 2;
    const std::string word = text.data();
    if (request.kind == Kind::load)
        answerLoad(word);
    else if (request.kind == Kind::profile)
        answerProfile(word);
    else if (request.kind == Kind::rows)
        answerRows(word, descriptors->at(1).get());
    else
        answerProof(word);
    return 0;
}
