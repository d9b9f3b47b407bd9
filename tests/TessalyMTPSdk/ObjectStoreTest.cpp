#include "TessalyMTPSdk/ObjectStore.h"

#include <gtest/gtest.h>

#include <random>

using namespace mtp;

namespace {

struct Given {
  std::uint32_t handle;
  std::u16string name;
  bool folder = false;
  std::uint64_t size = 0;
  std::u16string date = u"20240101T000000";
};

ListedFolder listed(const std::vector<Given>& all) {
  ListedFolder folder;
  for (const Given& given : all) {
    ListedObject object;
    object.handle = given.handle;
    object.folder = given.folder;
    object.size = given.size;
    object.nameAt = static_cast<std::uint32_t>(folder.text.size());
    object.nameUnits = static_cast<std::uint16_t>(given.name.size());
    folder.text += given.name;
    object.dateAt = static_cast<std::uint32_t>(folder.text.size());
    object.dateUnits = static_cast<std::uint16_t>(given.date.size());
    folder.text += given.date;
    folder.objects.push_back(object);
  }
  return folder;
}

class Store : public ::testing::Test {
protected:
  Store() {
    store.setStorages({{0x00010001, info(u"Phone")}});
    top = store.listingOf(*store.firstStorage());
  }
  static StorageInfo info(std::u16string name) {
    StorageInfo info;
    info.description = std::move(name);
    info.maxCapacity = 1000;
    info.freeSpace = 400;
    return info;
  }
  static std::vector<Node*> walk(Node* head) {
    std::vector<Node*> nodes;
    for (; head; head = head->next)
      nodes.push_back(head);
    return nodes;
  }
  static std::vector<std::uint32_t> handles(Node* head) {
    std::vector<std::uint32_t> all;
    for (const Node* node : walk(head))
      all.push_back(node->common.nodeId);
    return all;
  }
  bool known(const Node* node) { return registry.find(node) != nullptr; }

  NodeRegistry registry;
  ObjectStore store{registry, nullptr};
  std::shared_ptr<Listing> top;
};

using Handles = std::vector<std::uint32_t>;

} // namespace

TEST_F(Store, FoldersAndFilesStandInThePhonesOrder) {
  store.apply(*top, listed({{9, u"z", true}, {2, u"b"}, {5, u"y", true}, {1, u"a"}}));
  EXPECT_EQ(handles(top->firstFolder), (Handles{9, 5}));
  EXPECT_EQ(handles(top->firstFile), (Handles{2, 1}));
}

TEST_F(Store, ARecordSaysWhatWasListed) {
  store.apply(*top, listed({{7, u"pic.jpg", false, std::uint64_t{5} << 32, u"20240102T030405"}}));
  const _MTP_FILE_NODE& file = top->firstFile->file;
  EXPECT_EQ(file.common.nodeId, 7u);
  EXPECT_EQ(file.fileLength, std::uint64_t{5} << 32);
  EXPECT_EQ(file.nameSize, 8u);
  EXPECT_EQ(std::u16string_view(file.name, 8), std::u16string_view(u"pic.jpg\0", 8));
  EXPECT_EQ(std::u16string_view(file.date, file.dateLength), u"20240102T030405");
}

TEST_F(Store, ANameOfZerosAndHalfSurrogatesIsKeptUnitByUnit) {
  const std::u16string name = {u'a', 0, 0xD800, 0xDFFF, 0};
  store.apply(*top, listed({{7, name, false, 0, u""}}));
  const _MTP_FILE_NODE& file = top->firstFile->file;
  EXPECT_EQ(std::u16string_view(file.name, file.nameSize), name + u'\0');
  EXPECT_EQ(file.date, nullptr);
  EXPECT_EQ(file.dateLength, 0u);
}

TEST_F(Store, AnEmptyNameIsATerminatedOne) {
  store.apply(*top, listed({{7, u"", true}}));
  EXPECT_EQ(top->firstFolder->folder.nameSize, 1u);
  EXPECT_EQ(top->firstFolder->folder.name[0], u'\0');
}

