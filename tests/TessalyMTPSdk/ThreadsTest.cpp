// The C interface under many threads at once: whatever they do to each other, every call ends with a status, and what
// is read under a hold is whole.
#include "EngineFixture.h"

#include "TessalyMTPSdk/corvmtpsdk.h"

#include <atomic>
#include <thread>

using namespace testsupport;

namespace {

class Threads : public EngineWithPhone {
protected:
  Threads() {
    for (int folder = 0; folder < 4; ++folder) {
      for (int file = 0; file < 40; ++file)
        storage.file("folder" + std::to_string(folder) + "/file" + std::to_string(file), 3);
    }
  }

  static bool isExpected(uint32_t status) {
    return status == 0 || status == 2 || status == 0x10000002 || status == 0x10000004 || status == 0x12000001 ||
           status == 0x12000002 || status == 0x12000003 || status == 0x13100007 || status == 0x10000007;
  }
  void check(uint32_t status) {
    if (!isExpected(status))
      unexpected = status;
  }
  /// Walks everything, reading records only under a hold and only when they are known.
  void browse() {
    _MTP_DEVICE_NODE* device = nullptr;
    check(mtpDextGetConnectedDeviceListHead(&device));
    _MTP_STORAGE_NODE* first = nullptr;
    check(mtpDextGetStorageListHead(device, &first));
    _MTP_FOLDER_NODE* folder = nullptr;
    uint32_t status = mtpDextGetFolderListHead(first, nullptr, &folder, nullptr, nullptr);
    for (; status == 0 && folder; status = mtpDextGetNextSiblingFolderNode(folder, &folder)) {
      read(folder, MTPDEXT_NODE_FOLDER);
      _MTP_FILE_NODE* file = nullptr;
      uint32_t fileStatus = mtpDextGetFileListHead(&folder->common, &file, nullptr, nullptr);
      for (; fileStatus == 0 && file; fileStatus = mtpDextGetNextFileNode(file, &file)) {
        read(file, MTPDEXT_NODE_FILE);
        ++filesSeen;
      }
      check(fileStatus);
    }
    check(status);
  }
  template <typename Record> void read(const Record* record, int32_t kind) {
    mtpDextHoldNodes();
    int32_t found = 0;
    if (mtpDextGetNodeKind(record, &found) == 0) {
      EXPECT_EQ(found, kind);
      EXPECT_EQ(record->common.nodeType, kind);
      EXPECT_EQ(nameOf(record).substr(0, 2), kind == MTPDEXT_NODE_FILE ? "fi" : "fo");
    }
    mtpDextUnholdNodes();
  }
  void run(const std::vector<std::function<void()>>& jobs) {
    std::vector<std::thread> threads;
    for (const auto& job : jobs)
      threads.emplace_back(job);
    for (std::thread& thread : threads)
      thread.join();
    EXPECT_EQ(unexpected.load(), 0u) << std::hex << unexpected.load();
  }
  static void repeat(int times, const std::function<void()>& work) {
    for (int i = 0; i < times; ++i)
      work();
  }

  std::atomic<uint32_t> unexpected = 0;
  std::atomic<int> filesSeen = 0;
};

} // namespace

TEST_F(Threads, ReadersReleasersAndAskersDoNotDisturbEachOther) {
  start();
  const auto browsing = [&] { repeat(20, [&] { browse(); }); };
  const auto releasing = [&] {
    repeat(20, [&] {
      _MTP_DEVICE_NODE* device = nullptr;
      _MTP_STORAGE_NODE* first = nullptr;
      check(mtpDextGetConnectedDeviceListHead(&device));
      check(mtpDextGetStorageListHead(device, &first));
      check(mtpDextReleaseStorageList(first));
      check(mtpDextReleaseDeviceList(device));
    });
  };
  const auto asking = [&] {
    repeat(20, [&] {
      _MTP_STORAGE_NODE* first = nullptr;
      _MTP_DEVICE_NODE* device = nullptr;
      uint32_t size = 0;
      check(mtpDextGetConnectedDeviceListHead(&device));
      EXPECT_EQ(mtpDextGetModelName(device, nullptr, &size), 1u);
      mtpDextGetStorageListHead(device, &first);
      _MTP_FILE_NODE* file = nullptr;
      check(mtpDextGetFileListHead(&first->common, &file, nullptr, nullptr));
      libIsExist(file, MTPDEXT_NODE_FILE);
    });
  };
  run({browsing, browsing, releasing, asking});
  filesSeen = 0;
  browse();
  EXPECT_EQ(filesSeen, 160);
}

TEST_F(Threads, OneFetchServesAllWhoAskAtTheSameTime) {
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  _MTP_FOLDER_NODE* folder = foldersIn(first)[0];
  const auto before = mtp::counters().transactions;
  std::vector<std::function<void()>> jobs(8, [&] { EXPECT_EQ(filesIn(folder).size(), 40u); });
  run(jobs);
  EXPECT_LE(mtp::counters().transactions - before, 5u);
}

TEST_F(Threads, ChangesOnThePhoneAndRegistrationsComeAndGoWhileOthersBrowse) {
  start();
  std::atomic<int> events = 0;
  const auto callback = [](int32_t, uint64_t, uint64_t, void* context) -> uint32_t {
    ++*static_cast<std::atomic<int>*>(context);
    return 0;
  };
  const auto changing = [&] {
    for (int i = 0; i < 40; ++i) {
      storage.file("folder1/file-new" + std::to_string(i), 2);
      if (i % 2 == 0)
        std::filesystem::remove(storage.path() / ("folder1/file-new" + std::to_string(i)));
    }
  };
  const auto registering = [&] {
    repeat(40, [&] {
      check(mtpDextRequestEventNotifyEx(device(), callback, &events));
      check(mtpDextRequestEventNotifyEx(device(), nullptr, nullptr));
    });
  };
  const auto browsing = [&] { repeat(10, [&] { browse(); }); };
  run({changing, registering, browsing, browsing});
}

TEST_F(Threads, ThePhoneMayBePulledOutAtAnyMoment) {
  for (int round = 0; round < 12; ++round) {
    start();
    _MTP_DEVICE_NODE* head = device();
    Signal begun;
    const auto browsing = [&] {
      repeat(5, [&] {
        begun.raise();
        browse();
      });
    };
    const auto pulling = [&] {
      begun.waitFor(1 + round % 6);
      phone->unplug();
    };
    run({browsing, browsing, pulling});
    EXPECT_EQ(kindOf(head), 0x12000001u);
    mtp::shutdown();
  }
}

TEST_F(Threads, TheEngineMayBeShutDownWhileOthersBrowse) {
  for (int round = 0; round < 6; ++round) {
    start();
    device();
    Signal begun;
    const auto browsing = [&] {
      repeat(5, [&] {
        begun.raise();
        browse();
      });
    };
    run({browsing, browsing, [&] {
           begun.waitFor(2 + round);
           mtp::shutdown();
         }});
    mtp::shutdown();
  }
}
