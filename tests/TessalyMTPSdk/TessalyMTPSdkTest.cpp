// What the C interface promises about addresses, lists, names, events and phones that go away.
#include "EngineFixture.h"

#include "TessalyMTPSdk/corvmtpsdk.h"

#include <atomic>
#include <thread>

using namespace testsupport;

namespace {

class Interface : public EngineWithPhone {
protected:
  void fill() {
    storage.file("DCIM/Camera/one.jpg", 1);
    storage.file("DCIM/Camera/two.jpg", 2);
    storage.file("note.txt", 3);
  }
  /// Counts the events of the phone as they are handed out.
  void listen() {
    EXPECT_EQ(mtpDextRequestEventNotifyEx(
                  device(),
                  [](int32_t code, uint64_t parameter, uint64_t, void* context) -> uint32_t {
                    auto* self = static_cast<Interface*>(context);
                    self->lastCode = code;
                    self->lastParameter = parameter;
                    self->events.raise();
                    return 0;
                  },
                  this),
              0u);
  }
  ~Interface() override {
    phone.reset(); // its wire ends before what events refer to
    mtp::shutdown();
  }

  Signal events;
  std::atomic<int32_t> lastCode = 0;
  std::atomic<uint64_t> lastParameter = 0;
};

constexpr uint32_t Unknown = 0x10000004;
constexpr uint32_t Invalid = 0x10000002;
constexpr uint32_t NoDevice = 0x12000001;
constexpr uint32_t NoStorage = 0x12000002;

} // namespace

TEST_F(Interface, NoPhoneIsAStatusAndANullHead) {
  auto* head = reinterpret_cast<_MTP_DEVICE_NODE*>(8);
  EXPECT_EQ(mtpDextSdkInit(), 0u);
  EXPECT_EQ(mtpDextSdkInit(), 0u);
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), NoDevice);
  EXPECT_EQ(head, nullptr);
}

TEST_F(Interface, ADeviceRecordCarriesTheLocation) {
  start();
  _MTP_DEVICE_NODE* head = device();
  ASSERT_TRUE(head);
  EXPECT_EQ(head->common.locationId, 0xFE100000u);
  EXPECT_EQ(head->common.nodeType, 1);
  _MTP_DEVICE_NODE* next = head;
  EXPECT_EQ(mtpDextGetNextDevice(head, &next), 2u);
  EXPECT_EQ(next, nullptr);
  EXPECT_EQ(device(), head) << "the same record as long as it is attached";
}

TEST_F(Interface, TwoPhonesAreWalked) {
  start();
  vphone::Options other;
  other.storages.push_back({.folder = storage.path(), .description = "Other"});
  other.locationId = 0xFE200000;
  vphone::VirtualPhone second(other);
  second.plug();
  mtp::addProvider(second.provider());
  _MTP_DEVICE_NODE* next = nullptr;
  ASSERT_EQ(mtpDextGetNextDevice(device(), &next), 0u);
  EXPECT_EQ(next->common.locationId, 0xFE200000u);
  EXPECT_EQ(mtpDextGetNextDevice(next, &next), 2u);
  mtp::shutdown();
}

TEST_F(Interface, NamesFollowTheTwoCallProtocol) {
  start();
  uint32_t size = 0;
  ASSERT_EQ(mtpDextGetModelName(device(), nullptr, &size), 1u);
  EXPECT_EQ(size, 2 * (std::string("Virtual Phone").size() + 1));
  std::u16string text(size / 2, u'?');
  uint32_t small = size - 1;
  EXPECT_EQ(mtpDextGetModelName(device(), text.data(), &small), 1u);
  EXPECT_EQ(small, size);
  EXPECT_EQ(text[0], u'?') << "a buffer too small stays as it is";
  EXPECT_EQ(mtpDextGetModelName(device(), text.data(), &size), 0u);
  EXPECT_EQ(text, std::u16string(u"Virtual Phone") + u'\0');
}

