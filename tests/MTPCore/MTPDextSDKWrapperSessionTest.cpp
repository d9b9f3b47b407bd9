// Binding to a phone, its names, its storages, its events.
#include "MTPCore/CapturedLog.h"
#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using testing::ElementsAre;
using Operation = FakeMtpSdk::Operation;
using Handle = FakeMtpSdk::Handle;

namespace {

constexpr std::uint32_t Unsuccessful = 0x10000001;
constexpr std::uint32_t Location = 0x14200000;

class MTPDextSDKWrapperSession : public testing::Test {
protected:
  std::shared_ptr<FakeMtpSdk> sdk = std::make_shared<FakeMtpSdk>();
  MTPDextSDKWrapper wrapper{sdk};
  CapturedLog log;

  // "/model/name:type" of each storage, in the order shown.
  std::vector<std::string> shown() {
    std::vector<std::string> texts;
    const auto storages = wrapper.storageInfoLists();
    for (const MtpStorageInfo& storage : storages.value_or(QList<MtpStorageInfo>()))
      texts.push_back(storage.volumePath->toStdString() + ':' + std::to_string(storage.diskType));
    return texts;
  }
  std::string modelName(const QString& sent) {
    const Handle device = sdk->addDevice(Location, sent);
    std::optional<QString> name;
    EXPECT_EQ(wrapper.getMTPModelName(sdk->deviceNode(device), name), 0u);
    return name.value_or("(none)").toStdString();
  }
};

std::string pointerText(const void* pointer) {
  return QString::asprintf("%p", pointer).toStdString();
}

} // namespace

// ---- Binding ----

TEST_F(MTPDextSDKWrapperSession, StartsUnboundAndNotDetached) {
  EXPECT_FALSE(wrapper.isDetached());
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), nullptr);
  EXPECT_EQ(wrapper.getCurrentStorageNode(), nullptr);
  EXPECT_EQ(wrapper.getStorageHeadNode(), nullptr);
  EXPECT_TRUE(wrapper.getCurrentRootPath().isEmpty());
}

TEST_F(MTPDextSDKWrapperSession, BindsTheDeviceAtTheLocation) {
  sdk->addDevice(0x14100000, "A");
  const Handle wanted = sdk->addDevice(Location, "B");
  sdk->addDevice(0x14300000, "C");
  wrapper.setLocationID("14200000");
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), sdk->deviceNode(wanted));
}

TEST_F(MTPDextSDKWrapperSession, ReadsTheLocationWithPrefixAndInAnyCase) {
  sdk->addDevice(0x14100000, "A");
  const Handle wanted = sdk->addDevice(0x1A2B0000, "B");
  sdk->addDevice(0x14300000, "C");
  for (const char* text : {"0x1A2B0000", "0X1a2b0000", "1a2B0000"}) {
    wrapper.setLocationID(text);
    EXPECT_EQ(wrapper.getCurrentDeviceNode(), sdk->deviceNode(wanted)) << text;
  }
}

TEST_F(MTPDextSDKWrapperSession, ComparesTheLocationAs32Bits) {
  const Handle wanted = sdk->addDevice(Location, "A");
  sdk->addDevice(0x14300000, "B");
  wrapper.setLocationID("714200000");
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), sdk->deviceNode(wanted));
}

TEST_F(MTPDextSDKWrapperSession, AnUnknownLocationBindsTheLastDeviceWhenTheListEndsWithStatusTwo) {
  sdk->addDevice(0x14100000, "A");
  const Handle last = sdk->addDevice(0x14300000, "B");
  wrapper.setLocationID("99");
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), sdk->deviceNode(last));
}

TEST_F(MTPDextSDKWrapperSession, AnUnknownLocationBindsTheDeviceAtWhichAStepFails) {
  const Handle first = sdk->addDevice(0x14100000, "A");
  sdk->addDevice(0x14300000, "B");
  sdk->setStatusAt(Operation::GetNextDevice, 1, 0x13100000);
  wrapper.setLocationID("99");
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), sdk->deviceNode(first));
}

TEST_F(MTPDextSDKWrapperSession, AnUnknownLocationBindsNothingWhenTheListEndsWithoutAStatus) {
  sdk->addDevice(0x14100000, "A");
  sdk->setListEnd(Operation::GetNextDevice, 0);
  wrapper.setLocationID("99");
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), nullptr);
  EXPECT_FALSE(wrapper.storageInfoLists());
  EXPECT_TRUE(log.has("failed to connect, " + pointerText(nullptr) + ", " + pointerText(nullptr)));
}

