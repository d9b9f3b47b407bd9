// The engine through its C interface, on a phone that shares no line of code with it.
#include "EngineFixture.h"

#include "TessalyMTPSdk/MtpCodes.h"
#include "TessalyMTPSdk/corvmtpsdk.h"

#include <atomic>
#include <thread>

using namespace testsupport;
using ::testing::Test;

class EngineOnVirtualPhone : public EngineWithPhone {
protected:
  static vphone::Manners manners(const std::function<void(vphone::Manners&)>& change) {
    vphone::Manners changed;
    change(changed);
    return changed;
  }
  std::uint64_t transactionsOf(const std::function<void()>& work) {
    const std::uint64_t before = mtp::counters().transactions;
    work();
    return mtp::counters().transactions - before;
  }
  std::uint64_t asked(mtp::Operation operation) {
    auto operations = phone->statistics().operations;
    return operations[static_cast<std::uint16_t>(operation)];
  }
};

using Strings = std::vector<std::string>;

TEST_F(EngineOnVirtualPhone, ShowsStoragesFoldersAndFiles) {
  storage.file("DCIM/Camera/one.jpg", 1234);
  storage.file("DCIM/Camera/two.jpg");
  storage.file("note.txt", 5);
  start();
  _MTP_STORAGE_NODE* phoneStorage = firstStorage();
  ASSERT_TRUE(phoneStorage);
  EXPECT_EQ(nameOf(phoneStorage), "Phone");
  EXPECT_EQ(phoneStorage->nameLength, 6u);
  EXPECT_EQ(phoneStorage->common.nodeId, 0x00010001u);
  EXPECT_EQ(phoneStorage->common.nodeType, 2);
  EXPECT_GT(+phoneStorage->totalCapacity, 0u); // a copy: packed fields bind to no reference
  EXPECT_EQ(namesOf(foldersIn(phoneStorage)), Strings{"DCIM"});
  const auto files = filesIn(phoneStorage);
  ASSERT_EQ(namesOf(files), Strings{"note.txt"});
  EXPECT_EQ(files[0]->fileLength, 5u);
  EXPECT_EQ(files[0]->nameSize, 9u);
  EXPECT_EQ(files[0]->name[8], u'\0');
  EXPECT_EQ(files[0]->common.nodeType, 4);
  EXPECT_GE(files[0]->dateLength, 15u);
  EXPECT_EQ(files[0]->date[8], u'T');
  _MTP_FOLDER_NODE* dcim = foldersIn(phoneStorage)[0];
  _MTP_FOLDER_NODE* camera = foldersIn(phoneStorage, dcim)[0];
  EXPECT_EQ(namesOf(filesIn(camera)), (Strings{"one.jpg", "two.jpg"}));
  EXPECT_TRUE(filesIn(dcim).empty());
  _MTP_FOLDER_NODE* parent = nullptr;
  EXPECT_EQ(mtpDextGetParentFolderNode(camera, &parent), 0u);
  EXPECT_EQ(parent, dcim);
  EXPECT_EQ(mtpDextGetParentFolderNode(dcim, &parent), 2u);
  EXPECT_EQ(parent, nullptr);
}

TEST_F(EngineOnVirtualPhone, ListsEachStoragesOwnTopLevelOnly) {
  TemporaryFolder card;
  storage.file("inside.txt");
  card.file("outside.txt");
  vphone::Options options;
  options.storages = {{.folder = storage.path(), .description = "Phone"},
                      {.folder = card.path(), .description = "Card", .removable = true}};
  start(options);
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_STORAGE_NODE* second = nullptr;
  ASSERT_EQ(mtpDextGetNextStorageNode(first, &second), 0u);
  EXPECT_EQ(nameOf(second), "Card");
  EXPECT_EQ(namesOf(filesIn(first)), Strings{"inside.txt"});
  EXPECT_EQ(namesOf(filesIn(second)), Strings{"outside.txt"});
  _MTP_STORAGE_NODE* third = first;
  EXPECT_EQ(mtpDextGetNextStorageNode(second, &third), 2u);
  EXPECT_EQ(third, nullptr);
}

TEST_F(EngineOnVirtualPhone, OpensAFolderOfAnySizeWithAtMostSixTransactions) {
  for (const int count : {100, 1000}) {
    for (int i = 0; i < count; ++i)
      storage.file("folder" + std::to_string(count) + "/" + std::to_string(i));
  }
  start();
  _MTP_STORAGE_NODE* phoneStorage = firstStorage();
  std::vector<_MTP_FOLDER_NODE*> folders;
  EXPECT_LE(transactionsOf([&] { folders = foldersIn(phoneStorage); }), 6u);
  for (_MTP_FOLDER_NODE* folder : folders) {
    EXPECT_LE(transactionsOf([&] { foldersIn(phoneStorage, folder); }), 5u);
    EXPECT_EQ(transactionsOf([&] { EXPECT_GE(filesIn(folder).size(), 100u); }), 0u) << "one fetch serves both lists";
  }
}

