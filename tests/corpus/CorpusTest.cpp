// Thousands of damaged and lying files: every one is refused, or loads with the pixels that it
// should have, and none takes more of the machine than it may.
//
// A process for each file takes too long. So the decoder's own code opens them one after the other
// in helpers: this program once more, in the decoder's limits. A file that ends a helper is refused
// by that; it, and a share of the others, are opened again as the program does.
#include "corpus/IndependentReaders.h"
#include "corpus/Mutants.h"
#include "decoder/Confinement.h"
#include "decoder/Requests.h"
#include "decoder/TestPhotos.h"
#include "model/FileUrl.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/system/ChildProcess.h"
#include "platform/system/Descriptor.h"
#include "support/InChild.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace lumivert::test {
namespace {

struct Corpus {
    std::vector<Kind> kinds = everyKind();
    std::vector<Mutant> mutants = [this] {
        std::vector<Mutant> all;
        for (const Kind& kind : kinds)
            for (Mutant& mutant : mutantsOf(kind))
                all.push_back(std::move(mutant));
        return all;
    }();
};

// The rows for paper, by the decoder's code in this process; nothing for a photo that is refused.
std::optional<std::string> open(const std::string& file) {
    const auto rows = decoder::test::readRows(file);
    if (!rows || !decoder::test::readRendition(file, 64))
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(rows->samples.data()), rows->samples.size());
}

// The same as the program has it.
std::optional<std::string> load(DecoderClient& client, const std::string& path) {
    const auto image = client.decode(FileUrl::fromPath(path));
    const auto rows = image ? image->bitmap()->rows(std::nullopt) : nullptr;
    if (!rows)
        return std::nullopt;
    Bytes all(rows->format().bytesPerRow() * static_cast<std::size_t>(rows->format().size.height));
    if (rows->readRows(all) != static_cast<std::size_t>(rows->format().size.height))
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(all.data()), all.size());
}

bool areSame(const std::string& pixels, const std::string& independent, const Kind& kind) {
    if (pixels.size() != independent.size() || kind.rounding == 0)
        return pixels == independent;
    const auto number = [](const std::string& bytes, std::size_t at) {
        return static_cast<unsigned char>(bytes[at]) << 8 |
               static_cast<unsigned char>(bytes[at + 1]);
    };
    for (std::size_t i = 0; i + 1 < pixels.size(); i += 2)
        if (std::abs(number(pixels, i) - number(independent, i)) > kind.rounding)
            return false;
    return true;
}

std::string wrong(const Mutant& mutant, const std::optional<std::string>& opened,
                  const std::string& whole) {
    if (!opened)
        return mutant.expected == Expected::whole ? "is refused" : "";
    if (*opened == whole)
        return "";
    if (mutant.expected != Expected::asItsLibraryReads)
        return "loads with other pixels";
    if (!mutant.kind->read)
        return "";
    const auto independent = mutant.kind->read(mutant.file);
    if (!independent)
        return "loads where its own library refuses";
    // Where its size, channels or turn have changed as well there is nothing to compare.
    return independent->size() == opened->size() && !areSame(*opened, *independent, *mutant.kind)
               ? "loads with pixels that its own library does not read"
               : "";
}

struct Result {
    bool isLoaded = false;
    bool endedHelper = false;
    std::string problem;
};

// Has helpers open every `step`th file from `first` on.
void openInHelpers(std::vector<Result>& results, std::size_t first, std::size_t step) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    for (std::size_t next = first; next < results.size();) {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        const Descriptor reader(ends[0]);
        Descriptor writer(ends[1]);
        auto helper = ChildProcess::start(
            {.path = program,
             .arguments = {"--open", std::to_string(next), std::to_string(step)},
             .descriptors = {-1, writer.get(), -1}});
        writer.reset();
        std::string said;
        if (!helper || !readToEnd(reader.get(), said))
            throw std::runtime_error("no helper");
        std::istringstream lines(said);
        for (std::string line; std::getline(lines, line); next += step)
            results.at(next) = {line.at(0) == '1', false, line.substr(1)};
        const auto status = helper->wait();
        if (status != 0 && next < results.size()) {
            results[next].endedHelper = true;
            next += step;
        }
    }
}