TEST_F(MTPDextSDKWrapperSession, ALocationThatIsNoNumberBindsTheOnlyDevice) {
  const Handle only = sdk->addDevice(Location, "A");
  for (const char* text : {"", "zz", "0x", "11111111111111111"}) {
    wrapper.setLocationID(text);
    EXPECT_EQ(wrapper.getCurrentDeviceNode(), sdk->deviceNode(only)) << text;
  }
}

TEST_F(MTPDextSDKWrapperSession, BindingClearsDetachedAndKeepsTheStorageHead) {
  sdk->addStorage(sdk->addDevice(Location, "A"), 0x00010001, "Phone");
  wrapper.setLocationID("14200000");
  ASSERT_TRUE(wrapper.storageInfoLists());
  _MTP_STORAGE_NODE* const head = wrapper.getStorageHeadNode();
  ASSERT_NE(head, nullptr);
  wrapper.setIsDetached(true);
  wrapper.setLocationID("14200000", "/A/Phone");
  EXPECT_FALSE(wrapper.isDetached());
  EXPECT_EQ(wrapper.getStorageHeadNode(), head);
  EXPECT_EQ(wrapper.getCurrentRootPath(), "/A/Phone");
}

TEST_F(MTPDextSDKWrapperSession, BindingWhileDetachedFindsNoPhoneButTheNextLookDoes) {
  const Handle device = sdk->addDevice(Location, "A");
  sdk->addStorage(device, 0x00010001, "Phone");
  wrapper.setIsDetached(true);
  wrapper.setLocationID("14200000");
  EXPECT_FALSE(wrapper.isDetached());
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), nullptr);
  EXPECT_THAT(shown(), ElementsAre("/A/Phone:1"));
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), sdk->deviceNode(device));
}

TEST_F(MTPDextSDKWrapperSession, BindingAloneKeepsTheRootPath) {
  wrapper.setLocationID("14200000", "/A/Phone");
  wrapper.setLocationID("14200000");
  EXPECT_EQ(wrapper.getCurrentRootPath(), "/A/Phone");
}

TEST_F(MTPDextSDKWrapperSession, ADeviceListThatComesBackToItselfEnds) {
  const Handle first = sdk->addDevice(0x14100000, "A");
  sdk->setNext(first, first);
  EXPECT_EQ(wrapper.deviceWithLocationId(sdk->deviceNode(first), 0x99), nullptr);
  EXPECT_TRUE(log.hasPart("has no end"));
}

TEST_F(MTPDextSDKWrapperSession, WithoutADeviceTheListIsFetchedForTheSearch) {
  const Handle only = sdk->addDevice(Location, "A");
  EXPECT_EQ(wrapper.deviceWithLocationId(nullptr, Location), sdk->deviceNode(only));
  sdk->setStatus(Operation::GetConnectedDeviceListHead, 0x12000003);
  EXPECT_EQ(wrapper.deviceWithLocationId(nullptr, Location), nullptr);
}

TEST_F(MTPDextSDKWrapperSession, ADeviceTheSdkDoesNotKnowIsNoStartForASearch) {
  _MTP_DEVICE_NODE stranger{};
  stranger.common.locationId = Location;
  EXPECT_EQ(wrapper.deviceWithLocationId(&stranger, Location), nullptr);
}

// ---- Device head ----

TEST_F(MTPDextSDKWrapperSession, TheDeviceHeadIsPreparedBeforeItIsFetched) {
  const Handle only = sdk->addDevice(Location, "A");
  _MTP_DEVICE_NODE* head = nullptr;
  EXPECT_EQ(wrapper.getMTPDeviceHead(&head), 0u);
  EXPECT_EQ(head, sdk->deviceNode(only));
  EXPECT_EQ(sdk->calls(Operation::SdkInit), 1);
}

TEST_F(MTPDextSDKWrapperSession, AFailedPreparationIsReturnedUnchanged) {
  sdk->addDevice(Location, "A");
  sdk->setStatus(Operation::SdkInit, 0x13000001);
  _MTP_DEVICE_NODE* head = nullptr;
  EXPECT_EQ(wrapper.getMTPDeviceHead(&head), 0x13000001u);
  EXPECT_EQ(sdk->calls(Operation::GetConnectedDeviceListHead), 0);
}