TEST_F(Interface, TheFriendlyNameIsAskedOnce) {
  vphone::Options options;
  options.friendlyName = "Ann's";
  options.storages.push_back({.folder = storage.path(), .description = "Phone"});
  start(options);
  uint32_t size = 0;
  ASSERT_EQ(mtpDextGetFriendlyName(device(), nullptr, &size), 1u);
  const auto before = mtp::counters().transactions;
  std::u16string text(size / 2, u'?');
  EXPECT_EQ(mtpDextGetFriendlyName(device(), text.data(), &size), 0u);
  EXPECT_EQ(text, std::u16string(u"Ann's") + u'\0');
  EXPECT_EQ(mtp::counters().transactions, before);
}

TEST_F(Interface, WithoutFriendlyNameItIsTheModel) {
  vphone::Manners manners;
  manners.missingOperations = {0x1015};
  start(manners);
  uint32_t size = 0;
  ASSERT_EQ(mtpDextGetFriendlyName(device(), nullptr, &size), 1u);
  EXPECT_EQ(size, 2 * (std::string("Virtual Phone").size() + 1));
}

TEST_F(Interface, ALockedPhoneHasNoStorageAndTheLogSaysWhatHelps) {
  start();
  phone->setLocked(true);
  auto* head = reinterpret_cast<_MTP_STORAGE_NODE*>(8);
  EXPECT_EQ(mtpDextGetStorageListHead(device(), &head), NoStorage);
  EXPECT_EQ(head, nullptr);
  EXPECT_NE(log().find("unlock the phone and choose \"File transfer\""), std::string::npos);
  phone->setLocked(false);
  EXPECT_EQ(mtpDextGetStorageListHead(device(), &head), 0u);
  EXPECT_TRUE(head);
}

