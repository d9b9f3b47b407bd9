// Copying files of the computer to a phone.
#include "TransferFixture.h"

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <utility>

using namespace testsupport;

namespace {

using vphone::FaultKind;
using vphone::FaultPhase;

class FileSender : public TransferFixture {};

} // namespace

TEST_F(FileSender, ASentFileIsWholeWhateverItsLength) {
  const std::vector<std::size_t> sizes{
      0,       1,       499,     500,           501, 511, 512, 1012, (1 << 20) - 12, 1 << 20, 1048577, (2 << 20) - 12,
      2 << 20, 5 << 20, 6000000, (8 << 20) - 12};
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const std::string name = "file" + std::to_string(i);
    write(here(name), pattern(sizes[i], static_cast<unsigned>(i)));
    ASSERT_EQ(send(here(name), top), 0u) << sizes[i] << log();
    EXPECT_EQ(read(onPhone(name)), pattern(sizes[i], static_cast<unsigned>(i))) << sizes[i];
    ASSERT_TRUE(created);
    EXPECT_EQ(nameOf(created), name);
    EXPECT_EQ(created->fileLength, sizes[i]);
  }
  EXPECT_EQ(filesIn(top).size(), sizes.size());
}

TEST_F(FileSender, FilesIntoOneFolderCostThreeTransactionsEachAndNoListing) {
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  write(here("first"), "text");
  ASSERT_EQ(send(here("first"), top), 0u);
  const std::uint64_t before = transactions();
  constexpr int Files = 50;
  for (int i = 0; i < Files; ++i) {
    const std::string name = "file" + std::to_string(i);
    write(here(name), "text");
    ASSERT_EQ(send(here(name), top), 0u);
  }
  EXPECT_EQ(filesIn(top).size(), Files + 1u);
  EXPECT_EQ(transactions(), before + 3 * Files);
}