TEST_F(MTPDextSDKWrapperSession, AFailedDeviceHeadIsLoggedAndNull) {
  auto* head = reinterpret_cast<_MTP_DEVICE_NODE*>(0x10);
  EXPECT_EQ(wrapper.getMTPDeviceHead(&head), 0x12000001u);
  EXPECT_EQ(head, nullptr);
  EXPECT_TRUE(log.has("mtpDextGetConnectedDeviceListHead is faild. status = DGSTATUS_NO_DEVICE_ATTACHED - 0x12000001"));
}

TEST_F(MTPDextSDKWrapperSession, LogLinesNameTheFileAndTheOperation) {
  _MTP_DEVICE_NODE* head = nullptr;
  wrapper.getMTPDeviceHead(&head);
  EXPECT_TRUE(log.hasPart("[MTPDextSDKWrapper.cpp:MTPDextSDKWrapper::getMTPDeviceHead-("));
  wrapper.storageInfoLists();
  EXPECT_TRUE(log.hasPart("[MTPDextSDKWrapper.cpp:MTPDextSDKWrapper::storageInfoLists-("));
}

// ---- Names ----

TEST_F(MTPDextSDKWrapperSession, TheFriendlyNameIsTheTextWithoutItsTerminator) {
  sdk->addDevice(Location, "SM-X", QString::fromUtf8("Zoë's phone 📱"));
  EXPECT_FALSE(wrapper.getMTPFriendlyName());
  wrapper.setLocationID("14200000");
  EXPECT_EQ(wrapper.getMTPFriendlyName(), QString::fromUtf8("Zoë's phone 📱"));
}

TEST_F(MTPDextSDKWrapperSession, AnEmptyFriendlyNameIsAName) {
  sdk->addDevice(Location, "SM-X", "");
  wrapper.setLocationID("14200000");
  EXPECT_EQ(wrapper.getMTPFriendlyName(), QString(""));
}

TEST_F(MTPDextSDKWrapperSession, WithoutADeviceThereIsNoName) {
  std::optional<QString> name;
  EXPECT_EQ(wrapper.getMTPFriendlyName(nullptr, name), Unsuccessful);
  EXPECT_EQ(wrapper.getMTPModelName(nullptr, name), Unsuccessful);
  EXPECT_FALSE(name);
}

TEST_F(MTPDextSDKWrapperSession, AFirstAnswerOtherThanOneIsReturnedWithoutASecondCall) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  std::optional<QString> name;
  for (const std::uint32_t status : {0u, 2u, 0x13100000u}) {
    sdk->setStatus(Operation::GetFriendlyName, status);
    const int before = sdk->calls(Operation::GetFriendlyName);
    EXPECT_EQ(wrapper.getMTPFriendlyName(sdk->deviceNode(device), name), status);
    EXPECT_EQ(sdk->calls(Operation::GetFriendlyName), before + 1);
    EXPECT_FALSE(name);
  }
}

TEST_F(MTPDextSDKWrapperSession, AFailedSecondCallGivesItsStatusAndNoName) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  sdk->setStatusAt(Operation::GetFriendlyName, 2, 0x13100000);
  std::optional<QString> name;
  EXPECT_EQ(wrapper.getMTPFriendlyName(sdk->deviceNode(device), name), 0x13100000u);
  EXPECT_FALSE(name);
}

TEST_F(MTPDextSDKWrapperSession, ANameThatNeedsAnAbsurdBufferIsAFailedAllocation) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  sdk->setNameByteSize(device, 0xFFFFFFFF);
  std::optional<QString> name;
  EXPECT_EQ(wrapper.getMTPFriendlyName(sdk->deviceNode(device), name), 1u);
  EXPECT_EQ(wrapper.getMTPModelName(sdk->deviceNode(device), name), 1u);
  EXPECT_FALSE(name);
  EXPECT_EQ(log.count("Memory allocate is failed. status = DGSTATUS_MORE_DATA - 0x00000001"), 2);
}

TEST_F(MTPDextSDKWrapperSession, ANameWithoutRoomForItsTerminatorIsEmpty) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  for (const std::uint32_t byteSize : {0u, 1u, 2u, 3u}) {
    sdk->setNameByteSize(device, byteSize);
    std::optional<QString> name;
    EXPECT_EQ(wrapper.getMTPFriendlyName(sdk->deviceNode(device), name), 0u);
    EXPECT_EQ(name, QString("")) << byteSize;
  }
}

