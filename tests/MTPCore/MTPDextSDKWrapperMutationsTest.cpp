// Creating, renaming and deleting.
#include "MTPCore/AccessFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::uint32_t Unsuccessful = 0x10000001;
constexpr std::uint32_t NotExisting = 0x10000004;
constexpr std::uint32_t FileClash = 0x10000005;
constexpr std::uint32_t FolderClash = 0x10000006;

class MTPDextSDKWrapperMutations : public AccessFixture {
protected:
  _MTP_COMMON_NODE* checkCreate(const QString& path) {
    return wrapper->checkCreateFolder(deviceNode, &head, path, error);
  }
  bool rename(const QString& path, const QString& name) {
    return wrapper->renameItemAtPath(deviceNode, cardNode, path, name, error);
  }
  bool remove(const QString& nodeID, const QString& path) {
    return wrapper->deleteItemAtPath(deviceNode, head, nodeID, path, error);
  }
};

} // namespace

// ---- Creating one folder ----

TEST_F(MTPDextSDKWrapperMutations, ANewFolderIsMadeInAFolderOrAtAStoragesTopLevel) {
  _MTP_FOLDER_NODE* const inFolder = wrapper->createFolder(sdk->commonNode(dcim), "2024", error);
  EXPECT_EQ(error, 0u);
  ASSERT_NE(inFolder, nullptr);
  EXPECT_EQ(inFolder, sdk->folderNode(sdk->child(dcim, "2024")));
  EXPECT_NE(wrapper->createFolder(sdk->commonNode(phone), "Films", error), nullptr);
  EXPECT_EQ(error, 0u);
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "2024/", "a.jpg"));
  EXPECT_THAT(sdk->contents(phone), ElementsAre("Films/"));
}

TEST_F(MTPDextSDKWrapperMutations, CreatingAFolderWhoseNameExistsYieldsNullAndTheClashStatus) {
  EXPECT_EQ(wrapper->createFolder(sdk->commonNode(dcim), "camera", error), nullptr);
  EXPECT_EQ(error, FolderClash);
  EXPECT_EQ(wrapper->createFolder(sdk->commonNode(dcim), "a.jpg", error), nullptr);
  EXPECT_EQ(error, FileClash);
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "a.jpg"));
}

TEST_F(MTPDextSDKWrapperMutations, AFoldersNameReachesThePhoneInComposedForm) {
  wrapper->createFolder(sdk->commonNode(phone), QString::fromUtf8("E\u0301bène 🎵"), error);
  EXPECT_EQ(error, 0u);
  EXPECT_THAT(sdk->contents(phone), ElementsAre("\u00C9bène 🎵/"));
}

TEST_F(MTPDextSDKWrapperMutations, AFolderThatThePhoneRefusesYieldsNullAndItsStatus) {
  sdk->setStatus(Operation::CreateFolderNode, 0x1310000C);
  EXPECT_EQ(wrapper->createFolder(sdk->commonNode(dcim), "n", error), nullptr);
  EXPECT_EQ(error, 0x1310000Cu);
  sdk->setStatus(Operation::CreateFolderNode, std::nullopt);
  EXPECT_EQ(wrapper->createFolder(nullptr, "n", error), nullptr);
  EXPECT_EQ(error, NotExisting);
}

// ---- Creating the folders of a path ----

TEST_F(MTPDextSDKWrapperMutations, APathWhoseFoldersExistCreatesNothingAndReturnsTheDeepest) {
  EXPECT_EQ(checkCreate("/M/Card/DCIM/Camera"), sdk->commonNode(camera));
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(checkCreate("/m/card/dcim/CAMERA"), sdk->commonNode(camera));
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 0);
}

TEST_F(MTPDextSDKWrapperMutations, APathWithTwoMissingLevelsCreatesBothInOrder) {
  _MTP_COMMON_NODE* const made = checkCreate("/M/Card/DCIM/2024/May");
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 2);
  const Handle year = sdk->child(dcim, "2024");
  EXPECT_THAT(sdk->contents(year), ElementsAre("May/"));
  EXPECT_EQ(made, sdk->commonNode(sdk->child(year, "May")));
  EXPECT_THAT(sdk->contents(card), ElementsAre("DCIM/", "Music/", "readme.txt"));
}