TEST(CorpusTest, isRefusedOrLoadsAsItShould) {
    const auto start = std::chrono::steady_clock::now();
    const Corpus corpus;
    ASSERT_GE(corpus.mutants.size(), 2500U);
    std::vector<Result> results(corpus.mutants.size());
    {
        constexpr std::size_t helpers = 2;
        std::array<std::thread, helpers> threads;
        for (std::size_t i = 0; i < helpers; ++i)
            threads[i] = std::thread([&, i] { openInHelpers(results, i, helpers); });
        for (auto& thread : threads)
            thread.join();
    }
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    int loaded = 0;
    int ended = 0;
    for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_EQ(results[i].problem, "") << corpus.mutants[i].name;
        if (!results[i].problem.empty()) // for whoever looks into it
            std::ofstream("corpus-" + std::to_string(i), std::ios::binary)
                << corpus.mutants[i].file;
        loaded += results[i].isLoaded ? 1 : 0;
        ended += results[i].endedHelper ? 1 : 0;
    }

    const TemporaryFolder folder;
    DecoderClient client({.path = LUMIVERT_DECODER, .screenEdge = [] { return 64; }});
    for (const Kind& kind : corpus.kinds) {
        const auto pixels = load(client, folder.write("photo", kind.file));
        ASSERT_TRUE(pixels) << kind.name;
        EXPECT_EQ(pixels, open(kind.file)) << kind.name;
        if (kind.read) {
            const auto independent = kind.read(kind.file);
            EXPECT_TRUE(independent && areSame(*pixels, *independent, kind)) << kind.name;
        }
    }
    for (std::size_t i = 0; i < results.size(); ++i)
        if (results[i].endedHelper || i % 25 == 0) {
            EXPECT_EQ(load(client, folder.write("photo", corpus.mutants[i].file)).has_value(),
                      results[i].isLoaded)
                << corpus.mutants[i].name;
        }
    std::cout << results.size() << " files, " << loaded << " loaded, " << ended
              << " ended their helper, at most " << usage.ru_maxrss / 1024 << " MiB, "
              << std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() -
                                                                  start)
                     .count()
              << " s\n";
}

// 2 GiB and four times the pixels that must be held, or half of the machine, beside what a file
// that holds them has in memory: more is refused, and so is what takes longer than 30 seconds.
TEST(CorpusTest, bombsTakeNoMoreThanTheyMay) {
    EXPECT_TRUE(decoder::test::readRows(vastPng(300, true))) << "else this test shows nothing";
    EXPECT_TRUE(decoder::test::readRows(vastPng(300, false)));
    struct Bomb {
        int edge;
        bool isInterlaced;
        std::uint64_t held;
    };
    const std::uint64_t half = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                               static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) / 2;
    for (const Bomb& bomb :
         {Bomb{30'000, true, std::uint64_t{3} * 30'000 * 30'000}, Bomb{60'000, false, 0},
          Bomb{65'000, true, std::uint64_t{3} * 65'000 * 65'000}}) {
        SCOPED_TRACE(bomb.edge);
        const std::string file = vastPng(bomb.edge, bomb.isInterlaced);
        const TemporaryFolder folder;
        const FileUrl url = FileUrl::fromPath(folder.write("photo", file));
        EXPECT_EQ(inChild([&] {
                      const auto start = std::chrono::steady_clock::now();
                      bool isLoaded = false;
                      {
                          DecoderClient client(
                              {.path = LUMIVERT_DECODER, .screenEdge = [] { return 64; }});
                          isLoaded = client.decode(url) != nullptr;
                      }
                      const std::chrono::duration<double> took =
                          std::chrono::steady_clock::now() - start;
                      rusage usage{};
                      ::getrusage(RUSAGE_CHILDREN, &usage);
                      const auto most = std::min((std::uint64_t{2} << 30) + 4 * bomb.held, half);
                      std::cout << file.size() << " bytes, " << bomb.edge
                                << " pixels wide: " << (isLoaded ? "loaded" : "refused")
                                << " after " << took.count() << " s, at most "
                                << usage.ru_maxrss / 1024 << " MiB" << std::endl;
                      return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024 <= most + bomb.held
                                 ? 0
                                 : 1;
                  }),
                  0);
    }
}

std::size_t number(const char* text) {
    std::size_t value = 0;
    std::from_chars(text, text + std::strlen(text), value);
    return value;
}

int help(std::size_t first, std::size_t step) {
    const Corpus corpus;
    std::map<const Kind*, std::string> whole;
    for (const Kind& kind : corpus.kinds)
        whole[&kind] = open(kind.file).value_or("");
    decoder::limitResources();
    rlimit processor{}; // for all files together; a load has its alarm
    ::getrlimit(RLIMIT_CPU, &processor);
    processor.rlim_cur = processor.rlim_max;
    ::setrlimit(RLIMIT_CPU, &processor);
    for (std::size_t i = first; i < corpus.mutants.size(); i += step) {
        const Mutant& mutant = corpus.mutants[i];
        ::alarm(decoder::loadSeconds);
        const auto opened = open(mutant.file);
        ::alarm(0);
        std::string line(1, opened ? '1' : '0');
        line += wrong(mutant, opened, whole[mutant.kind]);
        line += '\n';
        if (!writeAll(STDOUT_FILENO, std::as_bytes(std::span(line))))
            return 1;
    }
    return 0;
}

} // namespace
} // namespace lumivert::test

int main(int argc, char** argv) {
    lumivert::decoder::prepareLibraries(argv[0]);
    if (argc == 4 && std::string_view(argv[1]) == "--open")
        return lumivert::test::help(lumivert::test::number(argv[2]),
                                    lumivert::test::number(argv[3]));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
