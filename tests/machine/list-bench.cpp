// One folder, listed three ways on the same phone: by the engine, by libmtp, and by the least that asking one object at
// a time can cost (a synchronous loop of GetObjectInfo). Seconds from an opened session to the last entry.
//
//   list-bench engine|libmtp|bare FOLDER    FOLDER: a folder at the top of the first storage
#include "TessalyMTPSdk/Engine.h"
#include "TessalyMTPSdk/TessalyMTPSdk.h"
#include "TessalyMTPSdk/UsbDiscovery.h"

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libmtp.h>
#include <libusb.h>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void give_up(const char* what) {
  std::fprintf(stderr, "list-bench: %s\n", what);
  std::exit(1);
}

void tell(const char* how, std::size_t entries, Clock::time_point start) {
  std::printf("%s\t%zu\t%.3f\n", how, entries, std::chrono::duration<double>(Clock::now() - start).count());
}

void engine(const std::string& folder) {
  _MTP_DEVICE_NODE* device = nullptr;
  _MTP_STORAGE_NODE* storage = nullptr;
  if (mtpDextSdkInit() != 0 || mtpDextGetConnectedDeviceListHead(&device) != 0 ||
      mtpDextGetStorageListHead(device, &storage) != 0) {
    give_up("the engine finds no storage");
  }
  _MTP_FOLDER_NODE* node = nullptr;
  uint32_t status = mtpDextGetFolderListHead(storage, nullptr, &node, nullptr, nullptr);
  while (status == 0) {
    const char16_t* name = nullptr;
    std::memcpy(&name, reinterpret_cast<const char*>(node) + offsetof(_MTP_FOLDER_NODE, name), sizeof name);
    if (std::string(name, name + node->nameSize - 1) == folder) {
      break;
    }
    status = mtpDextGetNextSiblingFolderNode(node, &node);
  }
  if (status != 0) {
    give_up("the engine does not find the folder");
  }
  const auto before = mtp::counters().transactions;
  const auto start = Clock::now();
  std::size_t entries = 0;
  _MTP_FILE_NODE* file = nullptr;
  for (status = mtpDextGetFileListHead(&node->common, &file, nullptr, nullptr); status == 0; ++entries) {
    status = mtpDextGetNextFileNode(file, &file);
  }
  tell("engine", entries, start);
  std::printf("engine-transactions\t%" PRIu64 "\n", mtp::counters().transactions - before);
  mtp::shutdown();
}

void libmtp(const std::string& folder) {
  LIBMTP_Init();
  LIBMTP_raw_device_t* raw = nullptr;
  int count = 0;
  if (LIBMTP_Detect_Raw_Devices(&raw, &count) != LIBMTP_ERROR_NONE || count < 1) {
    give_up("libmtp finds no phone");
  }
  LIBMTP_mtpdevice_t* device = LIBMTP_Open_Raw_Device_Uncached(raw);
  if (device == nullptr || LIBMTP_Get_Storage(device, LIBMTP_STORAGE_SORTBY_NOTSORTED) != 0) {
    give_up("libmtp does not open the phone");
  }
  const uint32_t storage = device->storage->id;
  uint32_t id = 0;
  for (LIBMTP_file_t* file = LIBMTP_Get_Files_And_Folders(device, storage, LIBMTP_FILES_AND_FOLDERS_ROOT); file;) {
    id = file->filename == folder ? file->item_id : id;
    LIBMTP_file_t* const next = file->next;
    LIBMTP_destroy_file_t(file);
    file = next;
  }
  const auto start = Clock::now();
  std::size_t entries = 0;
  for (LIBMTP_file_t* file = LIBMTP_Get_Files_And_Folders(device, storage, id); file; ++entries) {
    LIBMTP_file_t* const next = file->next;
    LIBMTP_destroy_file_t(file);
    file = next;
  }
  tell("libmtp", entries, start);
  LIBMTP_Release_Device(device);
  std::free(raw);
}

