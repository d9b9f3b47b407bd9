// One folder, listed three ways on the same phone: by the engine, by libmtp, and by the least that asking one object at
// a time can cost (a synchronous loop of GetObjectInfo). Seconds from an opened session to the last entry.
//
//   list-bench engine|libmtp|bare FOLDER    FOLDER: a folder at the top of the first storage
#include "BenchPhones.h"
#include "TessalyMTPSdk/Engine.h"

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;
using namespace bench;

void tell(const char* how, std::size_t entries, Clock::time_point start) {
  std::printf("%s\t%zu\t%.3f\n", how, entries, std::chrono::duration<double>(Clock::now() - start).count());
}

void engine(const std::string& folder) {
  _MTP_FOLDER_NODE* const node = folderOfEngine(folder);
  const auto before = mtp::counters().transactions;
  const auto start = Clock::now();
  std::size_t entries = 0;
  _MTP_FILE_NODE* file = nullptr;
  uint32_t status = mtpDextGetFileListHead(&node->common, &file, nullptr, nullptr);
  for (; status == 0; ++entries) {
    status = mtpDextGetNextFileNode(file, &file);
  }
  tell("engine", entries, start);
  std::printf("engine-transactions\t%" PRIu64 "\n", mtp::counters().transactions - before);
  mtp::shutdown();
}

void libmtp(const std::string& folder) {
  LIBMTP_mtpdevice_t* const device = openByLibmtp();
  const uint32_t storage = device->storage->id;
  const uint32_t id = folderOfLibmtp(device, folder);
  const auto start = Clock::now();
  std::size_t entries = 0;
  for (LIBMTP_file_t* file = LIBMTP_Get_Files_And_Folders(device, storage, id); file; ++entries) {
    LIBMTP_file_t* const next = file->next;
    LIBMTP_destroy_file_t(file);
    file = next;
  }
  tell("libmtp", entries, start);
  LIBMTP_Release_Device(device);
}

void bare(const std::string& folder) {
  Bare phone;
  const uint32_t id = phone.openFolder(folder);
  const auto start = Clock::now();
  std::size_t entries = 0;
  for (const uint32_t handle : phone.children(id)) {
    phone.run(0x1008, {handle}, true);
    ++entries;
  }
  tell("bare", entries, start);
}

} // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 3) {
    give_up("usage: list-bench engine|libmtp|bare FOLDER");
  }
  const std::string how = arguments[1];
  if (how == "engine") {
    engine(arguments[2]);
  } else if (how == "libmtp") {
    libmtp(arguments[2]);
  } else {
    bare(arguments[2]);
  }
}
