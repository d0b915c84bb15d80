#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lumivert::test {

/// An entry of a TIFF directory: tag, field type, number of values, and their bytes in the file's
/// order.
struct TiffEntry {
    int tag;
    int type;
    std::uint32_t count;
    std::string value;
};

/// The bytes of TIFF structures (TIFF 6.0).
class TiffWriter {
public:
    explicit TiffWriter(bool littleEndian)
        : m_littleEndian(littleEndian) {}

    /// The first eight bytes of a file, whose first directory follows them.
    [[nodiscard]] std::string header() const;
    [[nodiscard]] std::string number(std::uint64_t value, int size) const;
    [[nodiscard]] std::string rational(std::uint32_t numerator, std::uint32_t denominator) const;
    /// A directory that stands at `offset`, before the one at `next`; 0 for none. Values of more
    /// than four bytes stand behind it. Entries in the order of their tags.
    [[nodiscard]] std::string directory(const std::vector<TiffEntry>& entries, std::size_t offset,
                                        std::size_t next = 0) const;

private:
    bool m_littleEndian;
};

} // namespace lumivert::test
