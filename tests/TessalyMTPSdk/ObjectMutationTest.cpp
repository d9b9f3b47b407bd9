// Creating, renaming and deleting on a phone, and what is known of its folders afterwards.
#include "EngineFixture.h"

#include "TessalyMTPSdk/MtpCodes.h"

using namespace testsupport;

namespace {

using Strings = std::vector<std::string>;

class ObjectMutation : public EngineWithPhone {
protected:
  static uint32_t create(void* parent, const std::u16string& name, _MTP_FOLDER_NODE** created) {
    return mtpDextCreateFolderNode(static_cast<_MTP_COMMON_NODE*>(parent), name.c_str(),
                                   static_cast<uint32_t>(2 * name.size() + 2), created);
  }
  static uint32_t rename(void* node, const std::u16string& name) {
    return mtpDextRenameNode(static_cast<_MTP_COMMON_NODE*>(node), name.c_str(),
                             static_cast<uint32_t>(2 * name.size() + 2));
  }
  static uint32_t remove(void* node) { return mtpDextDeleteNode(static_cast<_MTP_COMMON_NODE*>(node)); }
  static std::uint64_t transactions() { return mtp::counters().transactions; }
  bool exists(const std::string& name) const { return std::filesystem::exists(storage.path() / name); }
  void respond(mtp::Operation operation, std::uint32_t code) {
    phone->faults().add({.kind = vphone::FaultKind::Respond,
                         .transaction = std::nullopt,
                         .operation = static_cast<std::uint16_t>(operation),
                         .value = code});
  }

  _MTP_FOLDER_NODE* created = nullptr;
};

/// The head of a JPEG file with the thumbnail "THUMB" in its Exif segment.
const std::string Picture("\xFF\xD8\xFF\xE1\0\x39"
                          "Exif\0\0"
                          "II\x2A\0\x08\0\0\0\0\0\x0E\0\0\0"
                          "\x02\0\x01\x02\x04\0\x01\0\0\0\x2C\0\0\0\x02\x02\x04\0\x01\0\0\0\x05\0\0\0\0\0\0\0"
                          "THUMB",
                          6 + 6 + 14 + 30 + 5);

} // namespace

TEST_F(ObjectMutation, ANewFolderIsOnThePhoneAndInTheListWithoutListingAgain) {
  storage.folder("old");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  foldersIn(top);
  const std::uint64_t before = transactions();
  ASSERT_EQ(create(top, u"new", &created), 0u) << log();
  EXPECT_EQ(transactions(), before + 1);
  ASSERT_TRUE(created);
  EXPECT_EQ(nameOf(created), "new");
  EXPECT_EQ(created->common.nodeType, 3);
  EXPECT_TRUE(std::filesystem::is_directory(storage.path() / "new"));
  EXPECT_EQ(namesOf(foldersIn(top), false), (Strings{"old", "new"}));
  EXPECT_EQ(transactions(), before + 1);
  _MTP_FOLDER_NODE* inner = nullptr;
  EXPECT_EQ(create(created, u"inner", &inner), 0u);
  EXPECT_TRUE(std::filesystem::is_directory(storage.path() / "new/inner"));
  _MTP_FOLDER_NODE* parent = nullptr;
  EXPECT_EQ(mtpDextGetParentFolderNode(inner, &parent), 0u);
  EXPECT_EQ(parent, created);
}

TEST_F(ObjectMutation, ThePhonesOwnListingAgreesWithWhatWasTakenOver) {
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  ASSERT_EQ(create(top, u"one", &created), 0u);
  ASSERT_EQ(create(top, u"two", &created), 0u);
  ASSERT_EQ(remove(foldersIn(top).at(0)), 0u);
  ASSERT_EQ(rename(created, u"three"), 0u);
  startListening();
  storage.folder("four"); // the phone's own change: everything is listed anew
  ASSERT_TRUE(told.waitFor(1));
  EXPECT_EQ(namesOf(foldersIn(top)), (Strings{"four", "three"}));
  EXPECT_EQ(kindOf(created), 0u) << "the record outlives the listing";
  stopListening();
}

TEST_F(ObjectMutation, AFolderWhoseNameExistsIsRefusedBeforeAnythingIsSent) {
  storage.folder("Folder");
  storage.file("File.txt");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  foldersIn(top);
  const std::uint64_t before = transactions();
  EXPECT_EQ(create(top, u"Folder", &created), 0x10000006u);
  EXPECT_EQ(created, nullptr);
  EXPECT_EQ(create(top, u"fOLDER", &created), 0x10000006u) << "the storage may not tell the case apart";
  EXPECT_EQ(create(top, u"FILE.TXT", &created), 0x10000005u);
  EXPECT_EQ(created, nullptr);
  EXPECT_EQ(transactions(), before);
}