TEST_F(Store, RecordsOfUnchangedObjectsAreKept) {
  store.apply(*top, listed({{1, u"a", false, 5}, {2, u"b", true}, {3, u"c"}}));
  const Node* file = top->firstFile;
  const Node* folder = top->firstFolder;
  store.apply(*top, listed({{4, u"new"}, {2, u"b", true}, {1, u"a", false, 5}}));
  EXPECT_EQ(handles(top->firstFile), (Handles{4, 1}));
  EXPECT_EQ(walk(top->firstFile)[1], file);
  EXPECT_EQ(top->firstFolder, folder);
}

TEST_F(Store, AnyChangeOfAnObjectMakesANewRecord) {
  const Given before{1, u"a", false, 5, u"20240101T000000"};
  for (const Given& after : {Given{1, u"b", false, 5, before.date}, Given{1, u"a", false, 6, before.date},
                             Given{1, u"a", false, 5, u"20240101T000001"}, Given{1, u"a", true, 5, before.date},
                             Given{1, u"a", false, 5, u""}}) {
    store.apply(*top, listed({before}));
    const Node* node = top->firstFile;
    store.apply(*top, listed({after}));
    EXPECT_FALSE(known(node));
    EXPECT_TRUE(known(after.folder ? top->firstFolder : top->firstFile));
  }
}

TEST_F(Store, WhatIsNoLongerListedIsRetiredWithAllBelow) {
  store.apply(*top, listed({{1, u"a", true}, {2, u"b"}}));
  const auto inside = store.listingOf(*top->firstFolder);
  store.apply(*inside, listed({{10, u"x", true}}));
  const auto deeper = store.listingOf(*inside->firstFolder);
  store.apply(*deeper, listed({{20, u"y"}}));
  const Node* file = deeper->firstFile;
  store.apply(*top, listed({{2, u"b"}}));
  EXPECT_FALSE(known(file));
  EXPECT_FALSE(inside->known);
  EXPECT_FALSE(deeper->known);
  EXPECT_TRUE(known(top->firstFile));
}

TEST_F(Store, ARemovedObjectLeavesItsListInOneStep) {
  store.apply(*top, listed({{1, u"a"}, {2, u"b"}, {3, u"c"}, {4, u"d"}}));
  const auto nodes = walk(top->firstFile);
  EXPECT_TRUE(store.retireObject(2));
  EXPECT_EQ(handles(top->firstFile), (Handles{1, 3, 4}));
  EXPECT_TRUE(store.retireObject(1));
  EXPECT_TRUE(store.retireObject(4));
  EXPECT_EQ(handles(top->firstFile), Handles{3});
  EXPECT_FALSE(store.retireObject(2)) << "it is known no more";
  EXPECT_FALSE(known(nodes[1]));
  EXPECT_TRUE(top->stale);
  EXPECT_TRUE(store.retireObject(3));
  EXPECT_EQ(top->firstFile, nullptr);
  store.apply(*top, listed({{1, u"a"}, {3, u"c"}}));
  EXPECT_EQ(handles(top->firstFile), (Handles{1, 3}));
}

TEST_F(Store, ARemovedFolderTakesItsContentsAlong) {
  store.apply(*top, listed({{1, u"a", true}}));
  const auto inside = store.listingOf(*top->firstFolder);
  store.apply(*inside, listed({{10, u"x"}}));
  const Node* file = inside->firstFile;
  EXPECT_TRUE(store.retireObject(1));
  EXPECT_FALSE(known(file));
  EXPECT_FALSE(inside->known);
}

TEST_F(Store, ATreeOfAnyDepthIsRetiredWithoutRecursion) {
  auto listing = top;
  for (std::uint32_t depth = 1; depth <= 200'000; ++depth) {
    store.apply(*listing, listed({{depth, u"d", true, 0, u""}}));
    listing = store.listingOf(*listing->firstFolder);
  }
  store.retireObjects();
  EXPECT_FALSE(listing->known);
  EXPECT_EQ(top->firstFolder, nullptr);
}

