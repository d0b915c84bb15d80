#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace lumivert {

/// A page with one image, as qpdf reads it.
struct PageFile {
    nlohmann::json catalog;
    /// The image's dictionary.
    nlohmann::json image;
    std::string content;

    /// The ICC profile of a colour space that the page names.
    [[nodiscard]] std::string colorSpaceProfile(const std::string& name) const;

    nlohmann::json objects;
};

/// Throws std::runtime_error for a file that qpdf complains of, or of several images or none.
[[nodiscard]] PageFile readPage(const std::string& path);

} // namespace lumivert
