#include "TessalyMTPSdk/PartialFile.h"

#include "TransferFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace testsupport;

namespace {

class PartialFileTest : public ::testing::Test {
protected:
  std::string path(const std::string& name) const { return folder.path() / name; }

  TemporaryFolder folder;
};

} // namespace

TEST_F(PartialFileTest, StandsBesideTheDestinationUntilItIsCommitted) {
  mtp::PartialFile partial;
  ASSERT_EQ(partial.open(path("file")), 0u);
  EXPECT_FALSE(partial.replaces());
  const Strings meanwhile = entriesOf(folder.path());
  ASSERT_EQ(meanwhile.size(), 1u);
  EXPECT_TRUE(meanwhile[0].starts_with(mtp::PartialFile::Prefix + std::to_string(getpid()) + "-"));
  EXPECT_TRUE(meanwhile[0].ends_with(mtp::PartialFile::Suffix));
  ASSERT_EQ(::write(partial.file(), "text", 4), 4);
  EXPECT_EQ(partial.commit(1234567890), 0u);
  EXPECT_EQ(entriesOf(folder.path()), Strings{"file"});
  EXPECT_EQ(read(path("file")), "text");
  struct stat facts {};
  ASSERT_EQ(stat(path("file").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mtim.tv_sec, 1234567890);
}

TEST_F(PartialFileTest, IsGoneWithItsObject) {
  write(path("file"), "before");
  {
    mtp::PartialFile partial;
    ASSERT_EQ(partial.open(path("file")), 0u);
    EXPECT_TRUE(partial.replaces());
  }
  EXPECT_EQ(entriesOf(folder.path()), Strings{"file"});
  EXPECT_EQ(read(path("file")), "before");
}

TEST_F(PartialFileTest, AnotherCopyIntoTheFolderLeavesItAlone) {
  mtp::PartialFile one, two;
  ASSERT_EQ(one.open(path("one")), 0u);
  ASSERT_EQ(two.open(path("two")), 0u);
  EXPECT_EQ(one.commit({}), 0u);
  EXPECT_EQ(two.commit({}), 0u);
  EXPECT_EQ(entriesOf(folder.path()), (Strings{"one", "two"}));
}

TEST_F(PartialFileTest, WhatAKilledProgramLeftIsRemovedAtTheNextCopyIntoTheFolder) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    mtp::PartialFile partial;
    if (partial.open(path("photo.jpg")) == 0 && ::write(partial.file(), "half", 4) == 4)
      raise(SIGKILL);
    _exit(1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_EQ(entriesOf(folder.path()).size(), 1u) << "it left its file";
  write(path(".mtpbrowser-notes.part"), "a user's");
  write(path(".mtpbrowser-12"), "a user's");
  mtp::PartialFile partial;
  ASSERT_EQ(partial.open(path("other")), 0u);
  ASSERT_EQ(partial.commit({}), 0u);
  EXPECT_EQ(entriesOf(folder.path()), (Strings{".mtpbrowser-12", ".mtpbrowser-notes.part", "other"}));
}

TEST_F(PartialFileTest, LeftOversAreLookedForAgainInAFolderNotUsedForAWhile) {
  const auto now = mtp::PartialFile::Clock::now();
  const std::string leftOver = path(".mtpbrowser-" + std::to_string(getpid()) + "-0.part");
  const auto copy = [&](std::chrono::seconds after) {
    mtp::PartialFile partial;
    return partial.open(path("file"), now + after);
  };
  ASSERT_EQ(copy(0s), 0u);
  write(leftOver, "half");
  ASSERT_EQ(copy(9s), 0u);
  EXPECT_TRUE(std::filesystem::exists(leftOver)) << "a thousand files do not read the folder a thousand times";
  ASSERT_EQ(copy(18s), 0u);
  EXPECT_TRUE(std::filesystem::exists(leftOver));
  ASSERT_EQ(copy(28s), 0u);
  EXPECT_FALSE(std::filesystem::exists(leftOver)) << "another stick may be there by now";
}

TEST_F(PartialFileTest, ALinkOfTheDestinationsNameIsReplacedAndWhatItLeadsToIsNot) {
  write(path("target"), "kept");
  std::filesystem::create_symlink(path("target"), path("file"));
  mtp::PartialFile partial;
  ASSERT_EQ(partial.open(path("file")), 0u);
  EXPECT_TRUE(partial.replaces());
  ASSERT_EQ(partial.commit({}), 0u);
  EXPECT_FALSE(std::filesystem::is_symlink(path("file")));
  EXPECT_EQ(read(path("target")), "kept");
}

TEST_F(PartialFileTest, WhatARunningProgramWritesIsNotRemoved) {
  std::array<int, 2> ready{}, end{};
  ASSERT_EQ(pipe(ready.data()), 0);
  ASSERT_EQ(pipe(end.data()), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  char byte = 0;
  if (child == 0) {
    close(end[1]);
    mtp::PartialFile partial;
    const bool made = partial.open(path("photo.jpg")) == 0 && ::write(ready[1], "x", 1) == 1;
    _exit(made && ::read(end[0], &byte, 1) == 0 && partial.commit({}) == 0 ? 0 : 1);
  }
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  mtp::PartialFile partial;
  ASSERT_EQ(partial.open(path("other")), 0u);
  EXPECT_EQ(entriesOf(folder.path()).size(), 2u);
  close(end[1]);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(std::filesystem::exists(path("photo.jpg")));
  for (const int fd : {ready[0], ready[1], end[0]})
    close(fd);
}

TEST_F(PartialFileTest, AFileProtectedAgainstWritingIsNotReplaced) {
  if (geteuid() == 0)
    GTEST_SKIP() << "nothing is protected from this user";
  write(path("file"), "mine");
  ASSERT_EQ(chmod(path("file").c_str(), 0400), 0);
  mtp::PartialFile partial;
  EXPECT_EQ(partial.open(path("file")), 0x11000002u);
}

TEST_F(PartialFileTest, ANameThatCannotBeIsRefused) {
  for (const std::string& name : {std::string(""), std::string("."), std::string(".."), std::string(256, 'n')}) {
    mtp::PartialFile partial;
    EXPECT_EQ(partial.open(path(name)), 0x11000005u) << name;
  }
  EXPECT_TRUE(entriesOf(folder.path()).empty());
  mtp::PartialFile partial;
  EXPECT_EQ(partial.open(path(std::string(255, 'n'))), 0u) << "a name of full length";
  EXPECT_EQ(partial.commit({}), 0u);
}

TEST_F(PartialFileTest, TellsWhenTheDiskIsTooSmall) {
  mtp::PartialFile partial;
  ASSERT_EQ(partial.open(path("file")), 0u);
  EXPECT_EQ(partial.checkRoom(1), 0u);
  EXPECT_EQ(partial.checkRoom(UINT64_MAX), 0x1000000Au);
}

TEST_F(PartialFileTest, AFolderRenamedMeanwhileGetsNoFile) {
  folder.folder("before");
  {
    mtp::PartialFile partial;
    ASSERT_EQ(partial.open(path("before/file")), 0u);
    std::filesystem::rename(path("before"), path("after"));
    EXPECT_EQ(partial.commit({}), mtp::DGSTATUS_FILE_OPEN_FAILED);
  }
  EXPECT_EQ(entriesOf(path("after")), Strings{});
}

TEST_F(PartialFileTest, AFileThatCameMeanwhileIsNotReplaced) {
  mtp::PartialFile partial;
  ASSERT_EQ(partial.open(path("file")), 0u);
  write(path("file"), "another program's");
  EXPECT_EQ(partial.commit({}), mtp::DGSTATUS_NODE_FILE_DUPNAME_EXISTED);
  EXPECT_EQ(read(path("file")), "another program's");
}
