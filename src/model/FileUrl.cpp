#include "model/FileUrl.h"

#include "model/Text.h"

#include <charconv>
#include <utility>

namespace lumivert {
namespace {

constexpr std::string_view scheme = "file:";

bool isUnreserved(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

std::optional<std::string> withoutEscapes(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        unsigned value = 0;
        const char* digits = text.data() + i + 1;
        if (i + 2 >= text.size() ||
            std::from_chars(digits, digits + 2, value, 16).ptr != digits + 2)
            return std::nullopt;
        result += static_cast<char>(value);
        i += 2;
    }
    return result;
}

} // namespace

FileUrl::FileUrl(std::string path)
    : m_path(std::move(path)) {}

FileUrl FileUrl::fromPath(std::string path) {
    return FileUrl(std::move(path));
}

std::optional<FileUrl> FileUrl::fromDataRepresentation(std::string_view data) {
    if (lowerCased(data.substr(0, scheme.size())) != scheme)
        return std::nullopt;
    data.remove_prefix(scheme.size());
    if (data.starts_with("//")) {
        data.remove_prefix(2);
        const std::string_view host = data.substr(0, data.find('/'));
        if (!host.empty() && lowerCased(host) != "localhost")
            return std::nullopt;
        data.remove_prefix(host.size());
    }
    data = data.substr(0, data.find_first_of("?#"));
    auto path = withoutEscapes(data);
    if (!path || !path->starts_with('/') || path->find('\0') != std::string::npos)
        return std::nullopt;
    return FileUrl(std::move(*path));
}

std::string FileUrl::dataRepresentation() const {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result = "file://";
    for (const char c : m_path) {
        if (isUnreserved(c) || c == '/') {
            result += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        result += '%';
        result += digits[byte >> 4];
        result += digits[byte & 0xf];
    }
    return result;
}

std::string FileUrl::lastPathComponent() const {
    std::string_view path = m_path;
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    const auto slash = path.rfind('/');
    return std::string(slash == std::string_view::npos || path == "/" ? path
                                                                      : path.substr(slash + 1));
}

std::string FileUrl::pathExtension() const {
    const std::string name = lastPathComponent();
    const auto dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string{} : name.substr(dot + 1);
}

} // namespace lumivert
