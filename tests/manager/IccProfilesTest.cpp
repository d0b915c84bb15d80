#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "manager/Properties.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lumivert {
namespace {

using Strings = std::vector<std::string>;

class IccProfiles : public testing::Test {
protected:
    // The names found for files in one folder, without the built-in entry.
    Strings names(const Strings& files) {
        world.files.folders["/Library/Printers"] = files;
        PrintManager m(world.platform);
        m.loadICCProfiles();
        Strings result;
        for (const ICCProfile& profile : m.availableICCProfiles.get())
            result.push_back(profile.name);
        EXPECT_EQ(result.front(), "Printer Managed (standard)");
        result.erase(result.begin());
        return result;
    }

    fakes::FakePlatform world;
};

TEST_F(IccProfiles, areThePrinterManagedEntryAloneWithoutAnyFolder) {
    PrintManager m(world.platform);
    m.loadICCProfiles();
    EXPECT_EQ(m.availableICCProfiles.get(), std::vector{printerManagedProfile()});
}

TEST_F(IccProfiles, areLookedForInTheFoldersInOrder) {
    PrintManager m(world.platform);
    m.loadICCProfiles();
    EXPECT_EQ(world.files.enumerated,
              (Strings{"/Library/ColorSync/Profiles", "/home/ada/Library/ColorSync/Profiles",
                       "/Library/Printers", "/home/ada/.local/share/icc",
                       "/home/ada/.local/share/color/icc", "/home/ada/.color/icc",
                       "/var/lib/colord/icc", "/var/lib/color/icc", "/usr/local/share/color/icc",
                       "/usr/share/color/icc", "/usr/share/cups/profiles"}));
}

TEST_F(IccProfiles, keepTheFoldersOrderAndWithinItTheDisks) {
    world.files.folders["/Library/Printers"] = {
        "z.icc", "Vendor", "Vendor/deep", "readme.txt", "Vendor/deep/er/b.icm", "a.ICC"};
    world.files.folders["/Library/ColorSync/Profiles"] = {"m.icc"};
    world.files.folders["/home/ada/Library/ColorSync/Profiles"] = {"m.icc"};
    world.files.folders["/usr/share/color/icc"] = {"colord/sRGB.icc"};
    PrintManager m(world.platform);
    m.loadICCProfiles();
    const std::vector<std::pair<std::string, std::string>> expected{
        {"m", "/Library/ColorSync/Profiles/m.icc"},
        {"m", "/home/ada/Library/ColorSync/Profiles/m.icc"},
        {"z", "/Library/Printers/z.icc"},
        {"b", "/Library/Printers/Vendor/deep/er/b.icm"},
        {"a", "/Library/Printers/a.ICC"},
        {"sRGB", "/usr/share/color/icc/colord/sRGB.icc"}};
    const auto& found = m.availableICCProfiles.get();
    ASSERT_EQ(found.size(), expected.size() + 1);
    EXPECT_EQ(found[0], printerManagedProfile());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto& [name, path] = expected[i];
        EXPECT_EQ(found[i + 1], (ICCProfile{path, name, path, true}));
    }
}

TEST_F(IccProfiles, areKnownByTheirExtensionInAnyCase) {
    EXPECT_EQ(names({"a.icc", "b.icm", "c.ICC", "d.ICM", "e.Icc", "f.iCm", "g.txt", "h.icc.txt",
                     "i.icc ", "jicc", "k.ic", "l.icc/x", "m"}),
              (Strings{"a", "b", "c", "d.ICM", "e.Icc", "f.iCm"}));
}

