// Copying files in both directions, thumbnails, and paths of the computer.
#include "MTPCore/AccessFixture.h"
#include "Platform/NotificationCenter.h"

#include <QFileInfo>

#include <atomic>
#include <cstdlib>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

constexpr std::uint32_t Unsuccessful = 0x10000001;
constexpr std::uint32_t NotExisting = 0x10000004;
constexpr std::uint32_t Canceled = 0x10000007;

// What a callback was told, and what it answers.
struct Progress {
  std::uint32_t answer = 0;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> reports;
  std::thread::id thread;

  static std::uint32_t callback(std::uint64_t current, std::uint64_t total, void* context) {
    auto& self = *static_cast<Progress*>(context);
    self.reports.emplace_back(current, total);
    self.thread = std::this_thread::get_id();
    return self.answer;
  }
};

std::string refusal(void* device, const char* source, const char* destination) {
  return QString::asprintf("Input parameter is error. device = %p, srcPath = %s, destPath = %s", device, source,
                           destination)
      .toStdString();
}

class MTPDextSDKWrapperTransfers : public AccessFixture {
protected:
  bool receive(const QString& nodeID, const QString& source, const QString& destination) {
    return wrapper->uploadFileFromMTP(nodeID, source, destination, QString(), Progress::callback, &progress, error);
  }
  bool send(_MTP_COMMON_NODE* parent, const QString& source, const QString& destination) {
    return wrapper->downloadFileToMTP(parent, source, destination, Progress::callback, &progress, &newID, error);
  }
  // The path handed to the SDK for a file of the computer.
  QString validated(const QString& path) {
    std::unique_ptr<char16_t[]> uniName;
    std::uint32_t byteLength = 1;
    wrapper->validateFilePathForMtp(path, uniName, byteLength);
    if (!uniName) {
      EXPECT_EQ(byteLength, 0u);
      return {};
    }
    EXPECT_EQ(byteLength % 2, 0u);
    const std::uint32_t units = byteLength / 2 - 1;
    EXPECT_EQ(uniName[units], u'\0');
    return QStringView(uniName.get(), units).toString();
  }

  Progress progress;
  QString newID = "before";
};

// Counts the rescan notifications.
class Rescans {
public:
  std::vector<QVariantMap> infos;

private:
  std::unique_ptr<platform::NotificationObservation> m_observation =
      platform::NotificationCenter::defaultCenter().observe(
          "QXVORN_NOTI_MTP_BROWSER_RESCAN", [this](const auto& post) { infos.push_back(post.userInfo); });
};

} // namespace

// ---- From the phone to the computer ----

TEST_F(MTPDextSDKWrapperTransfers, AFileIsReceivedByItsIdentifierWhateverThePathSays) {
  const QString destination = folder.filePath(QString::fromUtf8("Ébène 🎵.jpg"));
  EXPECT_TRUE(receive(idOf(aJpg), "/M/Card/readme.txt", destination));
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(read(destination), "picture a");
}

TEST_F(MTPDextSDKWrapperTransfers, WithoutAnIdentifierAFileIsReceivedByItsPath) {
  EXPECT_TRUE(receive(QString(), "/M/Card/DCIM/Camera/X.JPG", folder.filePath("x")));
  EXPECT_EQ(read(folder.filePath("x")), "picture x");
  EXPECT_TRUE(receive("0", "/M/Card/readme.txt", folder.filePath("r")));
  EXPECT_EQ(read(folder.filePath("r")), "read me");
}

TEST_F(MTPDextSDKWrapperTransfers, ATransferGoesOnByPathWhenTheNodesWereForgottenMeanwhile) {
  const QString stale = idOf(aJpg);
  wrapper->mtpReset(); // as a change on the phone has it done
  EXPECT_TRUE(receive(stale, "/M/Card/DCIM/a.jpg", folder.filePath("a")));
  EXPECT_EQ(read(folder.filePath("a")), "picture a");
}

