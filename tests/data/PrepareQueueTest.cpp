#include "platform/posix/PosixFunctions.h"
#include "support/InChild.h"
#include "support/PrivateScheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace lumivert {
namespace {

using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

ProcessOutcome shell(const std::string& command) {
    return std::get<ProcessOutcome>(runProcess("/bin/zsh", {"-c", command}));
}

std::string withoutLinesThatHold(const std::vector<std::string>& words, const std::string& text) {
    std::istringstream lines(text);
    std::string kept;
    for (std::string line; std::getline(lines, line);)
        if (std::ranges::none_of(words, [&](const std::string& word) {
                return line.find(word) != std::string::npos;
            }))
            kept += line + '\n';
    return kept;
}

class PrepareQueue : public testing::Test {
protected:
    static ProcessOutcome prepare(const std::string& words) {
        return shell(LUMIVERT_PREPARE_QUEUE " " + words);
    }

    [[nodiscard]] std::string ppdFile(const std::string& queue) const {
        return scheduler.ppdFolder() + queue + ".ppd";
    }
    [[nodiscard]] std::string ppd(const std::string& queue) const {
        std::ifstream file(ppdFile(queue), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// A page with a mark, printed in the queue's `size`; what the driver made of it, without the
    /// lines that tell a job's number or time.
    std::string printed(const std::string& queue, const std::string& size) {
        std::string pdf = "%PDF-1.4\n";
        std::string table = "xref\n0 5\n0000000000 65535 f \n";
        for (const std::string object :
             {"1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n",
              "2 0 obj\n<</Type/Pages/Kids[3 0 R]/Count 1>>\nendobj\n",
              "3 0 obj\n<</Type/Page/Parent 2 0 R/MediaBox[0 0 595.28 841.89]/Contents 4 0 R>>\n"
              "endobj\n",
              "4 0 obj\n<</Length 43>>\nstream\n0.2 0.5 0.8 rg 20 20 200 300 re f 9 9 9 9 re f\n"
              "endstream\nendobj\n"}) {
            const std::string at = std::to_string(pdf.size());
            table += std::string(10 - at.size(), '0') + at + " 00000 n \n";
            pdf += object;
        }
        const std::string start = std::to_string(pdf.size());
        pdf += table + "trailer\n<</Size 5/Root 1 0 R>>\nstartxref\n" + start + "\n%%EOF\n";
        const auto lp =
            shell("lp -d " + queue + " -o PageSize=" + size + ' ' + work.write("page.pdf", pdf));
        EXPECT_EQ(lp.exitStatus, 0) << lp.output;
        const auto output = scheduler.takeOutput(queue, std::chrono::minutes(3));
        EXPECT_TRUE(output) << scheduler.log();
        return withoutLinesThatHold(
            {"CreationDate", "ModDate", "Title", "JOBNAME", "JOB NAME", "/ID", "uuid", queue + '-'},
            output.value_or(""));
    }

    TemporaryFolder work;
    PrivateScheduler scheduler;
    SchedulerEnvironment environment{scheduler};
};

/// Everything a size's name can stand in, in the form of a driverless queue's PPD.
constexpr const char* driverlessPpd = R"PPD(*PPD-Adobe: "4.3"
*FormatVersion: "4.3"
*FileVersion: "1.0"
*LanguageVersion: English
*LanguageEncoding: ISOLatin1
*PCFileName: "test.ppd"
*Manufacturer: "Test"
*Product: "(Test)"
*ModelName: "Test"
*ShortNickName: "Test"
*NickName: "Test, driverless"
*PSVersion: "(3010.000) 550"
*LanguageLevel: "3"
*ColorDevice: True
*cupsVersion: 2.4
*cupsFilter2: "application/vnd.cups-pdf application/pdf 0 -"
*OpenUI *PageSize/Media Size: PickOne
*OrderDependency: 10 AnySetup *PageSize
*DefaultPageSize: A4.Borderless
*PageSize A4/A4: "<</PageSize[595.28 841.89]>>setpagedevice"
*PageSize A4.Borderless/A4 (Borderless): "<</PageSize[595.28 841.89]>>setpagedevice"
*PageSize 4x6/4 x 6: "<</PageSize[288 432]>>setpagedevice"
*PageSize 4x6.Borderless/4 x 6 (Borderless): "<</PageSize[288 432]>>setpagedevice"
*PageSize A5.Borderless/Without a base: "<</PageSize[420 595]>>setpagedevice"
*PageSize Tabloid/Tabloid: "<</PageSize[792 1224]>>setpagedevice"
*PageSize Letter/Letter: "<</PageSize[612 792]>>setpagedevice"
*PageSize Letter.FB/Oversized: "<</PageSize[625 800]>>setpagedevice"
*de.PageSize A4.Borderless/A4 (randlos): ""
*CloseUI: *PageSize
*OpenUI *PageRegion/Media Size: PickOne
*OrderDependency: 10 AnySetup *PageRegion
*DefaultPageRegion: A4.Borderless
*PageRegion A4/A4: "<</PageSize[595.28 841.89]>>setpagedevice"
*PageRegion A4.Borderless/A4 (Borderless): "<</PageSize[595.28 841.89]>>setpagedevice"
*PageRegion 4x6/4 x 6: "<</PageSize[288 432]>>setpagedevice"
*PageRegion 4x6.Borderless/4 x 6 (Borderless): "<</PageSize[288 432]>>setpagedevice"
*PageRegion A5.Borderless/Without a base: "<</PageSize[420 595]>>setpagedevice"
*PageRegion Tabloid/Tabloid: "<</PageSize[792 1224]>>setpagedevice"
*PageRegion Letter/Letter: "<</PageSize[612 792]>>setpagedevice"
*PageRegion Letter.FB/Oversized: "<</PageSize[625 800]>>setpagedevice"
*CloseUI: *PageRegion
*DefaultImageableArea: A4.Borderless
*ImageableArea A4: "8.5 8.5 586.7 833.3"
*ImageableArea A4.Borderless: "0 0 595.28 841.89"
*ImageableArea 4x6: "8.5 8.5 279.5 423.5"
*ImageableArea 4x6.Borderless: "0 0 288 432"
*ImageableArea A5.Borderless: "0 0 420 595"
*ImageableArea Tabloid: "8.5 8.5 783.5 1215.5"
*ImageableArea Letter: "8.5 8.5 603.5 783.5"
*ImageableArea Letter.FB: "0 0 625 800"
*DefaultPaperDimension: A4.Borderless
*PaperDimension A4/A4: "595.28 841.89"
*PaperDimension A4.Borderless: "595.28 841.89"
*PaperDimension 4x6: "288 432"
*PaperDimension 4x6.Borderless/4 x 6: "288 432"
*PaperDimension A5.Borderless: "420 595"
*PaperDimension Tabloid: "792 1224"
*PaperDimension Letter: "612 792"
*PaperDimension Letter.FB: "625 800"
*OpenUI *MediaType/Media Type: PickOne
*DefaultMediaType: Plain
*MediaType Plain/A4.Borderless stays in a label: ""
*MediaType Glossy/Glossy: ""
*CloseUI: *MediaType
*UIConstraints: *PageSize A4.Borderless *MediaType Plain
*UIConstraints: *MediaType Plain *PageSize A4.Borderless
*UIConstraints: *PageSize A4.BorderlessX *MediaType Plain
)PPD";

class PrepareDriverlessQueue : public PrepareQueue {
protected:
    PrepareDriverlessQueue() {
        scheduler.addQueue("Q", work.write("driverless.ppd", driverlessPpd));
    }
};

TEST_F(PrepareDriverlessQueue, onlyShowsWhatItWouldDo) {
    const auto before = ppd("Q");
    const auto outcome = prepare("Q");
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_THAT(outcome.output, HasSubstr("own measures: A4, 4x6.Fullbleed\n"));
    EXPECT_THAT(outcome.output,
                HasSubstr("A4.Borderless -> A4.Fullbleed, 4x6.Borderless -> 4x6.Fullbleed\n"));
    EXPECT_THAT(outcome.output, HasSubstr("--apply"));
    EXPECT_EQ(ppd("Q"), before);
    EXPECT_FALSE(fs::exists(ppdFile("Q") + ".before-lumivert"));
}

TEST_F(PrepareDriverlessQueue, renamesASizeEverywhereAndNothingElse) {
    auto expected = ppd("Q");
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"(Page(?:Size|Region)|ImageableArea|PaperDimension)(:? )(A4|4x6)\\.Borderless(?!X)",
              "$1$2$3.Fullbleed"},
             {"(\\*PaperDimension [^/:\n]*)/[^:\n]*:", "$1:"}})
        expected = std::regex_replace(expected, std::regex(from), to);
    const auto outcome = prepare("--apply Q");
    ASSERT_EQ(outcome.exitStatus, 0) << outcome.output;
    EXPECT_EQ(ppd("Q"), expected);
    EXPECT_THAT(ppd("Q"), HasSubstr("*UIConstraints: *MediaType Plain *PageSize A4.Fullbleed\n"));
    EXPECT_THAT(ppd("Q"), HasSubstr("A4.Borderless stays in a label"));
    EXPECT_THAT(shell("lpoptions -p Q -l").output,
                HasSubstr(": A4 *A4.Fullbleed 4x6 4x6.Fullbleed A5.Borderless Tabloid Letter"));
    EXPECT_THAT(prepare("--apply Q").output, HasSubstr("needs no change"));
}