TEST_F(MTPDextSDKWrapperSession, TheModelNameLosesTheMakersPrefix) {
  EXPECT_EQ(modelName("TESSALY-SM-X"), "SM-X");
}

TEST_F(MTPDextSDKWrapperSession, AModelNameThatIsOnlyThePrefixStays) {
  EXPECT_EQ(modelName("TESSALY-"), "TESSALY-");
}

TEST_F(MTPDextSDKWrapperSession, ThePrefixIsRemovedOnceAndOnlyAtTheStart) {
  EXPECT_EQ(modelName("TESSALY-TESSALY-X"), "TESSALY-X");
  EXPECT_EQ(modelName("X-TESSALY-Y"), "X-TESSALY-Y");
  EXPECT_EQ(modelName("tessaly-X"), "tessaly-X");
}

TEST_F(MTPDextSDKWrapperSession, TheModelNameLosesCharactersThatFileNamesMustNotHave) {
  EXPECT_EQ(modelName("A:B"), "AB");
  EXPECT_EQ(modelName("/a\\b?c%d*e|f\"g<h>i:"), "abcdefghi");
  EXPECT_EQ(modelName("TESSALY-/:"), "");
  EXPECT_EQ(modelName("/TESSALY-X"), "TESSALY-X");
}

TEST_F(MTPDextSDKWrapperSession, AFailedModelNameIsLogged) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  sdk->setStatus(Operation::GetModelName, 0x13100000);
  std::optional<QString> name;
  EXPECT_EQ(wrapper.getMTPModelName(sdk->deviceNode(device), name), 0x13100000u);
  EXPECT_TRUE(log.has("Get MTP model Name is failed. status = DGSTATUS_INTERNAL_GENERALERROR  0x13100000"));
}

// ---- Storages ----

TEST_F(MTPDextSDKWrapperSession, ShowsThePhoneFirstTheCardSecondAndOspNowhere) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  sdk->addStorage(device, 0x00020001, "Card");
  sdk->addStorage(device, 0x00010001, "Phone");
  sdk->addStorage(device, 0x00030001, "OSP");
  wrapper.setLocationID("14200000");
  EXPECT_THAT(shown(), ElementsAre("/SM-X/Phone:1", "/SM-X/Card:2"));
}

TEST_F(MTPDextSDKWrapperSession, HidesOspAndPrivateContentInAnyCase) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  sdk->addStorage(device, 0x00010001, "osp");
  sdk->addStorage(device, 0x00010003, "PRIVATE content");
  sdk->addStorage(device, 0x00010004, "Phone");
  wrapper.setLocationID("14200000");
  EXPECT_THAT(shown(), ElementsAre("/SM-X/Phone:1"));
}

TEST_F(MTPDextSDKWrapperSession, AStorageWithTheHiddenIdIsNeverListed) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  sdk->addStorage(device, 0x00060001, "Card");
  wrapper.setLocationID("14200000");
  EXPECT_FALSE(wrapper.storageInfoLists());
}

TEST_F(MTPDextSDKWrapperSession, OfTwoInternalStoragesOnlyTheLaterIsListed) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  sdk->addStorage(device, 0x00010001, "Phone");
  sdk->addStorage(device, 0x00010003, "Tablet");
  wrapper.setLocationID("14200000");
  EXPECT_THAT(shown(), ElementsAre("/SM-X/Tablet:1"));
}

TEST_F(MTPDextSDKWrapperSession, AStorageListedTwiceIsTakenOnce) {
  const Handle device = sdk->addDevice(Location, "SM-X");
  sdk->addStorage(device, 0x00010001, "Phone");
  sdk->addStorage(device, 0x00010001, "Phone again");
  wrapper.setLocationID("14200000");
  EXPECT_THAT(shown(), ElementsAre("/SM-X/Phone:1"));
}

TEST_F(MTPDextSDKWrapperSession, TheIdOfACardSaysMoreThanItsName) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->addStorage(device, 0x00020002, "Gemel Talk");
  wrapper.setLocationID("14200000");
  EXPECT_THAT(shown(), ElementsAre("/M/Gemel Talk:2"));
}

