// The wrapper used by several threads while the phone changes. Of use above all under ThreadSanitizer.
#include "MTPCore/CapturedLog.h"
#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using Handle = FakeMtpSdk::Handle;

namespace {

// Runs the bodies at once, each `rounds` times, and waits for all.
void runTogether(int rounds, std::vector<std::function<void(int)>> bodies) {
  std::vector<std::thread> threads;
  for (const auto& body : bodies)
    threads.emplace_back([rounds, body] {
      for (int round = 0; round < rounds; ++round)
        body(round);
    });
  for (std::thread& thread : threads)
    thread.join();
}

class MTPDextSDKWrapperThreads : public testing::Test {
protected:
  void SetUp() override {
    for (int i = 0; i < 50; ++i) {
      sdk->addFile(folder, "file" + QString::number(i), quint64(i));
      sdk->addFolder(folder, "folder" + QString::number(i));
    }
    wrapper.setLocationID("14200000", "/M/Phone");
  }

  std::shared_ptr<FakeMtpSdk> sdk = std::make_shared<FakeMtpSdk>();
  const Handle device = sdk->addDevice(0x14200000, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  const Handle folder = sdk->addFolder(phone, "DCIM");
  MTPDextSDKWrapper wrapper{sdk};
  CapturedLog log; // keeps the many lines from standard error

  // Lists DCIM and checks that every entry is whole.
  void listOnce() {
    _MTP_STORAGE_NODE* storage = nullptr;
    _MTP_FOLDER_NODE* root = nullptr;
    wrapper.initializeNodeInfo(nullptr, &storage, &root);
    _MTP_FOLDER_NODE* const dcim = wrapper.getFolderNode("DCIM", storage, nullptr);
    const auto items = wrapper.getFilesAtFolder(dcim, storage, "/M/Phone/DCIM");
    for (const MtpItemInfo& item : items.value_or(QList<MtpItemInfo>())) {
      const QString name = item.FileName.value_or(QString());
      ASSERT_TRUE(name.startsWith("file") || name.startsWith("folder") || name == "DCIM") << name.toStdString();
    }
  }
};

} // namespace

TEST_F(MTPDextSDKWrapperThreads, ListsReleasedWhileTheyAreReadGiveWholeEntriesOrNone) {
  runTogether(60, {[this](int) { listOnce(); }, [this](int) { listOnce(); },
                   [this](int) { sdk->releaseStorageList(sdk->storageNode(phone)); },
                   [this](int round) { sdk->rename(folder, round % 2 == 0 ? "DCIM" : "dcim"); }});
  EXPECT_EQ(sdk->holds(), 0);
}

TEST_F(MTPDextSDKWrapperThreads, ObjectsThatComeAndGoDuringAListingDoNotDisturbIt) {
  std::vector<Handle> extra;
  runTogether(60, {[this](int) { listOnce(); },
                   [&](int round) {
                     extra.push_back(sdk->addFile(folder, "file-extra" + QString::number(round)));
                     if (extra.size() > 10) {
                       sdk->remove(extra.front());
                       extra.erase(extra.begin());
                     }
                   }});
  EXPECT_EQ(sdk->holds(), 0);
}

TEST_F(MTPDextSDKWrapperThreads, UnpluggingAndBindingAgainDuringListingsIsSurvived) {
  runTogether(60, {[this](int) { listOnce(); }, [this](int) { wrapper.storageInfoLists(); },
                   [this](int) {
                     sdk->unplug(device);
                     wrapper.setIsDetached(true);
                     sdk->plug(device);
                     wrapper.setLocationID("14200000", "/M/Phone");
                   }});
  wrapper.setLocationID("14200000", "/M/Phone");
  const auto storages = wrapper.storageInfoLists();
  ASSERT_TRUE(storages);
  EXPECT_EQ(storages->first().volumePath, QString("/M/Phone"));
}

TEST_F(MTPDextSDKWrapperThreads, ResetsDuringListingsAreSurvived) {
  runTogether(60, {[this](int) { listOnce(); },
                   [this](int) {
                     wrapper.mtpReset();
                     wrapper.setLocationID("14200000", "/M/Phone");
                   }});
  listOnce();
  EXPECT_EQ(sdk->holds(), 0);
}

TEST_F(MTPDextSDKWrapperThreads, StorageListingsWaitForEachOther) {
  std::atomic<int> running{0};
  std::atomic<bool> overlapped{false};
  // The model name is asked for once in the middle of each listing.
  sdk->setHook(FakeMtpSdk::Operation::GetModelName, [&] {
    if (running.fetch_add(1) > 0)
      overlapped = true;
    std::this_thread::yield();
    running.fetch_sub(1);
  });
  runTogether(40, {[this](int) { EXPECT_TRUE(wrapper.storageInfoLists()); },
                   [this](int) { EXPECT_TRUE(wrapper.storageInfoLists()); }});
  EXPECT_FALSE(overlapped);
}