TEST_F(PrepareDriverlessQueue, printsTheSamePageUnderTheNewName) {
    const auto before = printed("Q", "A4.Borderless");
    ASSERT_EQ(prepare("--apply Q").exitStatus, 0);
    EXPECT_EQ(printed("Q", "A4.Fullbleed"), before);
}

TEST_F(PrepareDriverlessQueue, putsTheFormerPpdBack) {
    const auto before = ppd("Q");
    EXPECT_EQ(prepare("--restore Q").exitStatus, 1);
    ASSERT_EQ(prepare("--apply Q").exitStatus, 0);
    ASSERT_NE(ppd("Q"), before);
    ASSERT_EQ(prepare("--restore Q").exitStatus, 0);
    EXPECT_EQ(ppd("Q"), before);
    EXPECT_FALSE(fs::exists(ppdFile("Q") + ".before-lumivert"));
}

TEST_F(PrepareDriverlessQueue, keepsTheFirstFormerPpdOfADriver) {
    const auto first = ppd("Q");
    ASSERT_EQ(prepare("--apply Q").exitStatus, 0);
    std::string second = ppd("Q");
    second.replace(second.find("*PaperDimension Letter:"), 23, "*PaperDimension Letter/Letter:");
    scheduler.addQueue("Q", work.write("second.ppd", second));
    ASSERT_EQ(prepare("--apply Q").exitStatus, 0);
    ASSERT_EQ(prepare("--restore Q").exitStatus, 0);
    EXPECT_EQ(ppd("Q"), first);
}

