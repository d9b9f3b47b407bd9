// Copying files of a phone to the computer.
#include "TransferFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

using namespace testsupport;

namespace {

using vphone::FaultKind;
using vphone::FaultPhase;

class FileReceiver : public TransferFixture {
protected:
  _MTP_FILE_NODE* only() {
    const auto files = filesIn(firstStorage());
    EXPECT_EQ(files.size(), 1u);
    return files.empty() ? nullptr : files[0];
  }
};

} // namespace

TEST_F(FileReceiver, AReceivedFileIsWholeWhateverItsLength) {
  // Around one packet with the header, one USB transfer, the ring of buffers.
  const std::vector<std::size_t> sizes{
      0, 1, 499, 500, 501, 511, 512, 1012, (1 << 20) - 12, 1 << 20, 1048577, 5 << 20, 6000000, (8 << 20) - 12};
  for (std::size_t i = 0; i < sizes.size(); ++i)
    write(onPhone("file" + std::to_string(i)), pattern(sizes[i], static_cast<unsigned>(i)));
  start();
  const auto files = filesIn(firstStorage());
  ASSERT_EQ(files.size(), sizes.size());
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const std::string name = "file" + std::to_string(i);
    ASSERT_EQ(receive(named(files, name), here(name)), 0u) << sizes[i] << log();
    EXPECT_EQ(read(here(name)), pattern(sizes[i], static_cast<unsigned>(i))) << sizes[i];
  }
  EXPECT_EQ(entriesOf(computer.path()).size(), sizes.size()) << "nothing else is left";
}

TEST_F(FileReceiver, AFileCostsTwoTransactions) {
  for (int i = 0; i < 20; ++i)
    write(onPhone("file" + std::to_string(i)), "text");
  start();
  const auto files = filesIn(firstStorage());
  const std::uint64_t before = transactions();
  for (_MTP_FILE_NODE* file : files)
    ASSERT_EQ(receive(file, here(nameOf(file))), 0u);
  EXPECT_EQ(transactions(), before + 40);
}

