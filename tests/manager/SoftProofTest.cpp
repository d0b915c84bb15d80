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
        world.files.files["/lost.icc"] = "lost profile";
        world.files.files["/broken.icc"] = "no such thing";
        manager.emplace(world.platform);
        std::vector<ICCProfile> profiles{printerManagedProfile()};
        for (const char* path :
             {"/a.icc", "/b.icc", "/input.icc", "/lost.icc", "/broken.icc", "/missing.icc"})
            profiles.push_back({path, path, path, true});
        m().availableICCProfiles = profiles;
        m().image = photo;
        turn();
    }

    /// The event loop comes round.
    void turn() { world.dispatcher.runMain(); }
    void choose(const std::string& profile, RenderingIntent intent = RenderingIntent::perceptual) {
        m().selectedICCProfileID = profile;
        m().renderingIntent = intent;
        turn();
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
    /// The same, and it has reached the main thread.
    void finish(std::size_t index, std::shared_ptr<const ScreenRendition> proof) {
        complete(index, std::move(proof), photo);
        turn();
    }

    fakes::FakePlatform world;
    std::shared_ptr<fakes::FakeImage> photo = std::make_shared<fakes::FakeImage>(PixelSize{30, 20});
    std::shared_ptr<fakes::FakeImage> other = std::make_shared<fakes::FakeImage>(PixelSize{20, 30});
    std::optional<PrintManager> manager;
};

TEST_F(PreviewRendition, isNothingWithoutAPhoto) {
    m().image = nullptr;
    EXPECT_EQ(m().previewRendition(), nullptr);
    choose("/a.icc");
    EXPECT_EQ(m().previewRendition(), nullptr);
}

TEST_F(PreviewRendition, isPlainWhileThePrinterManagesColour) {
    EXPECT_TRUE(isPlain(photo));
    EXPECT_TRUE(photo->proofs.empty());
    EXPECT_EQ(m().previewProofState(), ProofState::none);
    choose("/gone.icc");
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
    choose("/a.icc", RenderingIntent::relative);
    EXPECT_TRUE(isPlain(photo)) << "until then";
    EXPECT_EQ(m().previewProofState(), ProofState::inWork);
    ASSERT_EQ(photo->proofs.size(), 1U);
    EXPECT_EQ(photo->proofs[0].target.intent, RenderingIntent::relative);
    const auto bytes = photo->proofs[0].target.space->profile.view;
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), "profile a");

    const AssignmentLog log(m());
    const auto proof = proofOf(10);
    complete(0, proof, photo);
    EXPECT_EQ(log.notifications, 0) << "the completion may run on any thread";
    EXPECT_TRUE(isPlain(photo));
    turn();
    EXPECT_EQ(log.notifications, 1);
    EXPECT_TRUE(log.names.empty());
    EXPECT_EQ(m().previewRendition(), proof);
    EXPECT_EQ(m().previewProofState(), ProofState::shown);
    EXPECT_EQ(photo->proofs.size(), 1U);
}

TEST_F(PreviewRendition, startsOneProofForAllThatChangesInOneTurn) {
    m().selectedICCProfileID = "/b.icc";
    m().renderingIntent = RenderingIntent::saturation;
    m().savePreset("one");
    m().selectedICCProfileID = "/a.icc";
    m().renderingIntent = RenderingIntent::absolute;
    m().applyPreset(m().presets->front());
    EXPECT_TRUE(photo->proofs.empty()) << "not before the turn ends";
    turn();
    ASSERT_EQ(photo->proofs.size(), 1U);
    EXPECT_EQ(photo->proofs[0].target.intent, RenderingIntent::saturation);
}

TEST_F(PreviewRendition, startsNoProofByBeingRead) {
    m().selectedICCProfileID = "/a.icc";
    const auto reads = world.files.reads.size();
    for (int i = 0; i < 3; ++i)
        (void)m().previewRendition();
    EXPECT_TRUE(photo->proofs.empty());
    EXPECT_EQ(world.files.reads.size(), reads);
}

