#include "app/Language.h"

#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "platform/posix/PosixFunctions.h"
#include "support/InChild.h"
#include "support/PrivateScheduler.h"

#include <QGuiApplication>
#include <QLocale>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>

// Each check runs in a process of its own, as the program does: Qt reads the environment once.
namespace lumivert {
namespace {

using Environment = std::vector<std::pair<const char*, const char*>>;

const Environment german{{"LC_ALL", "de_DE.UTF-8"}};

/// A folder of the locales that the tests run in, made once in the build tree; nothing where they
/// cannot be made.
std::optional<std::string> locales() {
    const std::filesystem::path folder = LUMIVERT_TEST_LOCALES;
    std::filesystem::create_directories(folder);
    for (const auto& [name, charset] :
         std::vector<std::pair<std::string, std::string>>{{"de_DE", "UTF-8"},
                                                          {"es_ES", "UTF-8"},
                                                          {"fr_FR", "UTF-8"},
                                                          {"it_IT", "UTF-8"},
                                                          {"ja_JP", "UTF-8"},
                                                          {"pt_BR", "UTF-8"},
                                                          {"ca_ES", "UTF-8"},
                                                          {"ru_RU", "UTF-8"},
                                                          {"zh_CN", "UTF-8"},
                                                          {"de_DE", "ISO-8859-1"},
                                                          {"ja_JP", "EUC-JP"}}) {
        const std::string file = folder / (name + '.' + charset);
        if (std::filesystem::exists(file))
            continue;
        const auto made =
            runProcess("/usr/bin/localedef", {"-i", name, "-f", charset, file + ".new"});
        if (!std::holds_alternative<ProcessOutcome>(made) ||
            !std::filesystem::exists(file + ".new"))
            return std::nullopt;
        std::filesystem::rename(file + ".new", file);
    }
    return folder;
}

void setUserEnvironment(const std::string& localeFolder, const Environment& variables) {
    for (const char* name :
         {"LC_ALL", "LC_MESSAGES", "LC_CTYPE", "LC_TIME", "LC_NUMERIC", "LANG", "LANGUAGE"})
        ::unsetenv(name);
    ::setenv("LOCPATH", localeFolder.c_str(), 1);
    for (const auto& [name, value] : variables)
        ::setenv(name, value, 1);
}

std::string shell(const std::string& command) {
    return std::get<ProcessOutcome>(runProcess("/bin/zsh", {"-c", command})).output;
}

/// The outcome of expectations that failed in a forked child, said there.
template <class Check>
int failuresInChild(Check check) {
    return inChild([&] {
        check();
        std::fflush(nullptr);
        return testing::Test::HasFailure() ? 1 : 0;
    });
}

class LanguageTest : public testing::Test {
protected:
    void SetUp() override {
        folder = locales();
        if (!folder)
            GTEST_SKIP() << "localedef cannot make the locales (Debian package locales)";
    }

