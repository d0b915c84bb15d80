#include "decoder/Requests.h"

#include "decoder/Damage.h"
#include "decoder/Photo.h"
#include "decoder/Profiles.h"
#include "decoder/Rendition.h"
#include "decoder/Strips.h"
#include "model/PhotoFormats.h"
#include "platform/system/Packets.h"
#include "platform/system/SealedMemory.h"

#include <lcms2.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <new>
#include <span>
#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace lumivert::decoder {
namespace {

using protocol::Answer;
using protocol::Kind;
using protocol::Request;

bool send(int socket, const Answer& answer, const Descriptor& file = {}) {
    const int fd = file.get();
    return sendPacket(socket, std::as_bytes(std::span(&answer, 1)), std::span(&fd, file ? 1 : 0));
}

// Made before nothing can be made any more; a decoder answers once.
Descriptor preparedAnswer;

// The answer's memory: pixels, then the profile; sealed.
Descriptor answerFile(Answer& answer, const vips::VImage& rendition, const Bytes& profile) {
    answer.renditionWidth = rendition.width();
    answer.renditionHeight = rendition.height();
    answer.profileSize = profile.size();
    const std::size_t pixelBytes = std::size_t{4} * static_cast<std::size_t>(rendition.width()) *
                                   static_cast<std::size_t>(rendition.height());
    const std::size_t size = pixelBytes + profile.size();
    Descriptor file = std::move(preparedAnswer);
    if (!file || ::ftruncate(file.get(), static_cast<off_t>(size)) != 0)
        throw std::bad_alloc();
    void* address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (address == MAP_FAILED)
        throw std::bad_alloc();
    writeWords(rendition, static_cast<std::uint32_t*>(address));
    std::ranges::copy(profile, static_cast<std::byte*>(address) + pixelBytes);
    ::munmap(address, size);
    if (!seal(file.get()))
        throw std::runtime_error("cannot seal");
    return file;
}

Descriptor load(const Request& request, const SharedBytes& bytes, Answer& answer) {
    // Beside the rendition, which leaves a core to it.
    auto wholeness = std::async(std::launch::async, [&bytes] { return isWhole(bytes.view); });
    const Photo photo = openPhoto(bytes.view, {request.screenEdge, 0}).value();
    Descriptor file = answerFile(answer, screenRendition(photo, request.screenEdge, std::nullopt),
                                 photo.paperProfile());
    if (!wholeness.get())
        throw std::runtime_error("a damaged photo");

    answer.width = photo.uprightSize().width;
    answer.height = photo.uprightSize().height;
    answer.channels = static_cast<std::uint32_t>(photo.channels());
    answer.bitsPerComponent = static_cast<std::uint32_t>(photo.bits());
    answer.densityX = photo.uprightDensity().x;
    answer.densityY = photo.uprightDensity().y;
    answer.rawWhite = photo.rawWhite;
    if (photo.jpeg) {
        answer.jpegStream = 1;
        answer.orientation = static_cast<std::uint32_t>(photo.orientation);
        answer.storedWidth = photo.storedSize.width;
        answer.storedHeight = photo.storedSize.height;
        answer.inverted = photo.jpeg->inverted ? 1 : 0;
    }
    return file;
}

Descriptor proof(const Request& request, const SharedBytes& bytes,
                 const std::optional<Paper>& paper, Answer& answer) {
    const Photo photo = openPhoto(bytes.view, {request.screenEdge, request.rawWhite}).value();
    return answerFile(answer, screenRendition(photo, request.screenEdge, paper), {});
}

// Answers itself, when the first rows stand ready: until then a photo can still be refused. False
// where it went wrong after that.
bool rows(int socket, const Request& request, const SharedBytes& bytes,
          const std::optional<Paper>& target, int pipe, Answer& answer) {
    const Photo photo = openPhoto(bytes.view, {std::nullopt, request.rawWhite}).value();
    const vips::VImage pixels =
        paperRows(photo, {request.x, request.y, request.width, request.height}, target);
    answer.width = pixels.width();
    answer.height = pixels.height();
    answer.channels = static_cast<std::uint32_t>(pixels.bands());
    answer.bitsPerComponent = static_cast<std::uint32_t>(bitsOf(pixels));
    bool answered = false;
    try {
        forEachStrip(pixels, [&](std::span<const std::byte> strip, int) {
            answered = answered || send(socket, answer);
            return answered && writeAll(pipe, strip);
        });
    } catch (...) {
        if (!answered)
            throw;
        return false;
    }
    return true;
}

} // namespace