TEST_F(Interface, NullForTheAnswerIsAnInvalidParameter) {
  fill();
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* folder = foldersIn(first)[0];
  _MTP_FILE_NODE* file = filesIn(first)[0];
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(nullptr), Invalid);
  EXPECT_EQ(mtpDextGetNextDevice(device(), nullptr), Invalid);
  EXPECT_EQ(mtpDextGetStorageListHead(device(), nullptr), Invalid);
  EXPECT_EQ(mtpDextGetNextStorageNode(first, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetFriendlyName(device(), nullptr, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetModelName(device(), nullptr, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetFolderListHead(first, nullptr, nullptr, nullptr, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetNextSiblingFolderNode(folder, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetParentFolderNode(folder, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetFileListHead(&first->common, nullptr, nullptr, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetNextFileNode(file, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetNodeKind(file, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetFolderListHead(nullptr, folder, &folder, nullptr, nullptr), Invalid);
  EXPECT_EQ(mtpDextGetFileListHead(nullptr, &file, nullptr, nullptr), Invalid);
}

TEST_F(Interface, AnAddressThatNamesNothingIsAStatusEverywhere) {
  fill();
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* aFolder = foldersIn(first)[0];
  auto* bytes = reinterpret_cast<char*>(aFolder);
  int onTheStack = 0;
  for (void* garbage : {static_cast<void*>(nullptr), reinterpret_cast<void*>(0xDEADBEEF), static_cast<void*>(bytes + 1),
                        static_cast<void*>(bytes + 8), static_cast<void*>(bytes + 44), static_cast<void*>(&onTheStack),
                        reinterpret_cast<void*>(~std::uintptr_t{0})}) {
    auto* d = static_cast<_MTP_DEVICE_NODE*>(garbage);
    auto* s = static_cast<_MTP_STORAGE_NODE*>(garbage);
    auto* fo = static_cast<_MTP_FOLDER_NODE*>(garbage);
    auto* fi = static_cast<_MTP_FILE_NODE*>(garbage);
    auto* c = static_cast<_MTP_COMMON_NODE*>(garbage);
    uint32_t size = 0;
    _MTP_DEVICE_NODE* device = nullptr;
    _MTP_STORAGE_NODE* storageNode = nullptr;
    _MTP_FOLDER_NODE* folder = nullptr;
    _MTP_FILE_NODE* file = nullptr;
    EXPECT_EQ(kindOf(garbage), Unknown);
    EXPECT_EQ(mtpDextGetNextDevice(d, &device), Unknown);
    EXPECT_EQ(mtpDextReleaseDeviceList(d), Unknown);
    EXPECT_EQ(mtpDextGetStorageListHead(d, &storageNode), Unknown);
    EXPECT_EQ(mtpDextGetNextStorageNode(s, &storageNode), Unknown);
    EXPECT_EQ(mtpDextReleaseStorageList(s), Unknown);
    EXPECT_EQ(mtpDextGetFriendlyName(d, nullptr, &size), Unknown);
    EXPECT_EQ(mtpDextGetModelName(d, nullptr, &size), Unknown);
    EXPECT_EQ(mtpDextGetNextSiblingFolderNode(fo, &folder), Unknown);
    EXPECT_EQ(mtpDextGetParentFolderNode(fo, &folder), Unknown);
    EXPECT_EQ(mtpDextGetNextFileNode(fi, &file), Unknown);
    EXPECT_EQ(mtpDextRequestEventNotifyEx(d, nullptr, nullptr), Unknown);
    EXPECT_EQ(libIsExist(garbage, 4), 0u);
    if (garbage) {
      EXPECT_EQ(mtpDextGetFolderListHead(first, fo, &folder, nullptr, nullptr), Unknown);
      EXPECT_EQ(mtpDextGetFolderListHead(s, nullptr, &folder, nullptr, nullptr), Unknown);
      EXPECT_EQ(mtpDextGetFileListHead(c, &file, nullptr, nullptr), Unknown);
    }
  }
}

TEST_F(Interface, ARecordOfAnotherKindIsNotTheOneAskedFor) {
  fill();
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FILE_NODE* file = filesIn(first)[0];
  _MTP_FILE_NODE* next = nullptr;
  EXPECT_EQ(mtpDextGetNextFileNode(reinterpret_cast<_MTP_FILE_NODE*>(foldersIn(first)[0]), &next), Unknown);
  EXPECT_EQ(mtpDextGetFileListHead(&file->common, &next, nullptr, nullptr), Unknown) << "a file holds nothing";
  EXPECT_EQ(libIsExist(file, 3), 0u);
  EXPECT_EQ(libIsExist(file, 4), 1u);
}

TEST_F(Interface, AFolderOfAnotherStorageIsAnInvalidParameter) {
  TemporaryFolder card;
  card.folder("on card");
  fill();
  vphone::Options options;
  options.storages = {{.folder = storage.path(), .description = "Phone"},
                      {.folder = card.path(), .description = "Card"}};
  start(options);
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_STORAGE_NODE* second = nullptr;
  ASSERT_EQ(mtpDextGetNextStorageNode(first, &second), 0u);
  _MTP_FOLDER_NODE* head = nullptr;
  EXPECT_EQ(mtpDextGetFolderListHead(second, foldersIn(first)[0], &head, nullptr, nullptr), Invalid);
}

TEST_F(Interface, EveryRecordKnowsItsKind) {
  fill();
  start();
  int32_t kind = 0;
  EXPECT_EQ(kindOf(device(), &kind), 0u);
  EXPECT_EQ(kind, 1);
  _MTP_STORAGE_NODE* first = firstStorage();
  EXPECT_EQ(kindOf(first, &kind), 0u);
  EXPECT_EQ(kind, 2);
  EXPECT_EQ(kindOf(foldersIn(first)[0], &kind), 0u);
  EXPECT_EQ(kind, 3);
  EXPECT_EQ(kindOf(filesIn(first)[0], &kind), 0u);
  EXPECT_EQ(kind, 4);
}

TEST_F(Interface, AnEmptyFolderIsTheEndOfAList) {
  storage.folder("empty");
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* empty = foldersIn(first)[0];
  auto* folder = reinterpret_cast<_MTP_FOLDER_NODE*>(8);
  auto* file = reinterpret_cast<_MTP_FILE_NODE*>(8);
  EXPECT_EQ(mtpDextGetFolderListHead(first, empty, &folder, nullptr, nullptr), 2u);
  EXPECT_EQ(folder, nullptr);
  EXPECT_EQ(mtpDextGetFileListHead(&empty->common, &file, nullptr, nullptr), 2u);
  EXPECT_EQ(file, nullptr);
}

TEST_F(Interface, ReleasingTheStorageListForgetsEverythingBelow) {
  fill();
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* dcim = foldersIn(first)[0];
  _MTP_FOLDER_NODE* camera = foldersIn(first, dcim)[0];
  _MTP_FILE_NODE* picture = filesIn(camera)[0];
  EXPECT_EQ(mtpDextReleaseStorageList(first), 0u);
  for (const void* node :
       {static_cast<void*>(first), static_cast<void*>(dcim), static_cast<void*>(camera), static_cast<void*>(picture)})
    EXPECT_EQ(kindOf(node), Unknown);
  EXPECT_EQ(mtpDextReleaseStorageList(first), Unknown);
  _MTP_STORAGE_NODE* again = firstStorage();
  EXPECT_NE(again, first) << "no address is used twice";
  EXPECT_EQ(namesOf(foldersIn(again)), std::vector<std::string>{"DCIM"});
}

TEST_F(Interface, ReleasingTheDeviceListKeepsTheDeviceAndItsStorages) {
  fill();
  start();
  _MTP_DEVICE_NODE* head = device();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* dcim = foldersIn(first)[0];
  EXPECT_EQ(mtpDextReleaseDeviceList(head), 0u);
  EXPECT_EQ(kindOf(head), 0u);
  EXPECT_EQ(kindOf(first), 0u);
  EXPECT_EQ(kindOf(dcim), Unknown);
  EXPECT_EQ(namesOf(foldersIn(first)), std::vector<std::string>{"DCIM"}) << "listed anew";
}

TEST_F(Interface, EventsStayRegisteredAcrossReleases) {
  fill();
  start();
  listen();
  mtpDextReleaseStorageList(firstStorage());
  mtpDextReleaseDeviceList(device());
  foldersIn(firstStorage());
  storage.file("new.txt");
  ASSERT_TRUE(events.waitFor(1));
}

TEST_F(Interface, AStorageWhoseRoomChangedKeepsWhatIsListedBelowIt) {
  fill();
  vphone::Options options;
  options.storages.push_back({.folder = storage.path(), .description = "Phone", .capacity = 1 << 30});
  start(options);
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* dcim = foldersIn(first)[0];
  storage.file("DCIM/more", 100000);
  std::ofstream(storage.path() / "DCIM" / "more") << std::string(200000, 'x');
  _MTP_STORAGE_NODE* again = firstStorage();
  EXPECT_EQ(kindOf(first), 0u) << "the older record still names the storage";
  EXPECT_EQ(kindOf(dcim), 0u);
  EXPECT_EQ(foldersIn(again)[0], dcim);
  _MTP_STORAGE_NODE* next = nullptr;
  EXPECT_EQ(mtpDextGetNextStorageNode(first, &next), 2u);
}

TEST_F(Interface, AChangeOnThePhoneIsSeenAtTheNextQuestionAndOtherRecordsStay) {
  fill();
  start();
  listen();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* camera = foldersIn(first, foldersIn(first)[0])[0];
  const auto before = filesIn(camera);
  storage.file("DCIM/Camera/three.jpg", 3);
  ASSERT_TRUE(events.waitFor(1));
  const auto after = filesIn(camera);
  EXPECT_EQ(after.size(), 3u);
  EXPECT_EQ(named(after, "one.jpg"), named(before, "one.jpg"));
  EXPECT_EQ(named(after, "two.jpg"), named(before, "two.jpg"));
}

TEST_F(Interface, AnObjectRemovedOnThePhoneIsUnknownAtOnce) {
  fill();
  start();
  listen();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* camera = foldersIn(first, foldersIn(first)[0])[0];
  const auto before = filesIn(camera);
  _MTP_FILE_NODE* gone = named(before, "one.jpg");
  _MTP_FILE_NODE* stays = named(before, "two.jpg");
  std::filesystem::remove(storage.path() / "DCIM/Camera/one.jpg");
  ASSERT_TRUE(events.waitFor(1));
  EXPECT_EQ(lastCode, 0x4003);
  EXPECT_EQ(kindOf(gone), Unknown);
  EXPECT_EQ(libIsExist(gone, 4), 0u);
  EXPECT_EQ(kindOf(stays), 0u);
  EXPECT_EQ(filesIn(camera), std::vector<_MTP_FILE_NODE*>{stays});
}

TEST_F(Interface, ExistenceIsAskedOfThePhoneOnlyAfterAChange) {
  fill();
  start();
  listen();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FILE_NODE* note = filesIn(first)[0];
  auto before = mtp::counters().transactions;
  EXPECT_NE(libIsExist(note, 4), 0u);
  EXPECT_EQ(mtp::counters().transactions, before);
  storage.folder("other");
  ASSERT_TRUE(events.waitFor(1));
  EXPECT_NE(libIsExist(note, 4), 0u);
  EXPECT_EQ(mtp::counters().transactions, before) << "it was not this one that changed";
  storage.file("note.txt", 4);
  ASSERT_TRUE(events.waitFor(2));
  EXPECT_NE(libIsExist(note, 4), 0u);
  EXPECT_EQ(mtp::counters().transactions, before + 1);
  EXPECT_NE(libIsExist(first, 2), 0u);
  EXPECT_NE(libIsExist(device(), 1), 0u);
}

TEST_F(Interface, AMemoryCardTakenOutTakesItsRecordsWithIt) {
  TemporaryFolder card;
  card.folder("pictures");
  fill();
  vphone::Options options;
  options.storages = {{.folder = storage.path(), .description = "Phone"},
                      {.folder = card.path(), .description = "Card", .storageId = 0x00020001}};
  start(options);
  listen();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_STORAGE_NODE* second = nullptr;
  ASSERT_EQ(mtpDextGetNextStorageNode(first, &second), 0u);
  _MTP_FOLDER_NODE* pictures = foldersIn(second)[0];
  ASSERT_TRUE(phone->removeStorage(0x00020001));
  ASSERT_TRUE(events.waitFor(1));
  EXPECT_EQ(lastCode, 0x4005);
  EXPECT_EQ(kindOf(second), Unknown);
  EXPECT_EQ(kindOf(pictures), Unknown);
  EXPECT_EQ(kindOf(first), 0u);
  EXPECT_EQ(mtpDextGetNextStorageNode(first, &second), 2u);
}

TEST_F(Interface, ACallbackTakenBackIsNotCalledAgain) {
  fill();
  start();
  listen();
  foldersIn(firstStorage());
  storage.file("first");
  ASSERT_TRUE(events.waitFor(1));
  EXPECT_EQ(mtpDextRequestEventNotifyEx(device(), nullptr, nullptr), 0u);
  const int before = events.count();
  Signal second;
  EXPECT_EQ(mtpDextRequestEventNotifyEx(
                device(),
                [](int32_t, uint64_t, uint64_t, void* context) -> uint32_t {
                  static_cast<Signal*>(context)->raise();
                  return 0;
                },
                &second),
            0u);
  foldersIn(firstStorage());
  storage.file("second");
  EXPECT_TRUE(second.waitFor(1));
  EXPECT_EQ(events.count(), before);
  // Later events of the same file may still be coming, and `second` ends here.
  EXPECT_EQ(mtpDextRequestEventNotifyEx(device(), nullptr, nullptr), 0u);
}

TEST_F(Interface, AnUnpluggedPhonesRecordsAreAnsweredWithAStatus) {
  fill();
  start();
  _MTP_DEVICE_NODE* head = device();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* dcim = foldersIn(first)[0];
  _MTP_FILE_NODE* note = filesIn(first)[0];
  phone->unplug();
  for (const void* node : {static_cast<void*>(first), static_cast<void*>(dcim), static_cast<void*>(note)})
    EXPECT_EQ(kindOf(node), Unknown);
  EXPECT_EQ(kindOf(head), NoDevice);
  uint32_t size = 0;
  _MTP_DEVICE_NODE* next = nullptr;
  _MTP_STORAGE_NODE* storages = nullptr;
  EXPECT_EQ(mtpDextGetStorageListHead(head, &storages), NoDevice);
  EXPECT_EQ(mtpDextGetModelName(head, nullptr, &size), NoDevice);
  EXPECT_EQ(mtpDextGetNextDevice(head, &next), NoDevice);
  EXPECT_EQ(mtpDextReleaseDeviceList(head), NoDevice);
  EXPECT_EQ(mtpDextRequestEventNotifyEx(head, nullptr, nullptr), NoDevice);
  EXPECT_EQ(libIsExist(note, 4), 0u);
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&next), NoDevice);
}

TEST_F(Interface, APhonePluggedInAgainHasNewRecords) {
  fill();
  start();
  _MTP_DEVICE_NODE* before = device();
  phone->unplug();
  phone->plug();
  _MTP_DEVICE_NODE* after = device();
  EXPECT_NE(after, before);
  EXPECT_EQ(kindOf(before), NoDevice);
  EXPECT_EQ(namesOf(foldersIn(firstStorage())), std::vector<std::string>{"DCIM"});
}

TEST_F(Interface, AProviderTakenAwayTakesItsPhones) {
  fill();
  phone = nullptr;
  vphone::Options options;
  options.storages.push_back({.folder = storage.path(), .description = "Phone"});
  phone = std::make_unique<vphone::VirtualPhone>(options);
  phone->plug();
  const auto provider = phone->provider();
  mtp::addProvider(provider);
  _MTP_DEVICE_NODE* head = device();
  mtp::removeProvider(provider);
  EXPECT_EQ(kindOf(head), NoDevice);
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), NoDevice);
}

TEST_F(Interface, HeldRecordsStayReadableAfterARelease) {
  for (int i = 0; i < 300; ++i)
    storage.file(std::to_string(i));
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  const auto files = filesIn(first);
  mtpDextHoldNodes();
  mtpDextReleaseStorageList(first);
  for (const _MTP_FILE_NODE* file : files)
    EXPECT_FALSE(nameOf(file).empty());
  mtpDextUnholdNodes();
}

TEST_F(Interface, ChangesAndTransfersOfNothingAreRefused) {
  EXPECT_EQ(mtpDextCreateFolderNode(nullptr, nullptr, 0, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextRenameNode(nullptr, nullptr, 0), 0x10000002u);
  EXPECT_EQ(mtpDextDeleteNode(nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextGetFileEx(nullptr, nullptr, 0, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextSendFileEx(nullptr, 0, nullptr, nullptr, nullptr, nullptr), 0x10000002u);
  EXPECT_EQ(mtpDextGetThumb(nullptr, nullptr, nullptr), 0x10000002u);
}

TEST_F(Interface, FileNamesAppearInTheLogAtDebugOnly) {
  storage.file("secret-plan.txt");
  storage.file("secret-folder/secret.jpg");
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  filesIn(foldersIn(first)[0]);
  EXPECT_EQ(loudLog().find("secret"), std::string::npos);
}

TEST_F(Interface, AListedEntryCostsLessThanTwoHundredBytes) {
  constexpr std::size_t Count = 1000;
  for (std::size_t i = 0; i < Count; ++i)
    storage.file("IMG_20240102_0" + std::to_string(10000 + i) + ".jpg");
  start();
  mtp::NodeRegistry& registry = mtp::EngineState::instance().registry();
  ASSERT_EQ(filesIn(firstStorage()).size(), Count);
  std::size_t bytes = 0;
  {
    const std::lock_guard lock(registry.mutex);
    bytes = registry.bytesInUse();
  }
  bytes += Count * sizeof(mtp::Listing::Entry);
  EXPECT_LE(bytes / Count, 200u);
}