    std::optional<std::string> folder;
};

TEST_F(LanguageTest, letsThePrintSystemsToolsSpeakEnglishInUtf8) {
    PrivateScheduler scheduler;
    scheduler.addQueue("Photo_A3");
    scheduler.addQueue("Studio_B");
    scheduler.setDefaultQueue("Studio_B");
    const SchedulerEnvironment environment(scheduler);

    // Without it, the tools speak the user's language, or no UTF-8.
    EXPECT_EQ(failuresInChild([&] {
                  setUserEnvironment(*folder, german);
                  EXPECT_THAT(shell("lpstat -p"), testing::StartsWith("Drucker Photo_A3"));
              }),
              0);

    for (const Environment& variables :
         std::vector<Environment>{german,
                                  {{"LANG", "es_ES.UTF-8"}},
                                  {{"LC_MESSAGES", "fr_FR.UTF-8"}, {"LC_TIME", "fr_FR.UTF-8"}},
                                  {{"LANG", "it_IT.UTF-8"}, {"LANGUAGE", "it:de"}},
                                  {{"LC_ALL", "ja_JP.UTF-8"}, {"LANG", "C"}},
                                  {{"LANG", "pt_BR.UTF-8"}, {"LC_TIME", "ja_JP.EUC-JP"}},
                                  {{"LC_ALL", "ca_ES.UTF-8"}},
                                  {{"LC_ALL", "ru_RU.UTF-8"}, {"LC_CTYPE", "de_DE.ISO-8859-1"}},
                                  {{"LANG", "zh_CN.UTF-8"}, {"LC_MESSAGES", "zh_CN.UTF-8"}},
                                  {{"LC_ALL", "de_DE.ISO-8859-1"}},
                                  {{"LC_CTYPE", "ja_JP.EUC-JP"}, {"LANG", "ja_JP.EUC-JP"}},
                                  {{"LC_ALL", "is_IS.UTF-8"}},
                                  {{"LANGUAGE", "de"}},
                                  {}})
        EXPECT_EQ(failuresInChild([&] {
                      setUserEnvironment(*folder, variables);
                      SCOPED_TRACE(variables.empty() ? "" : variables.front().second);
                      const Language language;
                      fakes::FakePlatform fakes;
                      PrintManager manager(
                          {runProcess, fakes.files, fakes.preferences, fakes.platform.decodeImage,
                           fakes.platform.colorSpaceFromProfile, fakes.platform.writePdf,
                           fakes.dispatcher, fakes.platform.openFile, fakes.platform.randomUuid,
                           fakes.platform.writeLine});
                      const std::vector<Printer> found = manager.availablePrinters;
                      EXPECT_THAT(found, testing::ElementsAre(Printer{"Photo_A3", "Photo_A3"},
                                                              Printer{"Studio_B", "Studio_B"}));
                      EXPECT_EQ(manager.availablePaperSizes->size(), 4U);
                      EXPECT_EQ(manager.selectedPrinterID.get(), "Photo_A3");
                      EXPECT_EQ(shell("lpstat -d"), "system default destination: Studio_B\n");
                      EXPECT_EQ(shell("lp -d Büro /dev/null"),
                                "lp: Error - The printer or class does not exist.\n");
                  }),
                  0);
}

TEST_F(LanguageTest, leavesTheProgramsOwnTextsAndNumbersToTheUser) {
    EXPECT_EQ(failuresInChild([&] {
                  setUserEnvironment(*folder, {{"LC_ALL", "de_DE.UTF-8"}, {"LANGUAGE", "fr:de"}});
                  const Language language;
                  int count = 1;
                  std::string name = "program";
                  char* words[] = {name.data(), nullptr};
                  const QGuiApplication application(count, words);
                  language.keepForTexts();
                  EXPECT_EQ(QLocale::system().language(), QLocale::French)
                      << "LANGUAGE comes first";
                  EXPECT_EQ(QLocale().decimalPoint(), QStringLiteral(","));
                  EXPECT_TRUE(QLocale::system().uiLanguages().value(0).startsWith("fr"));
                  EXPECT_STREQ(std::setlocale(LC_MESSAGES, nullptr), "de_DE.UTF-8");
                  EXPECT_STREQ(std::setlocale(LC_CTYPE, nullptr), "de_DE.UTF-8");
                  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
                  EXPECT_STREQ(std::getenv("LC_ALL"), "C.UTF-8");
              }),
              0);
}

TEST_F(LanguageTest, worksInUtf8WhereTheUserDoesNot) {
    EXPECT_EQ(failuresInChild([&] {
                  setUserEnvironment(*folder, {{"LC_ALL", "de_DE.ISO-8859-1"}});
                  const Language language;
                  int count = 1;
                  std::string name = "program";
                  char* words[] = {name.data(), nullptr};
                  const QGuiApplication application(count, words);
                  language.keepForTexts();
                  EXPECT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C.UTF-8");
                  EXPECT_STREQ(std::setlocale(LC_MESSAGES, nullptr), "de_DE.ISO-8859-1");
              }),
              0);
}

} // namespace
} // namespace lumivert