TEST_F(PreviewRendition, startsOneProofForEachChange) {
    choose("/a.icc");
    EXPECT_EQ(photo->proofs.size(), 1U);
    m().margins = {.top = 9, .bottom = 9, .left = 9, .right = 9};
    choose("/a.icc");
    m().loadICCProfiles();
    m().availableICCProfiles = {{"/a.icc", "a", "/a.icc", true}, {"/b.icc", "b", "/b.icc", true}};
    turn();
    EXPECT_EQ(photo->proofs.size(), 1U) << "nothing that a proof depends on has changed";

    choose("/a.icc", RenderingIntent::absolute);
    EXPECT_EQ(photo->proofs.size(), 2U);
    choose("/b.icc", RenderingIntent::absolute);
    EXPECT_EQ(photo->proofs.size(), 3U);
    m().image = other;
    turn();
    EXPECT_EQ(photo->proofs.size(), 3U);
    EXPECT_EQ(other->proofs.size(), 1U);
}

TEST_F(PreviewRendition, followsTheContentsOfTheProfilesFile) {
    choose("/a.icc");
    finish(0, proofOf(10));
    world.files.files["/a.icc"] = "profile c";
    m().renderingIntent = m().renderingIntent.get();
    turn();
    ASSERT_EQ(photo->proofs.size(), 2U);
    const auto bytes = photo->proofs[1].target.space->profile.view;
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), "profile c");
    const auto proof = proofOf(20);
    finish(1, proof);
    EXPECT_EQ(m().previewRendition(), proof);
}

TEST_F(PreviewRendition, keepsTheLastPictureWhileTheNextProofIsMade) {
    choose("/a.icc");
    const auto first = proofOf(10);
    finish(0, first);
    choose("/a.icc", RenderingIntent::saturation);
    EXPECT_EQ(m().previewRendition(), first);
    EXPECT_EQ(m().previewProofState(), ProofState::inWork);
    const auto second = proofOf(20);
    finish(1, second);
    EXPECT_EQ(m().previewRendition(), second);
}

TEST_F(PreviewRendition, showsANewPhotoAtOnce) {
    choose("/a.icc");
    finish(0, proofOf(10));
    m().image = other;
    EXPECT_TRUE(isPlain(other)) << "also before the turn ends";
    turn();
    EXPECT_TRUE(isPlain(other));
}

TEST_F(PreviewRendition, showsTheOneOfTwoProofsAtOnceThatWasSeenBefore) {
    const auto perceptual = proofOf(10);
    const auto relative = proofOf(20);
    choose("/a.icc");
    finish(0, perceptual);
    choose("/a.icc", RenderingIntent::relative);
    finish(1, relative);
    for (int i = 0; i < 2; ++i) {
        choose("/a.icc", RenderingIntent::perceptual);
        EXPECT_EQ(m().previewRendition(), perceptual);
        EXPECT_EQ(m().previewProofState(), ProofState::shown);
        choose("/a.icc", RenderingIntent::relative);
        EXPECT_EQ(m().previewRendition(), relative);
    }
    EXPECT_EQ(photo->proofs.size(), 2U);
    choose("printer_managed");
    EXPECT_TRUE(isPlain(photo));
    choose("/a.icc", RenderingIntent::relative);
    EXPECT_EQ(m().previewRendition(), relative);

    choose("/a.icc", RenderingIntent::saturation);
    finish(2, proofOf(30));
    choose("/a.icc", RenderingIntent::perceptual);
    EXPECT_EQ(photo->proofs.size(), 4U) << "two are kept, no more";
}