TEST_F(IccProfiles, loseOnlyThreeFormsOfTheExtensionButThoseAnywhere) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"Photo Satin.icc", "Photo Satin"},
        {"Gloss.ICC", "Gloss"},
        {"Matte.ICM", "Matte.ICM"},
        {"old.icc.icm", "old"},
        {"a.icm.icc", "a"},
        {"a.ICC.icc.ICC", "a"},
        {"a.iccurate.icc", "aurate"},
        {"x.ICM.icc", "x.ICM"},
        {".icc", ""},
        {".ic.iccc.icm", ".icc"}, // one pass for each form
        {".i.icmcc.icc", ".icc"},
        {".I.iccCC.icm", ""}, // a later form sees what an earlier one left
        {"v1.icc/deep.icc/name.icc", "name"},
        {"Vendor.ICM/p.icm", "p"},
        {"å.b.icc", "å.b"},
    };
    for (const auto& [file, name] : cases)
        EXPECT_EQ(names({file}), Strings{name}) << file;
}

TEST_F(IccProfiles, listAFolderThatIsNamedLikeOne) {
    EXPECT_EQ(names({"folder.icc", "folder.icc/a.icm", "folder.icc/b.txt"}),
              (Strings{"folder", "a"}));
}

TEST_F(IccProfiles, areListedOnceForOnePath) {
    EXPECT_EQ(names({"a.icc", "sub/a.icc", "a.icc"}), (Strings{"a", "a"}));
}

TEST_F(IccProfiles, areListedOnceThoughTheirFolderIsNamedTwice) {
    world.files.data = {"/home/ada/.local/share", "/usr/share", "/usr/share"};
    world.files.folders["/usr/share/color/icc"] = {"a.icc"};
    PrintManager m(world.platform);
    m.loadICCProfiles();
    EXPECT_EQ(m.availableICCProfiles->size(), 2U);
}

TEST_F(IccProfiles, lieBelowTheHomeFolderAsItIsWritten) {
    world.files.home = "/home/ada/";
    PrintManager m(world.platform);
    m.loadICCProfiles();
    EXPECT_EQ(world.files.enumerated.at(1), "/home/ada//Library/ColorSync/Profiles");
}

TEST_F(IccProfiles, endTheirFolderAtANameThatIsNoText) {
    for (const char* name : {"caf\xe9.icc", "caf\xe9.txt", "caf\xe9"}) {
        world.files.folders["/usr/share/color/icc"] = {"c.icc"};
        EXPECT_EQ(names({"a.icc", name, "b.icc"}), (Strings{"a", "c"})) << name;
    }
}

TEST_F(IccProfiles, canAllBeKeptInAPreset) {
    world.files.folders["/Library/Printers"] = {"å.icc", "caf\xe9.icc"};
    PrintManager m(world.platform);
    m.loadICCProfiles();
    for (const ICCProfile& profile : m.availableICCProfiles.get()) {
        m.selectedICCProfileID = profile.id;
        m.savePreset("P");
    }
    PrintManager later(world.platform);
    EXPECT_EQ(later.presets.get(), m.presets.get());
    EXPECT_EQ(later.presets->size(), 2U);
}

TEST_F(IccProfiles, doNotPileUp) {
    world.files.folders["/Library/Printers"] = {"a.icc"};
    PrintManager m(world.platform);
    m.loadICCProfiles();
    const auto first = m.availableICCProfiles.get();
    m.loadICCProfiles();
    EXPECT_EQ(m.availableICCProfiles.get(), first);
    EXPECT_EQ(first.size(), 2U);
    world.files.folders.clear();
    m.loadICCProfiles();
    EXPECT_EQ(m.availableICCProfiles->size(), 1U);
}

TEST_F(IccProfiles, areSetInOneAssignmentWithoutTouchingTheSelection) {
    world.files.folders["/Library/Printers"] = {"a.icc", "b.icc"};
    PrintManager m(world.platform);
    m.selectedICCProfileID = "/gone.icc";
    AssignmentLog log(m);
    m.loadICCProfiles();
    EXPECT_EQ(log.names, Strings{"availableICCProfiles"});
    EXPECT_EQ(m.selectedICCProfileID.get(), "/gone.icc");
}

TEST_F(IccProfiles, areNotOpened) {
    world.files.folders["/Library/Printers"] = {"a.icc"};
    PrintManager m(world.platform);
    const auto reads = world.files.reads.size();
    m.loadICCProfiles();
    EXPECT_EQ(world.files.reads.size(), reads);
}

} // namespace
} // namespace lumivert