TEST_F(ObjectMutation, ANameComposedInAnotherWayIsTheSameName) {
  storage.folder("caf\xC3\xA9");
  start();
  EXPECT_EQ(create(firstStorage(), u"cafe\u0301", &created), 0x10000006u);
}

TEST_F(ObjectMutation, ANameThatAppearedMeanwhileIsFoundAfterTheRefusal) {
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  foldersIn(top);
  storage.folder("late");
  EXPECT_EQ(create(top, u"late", &created), 0x10000006u);
  EXPECT_EQ(namesOf(foldersIn(top)), Strings{"late"});
}

TEST_F(ObjectMutation, ANameThatCannotBeIsRefusedBeforeAnythingIsSent) {
  storage.folder("a");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* folder = foldersIn(top).at(0);
  const std::uint64_t before = transactions();
  for (const std::u16string& name : {std::u16string(), std::u16string(u"."), std::u16string(u".."),
                                     std::u16string(u"a/b"), std::u16string(255, u'n')}) {
    EXPECT_EQ(create(top, name, &created), 0x11000005u);
    EXPECT_EQ(rename(folder, name), 0x11000005u);
  }
  EXPECT_EQ(transactions(), before);
  EXPECT_EQ(create(top, std::u16string(254, u'n'), &created), 0u);
}

TEST_F(ObjectMutation, OddNamesArriveAsTheyAre) {
  start();
  for (const char16_t* name : {u"a:b?c*d|\"e", u" leading", u"trailing ", u"\u00FCml\u00E4ut", u"smile \U0001F600"})
    EXPECT_EQ(create(firstStorage(), name, &created), 0u);
  for (const char* name : {"a:b?c*d|\"e", " leading", "trailing ", "\xC3\xBCml\xC3\xA4ut", "smile \xF0\x9F\x98\x80"})
    EXPECT_TRUE(exists(name)) << name;
}

TEST_F(ObjectMutation, ANameThePhoneCutsIsShownAsThePhoneHasIt) {
  vphone::Manners manners;
  manners.cutsNames = true;
  start(manners);
  ASSERT_EQ(create(firstStorage(), u"smile \U0001F600 more", &created), 0u);
  EXPECT_EQ(nameOf(created), "smile ");
}

TEST_F(ObjectMutation, CreatingInAFolderDeletedMeanwhileSaysThatItIsNotThere) {
  storage.folder("gone");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* folder = foldersIn(top).at(0);
  foldersIn(top, folder);
  std::filesystem::remove(storage.path() / "gone");
  EXPECT_EQ(create(folder, u"new", &created), 0x10000004u);
  EXPECT_TRUE(foldersIn(top).empty());
}

TEST_F(ObjectMutation, AReadOnlyStorageTakesNoChange) {
  storage.file("file");
  vphone::Options options;
  options.storages.push_back({.folder = storage.path(), .description = "Card", .readOnly = true});
  start(options);
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FILE_NODE* file = filesIn(top).at(0);
  EXPECT_EQ(create(top, u"new", &created), 0x1310000Cu);
  EXPECT_EQ(rename(file, u"other"), 0x1310000Cu);
  EXPECT_EQ(remove(file), 0x1310000Cu);
  EXPECT_TRUE(exists("file"));
  EXPECT_EQ(filesIn(top).at(0), file);
}

TEST_F(ObjectMutation, ARenamedFileKeepsItsNumberAndItsFormerAddress) {
  storage.file("before.txt", 5);
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FILE_NODE* before = filesIn(top).at(0);
  const std::uint64_t asked = transactions();
  ASSERT_EQ(rename(before, u"after.txt"), 0u) << log();
  EXPECT_TRUE(exists("after.txt"));
  EXPECT_FALSE(exists("before.txt"));
  const auto files = filesIn(top);
  EXPECT_EQ(transactions(), asked + 1);
  ASSERT_EQ(namesOf(files), Strings{"after.txt"});
  EXPECT_EQ(files[0]->fileLength, 5u);
  EXPECT_EQ(files[0]->common.nodeId, before->common.nodeId);
  EXPECT_EQ(kindOf(before), 0u);
  ASSERT_EQ(rename(before, u"third.txt"), 0u) << "by the first address";
  EXPECT_EQ(kindOf(files[0]), 0u);
  EXPECT_EQ(namesOf(filesIn(top)), Strings{"third.txt"});
  ASSERT_EQ(remove(before), 0u);
  EXPECT_EQ(kindOf(before), 0x10000004u);
  EXPECT_EQ(kindOf(files[0]), 0x10000004u);
  EXPECT_TRUE(filesIn(top).empty());
}

