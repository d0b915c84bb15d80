#include "app/updates/UpdateDialog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace lumivert {
namespace {

using testing::HasSubstr;

TEST(UpdateTexts, checkingShowsProgressAndCanBeCancelled) {
    const auto busy = updateContent(UpdateChecking{});
    EXPECT_EQ(busy.headline, "Checking for updates…");
    ASSERT_TRUE(busy.progress);
    EXPECT_EQ(busy.progress->percent, std::nullopt);
    EXPECT_EQ(busy.dismissLabel, "Cancel");
    EXPECT_FALSE(busy.offersInstall);
    EXPECT_EQ(updateContent(UpdateChecking{{UpdateActivity::working, 40}}).progress->percent, 40);
}

TEST(UpdateTexts, saysWhatItWaitsFor) {
    EXPECT_EQ(updateContent(UpdateChecking{{UpdateActivity::waitingForOthers, {}}}).text,
              "Waiting until other software has been installed.");
    EXPECT_EQ(
        updateContent(UpdateInstalling{"1.1", {UpdateActivity::waitingForPermission, {}}}).text,
        "Waiting for permission.");
    EXPECT_EQ(updateContent(UpdateChecking{}).text, "");
}

TEST(UpdateTexts, namesTheVersionThatIsUpToDate) {
    const auto content = updateContent(UpdateNotNeeded{"1.0"});
    EXPECT_EQ(content.headline, "Lumivert is up to date");
    EXPECT_THAT(content.text, HasSubstr("Version 1.0"));
    EXPECT_EQ(content.dismissLabel, "Close");
    EXPECT_FALSE(content.progress);
}

TEST(UpdateTexts, offersTheFoundVersionWithWhatItChanges) {
    const auto content = updateContent(AvailableUpdate{"id", "1.0", "1.1", "Finer margins."});
    EXPECT_EQ(content.headline, "Lumivert 1.1 is available");
    EXPECT_EQ(content.text, "You have version 1.0.");
    EXPECT_EQ(content.notesLabel, "What changes");
    EXPECT_EQ(content.notes, "Finer margins.");
    EXPECT_TRUE(content.offersInstall);
    EXPECT_EQ(content.dismissLabel, "Later");
}

TEST(UpdateTexts, installingGoesOnWhenItIsHidden) {
    const auto content = updateContent(UpdateInstalling{"1.1", {UpdateActivity::working, 80}});
    EXPECT_EQ(content.headline, "Installing Lumivert 1.1…");
    ASSERT_TRUE(content.progress);
    EXPECT_EQ(content.progress->percent, 80);
    EXPECT_EQ(content.dismissLabel, "Hide");
}

TEST(UpdateTexts, asksForARestartInTheEnd) {
    const auto content = updateContent(UpdateInstalled{"1.1"});
    EXPECT_EQ(content.headline, "Lumivert 1.1 is installed");
    EXPECT_EQ(content.text, "Restart Lumivert to use it.");
}

TEST(UpdateTexts, givesEachReasonInWordsOfItsOwn) {
    std::set<std::string> texts;
    const auto text = [](UpdateProblem problem, bool installing = false) {
        return updateContent(UpdateFailed{problem, {}, installing}).text;
    };
    for (const UpdateProblem problem :
         {UpdateProblem::noNetwork, UpdateProblem::notAuthorized, UpdateProblem::noService,
          UpdateProblem::serviceLost, UpdateProblem::notFromRepository,
          UpdateProblem::sourcesUnreadable, UpdateProblem::untrusted, UpdateProblem::noSpace,
          UpdateProblem::busy, UpdateProblem::interrupted, UpdateProblem::other})
        EXPECT_TRUE(texts.insert(text(problem)).second) << text(problem);
    EXPECT_EQ(text(UpdateProblem::noNetwork), "There is no network connection.");
    EXPECT_THAT(text(UpdateProblem::notFromRepository),
                HasSubstr("This copy of Lumivert was not installed from a package repository."));
    EXPECT_THAT(text(UpdateProblem::noService), HasSubstr("no PackageKit service"));
    EXPECT_THAT(text(UpdateProblem::notAuthorized), HasSubstr("not allowed to look for"));
    EXPECT_THAT(text(UpdateProblem::notAuthorized, true), HasSubstr("not allowed to install"));
}

TEST(UpdateTexts, tellsWhichOfTheTwoFailedAndTheServicesOwnWords) {
    UpdateFailed failure{UpdateProblem::other, "E: dpkg was interrupted"};
    EXPECT_EQ(updateContent(failure).headline, "Lumivert could not check for updates");
    failure.installing = true;
    const auto content = updateContent(failure);
    EXPECT_EQ(content.headline, "The update could not be installed");
    EXPECT_EQ(content.notesLabel, "Details");
    EXPECT_EQ(content.notes, "E: dpkg was interrupted");
    EXPECT_FALSE(content.offersInstall);
}

} // namespace
} // namespace lumivert