TEST_F(MTPDextSDKWrapperTransfers, WhatIsNotThereIsNotReceivedAndNoNamesakeEither) {
  for (const char* const path :
       {"/M/Card/DCIM/gone.jpg", "/M/Card/DCIM/Gone/a.jpg", "/M/Card/DCIM", "/M/Card", "/M", "/M/Disk/a.jpg", ""}) {
    error = 0;
    EXPECT_FALSE(receive(QString(), path, folder.filePath("n"))) << path;
    EXPECT_EQ(error, Unsuccessful) << path;
  }
  EXPECT_EQ(sdk->calls(Operation::GetFileEx), 0);
  EXPECT_FALSE(QFile::exists(folder.filePath("n")));
}

TEST_F(MTPDextSDKWrapperTransfers, ReceivingWithoutDeviceSourceOrDestinationIsRefusedAndLogged) {
  EXPECT_FALSE(receive(idOf(aJpg), QString(), "/d"));
  EXPECT_EQ(error, 0x23000002u);
  EXPECT_TRUE(log.has(refusal(deviceNode, "(null)", "(hidden)")));
  EXPECT_FALSE(receive(idOf(aJpg), "/s", QString()));
  EXPECT_EQ(error, 0x23000002u);
  EXPECT_TRUE(log.hasPart("MTPDextSDKWrapper::uploadFileFromMTP-("));

  MTPDextSDKWrapper unbound(sdk, computer);
  EXPECT_FALSE(unbound.uploadFileFromMTP(idOf(aJpg), "/s", "/d", QString(), nullptr, nullptr, error));
  EXPECT_EQ(error, 0x23000002u);
  EXPECT_TRUE(log.has(refusal(nullptr, "(hidden)", "(hidden)")));
}

TEST_F(MTPDextSDKWrapperTransfers, ADestinationThatIsNoPathOfTheComputerIsRefused) {
  for (const QString& name : {QString(QChar(0xD800)) + "x", QString("a") + QChar(0) + "b"}) {
    EXPECT_FALSE(receive(idOf(aJpg), "/M/Card/DCIM/a.jpg", folder.filePath(name)));
    EXPECT_EQ(error, 0x11000005u);
  }
  EXPECT_EQ(sdk->calls(Operation::GetFileEx), 0);
  EXPECT_THAT(exitStatuses, IsEmpty());
}

TEST_F(MTPDextSDKWrapperTransfers, AReceivedFileIsMarkedWithTheAddressItCameFrom) {
  EXPECT_TRUE(receive(idOf(aJpg), QString::fromUtf8("/M/Card/DC IM/é?#.jpg"), folder.filePath("a")));
  EXPECT_THAT(marks, ElementsAre(Pair(folder.filePath("a"), "mtp:///M/Card/DC%20IM/%C3%A9%3F%23.jpg")));
}

TEST_F(MTPDextSDKWrapperTransfers, AMarkThatCannotBeSetIsLoggedAndOtherwiseIgnored) {
  markError = ENOTSUP;
  EXPECT_TRUE(receive(idOf(aJpg), "/M/Card/DCIM/a.jpg", folder.filePath("a")));
  EXPECT_EQ(error, 0u);
  EXPECT_TRUE(log.has("Error setting attribute (95): Operation not supported"));
  EXPECT_THAT(exitStatuses, IsEmpty());
}

TEST_F(MTPDextSDKWrapperTransfers, AFileThatIsNotWhereItWasJustWrittenEndsTheProcessWithTheErrorAsStatus) {
  sdk->setLosesReceivedFiles(true);
  EXPECT_FALSE(receive(idOf(aJpg), "/M/Card/DCIM/a.jpg", folder.filePath("a")));
  EXPECT_THAT(exitStatuses, ElementsAre(ENOENT));
  EXPECT_TRUE(log.has("Error making ref (2): No such file or directory"));
  EXPECT_THAT(marks, IsEmpty());
}

