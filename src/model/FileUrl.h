#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lumivert {

/// The address of a local file, kept as its path: bytes, as the file system has them.
class FileUrl {
public:
    [[nodiscard]] static FileUrl fromPath(std::string path);

    /// Reads a "file:" URL in its encoded form (RFC 8089), with an empty host or "localhost".
    /// Nothing for any other scheme or host, a relative path, a broken escape or a NUL.
    [[nodiscard]] static std::optional<FileUrl> fromDataRepresentation(std::string_view data);

    /// The encoded form, "file:///…", every byte but RFC 3986's unreserved ones and "/" escaped.
    [[nodiscard]] std::string dataRepresentation() const;

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] std::string lastPathComponent() const;
    /// What stands behind the last "." of the last component, as written; empty without one, and
    /// for a name whose only "." is its first character.
    [[nodiscard]] std::string pathExtension() const;

    bool operator==(const FileUrl&) const = default;

private:
    explicit FileUrl(std::string path);

    std::string m_path;
};

} // namespace lumivert