TEST_F(MTPDextSDKWrapperSession, NamesMakeACardOrASecondInternalStorageInAnyCase) {
  std::uint32_t location = 0;
  const auto typeOf = [&](std::uint32_t id, const QString& name) {
    sdk->addStorage(sdk->addDevice(++location, "M"), id, name);
    MTPDextSDKWrapper fresh(sdk);
    fresh.setLocationID(QString::number(location, 16));
    const auto storages = fresh.storageInfoLists();
    return storages ? storages->first().diskType : 0u;
  };
  EXPECT_EQ(typeOf(0x00030001, "card"), 2u);
  EXPECT_EQ(typeOf(0x00030002, "SD CARD"), 2u);
  EXPECT_EQ(typeOf(0x00010002, "Phone"), 3u);
  EXPECT_EQ(typeOf(0x00010002, "SD Card"), 2u);
  EXPECT_EQ(typeOf(0x00030003, "gemel talk"), 3u);
  EXPECT_EQ(typeOf(0x00030004, "SD"), 1u);
}

TEST_F(MTPDextSDKWrapperSession, TheOrderIsInternalThenSecondInternalThenCard) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->addStorage(device, 0x00020001, "Card");
  sdk->addStorage(device, 0x00010002, "Second");
  sdk->addStorage(device, 0x00010001, "First");
  wrapper.setLocationID("14200000");
  EXPECT_THAT(shown(), ElementsAre("/M/First:1", "/M/Second:3", "/M/Card:2"));
}

TEST_F(MTPDextSDKWrapperSession, AStorageEntryTellsSpaceIndexAndNode) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->addStorage(device, 0x00020001, "Card", 32'000'000'000, 0);
  sdk->addStorage(device, 0x00010001, "Phone", 128'000'000'000, 5'000'000'000);
  wrapper.setLocationID("14200000");
  const auto storages = wrapper.storageInfoLists();
  ASSERT_TRUE(storages);
  ASSERT_EQ(storages->size(), 2);
  EXPECT_EQ(storages->at(0).TotalSpace, 128'000'000'000u);
  EXPECT_EQ(storages->at(0).UsedSize, 5'524'288'000u);
  EXPECT_EQ(storages->at(0).diskIndex, 1u);
  EXPECT_EQ(storages->at(0).CommonNode, "0x200010001");
  EXPECT_EQ(storages->at(1).diskIndex, 0u);
}

TEST_F(MTPDextSDKWrapperSession, AStorageThatTakesAnothersPlaceCountsThatOneInItsIndex) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->addStorage(device, 0x00010001, "Phone");
  sdk->addStorage(device, 0x00020001, "Card");
  sdk->addStorage(device, 0x00010003, "Tablet");
  wrapper.setLocationID("14200000");
  const auto storages = wrapper.storageInfoLists();
  ASSERT_TRUE(storages);
  ASSERT_EQ(storages->size(), 2);
  EXPECT_EQ(storages->at(0).volumePath, QString("/M/Tablet"));
  EXPECT_EQ(storages->at(0).diskIndex, 2u);
  EXPECT_EQ(storages->at(1).diskIndex, 1u);
}

TEST_F(MTPDextSDKWrapperSession, TheUsedSizeOfAFullStorageIs500MiB) {
  sdk->addStorage(sdk->addDevice(Location, "M"), 0x00010001, "Phone", 1000, 0);
  wrapper.setLocationID("14200000");
  const auto storages = wrapper.storageInfoLists();
  ASSERT_TRUE(storages);
  EXPECT_EQ(storages->first().UsedSize, 524288000u);
}

TEST_F(MTPDextSDKWrapperSession, AStorageWhoseNameLengthIsBelowTwoHasAnEmptyNameAndIsSkipped) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->setRawName(sdk->addStorage(device, 0x00010001, "x"), u"P", 1);
  sdk->setRawName(sdk->addStorage(device, 0x00010003, "x"), u"P", 0);
  sdk->setNullName(sdk->addStorage(device, 0x00010004, "Nameless"));
  wrapper.setLocationID("14200000");
  EXPECT_FALSE(wrapper.storageInfoLists());
  EXPECT_TRUE(log.has("StorageName : , length : 1"));
}

TEST_F(MTPDextSDKWrapperSession, AStorageNameLosesItsLastUnitWhetherItIsZeroOrNot) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->setRawName(sdk->addStorage(device, 0x00010001, "x"), u"Phone", 5);
  wrapper.setLocationID("14200000");
  EXPECT_THAT(shown(), ElementsAre("/M/Phon:1"));
}

