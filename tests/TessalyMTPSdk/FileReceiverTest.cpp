// Copying files of a phone to the computer.
#include "TransferFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <utility>

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
      0,       1,       499,     500,           501, 511, 512, 1012, (1 << 20) - 12, 1 << 20, 1048577, (2 << 20) - 12,
      2 << 20, 5 << 20, 6000000, (8 << 20) - 12};
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

TEST_F(FileReceiver, ASmallFileCostsOneTransactionAndALargerOneTwo) {
  for (int i = 0; i < 20; ++i) {
    write(onPhone("small" + std::to_string(i)), "text");
    write(onPhone("larger" + std::to_string(i)), pattern(64 * 1024));
  }
  start();
  const auto files = filesIn(firstStorage());
  const std::uint64_t before = transactions();
  for (_MTP_FILE_NODE* file : files)
    ASSERT_EQ(receive(file, here(nameOf(file))), 0u);
  EXPECT_EQ(transactions(), before + 20 + 40);
}

TEST_F(FileReceiver, ASmallFileThatIsNotAsItWasListedIsAskedFor) {
  write(onPhone("longer"), "text");
  write(onPhone("shorter"), "some text");
  start();
  const auto files = filesIn(firstStorage());
  write(onPhone("longer"), pattern(300'000));
  write(onPhone("shorter"), "so");
  const std::uint64_t before = transactions();
  EXPECT_EQ(receive(named(files, "longer"), here("longer")), 0u);
  EXPECT_EQ(receive(named(files, "shorter"), here("shorter")), 0u);
  EXPECT_EQ(transactions(), before + 4);
  EXPECT_EQ(read(here("longer")), pattern(300'000));
  EXPECT_EQ(read(here("shorter")), "so");
}

TEST_F(FileReceiver, AFileLargerThanTheRoomOfTheComputerIsRefusedBeforeAByteIsAskedFor) {
  storage.file("huge", std::uintmax_t{15} << 40);
  write(here("huge"), "before");
  start();
  _MTP_FILE_NODE* file = only();
  const std::uint64_t before = asked(mtp::Operation::GetObject);
  EXPECT_EQ(receive(file, here("huge")), 0x1000000Au) << log();
  EXPECT_EQ(asked(mtp::Operation::GetObject), before);
  EXPECT_EQ(read(here("huge")), "before");
  EXPECT_EQ(entriesOf(computer.path()), Strings{"huge"});
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
  write(onPhone("file"), pattern(16 << 20));
  write(here("file"), "before");
  useHastyClock();
  start();
  _MTP_FILE_NODE* file = only();
  Progress progress;
  progress.answer = [](std::uint64_t current) { return current > 0 ? Cancel : 0; };
  EXPECT_EQ(receive(file, here("file"), &progress), Cancel);
  EXPECT_LT(progress.calls.back().first, 16u << 20);
  EXPECT_EQ(entriesOf(computer.path()), Strings{"file"});
  EXPECT_EQ(read(here("file")), "before");
  EXPECT_EQ(receive(file, here("file")), 0u) << "the session goes on" << log();
  EXPECT_EQ(read(here("file")), pattern(16 << 20));
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
  write(onPhone("small"), "text");
  write(onPhone("large"), pattern(65536));
  computer.folder("folder");
  start();
  const auto files = filesIn(firstStorage());
  for (const char* name : {"small", "large"}) {
    _MTP_FILE_NODE* file = named(files, name);
    const std::uint64_t before = transactions();
    EXPECT_EQ(receive(file, here("missing/file")), 0x11000001u);
    EXPECT_EQ(receive(file, here("")), 0x11000005u);
    EXPECT_EQ(receive(file, here("folder")), 0x11000001u) << "a folder is never replaced";
    EXPECT_EQ(receive(file, here(std::string(256, 'n'))), 0x11000005u);
    EXPECT_EQ(receive(file, "/proc/file"), 0x11000001u);
    // A small file's place is made while the phone reads it; for a larger one nothing is asked before.
    EXPECT_EQ(transactions() - before, name == std::string("small") ? 5u : 0u);
    EXPECT_EQ(entriesOf(computer.path()), Strings{"folder"});
    EXPECT_EQ(receive(file, here("folder/file")), 0u) << "the session goes on" << log();
    std::filesystem::remove(here("folder/file"));
  }
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

TEST_F(FileReceiver, APhoneThatFallsSilentIsLeftAtTheCallbacksWord) {
  write(onPhone("file"), pattern(3 << 20));
  start();
  _MTP_FILE_NODE* file = only();
  fault(FaultKind::Silence, FaultPhase::Data, mtp::Operation::GetObject, 1 << 20);
  Progress progress;
  int stuck = 0;
  std::uint64_t last = 0;
  progress.answer = [&](std::uint64_t current) {
    stuck = current == last && current > 0 ? stuck + 1 : 0;
    last = current;
    return stuck >= 3 ? Cancel : 0;
  };
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(receive(file, here("file"), &progress), Cancel);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8)) << "not the ten seconds of silence";
  EXPECT_TRUE(entriesOf(computer.path()).empty());
  EXPECT_EQ(receive(file, here("file")), 0u) << log();
}

TEST_F(FileReceiver, WaitingForAnotherTransferTellsProgressAndCanBeEnded) {
  write(onPhone("one"), pattern(8 << 20));
  write(onPhone("two"), "text");
  start();
  const auto files = filesIn(firstStorage());
  Signal begun, finish;
  Progress first;
  first.answer = [&](std::uint64_t) {
    begun.raise();
    EXPECT_TRUE(finish.waitFor(1));
    return 0u;
  };
  std::thread other([&] { EXPECT_EQ(receive(named(files, "one"), here("one"), &first), 0u); });
  EXPECT_TRUE(begun.waitFor(1));
  Progress second;
  second.answer = [](std::uint64_t) { return Cancel; };
  EXPECT_EQ(receive(named(files, "two"), here("two"), &second), Cancel);
  finish.raise();
  other.join();
  EXPECT_EQ(entriesOf(computer.path()), Strings{"one"});
}

TEST_F(FileReceiver, ACallbackThatAsksThePhoneIsRefusedAndTheTransferGoesOn) {
  write(onPhone("file"), pattern(8 << 20));
  storage.folder("folder");
  useHastyClock();
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FILE_NODE* file = filesIn(top).at(0);
  _MTP_FOLDER_NODE* folder = foldersIn(top).at(0);
  std::uint32_t asked = 0;
  Progress progress;
  progress.answer = [&](std::uint64_t current) {
    if (current > 0 && current < (8u << 20)) {
      _MTP_FILE_NODE* head = nullptr;
      asked = mtpDextGetFileListHead(&folder->common, &head, nullptr, nullptr);
    }
    return 0u;
  };
  EXPECT_EQ(receive(file, here("file"), &progress), 0u) << log();
  EXPECT_EQ(asked, 0x10000001u);
  EXPECT_EQ(read(here("file")), pattern(8 << 20));
  EXPECT_TRUE(filesIn(folder).empty()) << "afterwards it is answered";
}

TEST_F(FileReceiver, EventsReachTheCallbackDuringATransfer) {
  write(onPhone("file"), pattern(16 << 20));
  useHastyClock();
  start();
  _MTP_FILE_NODE* file = only();
  startListening();
  Progress progress;
  bool changed = false;
  progress.answer = [&](std::uint64_t current) {
    if (!std::exchange(changed, true)) {
      EXPECT_LT(current, 16u << 20);
      write(onPhone("new"), "text");
      EXPECT_TRUE(told.waitFor(1));
    }
    return 0u;
  };
  EXPECT_EQ(receive(file, here("file"), &progress), 0u);
  EXPECT_TRUE(changed);
  EXPECT_EQ(mtpDextRequestEventNotifyEx(device(), nullptr, nullptr), 0u);
  EXPECT_EQ(filesIn(firstStorage()).size(), 2u);
}

TEST_F(FileReceiver, AFileThatGrewSinceItWasAskedForIsReceivedAsItIs) {
  write(onPhone("file"), "text");
  start();
  _MTP_FILE_NODE* file = only();
  write(onPhone("file"), "more text");
  EXPECT_EQ(receive(file, here("file")), 0u);
  EXPECT_EQ(read(here("file")), "more text");
}

TEST_F(FileReceiver, APhoneWithoutTheSizePropertyIsAskedInAnotherWay) {
  write(onPhone("one"), pattern(300'000));
  write(onPhone("two"), pattern(400'000));
  vphone::Manners manners;
  manners.missingOperations = {0x9803};
  start(manners);
  for (_MTP_FILE_NODE* file : filesIn(firstStorage()))
    EXPECT_EQ(receive(file, here(nameOf(file))), 0u);
  EXPECT_EQ(entriesOf(computer.path()), (Strings{"one", "two"}));
}

TEST_F(FileReceiver, APhoneThatRefusesTheSizePropertyIsNotAskedForItAgain) {
  for (int i = 0; i < 5; ++i)
    write(onPhone("file" + std::to_string(i)), pattern(100'000));
  start();
  const auto files = filesIn(firstStorage());
  respond(mtp::Operation::GetObjectPropValue, mtp::Response::ObjectPropNotSupported);
  const std::uint64_t before = transactions();
  for (_MTP_FILE_NODE* file : files)
    EXPECT_EQ(receive(file, here(nameOf(file))), 0u);
  EXPECT_EQ(transactions(), before + 11);
}

TEST_F(FileReceiver, APhoneThatEndsFullPacketsWithoutAnEmptyOneIsUnderstood) {
  vphone::Manners manners;
  manners.zeroLengthPackets = false;
  for (const std::size_t size : {500u, 1012u, (1u << 20) - 12})
    write(onPhone("file" + std::to_string(size)), pattern(size));
  start(manners);
  for (_MTP_FILE_NODE* file : filesIn(firstStorage())) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(receive(file, here(nameOf(file))), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)) << "no waiting for it";
    EXPECT_EQ(read(here(nameOf(file))), read(onPhone(nameOf(file))));
  }
}

TEST_F(FileReceiver, AComputerThatCannotTakeItAllEndsTheTransferAndTheSessionGoesOn) {
  write(onPhone("file"), pattern(8 << 20));
  write(here("file"), "before");
  start();
  _MTP_FILE_NODE* file = only();
  const auto ignore = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit before {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const struct rlimit small { 1 << 20, before.rlim_max };
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  EXPECT_EQ(receive(file, here("file")), 0x11000003u);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, ignore);
  EXPECT_EQ(entriesOf(computer.path()), Strings{"file"});
  EXPECT_EQ(read(here("file")), "before");
  EXPECT_EQ(receive(file, here("file")), 0u) << log();
}
