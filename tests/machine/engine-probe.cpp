// The engine's C interface on the command line, for the tests in the virtual machine. Writes tab-separated lines.
//
//   engine-probe list [DEPTH]              every phone: its storages and what is in them, DEPTH folders deep (all)
//   engine-probe loop SECONDS              lists everything again and again; ends early when that fails
//   engine-probe watch SECONDS [busy]      lists everything once (busy: again and again) and tells the phone's events
//   engine-probe hold SECONDS              keeps the phones open
//   engine-probe put LOCAL STORAGE[/PATH] [NAME BYTES]   copies LOCAL, whatever it holds, into a folder of the first
//   phone engine-probe get STORAGE/PATH LOCAL [NAME BYTES]     copies what is in a folder into the folder LOCAL
//                                          files called NAME are cancelled once BYTES of them have been copied
//   engine-probe delete STORAGE/PATH       deletes a file or folder
//
//   device   LOCATION  MODEL  FRIENDLYNAME
//   storage  NAME  CAPACITY  FREE
//   opened   STORAGE/PATH  ENTRIES  TRANSACTIONS
//   d|f      SIZE  DATE  STORAGE/PATH
//   event    CODE  PARAMETER
//   ready    after the first listing
//   under    PATH, once a quarter of a file is copied
//   copied   STATUS  PATH
//   copies   TRANSACTIONS of all copies together
//   status   STATUS of what was asked for, in hexadecimal; the exit status is 0 whenever the program came that far
#include "ProbeCopies.h"
#include "ProbeNodes.h"
#include "TessalyMTPSdk/Engine.h"
#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <chrono>
#include <cinttypes>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace probe;

class Lister {
public:
  Lister(bool print, unsigned depth)
      : m_print(print)
      , m_depth(depth) {}

  uint32_t device(_MTP_DEVICE_NODE* device) {
    if (m_print) {
      std::printf("device\t%08" PRIx32 "\t%s\t%s\n", device->common.locationId,
                  deviceText(device, mtpDextGetModelName).c_str(), deviceText(device, mtpDextGetFriendlyName).c_str());
    }
    _MTP_STORAGE_NODE* head = nullptr;
    uint32_t status = mtpDextGetStorageListHead(device, &head);
    for (_MTP_STORAGE_NODE* storage = head; status == 0 && storage != nullptr;) {
      const std::string name = nameOf(storage);
      if (m_print) {
        std::printf("storage\t%s\t%" PRIu64 "\t%" PRIu64 "\n", name.c_str(), storage->totalCapacity,
                    storage->freeSpace);
      }
      status = folder(storage, nullptr, name, 1);
      if (status == 0) {
        status = mtpDextGetNextStorageNode(storage, &storage);
        if (status == 2) {
          status = 0;
          break;
        }
      }
    }
    if (head != nullptr) {
      mtpDextReleaseStorageList(head);
    }
    return status;
  }

private:
  uint32_t folder(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent, const std::string& path, unsigned level) {
    const std::uint64_t before = mtp::counters().transactions;
    _MTP_FOLDER_NODE* folders = nullptr;
    _MTP_FILE_NODE* files = nullptr;
    uint32_t status = mtpDextGetFolderListHead(storage, parent, &folders, nullptr, nullptr);
    if (status == 0 || status == 2) {
      status = mtpDextGetFileListHead(parent ? &parent->common : &storage->common, &files, nullptr, nullptr);
    }
    if (status != 0 && status != 2) {
      return status;
    }
    const std::uint64_t transactions = mtp::counters().transactions - before;
    std::size_t entries = 0;
    for (_MTP_FILE_NODE* file = files; file != nullptr; ++entries) {
      if (m_print) {
        std::printf("f\t%" PRIu64 "\t%s\t%s/%s\n", file->fileLength,
                    text(file, offsetof(_MTP_FILE_NODE, date), file->dateLength).c_str(), path.c_str(),
                    nameOf(file).c_str());
      }
      _MTP_FILE_NODE* next = nullptr;
      status = mtpDextGetNextFileNode(file, &next);
      file = status == 0 ? next : nullptr;
    }
    std::vector<std::pair<_MTP_FOLDER_NODE*, std::string>> below;
    for (_MTP_FOLDER_NODE* child = folders; child != nullptr && (status == 0 || status == 2); ++entries) {
      below.emplace_back(child, path + "/" + nameOf(child));
      if (m_print) {
        std::printf("d\t0\t\t%s\n", below.back().second.c_str());
      }
      _MTP_FOLDER_NODE* next = nullptr;
      status = mtpDextGetNextSiblingFolderNode(child, &next);
      child = status == 0 ? next : nullptr;
    }
    if (status != 0 && status != 2) {
      return status;
    }
    if (m_print) {
      std::printf("opened\t%s\t%zu\t%" PRIu64 "\n", path.c_str(), entries, transactions);
    }
    status = 0;
    for (const auto& [child, childPath] : below) {
      if (level >= m_depth || status != 0) {
        break;
      }
      status = folder(storage, child, childPath, level + 1);
    }
    return status;
  }