TEST_F(MTPDextSDKWrapperSession, LogsTheStoragesOnTheWay) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->addStorage(device, 0x00010001, "Phone");
  sdk->addStorage(device, 0x00060001, "Hidden %s%n");
  wrapper.setLocationID("14200000");
  ASSERT_TRUE(wrapper.storageInfoLists());
  const std::vector<std::string> messages = log.messages();
  EXPECT_EQ(messages.front(), "ENTER");
  EXPECT_EQ(messages.back(), "EXIT");
  EXPECT_TRUE(log.has("StorageName : Phone, length : 6"));
  EXPECT_TRUE(log.has("StorageName : Phone, StorageId : 10001"));
  EXPECT_TRUE(log.has("StorageName : Hidden %s%n, StorageId : 60001"));
  EXPECT_TRUE(log.hasPart("device storage list: /M/Phone"));
}

TEST_F(MTPDextSDKWrapperSession, StoragesAreListedWithoutBindingWhenOnePhoneIsAttached) {
  sdk->addStorage(sdk->addDevice(Location, "M"), 0x00010001, "Phone");
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1"));
}

TEST_F(MTPDextSDKWrapperSession, APhoneThatIsNotReadyYetIsListedOnceItIs) {
  const Handle device = sdk->addDevice(Location, "M");
  wrapper.setLocationID("14200000");
  EXPECT_FALSE(wrapper.storageInfoLists());
  EXPECT_TRUE(log.has("failed to connect, " + pointerText(sdk->deviceNode(device)) + ", " + pointerText(nullptr)));
  sdk->addStorage(device, 0x00010001, "Phone");
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1"));
}

TEST_F(MTPDextSDKWrapperSession, AListingThatCannotConnectStillLogsItsEnd) {
  sdk->addStorage(sdk->addDevice(Location, "M"), 0x00010001, "Phone");
  wrapper.setIsDetached(true);
  EXPECT_FALSE(wrapper.storageInfoLists());
  EXPECT_THAT(log.messages(),
              ElementsAre("ENTER", "failed to connect, " + pointerText(nullptr) + ", " + pointerText(nullptr), "EXIT"));
}

TEST_F(MTPDextSDKWrapperSession, WithoutAModelNameThereAreNoStorages) {
  sdk->addStorage(sdk->addDevice(Location, "M"), 0x00010001, "Phone");
  wrapper.setLocationID("14200000");
  sdk->setStatus(Operation::GetModelName, 0x13100000);
  EXPECT_FALSE(wrapper.storageInfoLists());
  EXPECT_EQ(log.messages().back(), "EXIT");
}

TEST_F(MTPDextSDKWrapperSession, AFailingStorageStepEndsTheListWithALogLine) {
  const Handle device = sdk->addDevice(Location, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  sdk->addStorage(device, 0x00020001, "Card");
  wrapper.setLocationID("14200000");
  sdk->setStatusAt(Operation::GetNextStorageNode, 1, 0x13100000);
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1"));
  EXPECT_TRUE(log.has("mtpDextGetNextStorageNode is failed. Current Storage Node = " +
                      pointerText(sdk->storageNode(phone)) + ", status = DGSTATUS_INTERNAL_GENERALERROR  0x13100000"));
}

TEST_F(MTPDextSDKWrapperSession, TheEndOfTheStorageListIsNoFailureOfTheListing) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->addStorage(device, 0x00010001, "Phone");
  wrapper.setLocationID("14200000");
  sdk->setListEnd(Operation::GetNextStorageNode, 2);
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1"));
  sdk->setListEnd(Operation::GetNextStorageNode, 0);
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1"));
}