TEST_F(MTPDextSDKWrapperMutations, MissingFoldersAreMadeFromTheStoragesTopLevelOn) {
  _MTP_COMMON_NODE* const made = checkCreate("/M/Phone/A/B");
  EXPECT_EQ(made, sdk->commonNode(sdk->child(sdk->child(phone, "A"), "B")));
}

TEST_F(MTPDextSDKWrapperMutations, APathWithoutFoldersGivesItsStorage) {
  EXPECT_EQ(checkCreate("/M/Card"), sdk->commonNode(card));
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(checkCreate("/Phone"), sdk->commonNode(phone));
}

TEST_F(MTPDextSDKWrapperMutations, APathOfAnUnknownStorageGivesNullAndStatusZero) {
  EXPECT_EQ(checkCreate("/M/Disk/A"), nullptr);
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 0);
}

TEST_F(MTPDextSDKWrapperMutations, WithoutDeviceOrPathOrModelNameNoPathIsMade) {
  EXPECT_EQ(wrapper->checkCreateFolder(nullptr, &head, "/M/Card/A", error), nullptr);
  EXPECT_EQ(error, 0x20000002u);
  EXPECT_EQ(checkCreate(QString()), nullptr);
  EXPECT_EQ(error, 0x20000002u);
  sdk->setStatus(Operation::GetModelName, 0x13000008);
  EXPECT_EQ(checkCreate("/M/Card/A"), nullptr);
  EXPECT_EQ(error, 0x13000008u);
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 0);
}

TEST_F(MTPDextSDKWrapperMutations, BehindAFolderThatCannotBeMadeNothingIsMadeAndTheStatusTellsWhy) {
  sdk->setStatusAt(Operation::CreateFolderNode, 1, 0x13100000);
  EXPECT_EQ(checkCreate("/M/Card/DCIM/bad/Sub"), sdk->commonNode(dcim));
  EXPECT_EQ(error, 0x13100000u);
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 1);
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "a.jpg"));
}

TEST_F(MTPDextSDKWrapperMutations, AFolderThatWasMadeWithoutBeingToldIsAFailureAndNothingIsMadeBehindIt) {
  sdk->addFolder(card, "Sub");
  sdk->setStatusAt(Operation::CreateFolderNode, 1, 0); // success without a node: its place was listed anew meanwhile
  checkCreate("/M/Card/DCIM/2024/Sub");
  EXPECT_EQ(error, NotExisting) << "the namesake at the top level is not the path's folder";
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 1);
  sdk->setStatusAt(Operation::CreateFolderNode, 1, 0);
  EXPECT_FALSE(wrapper->downloadFileToMTP(nullptr, write("f.txt", "text"), "/M/Card/DCIM/2024/Sub", nullptr, nullptr,
                                          nullptr, error));
  EXPECT_EQ(error, NotExisting);
  EXPECT_THAT(sdk->contents(sdk->child(card, "Sub")), IsEmpty());
}

TEST_F(MTPDextSDKWrapperMutations, AFolderMadeComposedIsFoundAgainByItsDecomposedPath) {
  _MTP_COMMON_NODE* const made = checkCreate(QString::fromUtf8("/M/Card/E\u0301te\u0301"));
  EXPECT_EQ(checkCreate(QString::fromUtf8("/M/Card/E\u0301te\u0301")), made);
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 1);
}

TEST_F(MTPDextSDKWrapperMutations, AStorageHeadFromBeforeAResetStillLeadsToTheStorages) {
  wrapper->removeMtpBrowser();
  EXPECT_EQ(wrapper->nodeKind(head), 0);
  EXPECT_NE(checkCreate("/M/Card/New"), nullptr);
  EXPECT_EQ(error, 0u);
  EXPECT_NO_THROW(sdk->child(card, "New"));
}

// ---- Renaming ----

TEST_F(MTPDextSDKWrapperMutations, AFileIsRenamedByItsPath) {
  EXPECT_TRUE(rename("/M/Card/DCIM/Camera/x.jpg", "y.jpg"));
  EXPECT_EQ(error, 0u);
  EXPECT_THAT(sdk->contents(camera), ElementsAre("y.jpg"));
  EXPECT_TRUE(rename("/M/Card/readme.txt", "note.txt"));
  EXPECT_THAT(sdk->contents(card), ElementsAre("DCIM/", "Music/", "note.txt"));
}

