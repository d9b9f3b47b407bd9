// The phone as the benches of the virtual machine reach it: through the engine, through libmtp, and through the least a
// program can do. Everything here ends the program when the phone does not do what it should; one thread.
#pragma once

#include "ProbeNodes.h"
#include "TessalyMTPSdk/TessalyMTPSdk.h"
#include "TessalyMTPSdk/UsbDiscovery.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <libmtp.h>
#include <libusb.h>
#include <string>
#include <vector>

namespace bench {

[[noreturn]] inline void give_up(const char* what) {
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, what);
  std::exit(1);
}

/// A folder at the top of the first storage.
inline _MTP_FOLDER_NODE* folderOfEngine(const std::string& name) {
  _MTP_DEVICE_NODE* device = nullptr;
  _MTP_STORAGE_NODE* storage = nullptr;
  if (mtpDextSdkInit() != 0 || mtpDextGetConnectedDeviceListHead(&device) != 0 ||
      mtpDextGetStorageListHead(device, &storage) != 0) {
    give_up("the engine finds no storage");
  }
  _MTP_FOLDER_NODE* folder = nullptr;
  uint32_t status = mtpDextGetFolderListHead(storage, nullptr, &folder, nullptr, nullptr);
  while (status == 0 && probe::nameOf(folder) != name) {
    status = mtpDextGetNextSiblingFolderNode(folder, &folder);
  }
  if (status != 0) {
    give_up("the engine does not find the folder");
  }
  return folder;
}

/// With its storages; the caller releases it.
inline LIBMTP_mtpdevice_t* openByLibmtp() {
  LIBMTP_Init();
  LIBMTP_raw_device_t* raw = nullptr;
  int count = 0;
  if (LIBMTP_Detect_Raw_Devices(&raw, &count) != LIBMTP_ERROR_NONE || count < 1) {
    give_up("libmtp finds no phone");
  }
  LIBMTP_mtpdevice_t* const device = LIBMTP_Open_Raw_Device_Uncached(raw);
  std::free(raw);
  if (device == nullptr || LIBMTP_Get_Storage(device, LIBMTP_STORAGE_SORTBY_NOTSORTED) != 0) {
    give_up("libmtp does not open the phone");
  }
  return device;
}

/// The object handle of a folder at the top of the first storage.
inline uint32_t folderOfLibmtp(LIBMTP_mtpdevice_t* device, const std::string& name) {
  uint32_t id = 0;
  for (LIBMTP_file_t* file = LIBMTP_Get_Files_And_Folders(device, device->storage->id, LIBMTP_FILES_AND_FOLDERS_ROOT);
       file != nullptr;) {
    id = file->filename == name ? file->item_id : id;
    LIBMTP_file_t* const next = file->next;
    LIBMTP_destroy_file_t(file);
    file = next;
  }
  if (id == 0) {
    give_up("libmtp does not find the folder");
  }
  return id;
}

