#include "platform/system/SealedMemory.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace lumivert {
namespace {

TEST(SealedMemory, holdsWhatAFileHeldAndChangesNoMore) {
    const TemporaryFolder folder;
    const std::string path = folder.write("photo", "the bytes");
    const auto memory = sealedCopyOfFile(path);
    ASSERT_TRUE(memory);
    folder.write("photo", "others");
    const auto bytes = mapSealed(memory->get(), 9);
    ASSERT_TRUE(bytes);
    EXPECT_TRUE(std::ranges::equal(bytes->view, std::as_bytes(std::span("the bytes", 9))));
    EXPECT_EQ(::write(memory->get(), "x", 1), -1);
    EXPECT_EQ(::ftruncate(memory->get(), 3), -1);
    EXPECT_EQ(::ftruncate(memory->get(), 100), -1);
}

TEST(SealedMemory, isNotLookedAtUnlessSealedAndAsLongAsExpected) {
    auto memory = memoryFile(10);
    ASSERT_TRUE(memory);
    EXPECT_FALSE(mapSealed(memory->get()));
    ASSERT_TRUE(seal(memory->get()));
    EXPECT_TRUE(mapSealed(memory->get()));
    EXPECT_TRUE(mapSealed(memory->get(), 10));
    EXPECT_FALSE(mapSealed(memory->get(), 9));
    EXPECT_FALSE(mapSealed(memory->get(), 11));
}

TEST(SealedMemory, isNotMadeOfWhatIsNoFileOrEmpty) {
    const TemporaryFolder folder;
    EXPECT_FALSE(sealedCopyOfFile(folder / "absent"));
    EXPECT_FALSE(sealedCopyOfFile(folder.path()));
    EXPECT_FALSE(sealedCopyOfFile(folder.write("empty", "")));
    EXPECT_FALSE(sealedCopyOfFile("/dev/zero"));
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(sealedCopyOfFile(folder / "pipe")); // and no writer is waited for
}

} // namespace
} // namespace lumivert
