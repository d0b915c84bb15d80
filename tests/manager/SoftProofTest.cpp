#include "manager/SoftProof.h"

#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "manager/Properties.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace lumivert {
namespace {

std::shared_ptr<const ScreenRendition> proofOf(int level) {
    return std::make_shared<ScreenRendition>(fakes::FakeImage::plain({4, 4}, level));
}

class PreviewRendition : public testing::Test {
protected:
    PreviewRendition() {
        world.files.files["/a.icc"] = "profile a";
        world.files.files["/b.icc"] = "profile b";
        world.files.files["/input.icc"] = "input profile";
        world.files.files["/broken.icc"] = "no such thing";
        manager.emplace(world.platform);
        std::vector<ICCProfile> profiles{printerManagedProfile()};
        for (const char* path : {"/a.icc", "/b.icc", "/input.icc", "/broken.icc", "/missing.icc"})
            profiles.push_back({path, path, path, true});
        m().availableICCProfiles = profiles;
        m().image = photo;
    }

    PrintManager& m() { return *manager; }
    bool isPlain(const std::shared_ptr<fakes::FakeImage>& of) {
        return m().previewRendition().get() == &of->screenRendition();
    }
    // The decoder is done with a proof; nothing has reached the main thread yet.
    void complete(std::size_t index, std::shared_ptr<const ScreenRendition> proof,
                  const std::shared_ptr<fakes::FakeImage>& of) {
        const auto completion = std::move(of->proofs.at(index).completion);
        completion(std::move(proof));
    }

    fakes::FakePlatform world;
    std::shared_ptr<fakes::FakeImage> photo = std::make_shared<fakes::FakeImage>(PixelSize{30, 20});
    std::shared_ptr<fakes::FakeImage> other = std::make_shared<fakes::FakeImage>(PixelSize{20, 30});
    std::optional<PrintManager> manager;
};

TEST_F(PreviewRendition, isNothingWithoutAPhoto) {
    m().image = nullptr;
    EXPECT_EQ(m().previewRendition(), nullptr);
    m().selectedICCProfileID = "/a.icc";
    EXPECT_EQ(m().previewRendition(), nullptr);
}

TEST_F(PreviewRendition, isPlainWhileThePrinterManagesColour) {
    EXPECT_TRUE(isPlain(photo));
    EXPECT_TRUE(photo->proofs.empty());
    m().selectedICCProfileID = "/gone.icc";
    EXPECT_TRUE(isPlain(photo));
    EXPECT_TRUE(photo->proofs.empty());
}

TEST_F(PreviewRendition, keepsThePhotoAlive) {
    const auto rendition = m().previewRendition();
    const std::weak_ptr<fakes::FakeImage> weak = photo;
    photo.reset();
    m().image = nullptr;
    EXPECT_FALSE(weak.expired());
    EXPECT_EQ(rendition->size.width, 64);
}

TEST_F(PreviewRendition, isTheProofOnceItArrivesAndThatIsAnnouncedOnce) {
    m().selectedICCProfileID = "/a.icc";
    m().renderingIntent = RenderingIntent::relative;
    EXPECT_TRUE(isPlain(photo)) << "until then";
    ASSERT_EQ(photo->proofs.size(), 1U);
    EXPECT_EQ(photo->proofs[0].target.intent, RenderingIntent::relative);
    const auto bytes = photo->proofs[0].target.space->profile.view;
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), "profile a");

    const AssignmentLog log(m());
    const auto proof = proofOf(10);
    complete(0, proof, photo);
    EXPECT_EQ(log.notifications, 0) << "the completion may run on any thread";
    EXPECT_TRUE(isPlain(photo));
    world.dispatcher.runMain();
    EXPECT_EQ(log.notifications, 1);
    EXPECT_TRUE(log.names.empty());
    EXPECT_EQ(m().previewRendition(), proof);
    EXPECT_EQ(m().previewRendition(), proof);
    EXPECT_EQ(photo->proofs.size(), 1U);
}

TEST_F(PreviewRendition, startsOneProofForEachChange) {
    m().selectedICCProfileID = "/a.icc";
    for (int i = 0; i < 3; ++i)
        (void)m().previewRendition();
    EXPECT_EQ(photo->proofs.size(), 1U);
    m().margins = {.top = 9, .bottom = 9, .left = 9, .right = 9};
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    EXPECT_EQ(photo->proofs.size(), 1U) << "nothing that a proof depends on has changed";

    m().renderingIntent = RenderingIntent::absolute;
    (void)m().previewRendition();
    EXPECT_EQ(photo->proofs.size(), 2U);
    m().selectedICCProfileID = "/b.icc";
    (void)m().previewRendition();
    EXPECT_EQ(photo->proofs.size(), 3U);
    m().image = other;
    (void)m().previewRendition();
    EXPECT_EQ(photo->proofs.size(), 3U);
    EXPECT_EQ(other->proofs.size(), 1U);
}