TEST_F(MTPDextSDKWrapperTransfers, AFailedReceiveGivesTheSdksStatusAndNeitherMarksNorEndsTheProcess) {
  sdk->setStatus(Operation::GetFileEx, 0x1000000A);
  EXPECT_FALSE(receive(idOf(aJpg), "/M/Card/DCIM/a.jpg", folder.filePath("a")));
  EXPECT_EQ(error, 0x1000000Au);
  EXPECT_THAT(marks, IsEmpty());
  EXPECT_THAT(exitStatuses, IsEmpty());
}

TEST_F(MTPDextSDKWrapperTransfers, ProgressIsReportedOnTheCallingThread) {
  EXPECT_TRUE(receive(idOf(aJpg), "/M/Card/DCIM/a.jpg", folder.filePath("a")));
  EXPECT_THAT(progress.reports, ElementsAre(Pair(0u, 9u), Pair(9u, 9u)));
  EXPECT_EQ(progress.thread, std::this_thread::get_id());
}

TEST_F(MTPDextSDKWrapperTransfers, TheCallbacksAnswerStopsATransferInEitherDirection) {
  progress.answer = Canceled;
  EXPECT_FALSE(receive(idOf(aJpg), "/M/Card/DCIM/a.jpg", folder.filePath("a")));
  EXPECT_EQ(error, Canceled);
  EXPECT_FALSE(QFile::exists(folder.filePath("a")));
  EXPECT_FALSE(send(sdk->commonNode(music), write("new.mp3", "song"), "/M/Card/Music"));
  EXPECT_EQ(error, Canceled);
  EXPECT_THAT(sdk->contents(music), IsEmpty());
  EXPECT_EQ(progress.reports.size(), 2u);
}

// ---- From the computer to the phone ----

TEST_F(MTPDextSDKWrapperTransfers, AFileIsSentIntoTheGivenFolderAndItsIdentifierHandedOut) {
  const Rescans rescans;
  EXPECT_TRUE(send(sdk->commonNode(music), write("new.mp3", "song"), "/M/Card/Elsewhere"));
  EXPECT_EQ(error, 0u);
  const Handle sent = sdk->child(music, "new.mp3");
  EXPECT_EQ(sdk->content(sent), "song");
  EXPECT_EQ(newID, idOf(sent));
  EXPECT_THAT(sdk->contents(card), ElementsAre("DCIM/", "Music/", "readme.txt"));
}

TEST_F(MTPDextSDKWrapperTransfers, AfterEachFileSentARescanNotificationNamesTheLocation) {
  const Rescans rescans;
  EXPECT_TRUE(send(sdk->commonNode(music), write("1", "a"), "/M/Card/Music"));
  EXPECT_TRUE(send(sdk->commonNode(music), write("2", "b"), "/M/Card/Music"));
  const QVariantMap info{{"LocationID", "14200000"}};
  EXPECT_THAT(rescans.infos, ElementsAre(info, info));
}

TEST_F(MTPDextSDKWrapperTransfers, WithoutAFolderTheDestinationPathIsMadeAndUsed) {
  EXPECT_TRUE(send(nullptr, write("new.mp3", "song"), "/M/Card/Music/New/Album"));
  EXPECT_EQ(error, 0u);
  EXPECT_THAT(sdk->contents(sdk->child(sdk->child(music, "New"), "Album")), ElementsAre("new.mp3"));
  EXPECT_TRUE(send(nullptr, write("top.txt", "t"), "/M/Phone"));
  EXPECT_THAT(sdk->contents(phone), ElementsAre("top.txt"));
}

TEST_F(MTPDextSDKWrapperTransfers, AFolderThatTheSdkHasForgottenIsFoundAgainByTheDestinationPath) {
  _MTP_COMMON_NODE* const stale = sdk->commonNode(music);
  wrapper->mtpReset();
  EXPECT_TRUE(send(stale, write("new.mp3", "song"), "/M/Card/Music"));
  EXPECT_THAT(sdk->contents(music), ElementsAre("new.mp3"));
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 0);
}

