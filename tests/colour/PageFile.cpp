#include "colour/PageFile.h"

#include "platform/posix/PosixFunctions.h"
#include "support/TemporaryFolder.h"

#include <stdexcept>

namespace lumivert {
namespace {

std::string decodedBase64(const std::string& text) {
    static const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned held = 0;
    int bits = 0;
    for (const char c : text) {
        const auto value = alphabet.find(c);
        if (value == std::string::npos)
            break;
        held = held << 6 | static_cast<unsigned>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(held >> bits & 0xff);
        }
    }
    return bytes;
}

const nlohmann::json& object(const nlohmann::json& objects, const std::string& reference) {
    return objects.at("obj:" + reference);
}

bool isOfType(const nlohmann::json& object, const std::string& type) {
    const auto value = object.find("value");
    return value != object.end() && value->is_object() && value->value("/Type", "") == type;
}

std::string streamData(const nlohmann::json& object) {
    return decodedBase64(object.at("stream").at("data"));
}

} // namespace

PageFile readPage(const std::string& path) {
    // Into a file: the runner takes no more than a pipe holds.
    const TemporaryFolder folder;
    const auto result =
        runProcess("/usr/bin/qpdf", {"--json-output=2", "--json-stream-data=inline",
                                     "--decode-level=generalized", path, folder / "page.json"});
    const auto* outcome = std::get_if<ProcessOutcome>(&result);
    if (!outcome || outcome->exitStatus != 0)
        throw std::runtime_error("qpdf failed" + (outcome ? ": " + outcome->output : ""));
    PageFile page;
    page.objects = nlohmann::json::parse(folder.read("page.json")).at("qpdf").at(1);
    int images = 0;
    for (const auto& [name, object] : page.objects.items()) {
        if (object.contains("stream")) {
            const auto& dictionary = object.at("stream").at("dict");
            if (dictionary.value("/Subtype", "") == "/Image") {
                page.image = dictionary;
                ++images;
            }
        } else if (isOfType(object, "/Catalog")) {
            page.catalog = object.at("value");
        } else if (isOfType(object, "/Page")) {
            page.content =
                streamData(lumivert::object(page.objects, object.at("value").at("/Contents")));
        }
    }
    if (images != 1)
        throw std::runtime_error(std::to_string(images) + " images on the page");
    return page;
}

std::string PageFile::colorSpaceProfile(const std::string& name) const {
    for (const auto& [key, object] : objects.items()) {
        if (!isOfType(object, "/Page"))
            continue;
        const auto& space = object.at("value").at("/Resources").at("/ColorSpace").at(name);
        if (space.at(0) == "/ICCBased")
            return streamData(lumivert::object(objects, space.at(1)));
    }
    throw std::runtime_error("no colour space " + name);
}

} // namespace lumivert
