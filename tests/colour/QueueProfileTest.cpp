#include "colour/ColorProfiles.h"
#include "colour/Matchers.h"
#include "colour/PaperChain.h"
#include "colour/PatchPhoto.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

// What docs/colour.md says about queues.
TEST(QueueWithAProfile, convertsPlainNumbersUntilItIsSetToCalibrate) {
    PaperChain& chain = PaperChain::shared();
    chain.addQueueWithProfile("own", matrixPaperProfile());
    const PatchPhoto photo = writePatchPhoto(chain.folder(), {.name = "own.png"});
    const std::string profile = tablePaperProfile();
    const auto expected =
        convertedByLittleCms(photo.colors, srgbProfile(), profile, RenderingIntent::relative);
    const PaperChain::Job job{.photo = photo.path,
                              .profile = profile,
                              .intent = RenderingIntent::relative,
                              .queue = "own"};

    EXPECT_FALSE(areWithin(10, patchesOf(chain.print(job)), expected));

    chain.setLpOption("own", "cm-calibration=true");
    EXPECT_TRUE(areWithin(1, patchesOf(chain.print(job)), expected));
}

} // namespace
} // namespace lumivert