TEST_F(MTPDextSDKWrapperSession, AStorageListWithoutEndEnds) {
  const Handle device = sdk->addDevice(Location, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  const Handle card = sdk->addStorage(device, 0x00020001, "Card");
  sdk->setNext(card, phone);
  wrapper.setLocationID("14200000");
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1", "/M/Card:2"));
  sdk->setNext(card, card);
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1", "/M/Card:2"));
  EXPECT_TRUE(log.hasPart("has no end"));
}

TEST_F(MTPDextSDKWrapperSession, StoragesThatTheSdkHasForgottenAreListedAfresh) {
  const Handle device = sdk->addDevice(Location, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  wrapper.setLocationID("14200000");
  ASSERT_TRUE(wrapper.storageInfoLists());
  sdk->releaseStorageList(sdk->storageNode(phone));
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1"));
}

TEST_F(MTPDextSDKWrapperSession, APhoneThatCameBackIsFoundAgain) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->addStorage(device, 0x00010001, "Phone");
  wrapper.setLocationID("14200000");
  ASSERT_TRUE(wrapper.storageInfoLists());
  sdk->unplug(device);
  EXPECT_FALSE(wrapper.storageInfoLists());
  sdk->plug(device);
  EXPECT_THAT(shown(), ElementsAre("/M/Phone:1"));
}

TEST_F(MTPDextSDKWrapperSession, AStorageListHeadWithoutADeviceIsTheFirstDevices) {
  const Handle device = sdk->addDevice(Location, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  _MTP_STORAGE_NODE* head = nullptr;
  EXPECT_EQ(wrapper.getMTPStorageListHead(nullptr, &head), 0u);
  EXPECT_EQ(head, sdk->storageNode(phone));
}

TEST_F(MTPDextSDKWrapperSession, AStepWithoutAStorageIsRefusedWithALogLine) {
  _MTP_STORAGE_NODE* next = nullptr;
  EXPECT_EQ(wrapper.getMTPNextStorage(nullptr, &next), Unsuccessful);
  EXPECT_TRUE(log.has("Current Storage List is NULL."));
}

// ---- Storage by name ----

TEST_F(MTPDextSDKWrapperSession, AStorageIsFoundByTheLastNameOfAPathIgnoringCase) {
  const Handle device = sdk->addDevice(Location, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  const Handle card = sdk->addStorage(device, 0x00020001, "SD Card");
  _MTP_STORAGE_NODE* head = sdk->storageNode(phone);
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), &head, "/M/sd card"), sdk->storageNode(card));
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), &head, "PHONE"), sdk->storageNode(phone));
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), &head, "Tablet"), nullptr);
}

TEST_F(MTPDextSDKWrapperSession, AStorageIsFoundWhetherItsNameIsTerminatedOrNot) {
  const Handle device = sdk->addDevice(Location, "M");
  const Handle bare = sdk->addStorage(device, 0x00010001, "x");
  sdk->setRawName(bare, u"Phone", 5);
  _MTP_STORAGE_NODE* head = sdk->storageNode(bare);
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), &head, "Phone"), sdk->storageNode(bare));
}

TEST_F(MTPDextSDKWrapperSession, AStorageWithoutANamePointerIsNotFoundAndEndsNoSearch) {
  const Handle device = sdk->addDevice(Location, "M");
  const Handle nameless = sdk->addStorage(device, 0x00010001, "Phone");
  sdk->setNullName(nameless);
  const Handle card = sdk->addStorage(device, 0x00020001, "Card");
  _MTP_STORAGE_NODE* head = sdk->storageNode(nameless);
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), &head, "Phone"), nullptr);
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), &head, "Card"), sdk->storageNode(card));
}

TEST_F(MTPDextSDKWrapperSession, ASearchForAStorageNeedsADeviceAHeadAndAName) {
  const Handle device = sdk->addDevice(Location, "M");
  _MTP_STORAGE_NODE* head = sdk->storageNode(sdk->addStorage(device, 0x00010001, "Phone"));
  EXPECT_EQ(wrapper.getStorageNode(nullptr, &head, "Phone"), nullptr);
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), nullptr, "Phone"), nullptr);
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), &head, QString()), nullptr);
  EXPECT_EQ(log.count("Input parameter is invalide. current device node is NULL"), 3);
  EXPECT_EQ(wrapper.getStorageNode(sdk->deviceNode(device), &head, ""), nullptr);
  EXPECT_TRUE(log.has("Get storage name is failed"));
}

// ---- Events, reset, detached ----

namespace {
std::uint32_t countEvent(std::int32_t code, std::uint64_t, std::uint64_t, void* context) {
  static_cast<std::vector<std::int32_t>*>(context)->push_back(code);
  return 0;
}
} // namespace

TEST_F(MTPDextSDKWrapperSession, ARegisteredCallbackGetsTheDevicesEvents) {
  const Handle device = sdk->addDevice(Location, "M");
  std::vector<std::int32_t> events;
  EXPECT_EQ(wrapper.registerMtpRequestEventNotifyEx(nullptr, countEvent, &events), Unsuccessful);
  EXPECT_EQ(wrapper.registerMtpRequestEventNotifyEx(sdk->deviceNode(device), countEvent, &events), 0u);
  EXPECT_TRUE(sdk->sendEvent(device, 0x4002));
  EXPECT_THAT(events, ElementsAre(0x4002));
  sdk->setStatus(Operation::RequestEventNotifyEx, 0x13100000);
  EXPECT_EQ(wrapper.registerMtpRequestEventNotifyEx(sdk->deviceNode(device), countEvent, &events), 0x13100000u);
}