TEST_F(MTPDextSDKWrapperTransfers, SendingAFileWhoseNameExistsHandsOutTheExistingNodeAndPostsNothing) {
  const Rescans rescans;
  EXPECT_FALSE(send(sdk->commonNode(dcim), write("A.JPG", "other"), "/M/Card/DCIM"));
  EXPECT_EQ(error, 0x10000005u);
  EXPECT_EQ(newID, idOf(aJpg));
  EXPECT_EQ(sdk->content(aJpg), "picture a");
  EXPECT_TRUE(log.has(QString::asprintf("mtpSendFile is failed. Common Node = (%p) status = "
                                        "DGSTATUS_NODE_FILE_DUPNAME_EXISTED - 0x10000005",
                                        static_cast<void*>(sdk->commonNode(dcim)))
                          .toStdString()));
  EXPECT_FALSE(send(sdk->commonNode(dcim), write("camera", "other"), "/M/Card/DCIM"));
  EXPECT_EQ(error, 0x10000006u);
  EXPECT_EQ(newID, idOf(camera));
  EXPECT_THAT(rescans.infos, IsEmpty());
}

TEST_F(MTPDextSDKWrapperTransfers, TheNewIdentifierNeedNotBeWanted) {
  const QString source = write("new.mp3", "song");
  EXPECT_TRUE(
      wrapper->downloadFileToMTP(sdk->commonNode(music), source, "/M/Card/Music", nullptr, nullptr, nullptr, error));
  EXPECT_FALSE(
      wrapper->downloadFileToMTP(sdk->commonNode(music), source, "/M/Card/Music", nullptr, nullptr, nullptr, error));
  EXPECT_EQ(error, 0x10000005u);
}

TEST_F(MTPDextSDKWrapperTransfers, AFailedSendGivesTheSdksStatusAndNoIdentifier) {
  const Rescans rescans;
  sdk->setStatus(Operation::SendFileEx, 0x1000000A);
  EXPECT_FALSE(send(sdk->commonNode(music), write("new.mp3", "song"), "/M/Card/Music"));
  EXPECT_EQ(error, 0x1000000Au);
  EXPECT_EQ(newID, "");
  EXPECT_THAT(rescans.infos, IsEmpty());
  EXPECT_TRUE(log.hasPart("status = DGSTATUS_STORAGE_FULL - 0x1000000a"));
  EXPECT_TRUE(log.hasPart("MTPDextSDKWrapper::downloadFileToMTP-("));
}

TEST_F(MTPDextSDKWrapperTransfers, WithoutAPlaceOnThePhoneNothingIsSent) {
  EXPECT_FALSE(send(nullptr, write("new.mp3", "song"), "/M/Disk/Music"));
  EXPECT_EQ(error, Unsuccessful);
  EXPECT_EQ(log.count("Get Current Node is NULL"), 1);
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 0);
}

TEST_F(MTPDextSDKWrapperTransfers, AFileWhoseFolderCannotBeMadeIsNotSentFurtherUp) {
  sdk->setStatus(Operation::CreateFolderNode, 0x1000000A);
  EXPECT_FALSE(send(nullptr, write("new.mp3", "song"), "/M/Card/Music/New"));
  EXPECT_EQ(error, 0x1000000Au);
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 0);
}

TEST_F(MTPDextSDKWrapperTransfers, SendingWithoutDeviceSourceOrDestinationIsRefusedAndLogged) {
  EXPECT_FALSE(send(sdk->commonNode(music), QString(), "/d"));
  EXPECT_EQ(error, 0x23000001u);
  EXPECT_EQ(newID, "");
  EXPECT_FALSE(send(sdk->commonNode(music), "/s", QString()));
  EXPECT_EQ(error, 0x23000001u);
  MTPDextSDKWrapper unbound(sdk, computer);
  EXPECT_FALSE(unbound.downloadFileToMTP(nullptr, "/s", "/d", nullptr, nullptr, nullptr, error));
  EXPECT_EQ(error, 0x23000001u);
  EXPECT_TRUE(log.has(refusal(nullptr, "(hidden)", "(hidden)")));
}

