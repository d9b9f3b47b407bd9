#pragma once
// The phone's answers: one session on one wire, each operation as Android's responder carries it out. One responder
// thread; what it shares with the phone's other threads is in Phone.
#include "VirtualPhone/Channel.h"
#include "VirtualPhone/EventQueue.h"
#include "VirtualPhone/ObjectTree.h"

#include <atomic>
#include <map>
#include <span>

namespace vphone {

/// One attachment of the phone.
struct Phone {
  explicit Phone(const Options& options);

  const Options options; // as it was plugged in; storages and manners change, see below
  EventQueue events;

  std::mutex mutex; // guards all below
  ObjectTree tree;
  Manners manners;
  std::map<std::uint16_t, std::u16string> deviceTexts; // writable device properties
};

class Responder {
public:
  /// All three outlive the responder. `statistics` is guarded by `statisticsMutex`.
  Responder(Phone& phone, Channel& channel, Statistics& statistics, std::mutex& statisticsMutex);
  /// Deletes what was being sent.
  ~Responder();

  /// Answers until the wire is gone.
  void run();

private:
  using Lock = std::unique_lock<std::mutex>;
  using Code = mtp::Response;
  /// A response container.
  struct Answer {
    Code code = Code::OK;
    std::vector<std::uint32_t> parameters;
    Answer(Code c)
        : code(c) {} // NOLINT(google-explicit-constructor): operations return codes
    Answer(Code c, std::vector<std::uint32_t> p)
        : code(c)
        , parameters(std::move(p)) {}
  };
  /// SendObjectInfo has been answered, SendObject is awaited.
  struct Incoming {
    std::uint32_t handle = 0;
    std::uint64_t size = 0; // 0xFFFFFFFF: whatever comes
    std::optional<std::time_t> modified;
    std::string diskName; // what is written: differs from the object's name where the storage folds case
    bool replaces = false;
  };

  void serve(const Command& command);
  Answer dispatch(const Command& command);
  Answer refuse(const Command& command, Code code);
  bool isSupported(std::uint16_t operation) const;
  void endSession();
  /// Takes in the watch's news and locks the phone for one operation.
  Lock lockPhone();
  /// The end of an operation that changed files: what the watch saw of it is no news to the host.
  void settle(Object* changed);
  /// Tells the host of its own change, where the phone's manners are such.
  void tellHost(mtp::Event event, std::uint32_t handle);

  // Device and session
  Answer getDeviceInfo();
  Answer openSession(const Command& c);
  Answer closeSession();
  Answer getDevicePropDesc(const Command& c);
  Answer getDevicePropValue(const Command& c);
  Answer setDevicePropValue(const Command& c);
  Answer resetDevicePropValue(const Command& c);

  // Storages and listing
  Answer getStorageIds();
  Answer getStorageInfo(const Command& c);
  Answer getHandles(const Command& c, bool countOnly);
  Code collect(std::uint32_t storageId, std::uint32_t format, std::uint32_t parent,
               std::vector<std::uint32_t>& handles);
  Answer getObjectInfo(const Command& c);

  // Data
  Answer getObject(const Command& c);
  Answer getPartialObject(const Command& c, bool wide);
  Answer getThumb(const Command& c);
  Answer sendObjectInfo(const Command& c);
  Answer sendObject();
  void dropIncoming();
  Answer beginEdit(const Command& c);
  Answer endEdit(const Command& c);
  Answer sendPartialObject(const Command& c);
  Answer truncateObject(const Command& c);

  // Changes
  Answer deleteObject(const Command& c);
  Answer moveOrCopy(const Command& c, bool copy);
  Answer rename(Object& object, const std::u16string& name);

  // Object properties
  Answer getObjectPropsSupported();
  Answer getObjectPropDesc(const Command& c);
  Answer getObjectPropValue(const Command& c);
  Answer setObjectPropValue(const Command& c);
  Answer getObjectPropList(const Command& c);
  Answer getObjectReferences(const Command& c);
  Answer setObjectReferences(const Command& c);
  /// The value as it stands in a list or alone. False when the object has no such property or is gone.
  bool putProperty(DatasetWriter& out, std::uint16_t property, Object& object, ObjectTree::Cursor& cursor, bool inList);

  /// The regular file of an object; empty with errno.
  Fd openFile(const Object& object, int flags);
  static std::uint16_t formatOf(const Object& object);

  Phone& phone_;
  Channel& channel_;
  Statistics& statistics_;
  std::mutex& statisticsMutex_;
  bool sessionOpen_ = false;
  std::uint32_t session_ = 0;
  std::optional<Incoming> incoming_;
};

} // namespace vphone