TEST_F(Store, AHandleAnsweredInTwoFoldersIsRemovedFromBoth) {
  store.apply(*top, listed({{1, u"a", true}, {5, u"twice"}}));
  const auto inside = store.listingOf(*top->firstFolder);
  store.apply(*inside, listed({{5, u"twice"}, {1, u"own parent's", true}}));
  EXPECT_TRUE(store.retireObject(5));
  EXPECT_EQ(top->firstFile, nullptr);
  EXPECT_EQ(inside->firstFile, nullptr);
  EXPECT_TRUE(store.retireObject(1)) << "also the folder that claims to be its own child";
  EXPECT_EQ(top->firstFolder, nullptr);
}

TEST_F(Store, AChangeReportedMakesTheRightListingsStale) {
  store.apply(*top, listed({{1, u"a", true}, {2, u"b"}}));
  const auto inside = store.listingOf(*top->firstFolder);
  store.apply(*inside, listed({{10, u"x"}}));
  store.markStale(10);
  EXPECT_TRUE(inside->stale);
  EXPECT_TRUE(inside->namesStale);
  EXPECT_FALSE(top->stale);
  store.markStale(77);
  EXPECT_FALSE(top->stale);
  store.markAllStale();
  EXPECT_TRUE(top->stale);
}

TEST_F(Store, AReportedObjectMakesItsFolderAndTheTopLevelStale) {
  store.apply(*top, listed({{1, u"a", true}, {2, u"b", true}}));
  const auto in1 = store.listingOf(*top->firstFolder);
  const auto in2 = store.listingOf(*top->lastFolder);
  store.apply(*in1, listed({{10, u"x"}}));
  store.apply(*in2, listed({{20, u"y"}}));
  store.noteReported(11);
  store.noteReported(11);
  EXPECT_FALSE(in1->stale);
  EXPECT_EQ(store.takeReported(), std::vector<std::uint32_t>{11});
  EXPECT_TRUE(store.takeReported().empty());
  store.place(1, u"New.jpg");
  EXPECT_TRUE(in1->stale);
  EXPECT_FALSE(in1->namesStale) << "the one name is known";
  EXPECT_TRUE(in1->reported.contains(u"new.jpg"));
  EXPECT_FALSE(in2->stale);
  EXPECT_TRUE(top->namesStale);
  store.apply(*in1, listed({{10, u"x"}, {11, u"New.jpg"}}));
  EXPECT_TRUE(in1->reported.empty());
}

TEST_F(Store, AReportedObjectThatIsListedBeforeItIsAskedForIsNotAskedFor) {
  store.apply(*top, listed({{1, u"a", true}}));
  store.noteReported(1);
  EXPECT_TRUE(top->stale);
  EXPECT_FALSE(top->namesStale);
  store.apply(*top, listed({{1, u"b", true}}));
  EXPECT_TRUE(store.takeReported().empty());
}

TEST_F(Store, TooManyReportedObjectsMakeAllStale) {
  store.apply(*top, listed({{1, u"a", true}}));
  const auto inside = store.listingOf(*top->firstFolder);
  store.apply(*inside, listed({{10, u"x"}}));
  for (std::uint32_t handle = 1000; handle < 1065; ++handle)
    store.noteReported(handle);
  EXPECT_TRUE(inside->namesStale);
  EXPECT_TRUE(store.takeReported().empty());
}

TEST_F(Store, ARemovedObjectThatIsNotKnownLeavesFoldersAsTheyAre) {
  store.apply(*top, listed({{1, u"a", true}}));
  const auto inside = store.listingOf(*top->firstFolder);
  store.apply(*inside, listed({{10, u"x"}}));
  store.noteReported(11);
  EXPECT_TRUE(store.retireObject(11));
  EXPECT_TRUE(store.takeReported().empty());
  EXPECT_FALSE(top->stale);
  EXPECT_FALSE(store.retireObject(77));
  EXPECT_FALSE(inside->stale);
  EXPECT_TRUE(top->stale) << "some responders name a wrong object there";
  inside->fetching = true;
  store.retireObject(77);
  EXPECT_TRUE(inside->stale) << "what is on its way may still hold it";
}