/// Just enough of PTP for a phone that behaves, in synchronous transfers: a bare loop.
class Bare {
public:
  static constexpr std::size_t Header = 12; // of a container

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
    libusb_fill_interrupt_transfer(m_event, m_handle, m_facts.interruptIn, m_eventBytes, sizeof m_eventBytes, eventCame,
                                   this, 0);
    m_eventPending = libusb_submit_transfer(m_event) == 0;
  }
  ~Bare() {
    m_ending = true;
    libusb_cancel_transfer(m_event);
    while (m_eventPending && libusb_handle_events(m_context) == 0) {
    }
    libusb_free_transfer(m_event);
    libusb_release_interface(m_handle, m_facts.number);
    libusb_close(m_handle);
    libusb_exit(m_context);
  }
  Bare(const Bare&) = delete;
  Bare& operator=(const Bare&) = delete;

  /// The data phase's bytes, with their header, stay in `answer` until the next call.
  void run(uint16_t operation, const std::vector<uint32_t>& parameters, bool hasData) {
    command(operation, parameters);
    answer.clear();
    for (bool more = hasData; more;) {
      const std::size_t moved = receive(SmallTransfer);
      answer.insert(answer.end(), m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(moved));
      more = answer.size() < number(0, 4);
    }
    response();
  }
  /// A data phase of less than 4 GiB that nobody keeps; its bytes.
  uint64_t pull(uint16_t operation, const std::vector<uint32_t>& parameters) {
    command(operation, parameters);
    std::size_t come = receive(LargeTransfer);
    answer.assign(m_buffer.begin(), m_buffer.begin() + Header);
    const std::size_t all = number(0, 4);
    while (come < all) {
      come += receive(LargeTransfer);
    }
    response();
    return all - Header;
  }
  /// A data phase to the phone: `dataset`, then `size` bytes of no meaning.
  void push(uint16_t operation, const std::vector<uint32_t>& parameters, const std::vector<unsigned char>& dataset,
            std::size_t size) {
    command(operation, parameters);
    const std::size_t all = Header + dataset.size() + size;
    std::vector<unsigned char> header;
    put(header, static_cast<uint32_t>(all), 4);
    put(header, 2, 2);
    put(header, operation, 2);
    put(header, m_transaction - 1, 4);
    header.insert(header.end(), dataset.begin(), dataset.end());
    std::copy(header.begin(), header.end(), m_buffer.begin());
    for (std::size_t gone = 0; gone < all;) {
      const std::size_t piece = std::min(all - gone, LargeTransfer);
      transmit(m_buffer.data(), piece);
      gone += piece;
    }
    if (all % m_facts.bulkPacketSize == 0) {
      transmit(m_buffer.data(), 0);
    }
    response();
  }
  uint32_t number(std::size_t at, int size) const {
    uint32_t value = 0;
    while (size-- > 0) {
      value = value << 8 | answer.at(at + static_cast<std::size_t>(size));
    }
    return value;
  }
  static void put(std::vector<unsigned char>& to, uint32_t value, int size) {
    for (; size-- > 0; value >>= 8) {
      to.push_back(static_cast<unsigned char>(value));
    }
  }

  /// Opens the session; the object handle of a folder at the top of the first storage, which is `storage` then.
  uint32_t openFolder(const std::string& name) {
    run(0x1002, {1}, false);
    run(0x1004, {}, true);
    storage = number(Header + 4, 4);
    uint32_t id = 0;
    for (const uint32_t handle : children(0xffffffff)) {
      run(0x1008, {handle}, true);
      std::string its;
      for (std::size_t i = 0; i + 1 < number(Header + 52, 1); ++i) {
        its += static_cast<char>(number(Header + 53 + 2 * i, 2));
      }
      id = its == name ? handle : id;
    }
    if (id == 0) {
      give_up("the bare loop does not find the folder");
    }
    return id;
  }
  std::vector<uint32_t> children(uint32_t parent) {
    run(0x1007, {storage, 0, parent}, true);
    std::vector<uint32_t> handles(number(Header, 4));
    for (std::size_t i = 0; i < handles.size(); ++i) {
      handles[i] = number(Header + 4 + 4 * i, 4);
    }
    return handles;
  }
  uint32_t storage = 0;
  std::vector<unsigned char> answer;

private:
  static constexpr std::size_t SmallTransfer = 16 * 1024;
  static constexpr std::size_t LargeTransfer = 1024 * 1024;

  void command(uint16_t operation, const std::vector<uint32_t>& parameters) {
    std::vector<unsigned char> bytes;
    put(bytes, static_cast<uint32_t>(Header + 4 * parameters.size()), 4);
    put(bytes, 1, 2);
    put(bytes, operation, 2);
    put(bytes, m_transaction++, 4);
    for (const uint32_t parameter : parameters) {
      put(bytes, parameter, 4);
    }
    transmit(bytes.data(), bytes.size());
  }
  void response() {
    while (receive(SmallTransfer) == 0) {
    } // the empty packet behind full ones
    if (m_buffer[6] != 1 || m_buffer[7] != 0x20) {
      give_up("the phone refuses");
    }
  }
  void transmit(unsigned char* bytes, std::size_t size) {
    int moved = 0;
    if (libusb_bulk_transfer(m_handle, m_facts.bulkOut, bytes, static_cast<int>(size), &moved, Limit) != 0) {
      give_up("the phone takes nothing");
    }
  }
  std::size_t receive(std::size_t size) {
    int moved = 0;
    if (libusb_bulk_transfer(m_handle, m_facts.bulkIn, m_buffer.data(), static_cast<int>(size), &moved, Limit) != 0) {
      give_up("the phone does not answer");
    }
    return static_cast<std::size_t>(moved);
  }

  /// A phone may answer nothing before its events are fetched; this runs inside the bulk transfers' waiting.
  static void LIBUSB_CALL eventCame(libusb_transfer* transfer) {
    Bare& bare = *static_cast<Bare*>(transfer->user_data);
    bare.m_eventPending =
        !bare.m_ending && transfer->status == LIBUSB_TRANSFER_COMPLETED && libusb_submit_transfer(transfer) == 0;
  }

  static constexpr unsigned Limit = 120000; // ms
  libusb_context* m_context = nullptr;
  libusb_device_handle* m_handle = nullptr;
  mtp::UsbInterfaceFacts m_facts;
  libusb_transfer* const m_event = libusb_alloc_transfer(0);
  unsigned char m_eventBytes[64] = {};
  bool m_eventPending = false;
  bool m_ending = false;
  uint32_t m_transaction = 0;
  std::vector<unsigned char> m_buffer = std::vector<unsigned char>(LargeTransfer);
};

} // namespace bench