  bool m_print;
  unsigned m_depth;
};

uint32_t tellEvent(int32_t code, uint64_t parameter, uint64_t, void*) {
  std::printf("event\t%04" PRIx32 "\t%" PRIu64 "\n", static_cast<uint32_t>(code), parameter);
  std::fflush(stdout);
  return 0;
}

std::vector<_MTP_DEVICE_NODE*> devices(uint32_t& status) {
  std::vector<_MTP_DEVICE_NODE*> all;
  status = mtpDextSdkInit();
  _MTP_DEVICE_NODE* device = nullptr;
  if (status == 0) {
    status = mtpDextGetConnectedDeviceListHead(&device);
  }
  while (status == 0 && device != nullptr) {
    all.push_back(device);
    _MTP_DEVICE_NODE* next = nullptr;
    status = mtpDextGetNextDevice(device, &next);
    device = next;
  }
  status = status == 2 ? 0 : status;
  return all;
}

uint32_t listAll(const std::vector<_MTP_DEVICE_NODE*>& all, bool print, unsigned depth) {
  uint32_t status = 0;
  for (_MTP_DEVICE_NODE* device : all) {
    const uint32_t one = Lister(print, depth).device(device);
    status = status == 0 ? one : status;
  }
  return status;
}

void ready() {
  std::printf("ready\n");
  std::fflush(stdout);
}

/// Nothing to do but to let time pass.
void pass(Clock::time_point end) {
  std::mutex mutex;
  std::condition_variable never;
  std::unique_lock lock(mutex);
  never.wait_until(lock, end, [] { return false; });
}

} // namespace

int main(int argumentCount, char** arguments) {
  const std::string command = argumentCount > 1 ? arguments[1] : "list";
  const unsigned number = argumentCount > 2 ? static_cast<unsigned>(std::strtoul(arguments[2], nullptr, 10)) : 0;
  const bool busy = argumentCount > 3 && std::string(arguments[3]) == "busy";

  uint32_t status = 0;
  const auto all = devices(status);
  if (command == "watch") {
    for (_MTP_DEVICE_NODE* device : all) {
      mtpDextRequestEventNotifyEx(device, tellEvent, nullptr);
    }
  }
  if (status == 0 && (command == "put" || command == "get" || command == "delete")) {
    const std::vector<std::string> words(arguments + 2, arguments + argumentCount);
    status = probe::copies(all.front(), command, words);
  } else if (status == 0 && command == "list") {
    status = listAll(all, true, number > 0 ? number : ~0u);
  } else if (status == 0) {
    const auto end = Clock::now() + std::chrono::seconds(number);
    unsigned rounds = 0;
    status = command == "hold" ? 0 : listAll(all, false, ~0u);
    ready();
    while (status == 0 && Clock::now() < end) {
      if (command == "loop" || busy) {
        status = listAll(all, false, ~0u);
        ++rounds;
      } else {
        pass(end);
      }
    }
    std::printf("rounds\t%u\n", rounds);
  }
  std::printf("status\t%08" PRIx32 "\n", status);
  std::fflush(stdout);
  mtp::shutdown();
}