TEST_F(ObjectMutation, ARenamedFolderKeepsWhatIsKnownBelowIt) {
  storage.file("before/file");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* before = foldersIn(top).at(0);
  _MTP_FILE_NODE* file = filesIn(before).at(0);
  ASSERT_EQ(rename(before, u"after"), 0u);
  const std::uint64_t asked = transactions();
  _MTP_FOLDER_NODE* after = foldersIn(top).at(0);
  EXPECT_EQ(nameOf(after), "after");
  EXPECT_EQ(filesIn(after).at(0), file);
  EXPECT_EQ(filesIn(before).at(0), file);
  EXPECT_EQ(transactions(), asked);
  ASSERT_EQ(remove(after), 0u);
  EXPECT_EQ(kindOf(file), 0x10000004u);
  EXPECT_EQ(kindOf(before), 0x10000004u);
}

TEST_F(ObjectMutation, ANamesakeStopsARenameAndAnotherCaseOfTheOwnNameDoesNot) {
  storage.file("a.jpg");
  storage.file("b.jpg");
  storage.folder("c");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FILE_NODE* file = named(filesIn(top), "a.jpg");
  const std::uint64_t before = transactions();
  EXPECT_EQ(rename(file, u"B.JPG"), 0x10000005u);
  EXPECT_EQ(rename(file, u"C"), 0x10000006u);
  EXPECT_EQ(rename(file, u"a.jpg"), 0u) << "nothing to do";
  EXPECT_EQ(transactions(), before);
  EXPECT_EQ(rename(file, u"A.JPG"), 0u);
  EXPECT_TRUE(exists("A.JPG"));
}

