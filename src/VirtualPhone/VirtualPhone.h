#pragma once
// A phone made of software: an MTP responder (MTP 1.1) that serves folders of this computer as its storages and behaves
// as Android's own responder does. It can be attached to the engine over a wire in memory (provider()), or served on
// any other wire (serve()), a USB gadget for instance.
#include "TessalyMTPSdk/MemoryTransport.h"
#include "VirtualPhone/Faults.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace vphone {

/// One storage of the phone. Only what lies in `folder` is ever touched: symbolic links and special files in it do not
/// exist for the host.
struct StorageOptions {
  std::filesystem::path folder;  // an existing folder
  std::string description;       // UTF-8; what the host shows
  std::uint32_t storageId = 0;   // 0: the next free of 0x00010001, 0x00020001, …
  std::uint64_t capacity = 0;    // bytes the storage seems to have; 0: as the file system it lies on
  std::uint64_t maxFileSize = 0; // bytes; larger files are refused with 0xA809; 0: no limit
  bool readOnly = false;
  bool removable = false; // a memory card
  bool foldsCase = false; // the storage below finds "a.jpg" where "A.JPG" is, as phones' storages do
};

/// Ways in which other makers' responders differ from Android's.
struct Manners {
  std::set<std::uint16_t> missingOperations;  // answered 0x2005 and not advertised
  bool ignoresDepth = false;                  // GetObjectPropList answers for the object itself, whatever the depth
  bool zeroLengthPackets = true;              // false: a transfer of full packets ends without one
  bool sizeModulo32 = false;                  // ObjectInfo's size is the size mod 2^32 instead of 0xFFFFFFFF
  bool wideObjectInfoSize = false;            // ObjectInfo carries a 64-bit size
  bool tellsOwnChanges = false;               // events tell of what the host itself did, too
  bool cutsNames = false;                     // a name ends before its first character beyond U+FFFF
  bool cutsFilesSilently = false;             // where the room ends; the answer is OK all the same
  std::uint64_t largestFileKept = UINT64_MAX; // bytes; what is longer is cut there, the answer is OK
  std::set<std::string> undeletable;          // names of files that refuse to be deleted
};

struct Options {
  std::string manufacturer = "Tessaly";
  std::string model = "Virtual Phone";
  std::string version = "1.0";
  std::string serial = "VP00000001";
  std::string friendlyName = "Virtual Phone";
  std::vector<StorageOptions> storages;
  std::uint32_t locationId = 0xFE100000;
  std::uint16_t vendorId = 0x18D1;
  std::uint16_t productId = 0x4EE1;
  std::size_t maxPacketSize = 512; // of the wire in memory
  Manners manners;
};

/// What the phone has been asked for since it was made.
struct Statistics {
  std::uint64_t transactions = 0;
  std::map<std::uint16_t, std::uint64_t> operations; // how often each operation code came
  std::uint64_t eventsSent = 0;
};

/// The phone. Every function may be called from any thread; those that say so wait for the phone's threads, whose work
/// is bounded by one file system call or one wait on the wire that unplugging ends.
class VirtualPhone {
public:
  explicit VirtualPhone(Options options);
  /// Unplugs; waits for the threads.
  ~VirtualPhone();
  VirtualPhone(const VirtualPhone&) = delete;
  VirtualPhone& operator=(const VirtualPhone&) = delete;

  /// Attaches the phone: provider() lists it from now on. Object handles and sessions begin anew.
  void plug();
  /// Pulls the cable; every open wire reads Gone. Waits for the phone's own threads, so it is not for a DeviceEnd to
  /// call.
  void unplug();
  bool plugged() const;

  /// The phone as the engine's source of devices: lists it while it is plugged. One wire at a time can be open, a
  /// second open() answers Busy. May outlive the phone, and then lists nothing.
  std::shared_ptr<mtp::DeviceProvider> provider();

  /// Serves one wire on the calling thread until it is gone or the phone is unplugged; plug() comes first. A USB gadget
  /// is served so. False when another wire is being served.
  bool serve(mtp::DeviceEnd& end);

  /// A memory card goes in (event StoreAdded). Returns its storage ID, 0 when the folder cannot be used.
  std::uint32_t addStorage(const StorageOptions& storage);
  /// It goes out (event StoreRemoved). False when there is none of that ID.
  bool removeStorage(std::uint32_t storageId);
  /// A locked phone shows no storages; the host is told with the store events.
  void setLocked(bool locked);

  /// From the next transaction on.
  void setManners(const Manners& manners);
  Faults& faults();
  Statistics statistics() const;

private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
};

} // namespace vphone