TEST_F(PrepareDriverlessQueue, putsNoPpdOfAnotherDriverBack) {
    ASSERT_EQ(prepare("--apply Q").exitStatus, 0);
    std::string other = driverlessPpd;
    other.replace(other.find("Test, driverless"), 4, "Else");
    scheduler.addQueue("Q", work.write("other.ppd", other));
    const auto before = ppd("Q");
    const auto refused = prepare("--restore Q");
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(refused.output, HasSubstr("Q: the former PPD is another driver's"));
    EXPECT_EQ(ppd("Q"), before);
    ASSERT_EQ(prepare("--apply Q").exitStatus, 0);
    ASSERT_EQ(prepare("--restore Q").exitStatus, 0);
    EXPECT_EQ(ppd("Q"), before);
}

TEST_F(PrepareDriverlessQueue, leavesColoursToTheApplicationOnDemandOnly) {
    ASSERT_EQ(prepare("--apply Q").exitStatus, 0);
    EXPECT_THAT(shell("lpoptions -p Q").output, Not(HasSubstr("cm-calibration")));
    ASSERT_EQ(prepare("--apply --application-color Q").exitStatus, 0);
    EXPECT_THAT(shell("lpoptions -p Q").output, HasSubstr("cm-calibration=true"));
}

TEST_F(PrepareDriverlessQueue, changesNothingWhereItCannotFinish) {
    const auto before = ppd("Q");
    const auto prepareWith = [&](const std::string& tool, const std::string& body) {
        const fs::path fake = work.write(tool, "#!/bin/sh\n" + body);
        fs::permissions(fake, fs::perms(0755));
        const auto outcome =
            shell("PATH=" + work.path() + ":$PATH " LUMIVERT_PREPARE_QUEUE " --apply Q");
        fs::remove(fake);
        EXPECT_EQ(outcome.exitStatus, 1) << outcome.output;
        EXPECT_EQ(ppd("Q"), before);
        EXPECT_FALSE(fs::exists(ppdFile("Q") + ".before-lumivert"));
        return outcome.output;
    };
    EXPECT_THAT(prepareWith("lpadmin", "echo lpadmin: Forbidden >&2; exit 1\n"),
                HasSubstr("Q: the print system did not take the PPD: lpadmin: Forbidden"));
    EXPECT_THAT(prepareWith("cp", "case $* in *.before-lumivert) exit 1 ;; esac\n"
                                  "exec /bin/cp \"$@\"\n"),
                HasSubstr("Q: the former PPD could not be kept; nothing was changed."));
}

