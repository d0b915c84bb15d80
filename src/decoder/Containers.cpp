#include "decoder/Containers.h"

#include "platform/decoder/DecoderProtocol.h"

#include <algorithm>

namespace lumivert::decoder {

ByteView part(ByteView bytes, std::uint64_t at, std::uint64_t size) {
    const std::uint64_t from = std::min<std::uint64_t>(at, bytes.size());
    return bytes.subspan(from, std::min<std::uint64_t>(size, bytes.size() - from));
}

std::uint64_t bigEndian(ByteView bytes, std::uint64_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (std::uint64_t i = at; i < at + size; ++i)
        value = value << 8 | (i < bytes.size() ? std::to_integer<std::uint64_t>(bytes[i]) : 0);
    return value;
}

std::uint64_t littleEndian(ByteView bytes, std::uint64_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value |= bigEndian(bytes, at + i, 1) << 8 * i;
    return value;
}

std::string_view asText(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::vector<Block> pngChunks(ByteView file, bool withPixels) {
    std::vector<Block> chunks;
    for (std::uint64_t at = 8; at + 12 <= file.size();) {
        const std::uint64_t length = bigEndian(file, at, 4);
        const Block chunk{asText(part(file, at + 4, 4)), part(file, at + 8, length)};
        if ((chunk.name == "IDAT" && !withPixels) || length > file.size() - at - 12)
            break;
        chunks.push_back(chunk);
        at += 12 + length;
    }
    return chunks;
}

std::vector<Block> isoBoxes(ByteView bytes) {
    std::vector<Block> boxes;
    for (std::uint64_t at = 0; at + 8 <= bytes.size();) {
        std::uint64_t size = bigEndian(bytes, at, 4);
        const std::uint64_t head = size == 1 ? 16 : 8;
        if (size == 1)
            size = bigEndian(bytes, at + 8, 8);
        if (size == 0)
            size = bytes.size() - at;
        if (size < head)
            break;
        boxes.push_back({asText(part(bytes, at + 4, 4)), part(bytes, at + head, size - head)});
        at += std::min<std::uint64_t>(size, bytes.size() - at);
    }
    return boxes;
}

std::optional<Density> usableDensity(double x, double y) {
    using protocol::isUsable;
    if (!isUsable(x) && !isUsable(y))
        return std::nullopt;
    return Density{isUsable(x) ? x : y, isUsable(y) ? y : x};
}

} // namespace lumivert::decoder
