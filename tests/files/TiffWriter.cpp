#include "files/TiffWriter.h"

namespace lumivert::test {

std::string TiffWriter::header() const {
    return (m_littleEndian ? std::string("II*\0", 4) : std::string("MM\0*", 4)) + number(8, 4);
}

std::string TiffWriter::number(std::uint64_t value, int size) const {
    std::string text;
    for (int i = 0; i < size; ++i) {
        const int shift = 8 * (m_littleEndian ? i : size - 1 - i);
        text += static_cast<char>(value >> shift & 0xff);
    }
    return text;
}

std::string TiffWriter::rational(std::uint32_t numerator, std::uint32_t denominator) const {
    return number(numerator, 4) + number(denominator, 4);
}

std::string TiffWriter::directory(const std::vector<TiffEntry>& entries, std::size_t offset,
                                  std::size_t next) const {
    std::string head = number(entries.size(), 2);
    std::string tail;
    const std::size_t tailAt = offset + 2 + entries.size() * 12 + 4;
    for (const TiffEntry& entry : entries) {
        head += number(static_cast<std::uint64_t>(entry.tag), 2) +
                number(static_cast<std::uint64_t>(entry.type), 2) + number(entry.count, 4);
        if (entry.value.size() <= 4) {
            head += entry.value + std::string(4 - entry.value.size(), '\0');
        } else {
            head += number(tailAt + tail.size(), 4);
            tail += entry.value;
        }
    }
    return head + number(next, 4) + tail;
}

} // namespace lumivert::test