TEST_F(MTPDextSDKWrapperMutations, AFolderPathRenamesTheFolder) {
  EXPECT_TRUE(rename("/M/Card/DCIM/Camera", "Pictures"));
  EXPECT_TRUE(rename("/M/Card/Music", "Songs"));
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Pictures/", "a.jpg"));
  EXPECT_THAT(sdk->contents(card), ElementsAre("DCIM/", "Songs/", "readme.txt"));
}

TEST_F(MTPDextSDKWrapperMutations, ANewNameReachesThePhoneAsItStands) {
  const QString decomposed = QString::fromUtf8("e\u0301.jpg");
  EXPECT_TRUE(rename("/M/Card/DCIM/a.jpg", decomposed));
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", decomposed.toStdString()));
}

TEST_F(MTPDextSDKWrapperMutations, RenamingWhatIsNotThereAsksTheSdkWithoutANodeAndTouchesNothing) {
  EXPECT_FALSE(rename("/M/Card/nothing.jpg", "y"));
  EXPECT_EQ(error, NotExisting);
  EXPECT_FALSE(rename("/M/Card/DCIM/gone.jpg", "y"));
  EXPECT_EQ(error, NotExisting);
  EXPECT_FALSE(rename("/M/Card/Gone/Music", "y"));
  EXPECT_EQ(error, NotExisting);
  EXPECT_FALSE(rename("/M/Card", "y"));
  EXPECT_EQ(error, NotExisting);
  EXPECT_EQ(sdk->calls(Operation::RenameNode), 4);
  EXPECT_THAT(sdk->contents(card), ElementsAre("DCIM/", "Music/", "readme.txt"));
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "a.jpg"));
}

TEST_F(MTPDextSDKWrapperMutations, ARenameThatThePhoneRefusesGivesItsStatus) {
  sdk->setStatus(Operation::RenameNode, 0x13000007);
  EXPECT_FALSE(rename("/M/Card/DCIM/a.jpg", "b.jpg"));
  EXPECT_EQ(error, 0x13000007u);
}

TEST_F(MTPDextSDKWrapperMutations, OfTwoNamesThatDifferInCaseTheOneThatIsMeantIsTaken) {
  const Handle upper = sdk->addFile(dcim, "A.JPG");
  EXPECT_TRUE(rename("/M/Card/DCIM/A.JPG", "first"));
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "a.jpg", "first"));
  EXPECT_TRUE(rename("/M/Card/DCIM/A.jpg", "second"));
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "second", "first"));
  EXPECT_EQ(sdk->child(dcim, "first"), upper);
}

// ---- Deleting ----

TEST_F(MTPDextSDKWrapperMutations, OfAFolderAndAFileThatDifferInCaseTheOneThatIsMeantIsTaken) {
  sdk->addFile(sdk->addFolder(dcim, "Photo"), "inside.jpg");
  sdk->addFile(dcim, "photo");
  EXPECT_TRUE(rename("/M/Card/DCIM/photo", "renamed"));
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "Photo/", "a.jpg", "renamed"));
  sdk->addFile(dcim, "photo");
  EXPECT_TRUE(remove("0", "/M/Card/DCIM/photo"));
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "Photo/", "a.jpg", "renamed"));
  EXPECT_TRUE(remove("0", "/M/Card/DCIM/PHOTO")) << "without an exact one the folder is meant";
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "a.jpg", "renamed"));
}

TEST_F(MTPDextSDKWrapperMutations, AnExistingNodeIsDeletedByItsIdentifierWhateverThePathSays) {
  EXPECT_TRUE(remove(idOf(aJpg), "/M/Card/readme.txt"));
  EXPECT_EQ(error, 0u);
  EXPECT_TRUE(remove(idOf(camera), QString()));
  EXPECT_THAT(sdk->contents(dcim), IsEmpty());
  EXPECT_THAT(sdk->contents(card), ElementsAre("DCIM/", "Music/", "readme.txt"));
}

TEST_F(MTPDextSDKWrapperMutations, DeletingByAStaleIdentifierFallsBackToThePath) {
  const QString stale = idOf(aJpg);
  wrapper->removeMtpBrowser(); // every record is new from here on
  EXPECT_EQ(wrapper->getCommonNodeFromNodeID(stale), nullptr);
  EXPECT_TRUE(remove(stale, "/M/Card/DCIM/a.jpg"));
  EXPECT_EQ(error, 0u);
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/"));
}

