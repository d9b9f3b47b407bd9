#include "TessalyMTPSdk/FileWriter.h"

#include "TransferFixture.h"

#include "TessalyMTPSdk/OpenFile.h"

#include <fcntl.h>

using namespace testsupport;

namespace {

class FileWriterTest : public ::testing::Test {
protected:
  mtp::OpenFile open(const std::filesystem::path& path) {
    return mtp::OpenFile(::open(path.c_str(), O_RDWR | O_CREAT, 0600));
  }
  static mtp::Bytes bytesOf(const std::string& text) { return std::as_bytes(std::span(text)); }

  TemporaryFolder folder;
};

} // namespace

TEST_F(FileWriterTest, WritesPiecesOfAnyLengthInOrder) {
  const std::string all = pattern(9 << 20);
  for (const bool durable : {false, true}) {
    const mtp::OpenFile file = open(folder.path() / "file");
    mtp::FileWriter writer(file.get(), durable, 1 << 20);
    std::size_t size = 1;
    for (std::size_t at = 0; at < all.size(); at += size, size = size * 2 + 1) {
      ASSERT_TRUE(writer.put(bytesOf(all).subspan(at, std::min(size, all.size() - at)), {}));
    }
    EXPECT_TRUE(writer.finish({}));
    EXPECT_EQ(read(folder.path() / "file"), all);
  }
}

TEST_F(FileWriterTest, ASmallFileIsWrittenAsItComesHoweverLongItBecomes) {
  const std::string all = pattern(3 << 20);
  for (const std::size_t size : {std::size_t{0}, std::size_t{5000}, all.size()}) {
    const auto path = folder.path() / std::to_string(size);
    const mtp::OpenFile file = open(path);
    mtp::FileWriter writer(file.get(), false, 5000);
    for (std::size_t at = 0; at < size; at += 1000)
      ASSERT_TRUE(writer.put(bytesOf(all).subspan(at, std::min<std::size_t>(1000, size - at)), {}));
    EXPECT_TRUE(read(path) == all.substr(0, size)) << "before the end";
    EXPECT_TRUE(writer.finish({}));
    EXPECT_EQ(writer.status(), 0u);
  }
}

TEST_F(FileWriterTest, AFullDiskIsToldOfASmallFileToo) {
  const mtp::OpenFile full(::open("/dev/full", O_WRONLY));
  mtp::FileWriter writer(full.get(), false, 4);
  EXPECT_FALSE(writer.put(bytesOf("text"), {}));
  EXPECT_FALSE(writer.finish({}));
  EXPECT_EQ(writer.status(), 0x1000000Au);
}

TEST_F(FileWriterTest, AnEmptyFileIsDoneAtOnce) {
  const mtp::OpenFile file = open(folder.path() / "file");
  mtp::FileWriter writer(file.get(), true, 1 << 20);
  EXPECT_TRUE(writer.finish({}));
  EXPECT_EQ(writer.status(), 0u);
}

TEST_F(FileWriterTest, AFullDiskIsToldAsSuch) {
  const mtp::OpenFile full(::open("/dev/full", O_WRONLY));
  ASSERT_TRUE(full);
  mtp::FileWriter writer(full.get(), false, 1 << 20);
  const std::string piece = pattern(1 << 20);
  bool goesOn = true;
  for (int i = 0; i < 100 && goesOn; ++i)
    goesOn = writer.put(bytesOf(piece), {});
  EXPECT_FALSE(goesOn) << "without waiting for the end";
  EXPECT_FALSE(writer.finish({}));
  EXPECT_EQ(writer.status(), 0x1000000Au);
}

TEST_F(FileWriterTest, AFullDiskBehindTheLastByteIsToldToo) {
  const mtp::OpenFile full(::open("/dev/full", O_WRONLY));
  mtp::FileWriter writer(full.get(), false, 1 << 20);
  EXPECT_TRUE(writer.put(bytesOf("text"), {}));
  EXPECT_FALSE(writer.finish({}));
  EXPECT_EQ(writer.status(), 0x1000000Au);
}

TEST_F(FileWriterTest, BreaksOffWhenItIsLeftAlone) {
  const mtp::OpenFile file = open(folder.path() / "file");
  mtp::FileWriter writer(file.get(), false, 1 << 20);
  EXPECT_TRUE(writer.put(bytesOf(pattern(3 << 20)), {}));
}