TEST_F(EngineOnVirtualPhone, NeedsTwoMoreTransactionsThanEntriesWhereDepthIsIgnored) {
  for (int i = 0; i < 50; ++i)
    storage.file("many/" + std::to_string(i), 10);
  start(manners([](auto& m) { m.ignoresDepth = true; }));
  _MTP_STORAGE_NODE* phoneStorage = firstStorage();
  _MTP_FOLDER_NODE* many = nullptr;
  EXPECT_LE(transactionsOf([&] { many = foldersIn(phoneStorage).at(0); }), 3u);
  EXPECT_LE(transactionsOf([&] { EXPECT_EQ(filesIn(many).size(), 50u); }), 52u);
  EXPECT_EQ(filesIn(many)[0]->fileLength, 10u);
  EXPECT_EQ(asked(mtp::Operation::GetObjectInfo), 0u);
}

TEST_F(EngineOnVirtualPhone, AsksObjectByObjectWithoutPropertyLists) {
  storage.file("many/huge", std::uintmax_t{5} << 30);
  storage.file("many/small", 7);
  start(manners([](auto& m) { m.missingOperations = {0x9805}; }));
  _MTP_FOLDER_NODE* many = foldersIn(firstStorage()).at(0);
  const auto files = filesIn(many);
  EXPECT_EQ(named(files, "huge")->fileLength, std::uint64_t{5} << 30) << "beyond 32 bits ObjectSize is asked";
  EXPECT_EQ(named(files, "small")->fileLength, 7u);
  EXPECT_EQ(asked(mtp::Operation::GetObjectPropList), 0u);
  EXPECT_EQ(asked(mtp::Operation::GetObjectPropValue), 1u);
}

TEST_F(EngineOnVirtualPhone, ReadsTheSixtyFourBitSizeSomeMakersPutIntoObjectInfo) {
  storage.file("huge", std::uintmax_t{5} << 30);
  start(manners([](auto& m) {
    m.missingOperations = {0x9805, 0x9803};
    m.wideObjectInfoSize = true;
  }));
  EXPECT_EQ(filesIn(firstStorage()).at(0)->fileLength, std::uint64_t{5} << 30);
}

TEST_F(EngineOnVirtualPhone, TakesTheRightSizeFromPropertiesWhereObjectInfoWrapsAround) {
  storage.file("huge", std::uintmax_t{5} << 30);
  start(manners([](auto& m) { m.ignoresDepth = m.sizeModulo32 = true; }));
  EXPECT_EQ(filesIn(firstStorage()).at(0)->fileLength, std::uint64_t{5} << 30);
}

TEST_F(EngineOnVirtualPhone, WorksWithTransfersThatEndWithoutAZeroLengthPacket) {
  for (int i = 0; i < 300; ++i)
    storage.file("x/" + std::string(static_cast<std::size_t>(1 + i % 40), 'n') + std::to_string(i));
  start(manners([](auto& m) { m.zeroLengthPackets = false; }));
  _MTP_STORAGE_NODE* phoneStorage = firstStorage();
  EXPECT_EQ(filesIn(foldersIn(phoneStorage).at(0)).size(), 300u);
  EXPECT_EQ(asked(mtp::Operation::GetDeviceInfo), 1u) << "nothing had to be recovered";
}

namespace {

/// A listing's callback that has enough when it was asked so often.
struct Patience {
  int left;
  static uint32_t callback(uint64_t, uint64_t, void* context) {
    return --static_cast<Patience*>(context)->left < 0 ? 0x10000007 : 0;
  }
};

} // namespace

TEST_F(EngineOnVirtualPhone, AListingObjectByObjectEndsAsSoonAsTheCallbackWantsIt) {
  for (int i = 0; i < 300; ++i)
    storage.file("Many/file" + std::to_string(i));
  start(manners([](vphone::Manners& m) { m.missingOperations = {0x9805}; }));
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* many = foldersIn(top).at(0);
  Patience patience{5};
  _MTP_FOLDER_NODE* folder = nullptr;
  _MTP_FILE_NODE* file = nullptr;
  const std::uint64_t transactions = transactionsOf([&] {
    EXPECT_EQ(mtpDextGetFolderListHead(top, many, &folder, Patience::callback, &patience), 0x10000007u);
    EXPECT_EQ(mtpDextGetFileListHead(&many->common, &file, Patience::callback, &patience), 0x10000007u);
  });
  EXPECT_LT(transactions, 20u);
  EXPECT_EQ(filesIn(many).size(), 300u) << "who asks next gets all of it";
}

TEST_F(EngineOnVirtualPhone, AListingThatStopsInTheMiddleOfItsDataEndsWhenTheCallbackWantsIt) {
  for (int i = 0; i < 300; ++i)
    storage.file("Many/file" + std::to_string(i));
  start();
  _MTP_STORAGE_NODE* top = firstStorage();
  _MTP_FOLDER_NODE* many = foldersIn(top).at(0);
  phone->faults().add({.kind = vphone::FaultKind::Silence,
                       .phase = vphone::FaultPhase::Data,
                       .transaction = std::nullopt,
                       .operation = static_cast<std::uint16_t>(mtp::Operation::GetObjectPropList),
                       .atByte = 1024,
                       .value = 0});
  Patience patience{5};
  _MTP_FOLDER_NODE* folder = nullptr;
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_EQ(mtpDextGetFolderListHead(top, many, &folder, Patience::callback, &patience), 0x10000007u);
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(8)) << "not the ten seconds of silence";
  EXPECT_EQ(filesIn(many).size(), 300u) << log();
}