TEST_F(Store, WhatIsKnownBelowAnObjectIsFound) {
  store.apply(*top, listed({{1, u"a", true}, {2, u"b", true}}));
  const auto inside = store.listingOf(*top->firstFolder);
  store.apply(*inside, listed({{10, u"x"}, {11, u"inner", true}}));
  store.apply(*store.listingOf(*inside->firstFolder), listed({{20, u"y"}}));
  EXPECT_EQ(store.handlesBelow(*top->firstFolder, 10), (std::vector<std::uint32_t>{10, 11, 20}));
  EXPECT_EQ(store.handlesBelow(*top->firstFolder, 2), (std::vector<std::uint32_t>{10, 11}));
  EXPECT_TRUE(store.handlesBelow(*top->lastFolder, 10).empty());
}

TEST_F(Store, AStorageThatStaysKeepsItsObjectsWhenItsRoomChanges) {
  store.apply(*top, listed({{1, u"a", true}}));
  const Node* folder = top->firstFolder;
  const Node* before = store.firstStorage();
  StorageInfo fuller = info(u"Phone");
  fuller.freeSpace = 1;
  store.setStorages({{0x00010001, fuller}, {0x00020001, info(u"Card")}});
  EXPECT_TRUE(known(folder));
  EXPECT_TRUE(known(before));
  EXPECT_NE(store.firstStorage(), before);
  EXPECT_EQ(+store.firstStorage()->storage.freeSpace, 1u); // a copy: packed fields bind to no reference
  EXPECT_EQ(store.storageAfter(*before)->common.nodeId, 0x00020001u);
  EXPECT_EQ(store.storageAfter(*store.storageAfter(*before)), nullptr);
  store.retireStorages();
  EXPECT_FALSE(known(before));
  EXPECT_FALSE(known(folder));
}

TEST_F(Store, AnUnchangedStorageKeepsItsRecord) {
  const Node* before = store.firstStorage();
  store.setStorages({{0x00010001, info(u"Phone")}});
  EXPECT_EQ(store.firstStorage(), before);
}

TEST_F(Store, AStorageNamedTwiceIsOne) {
  store.setStorages({{0x00010001, info(u"Phone")}, {0x00010001, info(u"Phone")}});
  EXPECT_EQ(store.storageAfter(*store.firstStorage()), nullptr);
}

TEST_F(Store, AStorageGoneTakesItsObjectsAlong) {
  store.apply(*top, listed({{1, u"a", true}}));
  const Node* folder = top->firstFolder;
  store.setStorages({});
  EXPECT_FALSE(known(folder));
  EXPECT_EQ(store.firstStorage(), nullptr);
  EXPECT_FALSE(top->known);
}

TEST_F(Store, AClosedStoreTakesNothingMore) {
  store.close();
  store.setStorages({{0x00010001, info(u"Phone")}});
  EXPECT_EQ(store.firstStorage(), nullptr);
  EXPECT_EQ(registry.bytesInUse(), 0u);
}

TEST_F(Store, RandomChangesLeaveListsAndRegistryInStep) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    std::vector<Given> given;
    for (std::uint32_t handle = 1; handle <= 30; ++handle) {
      if (random() % 3 != 0)
        given.push_back({handle, random() % 2 ? u"one" : u"two", random() % 4 == 0, random() % 2, u""});
    }
    std::ranges::shuffle(given, random);
    store.apply(*top, listed(given));
    for (int removed = 0; removed < 3; ++removed)
      store.retireObject(1 + random() % 30);
    std::size_t count = 0;
    for (Node* head : {top->firstFolder, top->firstFile}) {
      const Node* previous = nullptr;
      for (const Node* node : walk(head)) {
        ASSERT_TRUE(known(node));
        ASSERT_EQ(node->previous, previous);
        ASSERT_EQ(node->listing, top.get());
        previous = node;
        ++count;
      }
    }
    ASSERT_EQ(count, static_cast<std::size_t>(std::ranges::count_if(
                         top->byHandle, [](const Listing::Entry& entry) { return entry.node != nullptr; })));
  }
}