TEST_F(FileSender, ASentFileHasTheComputersDate) {
  write(here("old.txt"), "text");
  const struct timespec times[2] = {{0, UTIME_OMIT}, {1234567890, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, here("old.txt").c_str(), times, 0), 0);
  start();
  ASSERT_EQ(send(here("old.txt"), firstStorage()), 0u);
  struct stat facts {};
  ASSERT_EQ(stat(onPhone("old.txt").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mtim.tv_sec, 1234567890);
  // What is shown is what the phone would tell.
  const std::u16string shown(created->date, created->dateLength);
  mtp::shutdown();
  start();
  const auto files = filesIn(firstStorage());
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(std::u16string(files[0]->date, files[0]->dateLength).substr(0, 15), shown.substr(0, 15));
}

TEST_F(FileSender, ProgressEndsAtTheFilesLength) {
  write(here("file"), pattern(3 << 20));
  start();
  Progress progress;
  ASSERT_EQ(send(here("file"), firstStorage(), &progress), 0u);
  ASSERT_FALSE(progress.calls.empty());
  EXPECT_EQ(progress.calls.back(), std::make_pair(std::uint64_t{3 << 20}, std::uint64_t{3 << 20}));
  EXPECT_TRUE(std::is_sorted(progress.calls.begin(), progress.calls.end()));
}

TEST_F(FileSender, ANamesakeIsFoundBeforeAnythingIsSentAndHandedOut) {
  write(onPhone("Photo.JPG"), "phone's");
  storage.folder("Folder");
  write(here("photo.jpg"), "computer's");
  write(here("folder"), "a file");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FILE_NODE* there = filesIn(top).at(0);
  _MTP_FOLDER_NODE* folder = foldersIn(top).at(0);
  const std::uint64_t before = transactions();
  EXPECT_EQ(send(here("photo.jpg"), top), 0x10000005u);
  EXPECT_EQ(created, there);
  EXPECT_EQ(send(here("folder"), top), 0x10000006u);
  EXPECT_EQ(static_cast<void*>(created), static_cast<void*>(folder));
  EXPECT_EQ(transactions(), before);
  EXPECT_EQ(read(onPhone("Photo.JPG")), "phone's");
}

TEST_F(FileSender, ACancelledFileIsGoneFromThePhone) {
  write(here("file"), pattern(16 << 20));
  useHastyClock();
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  Progress progress;
  progress.answer = [](std::uint64_t current) { return current > 0 ? Cancel : 0; };
  EXPECT_EQ(send(here("file"), top, &progress), Cancel);
  EXPECT_EQ(created, nullptr);
  EXPECT_LT(progress.calls.back().first, 16u << 20);
  EXPECT_FALSE(std::filesystem::exists(onPhone("file")));
  EXPECT_TRUE(filesIn(top).empty());
  EXPECT_EQ(send(here("file"), top), 0u) << "the session goes on" << log();
  EXPECT_EQ(read(onPhone("file")), pattern(16 << 20));
}

TEST_F(FileSender, ACancelAtTheLastByteCounts) {
  write(here("file"), "text");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  Progress progress;
  progress.answer = [](std::uint64_t) { return Cancel; };
  EXPECT_EQ(send(here("file"), top, &progress), Cancel);
  EXPECT_FALSE(std::filesystem::exists(onPhone("file")));
  EXPECT_TRUE(filesIn(top).empty());
}

TEST_F(FileSender, AFileThatDoesNotFitIsRefusedBeforeItIsAnnounced) {
  vphone::Options options;
  options.storages.push_back({.folder = storage.path(), .description = "Phone", .capacity = 1 << 20});
  start(options);
  write(here("file"), pattern(2 << 20));
  EXPECT_EQ(send(here("file"), firstStorage()), 0x1000000Au);
  EXPECT_EQ(asked(mtp::Operation::SendObjectInfo), 0u);
  EXPECT_EQ(created, nullptr);
}

TEST_F(FileSender, AFileThePhoneCutShortIsAFailureAndIsDeleted) {
  vphone::Manners manners;
  manners.largestFileKept = 1000;
  start(manners);
  _MTP_STORAGE_NODE* top = firstStorage();
  write(here("file"), pattern(5000));
  EXPECT_EQ(send(here("file"), top), 0x13100005u);
  EXPECT_EQ(created, nullptr);
  EXPECT_FALSE(std::filesystem::exists(onPhone("file")));
  EXPECT_TRUE(filesIn(top).empty());
}

TEST_F(FileSender, AFileCutShortForWantOfRoomSaysThatThePhoneIsFull) {
  vphone::Options options;
  options.storages.push_back({.folder = storage.path(), .description = "Phone", .capacity = 100 << 20});
  options.manners.cutsFilesSilently = true;
  start(options);
  _MTP_STORAGE_NODE* top = firstStorage();
  write(here("first"), "text");
  ASSERT_EQ(send(here("first"), top), 0u) << "the phone has told how much room there is";
  storage.file("filled meanwhile", (100 << 20) - 1000);
  write(here("file"), pattern(5000));
  EXPECT_EQ(send(here("file"), top), 0x1000000Au) << log();
  EXPECT_FALSE(std::filesystem::exists(onPhone("file")));
}

TEST_F(FileSender, WhatIsNoFileIsNotSent) {
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  const std::uint64_t before = transactions();
  ASSERT_EQ(mkfifo(here("pipe").c_str(), 0600), 0);
  computer.folder("folder");
  EXPECT_EQ(send(here("missing"), top), 0x11000001u);
  EXPECT_EQ(send(here("pipe"), top), 0x11000001u);
  EXPECT_EQ(send(here("folder"), top), 0x11000001u);
  EXPECT_EQ(transactions(), before);
}

TEST_F(FileSender, ALinkIsSentAsTheFileItLeadsTo) {
  write(here("target"), "text");
  std::filesystem::create_symlink(here("target"), here("link"));
  start();
  ASSERT_EQ(send(here("link"), firstStorage()), 0u);
  EXPECT_EQ(read(onPhone("link")), "text");
}

TEST_F(FileSender, AReadOnlyStorageTakesNoFile) {
  write(here("file"), "text");
  vphone::Options options;
  options.storages.push_back({.folder = storage.path(), .description = "Card", .readOnly = true});
  start(options);
  EXPECT_EQ(send(here("file"), firstStorage()), 0x1310000Cu);
}

TEST_F(FileSender, SendingIntoAFolderDeletedMeanwhileSaysThatItIsNotThere) {
  storage.folder("gone");
  write(here("file"), "text");
  start();
  _MTP_FOLDER_NODE* folder = foldersIn(firstStorage()).at(0);
  EXPECT_TRUE(filesIn(folder).empty());
  std::filesystem::remove(onPhone("gone"));
  EXPECT_EQ(send(here("file"), folder), 0x10000004u);
}

TEST_F(FileSender, ArgumentsThatNameNothingAreRefused) {
  start();
  _MTP_COMMON_NODE* top = &firstStorage()->common;
  EXPECT_EQ(mtpDextSendFileEx(nullptr, 7, top, &created, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextSendFileEx(u"/tmp/x", 0, top, &created, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextSendFileEx(u"", 1, top, &created, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextSendFileEx(u"/tmp/x", 7, nullptr, &created, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextSendFileEx(u"/tmp/x", 7, top, nullptr, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextSendFileEx(u"/tmp/\xD800", 7, top, &created, nullptr, nullptr), 0x11000005u);
  EXPECT_EQ(mtpDextSendFileEx(u"/tmp/x", 7, &device()->common, &created, nullptr, nullptr), 0x10000004u);
}

TEST_F(FileSender, AFileThatShrinksWhileItIsReadIsNotSentAndNothingStays) {
  write(here("file"), pattern(16 << 20));
  useHastyClock();
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  Progress progress;
  progress.answer = [&](std::uint64_t) {
    std::filesystem::resize_file(here("file"), 1000);
    return 0u;
  };
  EXPECT_EQ(send(here("file"), top, &progress), 0x11000004u);
  EXPECT_FALSE(std::filesystem::exists(onPhone("file")));
  EXPECT_TRUE(filesIn(top).empty());
  EXPECT_EQ(send(here("file"), top), 0u) << log();
  EXPECT_EQ(read(onPhone("file")), pattern(1000));
}

TEST_F(FileSender, AFileThatGrowsWhileItIsReadArrivesAsItWasAtTheBeginning) {
  write(here("file"), pattern(8 << 20));
  useHastyClock();
  start();
  Progress progress;
  progress.answer = [&](std::uint64_t) {
    std::ofstream(here("file"), std::ios::app) << "more";
    return 0u;
  };
  EXPECT_EQ(send(here("file"), firstStorage(), &progress), 0u) << log();
  EXPECT_EQ(read(onPhone("file")), pattern(8 << 20));
}

TEST_F(FileSender, APhoneThatTakesNoMoreIsLeftAtTheCallbacksWord) {
  write(here("file"), pattern(3 << 20));
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  fault(FaultKind::Silence, FaultPhase::Data, mtp::Operation::SendObject, 1 << 20);
  Progress progress;
  int calls = 0;
  progress.answer = [&](std::uint64_t) { return ++calls >= 5 ? Cancel : 0; };
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(send(here("file"), top, &progress), Cancel);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8)) << "not the ten seconds of silence";
  EXPECT_FALSE(std::filesystem::exists(onPhone("file")));
  EXPECT_EQ(send(here("file"), top), 0u) << log();
}

TEST_F(FileSender, ACancelBehindTheLastByteWaitsForThePhonesAnswerAndTakesTheFileAway) {
  write(here("file"), "text");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  // A cancel request would come when the phone has nothing to cancel, and hit the next transaction.
  fault(FaultKind::Delay, FaultPhase::Response, mtp::Operation::SendObject, 0, 300);
  Progress progress;
  progress.answer = [](std::uint64_t) { return Cancel; };
  EXPECT_EQ(send(here("file"), top, &progress), Cancel);
  EXPECT_FALSE(std::filesystem::exists(onPhone("file")));
  EXPECT_TRUE(filesIn(top).empty());
  EXPECT_EQ(log().find("reset"), std::string::npos);
}

TEST_F(FileSender, APhoneThatReportsEachWriteIsNotListedAgainForThem) {
  storage.folder("target");
  storage.folder("elsewhere");
  vphone::Manners manners;
  manners.tellsOwnChanges = true;
  start(manners);
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* target = named(foldersIn(top), "target");
  foldersIn(top, named(foldersIn(top), "elsewhere"));
  EXPECT_TRUE(filesIn(target).empty());
  startListening();
  const std::uint64_t before = transactions();
  for (int i = 0; i < 10; ++i) {
    const std::string name = "file" + std::to_string(i);
    write(here(name), "text");
    ASSERT_EQ(send(here(name), target), 0u);
  }
  EXPECT_EQ(newsUntilNow("elsewhere"), 0) << "only the phone's own doing is news";
  EXPECT_GE(phone->statistics().eventsSent, 20u);
  EXPECT_EQ(filesIn(target).size(), 10u);
  EXPECT_LE(transactions(), before + 3 * 10 + 1 + 1) << "the free space, and where the phone's own new folder is";
  stopListening();
}

TEST_F(FileSender, WhatThePhoneAddsMeanwhileCostsAQuestionEachAndNoListing) {
  storage.folder("target");
  storage.folder("camera");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* target = named(foldersIn(top), "target");
  EXPECT_TRUE(filesIn(target).empty());
  EXPECT_TRUE(filesIn(named(foldersIn(top), "camera")).empty());
  startListening();
  constexpr int files = 40;
  const std::uint64_t before = transactions();
  for (int i = 0; i < files; ++i) {
    const std::string name = "file" + std::to_string(i);
    storage.folder((i % 2 == 0 ? "target/photo" : "camera/photo") + std::to_string(i));
    ASSERT_TRUE(told.waitFor(i + 1));
    write(here(name), "text");
    ASSERT_EQ(send(here(name), target), 0u) << log();
  }
  EXPECT_LE(transactions(), before + 4 * files + 5) << "three a file, one an event, now and then the free space";
  EXPECT_EQ(filesIn(target).size(), std::size_t{files});
  EXPECT_EQ(foldersIn(top, target).size(), std::size_t{files} / 2);
  EXPECT_EQ(foldersIn(top, named(foldersIn(top), "camera")).size(), std::size_t{files} / 2);
  stopListening();
}

TEST_F(FileSender, ANamesakeThatThePhoneHasJustAddedIsHandedOut) {
  storage.folder("target");
  write(here("photo.jpg"), "computer's");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* target = named(foldersIn(top), "target");
  EXPECT_TRUE(filesIn(target).empty());
  startListening();
  write(onPhone("target/PHOTO.jpg"), "phone's");
  ASSERT_TRUE(told.waitFor(1));
  EXPECT_EQ(send(here("photo.jpg"), target), 0x10000005u);
  ASSERT_TRUE(created);
  EXPECT_EQ(nameOf(created), "PHOTO.jpg");
  EXPECT_EQ(read(onPhone("target/PHOTO.jpg")), "phone's");
  stopListening();
}

TEST_F(FileSender, TooManyEventsToAskForMakeTheFolderBeListedAgain) {
  storage.folder("target");
  write(here("file"), "text");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* target = named(foldersIn(top), "target");
  foldersIn(top, target);
  startListening();
  for (int i = 0; i < 80; ++i)
    storage.folder("target/new" + std::to_string(i));
  ASSERT_TRUE(told.waitFor(80));
  const std::uint64_t before = transactions();
  ASSERT_EQ(send(here("file"), target), 0u);
  EXPECT_LE(transactions(), before + 6 + 15 + 4) << "a listing, and a question for each event since the limit";
  EXPECT_EQ(foldersIn(top, target).size(), 80u);
  stopListening();
}

TEST_F(FileSender, WhatAPhoneThatStartedANewSessionHasOfAFileIsTakenAwayUnlessItIsWhole) {
  const std::string whole = pattern(8 << 10);
  write(here("file"), whole);
  storage.folder("a/b");
  start();
  for (const std::string& kept : {whole.substr(0, 1000), whole}) {
    _MTP_FOLDER_NODE* a = foldersIn(firstStorage()).at(0);
    _MTP_FOLDER_NODE* b = foldersIn(firstStorage(), a).at(0);
    EXPECT_TRUE(filesIn(b).empty());
    respond(mtp::Operation::SendObject, mtp::Response::SessionNotOpen);
    std::string lines;
    mtp::setLog([&](mtp::LogLevel, const std::string& line) {
      lines += line + '\n';
      if (line.find("a new session") != std::string::npos)
        write(onPhone("a/b/file"), kept); // what it had written before
    });
    EXPECT_NE(send(here("file"), b), 0u);
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    EXPECT_NE(lines.find("a new session"), std::string::npos) << lines;
    EXPECT_EQ(std::filesystem::exists(onPhone("a/b/file")), kept.size() == whole.size()) << lines;
  }
}

TEST_F(FileSender, TwoThreadsThatSendTheSameNameMakeOneFile) {
  write(here("a/file"), pattern(100000, 1));
  write(here("b/FILE"), pattern(100000, 2));
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  filesIn(top);
  std::array<uint32_t, 2> statuses{};
  const auto sendOne = [&](const char* name, uint32_t& status) {
    const std::u16string path = here(name).u16string();
    _MTP_FILE_NODE* node = nullptr;
    status =
        mtpDextSendFileEx(path.c_str(), static_cast<uint32_t>(path.size() + 1), &top->common, &node, nullptr, nullptr);
  };
  std::thread other([&] { sendOne("a/file", statuses[0]); });
  sendOne("b/FILE", statuses[1]);
  other.join();
  std::sort(statuses.begin(), statuses.end());
  EXPECT_EQ(statuses, (std::array<uint32_t, 2>{0u, 0x10000005u}));
  EXPECT_EQ(entriesOf(storage.path()).size(), 1u);
}

TEST_F(FileSender, AFileLargerThanThePhoneCanKeepIsRefusedByThePhone) {
  vphone::Options options;
  options.storages.push_back({.folder = storage.path(), .description = "Card", .maxFileSize = 1000});
  start(options);
  write(here("file"), pattern(2000));
  EXPECT_EQ(send(here("file"), firstStorage()), 0x13100024u);
  EXPECT_TRUE(entriesOf(storage.path()).empty());
}

TEST_F(FileSender, AFileThatThePhoneMadeWithoutAnsweringDoesNotStayThere) {
  mtp::EngineState::instance().setTimeLimits(shortLimits());
  write(here("file"), pattern(5000));
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  EXPECT_TRUE(filesIn(top).empty());
  fault(FaultKind::Silence, FaultPhase::Data, mtp::Operation::SendObjectInfo, 5);
  Progress progress;
  bool made = false;
  progress.answer = [&](std::uint64_t) {
    if (!std::exchange(made, true)) // as some do when it is announced
      write(onPhone("file"), "");
    return 0u;
  };
  EXPECT_NE(send(here("file"), top, &progress), 0u);
  EXPECT_TRUE(made);
  EXPECT_FALSE(std::filesystem::exists(onPhone("file"))) << log();
  EXPECT_EQ(send(here("file"), top), 0u) << log();
  EXPECT_TRUE(read(onPhone("file")) == pattern(5000));
}