TEST_F(ObjectMutation, AStorageOrAPhoneIsNeitherRenamedNorDeleted) {
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  EXPECT_EQ(remove(top), 0x10000004u);
  EXPECT_EQ(rename(top, u"x"), 0x10000004u);
  EXPECT_EQ(remove(device()), 0x10000004u);
  EXPECT_EQ(remove(nullptr), 0x10000002u);
  EXPECT_EQ(create(device(), u"x", &created), 0x10000004u);
  EXPECT_EQ(create(nullptr, u"x", &created), 0x10000002u);
  EXPECT_EQ(mtpDextCreateFolderNode(&top->common, u"x", 4, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextCreateFolderNode(&top->common, nullptr, 4, &created), 0x10000002u);
}

TEST_F(ObjectMutation, APhoneThatCannotRenameSaysSo) {
  storage.file("x");
  vphone::Manners manners;
  manners.missingOperations = {0x9804};
  start(manners);
  EXPECT_EQ(rename(filesIn(firstStorage()).at(0), u"y"), 0x14000001u);
}

TEST_F(ObjectMutation, DeletingTakesEverythingBelowAway) {
  storage.file("folder/inner/file");
  storage.file("kept");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* folder = foldersIn(top).at(0);
  _MTP_FOLDER_NODE* inner = foldersIn(top, folder).at(0);
  _MTP_FILE_NODE* file = filesIn(inner).at(0);
  const std::uint64_t before = transactions();
  ASSERT_EQ(remove(folder), 0u);
  EXPECT_FALSE(exists("folder"));
  for (const void* gone : {static_cast<void*>(folder), static_cast<void*>(inner), static_cast<void*>(file)})
    EXPECT_EQ(kindOf(gone), 0x10000004u);
  EXPECT_TRUE(foldersIn(top).empty());
  EXPECT_EQ(namesOf(filesIn(top)), Strings{"kept"});
  EXPECT_EQ(transactions(), before + 1);
}

TEST_F(ObjectMutation, WhatCouldNotBeDeletedIsStillShown) {
  storage.file("folder/can");
  storage.file("folder/cannot");
  vphone::Manners manners;
  manners.undeletable = {"cannot"};
  start(manners);
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* folder = foldersIn(top).at(0);
  EXPECT_EQ(filesIn(folder).size(), 2u);
  EXPECT_EQ(remove(folder), 0x13100010u);
  EXPECT_EQ(namesOf(filesIn(foldersIn(top).at(0))), Strings{"cannot"});
}

TEST_F(ObjectMutation, DeletingWhatIsGoneSaysSo) {
  storage.file("file");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FILE_NODE* file = filesIn(top).at(0);
  respond(mtp::Operation::DeleteObject, 0x2009);
  EXPECT_EQ(remove(file), 0x10000004u);
  EXPECT_EQ(kindOf(file), 0x10000004u);
  EXPECT_EQ(remove(file), 0x10000004u);
}

TEST_F(ObjectMutation, AnObjectOfALostSessionIsNeverMistakenForAnother) {
  storage.file("first");
  storage.file("second");
  start();
  _MTP_FILE_NODE* file = filesIn(firstStorage()).at(0);
  respond(mtp::Operation::DeleteObject, 0x2003); // the phone forgot the session; handles begin anew
  EXPECT_NE(remove(file), 0u);
  EXPECT_EQ(remove(file), 0x10000004u);
  EXPECT_TRUE(exists("first"));
  EXPECT_TRUE(exists("second"));
}

TEST_F(ObjectMutation, APhoneThatTellsTheComputersOwnChangesIsNotListedAgainForThem) {
  storage.folder("here");
  storage.folder("elsewhere");
  vphone::Manners manners;
  manners.tellsOwnChanges = true;
  start(manners);
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* here = named(foldersIn(top), "here");
  foldersIn(top, here);
  foldersIn(top, named(foldersIn(top), "elsewhere"));
  startListening();
  const std::uint64_t before = transactions();
  for (int i = 0; i < 20; ++i)
    ASSERT_EQ(create(here, u"folder" + std::u16string(1, static_cast<char16_t>(u'a' + i)), &created), 0u);
  ASSERT_EQ(rename(created, u"renamed"), 0u);
  ASSERT_EQ(remove(created), 0u);
  EXPECT_EQ(newsUntilNow("elsewhere"), 0) << "only the phone's own doing is news";
  EXPECT_GE(phone->statistics().eventsSent, 21u);
  EXPECT_EQ(foldersIn(top, here).size(), 19u);
  EXPECT_EQ(transactions(), before + 22 + 1) << "one question where the phone's own new folder is";
  stopListening();
}

TEST_F(ObjectMutation, AReportedObjectThatIsNotThereMakesTheTopLevelBeListedAgain) {
  storage.folder("here");
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* here = foldersIn(top).at(0);
  foldersIn(top, here);
  startListening();
  respond(mtp::Operation::GetObjectInfo, 0x2009);
  storage.folder("here/new");
  ASSERT_TRUE(told.waitFor(1));
  foldersIn(top, here); // asks where the object is
  const std::uint64_t before = transactions();
  foldersIn(top);
  EXPECT_GT(transactions(), before) << "some responders name a wrong object for a change there";
  stopListening();
}

TEST_F(ObjectMutation, WhatThePhoneDeletesJustAfterItWasMadeIsNews) {
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  foldersIn(top);
  ASSERT_EQ(create(top, u"new", &created), 0u);
  startListening();
  std::filesystem::remove(storage.path() / "new");
  ASSERT_TRUE(told.waitFor(1));
  EXPECT_EQ(kindOf(created), 0x10000004u);
  EXPECT_TRUE(foldersIn(top).empty());
  stopListening();
}

TEST_F(ObjectMutation, AThumbnailIsFetchedOnceForBothCalls) {
  start();
  storage.file("plain.jpg", 100);
  _MTP_FILE_NODE* plain = filesIn(firstStorage()).at(0);
  uint32_t size = 0;
  EXPECT_EQ(mtpDextGetThumb(plain, nullptr, &size), 0x1310000Eu);
  std::ofstream(storage.path() / "picture.jpg", std::ios::binary) << Picture;
  mtp::shutdown();
  start();
  _MTP_FILE_NODE* file = named(filesIn(firstStorage()), "picture.jpg");
  const std::uint64_t before = transactions();
  ASSERT_EQ(mtpDextGetThumb(file, nullptr, &size), 1u) << log();
  std::string bytes(size, '\0');
  uint32_t shorter = size - 1;
  EXPECT_EQ(mtpDextGetThumb(file, bytes.data(), &shorter), 1u);
  EXPECT_EQ(shorter, size);
  ASSERT_EQ(mtpDextGetThumb(file, bytes.data(), &size), 0u);
  EXPECT_EQ(transactions(), before + 1);
  EXPECT_EQ(bytes, "THUMB");
  EXPECT_EQ(mtpDextGetThumb(file, bytes.data(), nullptr), 0x10000002u);
}

TEST_F(ObjectMutation, APhoneWithoutThumbnailsSaysSo) {
  storage.file("picture.jpg", 1);
  vphone::Manners manners;
  manners.missingOperations = {0x100A};
  start(manners);
  uint32_t size = 0;
  EXPECT_EQ(mtpDextGetThumb(filesIn(firstStorage()).at(0), nullptr, &size), 0x14000004u);
}