TEST_F(PrepareQueue, givesMeasuresToAPpdWhoseLinesEndAsInDos) {
    scheduler.addQueue("Q", work.write("driverless.ppd", driverlessPpd));
    std::ofstream(ppdFile("Q"), std::ios::binary)
        << std::regex_replace(driverlessPpd, std::regex("\n"), "\r\n");
    ASSERT_EQ(prepare("--apply Q").exitStatus, 0);
    EXPECT_THAT(ppd("Q"), HasSubstr("\n*PaperDimension A4: \"595.28 841.89\"\n"));
    EXPECT_THAT(ppd("Q"), HasSubstr("\n*PaperDimension Tabloid: \"792 1224\"\n"));
}

class PrepareQueueOfWord : public PrepareQueue, public testing::WithParamInterface<const char*> {};

TEST_P(PrepareQueueOfWord, printsTheSamePageUnderTheNewName) {
    const std::string own = GetParam();
    scheduler.addQueue(
        "Q", work.write("own.ppd", std::regex_replace(driverlessPpd,
                                                      std::regex("A4\\.Borderless(?!X)"), own)));
    const auto before = printed("Q", own);
    const auto outcome = prepare("--apply Q");
    ASSERT_EQ(outcome.exitStatus, 0);
    EXPECT_THAT(outcome.output, HasSubstr(own + " -> A4.Fullbleed"));
    EXPECT_THAT(ppd("Q"), HasSubstr("\n*DefaultPageSize: A4.Fullbleed\n"));
    EXPECT_THAT(ppd("Q"), HasSubstr("\n*ImageableArea A4.Fullbleed: \"0 0 595.28 841.89\"\n"));
    EXPECT_THAT(ppd("Q"), HasSubstr("\n*PageSize Tabloid/Tabloid: "));
    EXPECT_EQ(printed("Q", "A4.Fullbleed"), before);
}

INSTANTIATE_TEST_SUITE_P(OfDrivers, PrepareQueueOfWord, testing::Values("A4.FB", "A4.bl", "TA4"),
                         [](const auto& parameter) {
                             std::string name = parameter.param;
                             std::erase(name, '.');
                             return name;
                         });

TEST_F(PrepareQueue, keepsTheNamesThatADriversOwnProgramReads) {
    std::string own = driverlessPpd;
    const std::string line = "application/pdf 0 -\"";
    own.replace(own.find(line), line.size(), "application/pdf 0 gziptoany\"");
    scheduler.addQueue("Q", work.write("own.ppd", own));
    const auto outcome = prepare("--apply Q");
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_THAT(outcome.output, HasSubstr("left so: A4.Borderless, 4x6.Borderless\n"));
    EXPECT_THAT(ppd("Q"), HasSubstr("*PaperDimension 4x6.Borderless: "));
}