TEST_F(PreviewRendition, readsTheProfileOnceForEachChange) {
    m().selectedICCProfileID = "/a.icc";
    const auto before = world.files.reads.size();
    for (int i = 0; i < 3; ++i)
        (void)m().previewRendition();
    EXPECT_EQ(world.files.reads.size(), before + 1);
}

TEST_F(PreviewRendition, dropsAProofThatComesTooLate) {
    const auto late = proofOf(10);
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    m().selectedICCProfileID = "/b.icc";
    (void)m().previewRendition();
    const AssignmentLog log(m());
    complete(0, late, photo);
    world.dispatcher.runMain();
    EXPECT_EQ(log.notifications, 0);
    EXPECT_TRUE(isPlain(photo));

    const auto wanted = proofOf(20);
    complete(1, wanted, photo);
    world.dispatcher.runMain();
    EXPECT_EQ(m().previewRendition(), wanted);
}

TEST_F(PreviewRendition, dropsAProofOvertakenOnItsWayToTheMainThread) {
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    complete(0, proofOf(10), photo);
    m().image = other;
    EXPECT_TRUE(isPlain(other));
    const AssignmentLog log(m());
    world.dispatcher.runMain();
    EXPECT_EQ(log.notifications, 0);
    EXPECT_TRUE(isPlain(other));
}

TEST_F(PreviewRendition, dropsAProofWhenThePrinterManagesColourAgain) {
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    m().selectedICCProfileID = "printer_managed";
    EXPECT_TRUE(isPlain(photo));
    const AssignmentLog log(m());
    complete(0, proofOf(10), photo);
    world.dispatcher.runMain();
    EXPECT_EQ(log.notifications, 0);
    EXPECT_TRUE(isPlain(photo));
    m().selectedICCProfileID = "/a.icc";
    EXPECT_TRUE(isPlain(photo));
    EXPECT_EQ(photo->proofs.size(), 2U) << "it is made anew";
}

TEST_F(PreviewRendition, goesPlainWhileTheNextProofIsMade) {
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    complete(0, proofOf(10), photo);
    world.dispatcher.runMain();
    EXPECT_FALSE(isPlain(photo));
    m().renderingIntent = RenderingIntent::saturation;
    EXPECT_TRUE(isPlain(photo)) << "the old proof would show the wrong intent";
}

TEST_F(PreviewRendition, staysPlainWhenNoProofCanBeMade) {
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    const AssignmentLog log(m());
    complete(0, nullptr, photo);
    world.dispatcher.runMain();
    EXPECT_EQ(log.notifications, 0);
    EXPECT_TRUE(isPlain(photo));
    EXPECT_EQ(photo->proofs.size(), 1U) << "it is not tried again and again";
}

TEST_F(PreviewRendition, staysPlainWithAProfileThatIsNoDestination) {
    for (const char* profile : {"/input.icc", "/broken.icc", "/missing.icc"}) {
        m().selectedICCProfileID = profile;
        EXPECT_TRUE(isPlain(photo)) << profile;
        EXPECT_TRUE(isPlain(photo)) << profile;
        EXPECT_TRUE(photo->proofs.empty()) << profile;
    }
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    EXPECT_EQ(photo->proofs.size(), 1U);
}

TEST_F(PreviewRendition, survivesAManagerDestroyedWithAProofPending) {
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    complete(0, proofOf(10), photo);
    manager.reset();
    world.dispatcher.runMain(); // the step finds nothing

    manager.emplace(world.platform);
    m().availableICCProfiles = {{"/a.icc", "a", "/a.icc", true}};
    m().selectedICCProfileID = "/a.icc";
    m().image = other;
    (void)m().previewRendition();
    manager.reset();
    complete(0, proofOf(20), other); // and so does a decoder that is done later
    world.dispatcher.runMain();
}

TEST_F(PreviewRendition, survivesAnObserverThatDestroysTheManagerAtTheArrival) {
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    complete(0, proofOf(10), photo);
    const auto subscription = m().subscribe([&] { manager.reset(); });
    world.dispatcher.runMain();
    EXPECT_FALSE(manager.has_value());
}

TEST_F(PreviewRendition, doesNotKeepAReplacedPhotoWhoseProofIsStillBeingMade) {
    m().selectedICCProfileID = "/a.icc";
    (void)m().previewRendition();
    const auto pending = std::move(photo->proofs.at(0).completion); // the decoder's, at work
    const std::weak_ptr<fakes::FakeImage> weak = photo;
    photo.reset();
    m().image = other;
    (void)m().previewRendition();
    EXPECT_TRUE(weak.expired());
    pending(proofOf(10));
    world.dispatcher.runMain();
    EXPECT_TRUE(isPlain(other));
}

} // namespace
} // namespace lumivert