bool serve(int socket, const Request& request, std::vector<Descriptor> descriptors) try {
    Answer answer{.kind = request.kind, .done = 1};
    const bool isForRows = request.kind == Kind::rows;
    const bool hasProfile = request.kind == Kind::proof || (isForRows && request.hasTarget != 0);
    if (request.magic != protocol::magic || request.version != protocol::version ||
        request.kind < Kind::load || request.kind > Kind::profile ||
        descriptors.size() != std::size_t{1} + isForRows + hasProfile || request.screenEdge < 0 ||
        request.screenEdge > protocol::maximumScreenEdge)
        throw std::runtime_error("no request");
    const SharedBytes bytes = mapSealed(descriptors.front().get()).value();
    const SharedBytes profile =
        hasProfile ? mapSealed(descriptors.back().get()).value() : SharedBytes();
    const auto paper =
        hasProfile ? std::optional(Paper{profile.view, request.intent}) : std::nullopt;
    Descriptor file;
    switch (request.kind) {
    case Kind::load:
        file = load(request, bytes, answer);
        break;
    case Kind::proof:
        file = proof(request, bytes, paper, answer);
        break;
    case Kind::rows:
        return rows(socket, request, bytes, paper, descriptors[1].get(), answer);
    case Kind::profile: {
        const PageSpace space = pageSpace(bytes.view);
        answer.channels = static_cast<std::uint32_t>(space.channels);
        answer.isDestination = space.isDestination ? 1 : 0;
        break;
    }
    }
    send(socket, answer, file);
    return true;
} catch (const std::exception&) {
    send(socket, Answer{.kind = request.kind});
    return true;
}

// Reducing a photo of 400 megapixels for the screen, libvips makes strips of 16 rows out of
// hundreds. It allocates 116 MB a thread for that, and since 8.16 touches all of it.
void takeLowStrips() {
    GOptionContext* context = g_option_context_new(nullptr);
    GOptionGroup* group = g_option_group_new("vips", "", "", nullptr, nullptr);
    vips_add_option_entries(group);
    g_option_context_set_main_group(context, group);
    std::string program, option = "--vips-fatstrip-height=4";
    std::array arguments{program.data(), option.data()};
    char** first = arguments.data();
    int count = arguments.size();
    g_option_context_parse(context, &count, &first, nullptr);
    g_option_context_free(context);
}

void prepareLibraries(const char* programName) {
    g_log_set_default_handler(
        [](const char*, GLogLevelFlags, const char* message, void*) { noteWarning(message); },
        nullptr);
    if (VIPS_INIT(programName) != 0)
        throw std::runtime_error("libvips does not start");
    takeLowStrips();
    vips_operation_block_set("VipsForeignLoad", TRUE);
    for (const PhotoFormat& format : photoFormats())
        if (!format.loader.empty())
            if (const GType loader = vips_type_find("VipsForeignLoad", format.loader.data()))
                vips_operation_block_set(g_type_name(loader), FALSE);
    vips_cache_set_max(0); // nothing is asked twice
    cmsSetLogErrorHandler([](cmsContext, cmsUInt32Number, const char*) {});
    // A reader that has looked at something has loaded its modules.
    constexpr std::string_view heic("\0\0\0\x18"
                                    "ftypheic\0\0\0\0mif1heic",
                                    24);
    try {
        (void)openPhoto(std::as_bytes(std::span(heic)), {});
    } catch (const std::exception&) {
        vips_error_clear(); // there is no picture in it
    }
    if (auto file = memoryFile(0))
        preparedAnswer = std::move(*file);
}

} // namespace lumivert::decoder