TEST_F(PrepareQueue, saysWhyItCannotHelp) {
    scheduler.addQueue("Q");
    ASSERT_EQ(
        shell("/usr/sbin/lpadmin -p Raw -E -v file:///dev/null; /usr/sbin/lpadmin -p Q -c Class")
            .exitStatus,
        0);
    for (const auto& [words, status, said] : std::vector<std::tuple<std::string, int, std::string>>{
             {"", 2, "usage:"},
             {"--other Q", 2, "usage:"},
             {"Q Q", 2, "usage:"},
             {"--restore --apply Q", 2, "usage:"},
             {"Missing", 1, "Missing: there is no such queue"},
             {"'a b'", 1, "a b: no queue can have this name"},
             {"../Q", 1, "../Q: no queue can have this name"},
             {"Class", 1, "Class: this is a class"},
             {"Raw", 1, "Raw: this is a raw queue"}}) {
        const auto outcome = prepare(words);
        EXPECT_EQ(outcome.exitStatus, status) << words;
        EXPECT_THAT(outcome.output, testing::StartsWith(said));
    }
    const auto before = ppd("Q");
    std::string latin = before + "*% Gr\xf6\xdf"
                                 "e\n";
    scheduler.addQueue("Latin", work.write("latin.ppd", latin));
    EXPECT_THAT(prepare("--apply Latin").output, HasSubstr("not UTF-8"));
    EXPECT_EQ(ppd("Q"), before);
}

TEST_F(PrepareQueue, asksForRootWhereThePpdIsClosed) {
    scheduler.addQueue("Q");
    const fs::path copy =
        work / "lumivert-prepare-queue"; // the tree need not be open to every user
    fs::copy_file(LUMIVERT_PREPARE_QUEUE, copy);
    fs::permissions(copy, fs::perms(0755));
    fs::permissions(ppdFile("Q"), fs::perms(0600));
    EXPECT_EQ(inChildAsOrdinaryUser([&] {
                  const auto outcome = shell(copy.string() + " --apply Q");
                  if (::geteuid() != 65534)
                      return 0; // an ordinary user owns the file
                  return outcome.exitStatus == 1 &&
                                 outcome.output.find("run this as root") != std::string::npos
                             ? 0
                             : 1;
              }),
              0);
}

struct Family {
    const char* name;
    const char* driver; ///< a file of the driver; without it there is nothing to test
    const char* model;
};

class PrepareQueueOfFamily : public PrepareQueue, public testing::WithParamInterface<Family> {};

TEST_P(PrepareQueueOfFamily, givesSizesTheirMeasuresAndPrintsAsBefore) {
    const Family& family = GetParam();
    if (!fs::exists(family.driver))
        GTEST_SKIP() << family.driver << " is not installed";
    const auto added = shell("/usr/sbin/lpadmin -p Q -E -v file://" + scheduler.folder() +
                             "/output/Q -m '" + family.model + "'");
    if (added.exitStatus != 0)
        GTEST_SKIP() << family.model << ": " << added.output;
    ASSERT_THAT(ppd("Q"), HasSubstr("\n*PaperDimension A4/"));
    const auto before = printed("Q", "A4");
    ASSERT_GT(before.size(), 100U);

    const auto outcome = prepare("--apply Q");
    ASSERT_EQ(outcome.exitStatus, 0) << outcome.output;
    EXPECT_THAT(ppd("Q"), HasSubstr("\n*PaperDimension A4: \"59"));
    std::istringstream lines(ppd("Q"));
    for (std::string line; std::getline(lines, line);)
        EXPECT_FALSE(line.starts_with("*PaperDimension ") &&
                     line.substr(0, line.find(':')).find('/') != std::string::npos)
            << line;
    EXPECT_TRUE(printed("Q", "A4") == before);
}

INSTANTIATE_TEST_SUITE_P(
    RealDrivers, PrepareQueueOfFamily,
    testing::Values(
        Family{"Gutenprint", "/usr/lib/cups/driver/gutenprint.5.3",
               "gutenprint.5.3://escp2-r800/simple"},
        Family{"EscpR", "/usr/lib/cups/driver/escpr",
               "escpr:0/cups/model/epson-inkjet-printer-escpr/"
               "Epson-XP-700_Series-epson-escpr-en.ppd"},
        Family{"Cups", "/usr/share/cups/drv/sample.drv", "drv:///sample.drv/deskjet.ppd"},
        Family{"Foomatic", "/usr/lib/cups/driver/foomatic-db-compressed-ppds",
               "foomatic-db-compressed-ppds:0/ppd/foomatic-ppd/Generic-PCL_5e_Printer-ljet4.ppd"},
        Family{"OpenPrinting", "/usr/lib/cups/driver/openprinting-ppds",
               "openprinting-ppds:0/ppd/openprinting/Brother/BR5250_2_GPL.ppd"}),
    [](const auto& parameter) { return std::string(parameter.param.name); });

} // namespace
} // namespace lumivert
