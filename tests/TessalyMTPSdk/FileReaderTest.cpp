#include "TessalyMTPSdk/FileReader.h"

#include "TransferFixture.h"

#include "TessalyMTPSdk/OpenFile.h"

#include <fcntl.h>

using namespace testsupport;

namespace {

constexpr std::size_t Room = 12;

class FileReaderTest : public ::testing::Test {
protected:
  mtp::OpenFile make(const std::string& bytes) {
    write(folder.path() / "file", bytes);
    return mtp::OpenFile(::open((folder.path() / "file").c_str(), O_RDONLY));
  }
  /// All pieces, without the room.
  static std::string readAll(mtp::FileReader& reader, std::size_t pieces = 1000) {
    std::string all;
    for (; pieces > 0; --pieces) {
      const auto piece = reader.next({});
      if (piece.empty())
        break;
      all.append(reinterpret_cast<const char*>(piece.data()), piece.size());
    }
    return all.substr(std::min(Room, all.size()));
  }

  TemporaryFolder folder;
};

} // namespace

TEST_F(FileReaderTest, GivesTheFileInPiecesWithRoomBeforeTheFirst) {
  for (const std::size_t size : {0u, 1u, 65535u, 65536u, (1u << 20) - 12, 1u << 20, 9u << 20}) {
    const mtp::OpenFile file = make(pattern(size));
    mtp::FileReader reader(file.get(), size, Room);
    EXPECT_EQ(readAll(reader), pattern(size)) << size;
    EXPECT_EQ(reader.status(), 0u);
  }
}

TEST_F(FileReaderTest, AllPiecesButTheLastAreWholeBuffers) {
  const mtp::OpenFile file = make(pattern(3 * mtp::BufferRing::BufferSize));
  mtp::FileReader reader(file.get(), 3 * mtp::BufferRing::BufferSize, Room);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(reader.next({}).size(), mtp::BufferRing::BufferSize);
  EXPECT_EQ(reader.next({}).size(), Room);
  EXPECT_TRUE(reader.next({}).empty());
}

TEST_F(FileReaderTest, AFileThatIsShorterThanItWasIsAFailure) {
  for (const std::size_t size : {3000u, 300'000u}) {
    const mtp::OpenFile file = make(pattern(size));
    mtp::FileReader reader(file.get(), size + 1, Room);
    EXPECT_TRUE(readAll(reader).empty());
    EXPECT_EQ(reader.status(), 0x11000004u);
  }
}

TEST_F(FileReaderTest, WhatWasAddedMeanwhileIsNotRead) {
  for (const std::size_t size : {2000u, 200'000u}) {
    const mtp::OpenFile file = make(pattern(size + 1000));
    mtp::FileReader reader(file.get(), size, Room);
    EXPECT_TRUE(readAll(reader) == pattern(size + 1000).substr(0, size));
    EXPECT_EQ(reader.status(), 0u);
  }
}

TEST_F(FileReaderTest, AFileThatCannotBeReadIsAFailure) {
  const mtp::OpenFile folderItself(::open(folder.path().c_str(), O_RDONLY));
  mtp::FileReader reader(folderItself.get(), 10, Room);
  EXPECT_TRUE(readAll(reader).empty());
  EXPECT_EQ(reader.status(), 0x11000004u);
}

TEST_F(FileReaderTest, BreaksOffWhenItIsLeftAlone) {
  const mtp::OpenFile file = make(pattern(9 << 20));
  mtp::FileReader reader(file.get(), 9 << 20, Room);
  EXPECT_FALSE(reader.next({}).empty());
}