TEST_F(MTPDextSDKWrapperTransfers, ASourceThatIsMissingGivesTheSdksStatusAndLeavesNoLink) {
  EXPECT_FALSE(send(sdk->commonNode(music), folder.filePath("missing"), "/M/Card/Music"));
  EXPECT_EQ(error, 0x11000001u);
  EXPECT_FALSE(QFile::exists(computer.linkFolder));
}

TEST_F(MTPDextSDKWrapperTransfers, ASourceWhoseNameIsStoredDecomposedIsSentThroughALinkThatStays) {
  const QString decomposed = write(QString::fromUtf8("e\u0301te\u0301.mp3"), "song");
  const QString composed = QString::fromUtf8("\u00E9t\u00E9.mp3");
  EXPECT_TRUE(send(sdk->commonNode(music), decomposed, "/M/Card/Music"));
  EXPECT_EQ(error, 0u);
  const QString link = computer.linkFolder + folder.path() + u'/' + composed;
  EXPECT_EQ(sdk->lastSource(), link);
  EXPECT_EQ(QFileInfo(link).symLinkTarget(), decomposed);
  EXPECT_EQ(sdk->content(sdk->child(music, composed)), "song");

  EXPECT_TRUE(send(sdk->commonNode(phone), decomposed, "/M/Phone"));
  EXPECT_EQ(sdk->lastSource(), link);
  EXPECT_EQ(sdk->content(sdk->child(phone, composed)), "song");
}

TEST_F(MTPDextSDKWrapperTransfers, WhenNoLinkCanBeMadeTheFileIsNotSent) {
  const QString decomposed = write(QString::fromUtf8("e\u0301.mp3"), "song");
  write("links", "a file where the folder should be");
  EXPECT_FALSE(send(sdk->commonNode(music), decomposed, "/M/Card/Music"));
  EXPECT_EQ(error, Unsuccessful);
  EXPECT_TRUE(log.has("Memory alloc for send is failed."));
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 0);
}

TEST_F(MTPDextSDKWrapperTransfers, ADetachedWrapperTransfersNothing) {
  const QString id = idOf(aJpg);
  wrapper->setIsDetached(true);
  EXPECT_FALSE(receive(id, "/M/Card/DCIM/a.jpg", folder.filePath("a")));
  EXPECT_EQ(error, 0x23000002u);
  EXPECT_FALSE(send(sdk->commonNode(music), write("n", "n"), "/M/Card/Music"));
  EXPECT_EQ(error, 0x23000001u);
  EXPECT_EQ(wrapper->getMTPFileThumb(sdk->fileNode(aJpg), folder.filePath("t")), Unsuccessful);
  EXPECT_EQ(sdk->calls(Operation::GetFileEx) + sdk->calls(Operation::SendFileEx) + sdk->calls(Operation::GetThumb), 0);
}

// ---- Paths of the computer ----

TEST_F(MTPDextSDKWrapperTransfers, AComposedPathIsHandedOutAsItIs) {
  const QString path = write(QString::fromUtf8("\u00E9 🎵.mp3"), "song");
  EXPECT_EQ(validated(path), path);
  EXPECT_FALSE(QFile::exists(computer.linkFolder));
}