TEST_F(FileReceiver, AReceivedFileHasThePhonesDate) {
  write(onPhone("old.txt"), "text");
  const struct timespec times[2] = {{0, UTIME_OMIT}, {1234567890, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, onPhone("old.txt").c_str(), times, 0), 0);
  start();
  ASSERT_EQ(receive(only(), here("old.txt")), 0u);
  struct stat facts {};
  ASSERT_EQ(stat(here("old.txt").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mtim.tv_sec, 1234567890);
}

TEST_F(FileReceiver, ProgressEndsAtTheFilesLength) {
  write(onPhone("file"), pattern(3 << 20));
  start();
  Progress progress;
  ASSERT_EQ(receive(only(), here("file"), &progress), 0u);
  ASSERT_FALSE(progress.calls.empty());
  EXPECT_EQ(progress.calls.back(), std::make_pair(std::uint64_t{3 << 20}, std::uint64_t{3 << 20}));
  EXPECT_TRUE(std::is_sorted(progress.calls.begin(), progress.calls.end()));
}

TEST_F(FileReceiver, ACancelledFileIsGoneAndTheFileBeforeItIsThere) {
  write(onPhone("file"), pattern(64 << 20));
  write(here("file"), "before");
  start();
  _MTP_FILE_NODE* file = only();
  Progress progress;
  progress.answer = [](std::uint64_t current) { return current > 0 ? Cancel : 0; };
  EXPECT_EQ(receive(file, here("file"), &progress), Cancel);
  EXPECT_LT(progress.calls.back().first, 64u << 20);
  EXPECT_EQ(entriesOf(computer.path()), Strings{"file"});
  EXPECT_EQ(read(here("file")), "before");
  EXPECT_EQ(receive(file, here("file")), 0u) << "the session goes on" << log();
  EXPECT_EQ(read(here("file")), pattern(64 << 20));
}

TEST_F(FileReceiver, ACancelAtTheLastByteCounts) {
  write(onPhone("file"), "text");
  start();
  Progress progress;
  progress.answer = [](std::uint64_t) { return Cancel; };
  EXPECT_EQ(receive(only(), here("file"), &progress), Cancel);
  EXPECT_TRUE(entriesOf(computer.path()).empty());
}

TEST_F(FileReceiver, AnExistingFileIsReplacedAndKeepsItsPermissions) {
  write(onPhone("file"), "new");
  write(here("file"), "old and longer");
  ASSERT_EQ(chmod(here("file").c_str(), 0640), 0);
  start();
  ASSERT_EQ(receive(only(), here("file")), 0u);
  EXPECT_EQ(read(here("file")), "new");
  struct stat facts {};
  ASSERT_EQ(stat(here("file").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777, 0640u);
}

TEST_F(FileReceiver, AFileThatEndsEarlyIsNeverKept) {
  write(onPhone("file"), pattern(3 << 20));
  write(here("file"), "before");
  start();
  _MTP_FILE_NODE* file = only();
  fault(FaultKind::EndEarly, FaultPhase::Data, mtp::Operation::GetObject, 1 << 20);
  EXPECT_NE(receive(file, here("file")), 0u);
  EXPECT_EQ(entriesOf(computer.path()), Strings{"file"});
  EXPECT_EQ(read(here("file")), "before");
  EXPECT_EQ(receive(file, here("file")), 0u);
}

TEST_F(FileReceiver, AFileDeletedMeanwhileIsNoLongerThere) {
  write(onPhone("file"), "text");
  start();
  _MTP_FILE_NODE* file = only();
  respond(mtp::Operation::GetObject, mtp::Response::InvalidObjectHandle);
  EXPECT_EQ(receive(file, here("file")), 0x10000004u);
  EXPECT_EQ(kindOf(file), 0x10000004u);
  EXPECT_TRUE(entriesOf(computer.path()).empty());
}

TEST_F(FileReceiver, AFolderThatIsNotThereOrCannotBeWrittenSaysSo) {
  write(onPhone("file"), "text");
  start();
  _MTP_FILE_NODE* file = only();
  const std::uint64_t before = transactions();
  EXPECT_EQ(receive(file, here("missing/file")), 0x11000001u);
  EXPECT_EQ(receive(file, here("")), 0x11000005u);
  computer.folder("folder");
  EXPECT_EQ(receive(file, here("folder")), 0x11000001u) << "a folder is never replaced";
  EXPECT_EQ(receive(file, here(std::string(256, 'n'))), 0x11000005u);
  EXPECT_EQ(receive(file, "/proc/file"), 0x11000001u);
  EXPECT_EQ(transactions(), before) << "found out before anything is asked";
  EXPECT_EQ(entriesOf(computer.path()), Strings{"folder"});
}

TEST_F(FileReceiver, ADeviceOrPipeIsNeverReplaced) {
  write(onPhone("file"), "text");
  ASSERT_EQ(mkfifo(here("pipe").c_str(), 0600), 0);
  start();
  EXPECT_EQ(receive(only(), here("pipe")), 0x11000001u);
  EXPECT_TRUE(std::filesystem::is_fifo(here("pipe")));
}

TEST_F(FileReceiver, ArgumentsThatNameNothingAreRefused) {
  write(onPhone("file"), "text");
  start();
  _MTP_FILE_NODE* file = only();
  EXPECT_EQ(mtpDextGetFileEx(nullptr, u"/tmp/x", 7, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextGetFileEx(file, nullptr, 7, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextGetFileEx(file, u"/tmp/x", 0, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextGetFileEx(file, u"", 1, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextGetFileEx(file, u"/tmp/\xD800", 7, nullptr, nullptr), 0x11000005u);
  const auto garbage = reinterpret_cast<_MTP_FILE_NODE*>(std::uintptr_t{0x1234});
  EXPECT_EQ(mtpDextGetFileEx(garbage, u"/tmp/x", 7, nullptr, nullptr), 0x10000004u);
}