TEST_F(MTPDextSDKWrapperMutations, DeletingANodeThatThePhoneHasNoMoreFallsBackToThePath) {
  sdk->setStatus(Operation::LibIsExist, 0); // the record is still known
  EXPECT_TRUE(remove(idOf(aJpg), "/M/Card/DCIM/Camera/x.jpg"));
  EXPECT_THAT(sdk->contents(camera), IsEmpty());
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("Camera/", "a.jpg"));
}

TEST_F(MTPDextSDKWrapperMutations, APathThatNamesAFolderDeletesTheFolderWithAllInIt) {
  EXPECT_TRUE(remove(QString(), "/M/Card/dcim"));
  EXPECT_EQ(error, 0u);
  EXPECT_THAT(sdk->contents(card), ElementsAre("Music/", "readme.txt"));
}

TEST_F(MTPDextSDKWrapperMutations, AFileAtAStoragesTopLevelIsDeletedByItsPath) {
  EXPECT_TRUE(remove(QString(), "/M/Card/readme.txt"));
  EXPECT_THAT(sdk->contents(card), ElementsAre("DCIM/", "Music/"));
}

TEST_F(MTPDextSDKWrapperMutations, WhatIsNotThereIsNotDeleted) {
  for (const char* const path :
       {"/M/Card/DCIM/gone.jpg", "/M/Card/gone.jpg", "/M/Card", "/M", "/M/Disk/a.jpg", "/", ""}) {
    EXPECT_FALSE(remove("", path)) << path;
    EXPECT_EQ(error, Unsuccessful) << path;
  }
  EXPECT_FALSE(remove(QString(), QString()));
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
}

TEST_F(MTPDextSDKWrapperMutations, ANamesakeElsewhereIsNeverDeletedInTheOnesPlace) {
  // A folder of the same name further up, at the top level, and a file of the same name further up.
  for (const char* const path : {"/M/Card/DCIM/DCIM", "/M/Card/Backup/DCIM", "/M/Card/DCIM/Gone/a.jpg",
                                 "/M/Card/Gone/readme.txt", "/M/Card/Gone/Music/Music"}) {
    EXPECT_FALSE(remove(QString(), path)) << path;
    EXPECT_EQ(error, Unsuccessful) << path;
  }
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
}

TEST_F(MTPDextSDKWrapperMutations, ADeletionThatThePhoneRefusesGivesItsStatus) {
  sdk->setStatus(Operation::DeleteNode, 0x13100010);
  EXPECT_FALSE(remove(idOf(dcim), "/M/Card/DCIM"));
  EXPECT_EQ(error, 0x13100010u);
  EXPECT_THAT(sdk->contents(card), ElementsAre("DCIM/", "Music/", "readme.txt"));
}

// ---- Detached ----

TEST_F(MTPDextSDKWrapperMutations, ADetachedWrapperChangesNothing) {
  const QString id = idOf(aJpg);
  wrapper->setIsDetached(true);
  EXPECT_EQ(wrapper->createFolder(sdk->commonNode(dcim), "n", error), nullptr);
  EXPECT_EQ(error, Unsuccessful);
  EXPECT_EQ(checkCreate("/M/Card/n"), nullptr);
  EXPECT_EQ(error, 0x20000002u);
  EXPECT_FALSE(rename("/M/Card/DCIM/a.jpg", "n"));
  EXPECT_EQ(error, Unsuccessful);
  error = 0;
  EXPECT_FALSE(remove(id, "/M/Card/DCIM/a.jpg"));
  EXPECT_EQ(error, Unsuccessful);
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode) + sdk->calls(Operation::RenameNode) +
                sdk->calls(Operation::DeleteNode),
            0);
}

TEST_F(MTPDextSDKWrapperMutations, AnUnpluggedPhoneGivesAStatusForEachChange) {
  const QString id = idOf(aJpg);
  _MTP_COMMON_NODE* const stale = sdk->commonNode(dcim);
  sdk->unplug(device);
  EXPECT_EQ(wrapper->createFolder(stale, "n", error), nullptr);
  EXPECT_EQ(error, NotExisting);
  EXPECT_EQ(checkCreate("/M/Card/n"), nullptr);
  EXPECT_NE(error, 0u);
  EXPECT_FALSE(rename("/M/Card/DCIM/a.jpg", "n"));
  EXPECT_NE(error, 0u);
  EXPECT_FALSE(remove(id, "/M/Card/DCIM/a.jpg"));
  EXPECT_NE(error, 0u);
}
