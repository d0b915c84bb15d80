#include "platform/pdf/PdfFile.h"

#include "platform/system/Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace lumivert {
namespace {

// A cross-reference entry holds ten digits (ISO 32000-1, 7.5.4).
constexpr std::uint64_t largestOffset = 9'999'999'999;

std::string tenDigits(std::uint64_t offset) {
    std::string digits = std::to_string(offset);
    return std::string(10 - digits.size(), '0') + digits;
}

} // namespace

std::string pdfReference(int number) {
    return std::to_string(number) + " 0 R";
}

std::string pdfNumber(double value) {
    if (std::isnan(value) || std::abs(value) < smallestPdfNumber)
        return "0";
    value = std::clamp(value, -largestPdfNumber, largestPdfNumber);
    std::array<char, 64> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    return error == std::errc{} ? std::string(text.data(), end) : "0";
}

std::string pdfNumbers(std::span<const double> values) {
    std::string text;
    for (const double value : values) {
        if (!text.empty())
            text += ' ';
        text += pdfNumber(value);
    }
    return text;
}

std::unique_ptr<PdfFile> PdfFile::create(const std::string& path) {
    Descriptor fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    std::FILE* file = fd ? ::fdopen(fd.get(), "wb") : nullptr;
    if (file)
        (void)fd.release();
    else if (fd)
        ::unlink(path.c_str());
    return file ? std::unique_ptr<PdfFile>(new PdfFile(path, file)) : nullptr;
}

PdfFile::PdfFile(std::string path, std::FILE* file)
    : m_path(std::move(path))
    , m_file(file)
    , m_offsets(1, 0) {
    // The comment of four high bytes marks the file as binary (ISO 32000-1, 7.5.2).
    put("%PDF-1.7\n%\xE2\xE3\xCF\xD3\n");
}

PdfFile::~PdfFile() {
    fail();
}

int PdfFile::newObject() {
    m_offsets.push_back(0);
    return static_cast<int>(m_offsets.size()) - 1;
}

void PdfFile::beginObject(int number) {
    m_offsets[static_cast<std::size_t>(number)] = m_written;
    put(std::to_string(number) + " 0 obj\n");
}

void PdfFile::writeObject(int number, std::string_view value) {
    beginObject(number);
    put(value);
    put("\nendobj\n");
}

void PdfFile::writeStream(int number, std::string_view entries, std::span<const std::byte> bytes) {
    beginStream(number, entries);
    append(bytes);
    endStream();
}

void PdfFile::beginStream(int number, std::string_view entries) {
    m_lengthObject = newObject();
    beginObject(number);
    put("<< ");
    put(entries);
    put(" /Length " + pdfReference(m_lengthObject) + " >>\nstream\n");
    m_streamStart = m_written;
}

void PdfFile::endStream() {
    const std::uint64_t length = m_written - m_streamStart;
    put("\nendstream\nendobj\n");
    writeObject(m_lengthObject, std::to_string(length));
}

bool PdfFile::finish(int catalog) {
    const std::uint64_t tableOffset = m_written;
    if (tableOffset > largestOffset)
        fail();
    if (!m_file)
        return false;
    std::string table = "xref\n0 " + std::to_string(m_offsets.size()) + "\n0000000000 65535 f \n";
    for (std::size_t number = 1; number < m_offsets.size(); ++number)
        table += m_offsets[number] == 0 ? "0000000000 65535 f \n"
                                        : tenDigits(m_offsets[number]) + " 00000 n \n";
    table += "trailer\n<< /Size " + std::to_string(m_offsets.size()) + " /Root " +
             pdfReference(catalog) + " >>\nstartxref\n" + std::to_string(tableOffset) + "\n%%EOF\n";
    put(table);
    if (m_file && (std::fflush(m_file.get()) != 0 || !pathLeadsHere()))
        fail();
    if (!m_file)
        return false;
    // A network file system may report a full disk only here.
    const bool whole = std::fclose(m_file.release()) == 0 || errno == EINTR;
    if (!whole)
        ::unlink(m_path.c_str());
    return whole;
}

void PdfFile::fail() {
    if (m_file && pathLeadsHere())
        ::unlink(m_path.c_str());
    m_file.reset();
}

void PdfFile::put(std::string_view text) {
    append(std::as_bytes(std::span(text)));
}

void PdfFile::append(std::span<const std::byte> bytes) {
    if (!m_file)
        return;
    if (std::fwrite(bytes.data(), 1, bytes.size(), m_file.get()) != bytes.size())
        return fail();
    m_written += bytes.size();
}

// The folder may have been removed or moved, the name given to another file.
bool PdfFile::pathLeadsHere() const {
    struct stat file {};
    struct stat named {};
    return ::fstat(::fileno(m_file.get()), &file) == 0 && ::lstat(m_path.c_str(), &named) == 0 &&
           file.st_dev == named.st_dev && file.st_ino == named.st_ino;
}

} // namespace lumivert
