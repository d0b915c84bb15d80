#include "platform/pdf/PdfTestTools.h"

#include "platform/pdf/PdfPageWriter.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <sys/wait.h>

namespace lumivert {

TemporaryFolder::TemporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "lumivert-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

CommandResult runCommand(const std::string& command) {
    CommandResult result;
    std::FILE* pipe = ::popen(("LC_ALL=C; export LC_ALL; { " + command + "; } 2>&1").c_str(), "r");
    if (pipe == nullptr)
        return result;
    std::array<char, 65536> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
        result.output.append(buffer.data(), count);
    const int status = ::pclose(pipe);
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

std::string readFileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string writePage(const std::string& path, const std::function<void(TestPage&)>& fill) {
    TestPage page;
    fill(page);
    return writePdfPage(path, page) ? path : std::string{};
}

std::string faultsOf(const std::string& path) {
    const CommandResult result = runCommand("qpdf --check '" + path + "'");
    return result.exitStatus == 0 ? std::string{} : "qpdf --check: " + result.output;
}

int objectHolding(const std::string& path, const std::string& text) {
    for (int object = 1; object < 32; ++object)
        if (objectText(path, object).find(text) != std::string::npos)
            return object;
    return 0;
}

std::string objectText(const std::string& path, int object) {
    return runCommand("qpdf --show-object=" + std::to_string(object) + " '" + path + "'").output;
}

std::string contentOf(const std::string& path) {
    const std::string page = objectText(path, objectHolding(path, "/Type /Page "));
    const std::size_t at = page.find("/Contents ");
    return at == std::string::npos ? page : rawStream(path, std::atoi(page.c_str() + at + 10));
}

std::string rawStream(const std::string& path, int object) {
    return runCommand("qpdf --raw-stream-data --show-object=" + std::to_string(object) + " '" +
                      path + "'")
        .output;
}

std::string decodedStream(const std::string& path, int object) {
    return runCommand("qpdf --filtered-stream-data --show-object=" + std::to_string(object) + " '" +
                      path + "'")
        .output;
}

std::array<int, 3> Rendering::at(int x, int y) const {
    const std::size_t offset = 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                    static_cast<std::size_t>(x));
    if (x < 0 || x >= width || y < 0 || offset + 3 > rgb.size())
        return {-1, -1, -1};
    const auto sample = [&](std::size_t i) {
        return static_cast<int>(static_cast<unsigned char>(rgb[offset + i]));
    };
    return {sample(0), sample(1), sample(2)};
}

Rendering render(const std::string& path, int dotsPerInch) {
    std::istringstream ppm(
        runCommand("pdftoppm -r " + std::to_string(dotsPerInch) + " '" + path + "'").output);
    Rendering result;
    std::string magic;
    int largest = 0;
    ppm >> magic >> result.width >> result.height >> largest;
    ppm.get();
    result.rgb = {std::istreambuf_iterator<char>(ppm), {}};
    return magic == "P6" ? result : Rendering{};
}

std::string textOf(const SharedBytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.view.data()), bytes.view.size()};
}

SharedBytes bytesOf(const std::string& text) {
    const auto bytes = std::as_bytes(std::span(text));
    return sharedBytes(Bytes(bytes.begin(), bytes.end()));
}

Bytes noise(std::size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    Bytes bytes(count);
    for (std::byte& byte : bytes)
        byte = static_cast<std::byte>(generator() >> 24);
    return bytes;
}

SharedBytes profileHeader(const std::string& space) {
    std::string bytes(200, 'p');
    bytes.replace(16, 4, space);
    bytes.replace(36, 4, "acsp");
    return bytesOf(bytes);
}

} // namespace lumivert