/// Just enough of PTP for a phone that behaves.
class Bare {
public:
  Bare() {
    const auto found = mtp::findMtpDevices();
    if (found.empty() || libusb_init(&m_context) != 0) {
      give_up("no phone");
    }
    m_facts = found.front().interface;
    m_handle = libusb_open_device_with_vid_pid(m_context, found.front().vendorId, found.front().productId);
    if (m_handle == nullptr || libusb_claim_interface(m_handle, m_facts.number) != 0) {
      give_up("the phone cannot be opened");
    }
  }
  ~Bare() {
    libusb_release_interface(m_handle, m_facts.number);
    libusb_close(m_handle);
    libusb_exit(m_context);
  }
  Bare(const Bare&) = delete;
  Bare& operator=(const Bare&) = delete;

  /// The data phase's bytes behind its header stay in `answer` until the next call.
  void run(uint16_t operation, const std::vector<uint32_t>& parameters, bool hasData) {
    std::vector<unsigned char> command;
    put(command, 12 + 4 * static_cast<uint32_t>(parameters.size()), 4);
    put(command, 1, 2);
    put(command, operation, 2);
    put(command, m_transaction++, 4);
    for (const uint32_t parameter : parameters) {
      put(command, parameter, 4);
    }
    int moved = 0;
    libusb_bulk_transfer(m_handle, m_facts.bulkOut, command.data(), static_cast<int>(command.size()), &moved, 60000);
    answer.clear();
    for (bool more = hasData; more;) {
      receive(moved);
      answer.insert(answer.end(), m_buffer.begin(), m_buffer.begin() + moved);
      more = answer.size() < number(0, 4);
    }
    do {
      receive(moved);
    } while (moved == 0); // the empty packet behind full ones
  }
  uint32_t number(std::size_t at, int size) const {
    uint32_t value = 0;
    while (size-- > 0) {
      value = value << 8 | answer.at(at + static_cast<std::size_t>(size));
    }
    return value;
  }
  std::vector<unsigned char> answer;

private:
  static void put(std::vector<unsigned char>& to, uint32_t value, int size) {
    for (; size-- > 0; value >>= 8) {
      to.push_back(static_cast<unsigned char>(value));
    }
  }
  void receive(int& moved) {
    if (libusb_bulk_transfer(m_handle, m_facts.bulkIn, m_buffer.data(), static_cast<int>(m_buffer.size()), &moved,
                             120000) != 0) {
      give_up("the phone does not answer");
    }
  }

  libusb_context* m_context = nullptr;
  libusb_device_handle* m_handle = nullptr;
  mtp::UsbInterfaceFacts m_facts;
  uint32_t m_transaction = 0;
  std::vector<unsigned char> m_buffer = std::vector<unsigned char>(16 * 1024);
};

void bare(const std::string& folder) {
  constexpr std::size_t header = 12;
  Bare phone;
  phone.run(0x1002, {1}, false);
  phone.run(0x1004, {}, true);
  const uint32_t storage = phone.number(header + 4, 4);
  const auto children = [&](uint32_t parent) {
    phone.run(0x1007, {storage, 0, parent}, true);
    std::vector<uint32_t> handles(phone.number(header, 4));
    for (std::size_t i = 0; i < handles.size(); ++i) {
      handles[i] = phone.number(header + 4 + 4 * i, 4);
    }
    return handles;
  };
  uint32_t id = 0;
  for (const uint32_t handle : children(0xffffffff)) {
    phone.run(0x1008, {handle}, true);
    std::string name;
    for (std::size_t i = 0; i + 1 < phone.number(header + 52, 1); ++i) {
      name += static_cast<char>(phone.number(header + 53 + 2 * i, 2));
    }
    id = name == folder ? handle : id;
  }
  const auto start = Clock::now();
  std::size_t entries = 0;
  for (const uint32_t handle : children(id)) {
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
