#include "decoder/Strips.h"

#include "decoder/Damage.h"
#include "platform/system/Descriptor.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <utility>
#include <vector>

namespace lumivert::decoder {
namespace {

using vips::VImage;
using Memory = std::shared_ptr<const void>;

constexpr std::size_t mostInMemory = std::size_t{256} << 20;

// Made before files are out of reach.
Descriptor prepared;

// The sink's buffers are as wide as the image, so that their rows touch.
int takeRegion(VipsRegion* region, VipsRect* area, void* take) {
    const std::span rows(reinterpret_cast<const std::byte*>(VIPS_REGION_ADDR(region, 0, area->top)),
                         VIPS_REGION_LSKIP(region) * static_cast<std::size_t>(area->height));
    return (*static_cast<TakeRows*>(take))(rows, area->top) ? 0 : -1;
}

struct Generator {
    VImage from;
    FillRegion fill;
};

int generate(VipsRegion* out, void* sequence, void*, void* generator, gboolean*) {
    auto* in = static_cast<VipsRegion*>(sequence);
    if (vips_region_prepare(in, &out->valid) == 0 &&
        static_cast<const Generator*>(generator)->fill(out, in))
        return 0;
    noteDamage();
    return -1;
}

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

std::shared_ptr<std::byte> mapping(std::size_t size) {
    const bool isInMemory = size <= mostInMemory;
    const Descriptor file = isInMemory ? Descriptor()
                            : prepared ? std::move(prepared)
                                       : namelessFile();
    void* address = MAP_FAILED;
    if (isInMemory || (file && ::posix_fallocate(file.get(), 0, static_cast<off_t>(size)) == 0))
        address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE,
                         isInMemory ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED, file.get(), 0);
    if (address == MAP_FAILED)
        throw std::runtime_error("no room for the photo's pixels");
    return {static_cast<std::byte*>(address),
            [size](std::byte* mapped) { ::munmap(mapped, size); }};
}

} // namespace

void forEachStrip(const VImage& image, const TakeRows& take) {
    TakeRows context = take;
    // A cache behind the loader may paint what one thread failed to read black, and another thread
    // then finds nothing wrong: the message is what stays.
    if (vips_sink_disc(image.get_image(), takeRegion, &context) != 0 || isDamaged())
        throw vips::VError();
}

VImage generated(const VImage& from, int bands, VipsBandFormat format, FillRegion fill) {
    // Let go when the image is finalised, after the last region of it.
    const auto generator = std::make_shared<Generator>(Generator{from, std::move(fill)});
    const VImage result = holding(VImage(vips_image_new()), generator);
    VipsImage* out = result.get_image();
    VipsImage* in = from.get_image();
    if (vips_image_pipelinev(out, VIPS_DEMAND_STYLE_THINSTRIP, in, nullptr) != 0)
        throw vips::VError();
    out->Bands = bands;
    out->BandFmt = format;
    if (vips_image_generate(out, vips_start_one, generate, vips_stop_one, in, generator.get()) != 0)
        throw vips::VError();
    return result;
}

VImage mapped(const VImage& image, VipsBandFormat format,
              const std::function<double(std::uint16_t sample)>& value) {
    std::vector<double> values(65536);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = value(static_cast<std::uint16_t>(i));
    // It is copied here and now.
    const VImage table =
        VImage::new_from_memory(values.data(), values.size() * sizeof values.front(),
                                static_cast<int>(values.size()), 1, 1, VIPS_FORMAT_DOUBLE);
    return image.maplut(table.cast(format));
}

VImage holding(const VImage& image, Memory memory) {
    g_object_set_data_full(G_OBJECT(image.get_image()), "lumivert-memory",
                           new Memory(std::move(memory)),
                           [](void* held) { delete static_cast<Memory*>(held); });
    return image;
}

void preparePixelFile() {
    prepared = namelessFile();
}

VImage keptWhole(const VImage& image) {
    const std::size_t line = VIPS_IMAGE_SIZEOF_LINE(image.get_image());
    const std::size_t size = line * static_cast<std::size_t>(image.height());
    const auto memory = mapping(size);
    forEachStrip(image, [&](std::span<const std::byte> rows, int top) {
        std::ranges::copy(rows, memory.get() + static_cast<std::size_t>(top) * line);
        return true;
    });
    return holding(VImage::new_from_memory(memory.get(), size, image.width(), image.height(),
                                           image.bands(), image.format()),
                   memory);
}

} // namespace lumivert::decoder
