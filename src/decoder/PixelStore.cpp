#include "decoder/PixelStore.h"

#include "decoder/Strips.h"
#include "platform/system/Descriptor.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <utility>

namespace lumivert::decoder {
namespace {

constexpr std::size_t inMemory = std::size_t{256} << 20;

// Made before files are out of reach.
Descriptor prepared;

Descriptor namelessFile() {
    const char* folder = std::getenv("TMPDIR");
    const std::string path = folder && *folder == '/' ? folder : "/tmp";
    Descriptor file(::open(path.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!file) { // a file system without O_TMPFILE
        std::string name = path + "/lumivert-XXXXXX";
        file = Descriptor(::mkostemp(name.data(), O_CLOEXEC));
        if (file)
            ::unlink(name.c_str());
    }
    return file;
}

std::shared_ptr<void> mapping(std::size_t size) {
    void* address = MAP_FAILED;
    if (size <= inMemory) {
        address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    } else {
        const Descriptor file = prepared ? std::move(prepared) : namelessFile();
        if (!file || ::posix_fallocate(file.get(), 0, static_cast<off_t>(size)) != 0)
            throw std::runtime_error("no room for the photo's pixels");
        address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    }
    if (address == MAP_FAILED)
        throw std::runtime_error("no room for the photo's pixels");
    return {address, [size](void* mapped) { ::munmap(mapped, size); }};
}

} // namespace

void preparePixelFile() {
    prepared = namelessFile();
}

PixelStore keepPixels(const vips::VImage& image) {
    const std::size_t line = VIPS_IMAGE_SIZEOF_LINE(image.get_image());
    const std::size_t size = line * static_cast<std::size_t>(image.height());
    PixelStore store;
    store.backing = mapping(size);
    auto* to = static_cast<std::byte*>(store.backing.get());
    forEachStrip(image, [&](const Strip& strip) {
        for (int i = 0; i < strip.lines; ++i)
            std::memcpy(to + static_cast<std::size_t>(strip.top + i) * line, strip.line(i).data(),
                        line);
        return true;
    });
    store.pixels = vips::VImage::new_from_memory(to, size, image.width(), image.height(),
                                                 image.bands(), image.format())
                       .copy(vips::VImage::option()->set("interpretation", image.interpretation()));
    return store;
}

} // namespace lumivert::decoder