TEST_F(MTPDextSDKWrapperSession, RemovingReleasesTheCurrentStorageAndTheDeviceAndKeepsTheAddresses) {
  const Handle device = sdk->addDevice(Location, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  wrapper.removeMtpBrowser();
  EXPECT_EQ(sdk->calls(Operation::ReleaseStorageList), 0);
  EXPECT_EQ(sdk->calls(Operation::ReleaseDeviceList), 0);

  wrapper.setLocationID("14200000", "/M/Phone");
  _MTP_STORAGE_NODE* storage = nullptr;
  _MTP_FOLDER_NODE* folder = nullptr;
  wrapper.initializeNodeInfo(nullptr, &storage, &folder);
  ASSERT_EQ(wrapper.getCurrentStorageNode(), sdk->storageNode(phone));
  wrapper.setIsDetached(true);
  wrapper.removeMtpBrowser();
  EXPECT_EQ(sdk->calls(Operation::ReleaseStorageList), 1);
  EXPECT_EQ(sdk->calls(Operation::ReleaseDeviceList), 1);
  EXPECT_EQ(wrapper.getCurrentStorageNode(), storage);
  EXPECT_EQ(wrapper.getCurrentDeviceNode(), sdk->deviceNode(device));
  EXPECT_EQ(wrapper.getCurrentRootPath(), "/M/Phone");
}

TEST_F(MTPDextSDKWrapperSession, AResetForgetsTheRootPathAndLeavesEventsRegistrable) {
  const Handle device = sdk->addDevice(Location, "M");
  sdk->addStorage(device, 0x00010001, "Phone");
  wrapper.setLocationID("14200000", "/M/Phone");
  wrapper.mtpReset();
  EXPECT_TRUE(wrapper.getCurrentRootPath().isEmpty());
  std::vector<std::int32_t> events;
  EXPECT_EQ(wrapper.registerMtpRequestEventNotifyEx(wrapper.getCurrentDeviceNode(), countEvent, &events), 0u);
}

TEST_F(MTPDextSDKWrapperSession, ADetachedWrapperRefusesEveryDeviceOperation) {
  const Handle device = sdk->addDevice(Location, "M");
  _MTP_STORAGE_NODE* const phone = sdk->storageNode(sdk->addStorage(device, 0x00010001, "Phone"));
  _MTP_DEVICE_NODE* const deviceNode = sdk->deviceNode(device);
  wrapper.setLocationID("14200000");
  ASSERT_TRUE(wrapper.storageInfoLists());
  wrapper.setIsDetached(true);

  std::optional<QString> name;
  _MTP_DEVICE_NODE* nextDevice = nullptr;
  _MTP_STORAGE_NODE* storage = nullptr;
  _MTP_STORAGE_NODE* head = phone;
  EXPECT_FALSE(wrapper.getMTPFriendlyName());
  EXPECT_EQ(wrapper.getMTPFriendlyName(deviceNode, name), Unsuccessful);
  EXPECT_EQ(wrapper.getMTPModelName(deviceNode, name), Unsuccessful);
  EXPECT_EQ(wrapper.getMTPDeviceHead(&nextDevice), Unsuccessful);
  EXPECT_EQ(wrapper.getMTPNextDevice(deviceNode, &nextDevice), Unsuccessful);
  EXPECT_EQ(wrapper.deviceWithLocationId(deviceNode, Location), nullptr);
  EXPECT_EQ(wrapper.getMTPStorageListHead(deviceNode, &storage), Unsuccessful);
  EXPECT_EQ(wrapper.getMTPNextStorage(phone, &storage), Unsuccessful);
  EXPECT_EQ(wrapper.getStorageNode(deviceNode, &head, "Phone"), nullptr);
  EXPECT_EQ(wrapper.registerMtpRequestEventNotifyEx(deviceNode, countEvent, nullptr), Unsuccessful);
  EXPECT_FALSE(wrapper.storageInfoLists());
}

TEST_F(MTPDextSDKWrapperSession, NothingStaysHeldAfterwards) {
  const Handle device = sdk->addDevice(Location, "M");
  _MTP_STORAGE_NODE* head = sdk->storageNode(sdk->addStorage(device, 0x00010001, "Phone"));
  wrapper.setLocationID("99");
  wrapper.storageInfoLists();
  wrapper.getStorageNode(sdk->deviceNode(device), &head, "none");
  EXPECT_EQ(sdk->holds(), 0);
}