TEST_F(MTPDextSDKWrapperTransfers, TwoThreadsWhoseFilesShareALinkBothGetItEveryTime) {
  const QString letterAndRing = write(QString::fromUtf8("A\u030A.mp3"), "one");
  const QString unitSign = write(QString::fromUtf8("\u212B.mp3"), "two");
  const QString link = computer.linkFolder + folder.path() + QString::fromUtf8("/\u00C5.mp3");
  constexpr int Rounds = 500;
  std::atomic<int> right{0}; // written by both threads, read after they are joined
  const auto prepare = [&](const QString& path) {
    for (int i = 0; i < Rounds; ++i)
      right += validated(path) == link ? 1 : 0;
  };
  std::thread other(prepare, letterAndRing);
  prepare(unitSign);
  other.join();
  EXPECT_EQ(right, 2 * Rounds);
}

// ---- Thumbnails ----

TEST_F(MTPDextSDKWrapperTransfers, AThumbnailIsWrittenToItsDestination) {
  const QString destination = write("thumb.jpg", "an older and longer one");
  sdk->setThumbnail(aJpg, "image");
  EXPECT_EQ(wrapper->getMTPFileThumb(sdk->fileNode(aJpg), destination), 0u);
  EXPECT_EQ(read(destination), "image");
  EXPECT_EQ(sdk->calls(Operation::GetThumb), 2);
}

TEST_F(MTPDextSDKWrapperTransfers, AFirstAnswerOfStatusZeroIsAsGoodAsOne) {
  sdk->setThumbnail(aJpg, "image");
  sdk->setThumbnailFirstAnswer(5, 0);
  EXPECT_EQ(wrapper->getMTPFileThumb(sdk->fileNode(aJpg), folder.filePath("t")), 0u);
  EXPECT_EQ(read(folder.filePath("t")), "image");
}

TEST_F(MTPDextSDKWrapperTransfers, AFailedThumbnailIsLoggedAndLeavesWhatWasThere) {
  const QString destination = write("thumb.jpg", "older");
  EXPECT_EQ(wrapper->getMTPFileThumb(sdk->fileNode(aJpg), destination), 0x1310000Eu);
  EXPECT_TRUE(log.has("mtpGetThumb is failed. status = DGSTATUS_INTERNAL_NOTHUMBNAILPRESENT  0x1310000e"));
  sdk->setThumbnail(aJpg, "image");
  sdk->setStatusAt(Operation::GetThumb, 2, 0x13000009);
  EXPECT_EQ(wrapper->getMTPFileThumb(sdk->fileNode(aJpg), destination), 0x13000009u);
  EXPECT_EQ(read(destination), "older");
  EXPECT_EQ(wrapper->getMTPFileThumb(sdk->fileNode(aJpg), folder.filePath("no/such/folder/t")), 0x11000003u);
}

TEST_F(MTPDextSDKWrapperTransfers, AThumbnailOfNoNodeIsRefused) {
  EXPECT_EQ(wrapper->getMTPFileThumb(nullptr, folder.filePath("t")), Unsuccessful);
  EXPECT_EQ(sdk->calls(Operation::GetThumb), 0);
  char stranger[64] = {};
  EXPECT_EQ(wrapper->getMTPFileThumb(reinterpret_cast<_MTP_FILE_NODE*>(stranger), folder.filePath("t")), NotExisting);
}

TEST_F(MTPDextSDKWrapperTransfers, AThumbnailOfAbsurdSizeIsNotMadeRoomFor) {
  sdk->setThumbnail(aJpg, "image");
  sdk->setThumbnailFirstAnswer(0xFFFFFFFF, 1);
  EXPECT_EQ(wrapper->getMTPFileThumb(sdk->fileNode(aJpg), folder.filePath("t")), 1u);
  EXPECT_TRUE(log.has("mtpGetThumb - Memory allocate is failed. status = DGSTATUS_MORE_DATA - 0x00000001"));
  sdk->setThumbnailFirstAnswer(2, 1); // and one that says too little overruns nothing
  EXPECT_EQ(wrapper->getMTPFileThumb(sdk->fileNode(aJpg), folder.filePath("t")), 1u);
  EXPECT_FALSE(QFile::exists(folder.filePath("t")));
}
