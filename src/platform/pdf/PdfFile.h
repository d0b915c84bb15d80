#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lumivert {

/// Writes the objects of a PDF 1.7 file (ISO 32000-1, 7.5) one after the other, as their bytes
/// come: nothing is held back but stdio's buffer, however long a stream is. Objects are reserved
/// (newObject), then written once each, in any order, never one inside another.
///
/// The first write that fails, fail() or finish() makes every later call do nothing. Unless finish
/// succeeds the file is removed, at the latest when this object is destroyed. One thread.
class PdfFile {
public:
    /// Creates the file at `path`, which must not exist, readable and writable by the user alone.
    /// Null when it cannot be created.
    [[nodiscard]] static std::unique_ptr<PdfFile> create(const std::string& path);
    ~PdfFile();
    PdfFile(const PdfFile&) = delete;
    PdfFile& operator=(const PdfFile&) = delete;

    /// A number for an object that will be written.
    [[nodiscard]] int newObject();

    /// Writes the object `number` as `value`, a complete PDF value.
    void writeObject(int number, std::string_view value);

    /// Writes the stream object `number` from bytes that stand ready, straight from where they are.
    /// `entries`: the dictionary's entries without Length.
    void writeStream(int number, std::string_view entries, std::span<const std::byte> bytes);

    /// Writes a stream object whose length is known only at its end: begin, any number of append,
    /// end.
    void beginStream(int number, std::string_view entries);
    void append(std::span<const std::byte> bytes);
    void endStream();

    /// Gives the file up.
    void fail();
    /// Whether more may be written.
    [[nodiscard]] bool isOpen() const { return m_file != nullptr; }

    /// Writes the cross-reference table and the trailer, and closes the file. False, and the file
    /// is removed, when anything failed. False too when the path no longer leads to the file; then
    /// nothing is removed.
    [[nodiscard]] bool finish(int catalog);

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    PdfFile(std::string path, std::FILE* file);

    void put(std::string_view text);
    void beginObject(int number);
    [[nodiscard]] bool pathLeadsHere() const;

    std::string m_path;
    std::unique_ptr<std::FILE, Close> m_file; // none once it failed or is finished
    std::uint64_t m_written = 0;
    std::vector<std::uint64_t> m_offsets; // by object number; 0 for one that is not written yet
    int m_lengthObject = 0;               // of the open stream
    std::uint64_t m_streamStart = 0;
};

/// "5 0 R" for 5.
[[nodiscard]] std::string pdfReference(int number);

/// The largest magnitude that pdfNumber writes: every reader holds it, as an integer too
/// (ISO 32000-1, Annex C).
inline constexpr double largestPdfNumber = 2147483647.0;

/// Numbers nearer to zero than this are written as 0.
inline constexpr double smallestPdfNumber = 1e-12;

/// `value` as a PDF number: the shortest decimal that reads back as the same double, never with an
/// exponent, whatever the locale. Not a number gives 0, what is too large the nearest limit.
[[nodiscard]] std::string pdfNumber(double value);

/// Numbers separated by spaces.
[[nodiscard]] std::string pdfNumbers(std::span<const double> values);

} // namespace lumivert