TEST_F(PreviewRendition, keepsAProofThatWasOvertakenForLater) {
    choose("/a.icc");
    choose("/b.icc");
    const AssignmentLog log(m());
    const auto late = proofOf(10);
    finish(0, late);
    EXPECT_EQ(log.notifications, 0);
    EXPECT_TRUE(isPlain(photo));
    const auto wanted = proofOf(20);
    finish(1, wanted);
    EXPECT_EQ(m().previewRendition(), wanted);
    choose("/a.icc");
    EXPECT_EQ(m().previewRendition(), late);
    EXPECT_EQ(photo->proofs.size(), 2U);
}

TEST_F(PreviewRendition, dropsTheProofsOfAPhotoThatWasReplaced) {
    choose("/a.icc");
    complete(0, proofOf(10), photo);
    m().image = other;
    turn();
    EXPECT_TRUE(isPlain(other));
    m().image = photo;
    turn();
    EXPECT_TRUE(isPlain(photo));
    EXPECT_EQ(photo->proofs.size(), 2U) << "it is made anew";
}

TEST_F(PreviewRendition, isPlainWhenThePrinterManagesColourAgain) {
    choose("/a.icc");
    choose("printer_managed");
    EXPECT_EQ(m().previewProofState(), ProofState::none);
    const AssignmentLog log(m());
    finish(0, proofOf(10));
    EXPECT_EQ(log.notifications, 0);
    EXPECT_TRUE(isPlain(photo));
}

TEST_F(PreviewRendition, goesPlainWhenNoProofCanBeMade) {
    choose("/a.icc");
    finish(0, proofOf(10));
    choose("/b.icc");
    const AssignmentLog log(m());
    finish(1, nullptr);
    EXPECT_EQ(log.notifications, 1);
    EXPECT_TRUE(isPlain(photo)) << "the old proof would show the wrong profile";
    EXPECT_EQ(m().previewProofState(), ProofState::failed);
    EXPECT_EQ(photo->proofs.size(), 2U) << "it is not tried again and again";
    choose("/b.icc");
    EXPECT_EQ(photo->proofs.size(), 3U) << "but when it is chosen again";
}

TEST_F(PreviewRendition, isPlainWithAProfileThatIsNoDestination) {
    choose("/a.icc");
    finish(0, proofOf(10));
    for (const char* profile : {"/input.icc", "/lost.icc", "/broken.icc", "/missing.icc"}) {
        choose(profile);
        EXPECT_TRUE(isPlain(photo)) << profile;
        EXPECT_EQ(m().previewProofState(), ProofState::failed) << profile;
    }
    EXPECT_EQ(photo->proofs.size(), 1U);
}

TEST_F(PreviewRendition, survivesAManagerDestroyedWithAProofPending) {
    choose("/a.icc");
    complete(0, proofOf(10), photo);
    manager.reset();
    turn(); // the step finds nothing

    manager.emplace(world.platform);
    m().availableICCProfiles = {{"/a.icc", "a", "/a.icc", true}};
    m().image = other;
    choose("/a.icc");
    m().renderingIntent = RenderingIntent::absolute;
    manager.reset();
    complete(0, proofOf(20), other); // and so does a decoder that is done later
    turn();
}

TEST_F(PreviewRendition, survivesAnObserverThatDestroysTheManagerAtTheArrival) {
    choose("/a.icc");
    complete(0, proofOf(10), photo);
    const auto subscription = m().subscribe([&] { manager.reset(); });
    turn();
    EXPECT_FALSE(manager.has_value());
}

TEST_F(PreviewRendition, doesNotKeepAReplacedPhotoWhoseProofIsStillBeingMade) {
    choose("/a.icc");
    const auto pending = std::move(photo->proofs.at(0).completion); // the decoder's, at work
    const std::weak_ptr<fakes::FakeImage> weak = photo;
    photo.reset();
    m().image = other;
    turn();
    EXPECT_TRUE(weak.expired());
    pending(proofOf(10));
    turn();
    EXPECT_TRUE(isPlain(other));
}

} // namespace
} // namespace lumivert
