#pragma once
// One attached phone: its session, what it said of itself, and what is known of its objects.
#include "TessalyMTPSdk/EventThread.h"
#include "TessalyMTPSdk/ObjectStore.h"
#include "TessalyMTPSdk/OwnChanges.h"
#include "TessalyMTPSdk/Session.h"

#include <atomic>
#include <memory>
#include <optional>

namespace mtp {

/// Why a phone could not be opened.
struct OpenProblem {
  OpenFailure failure = OpenFailure::None;
  std::string holder = {};      // of a busy phone: a program that has it, as the system names it; or empty
  std::string explanation = {}; // for the log
};

/// Functions that talk to the phone block; they take NodeRegistry::mutex themselves and never hold it meanwhile. Those
/// that want it held say so.
class Device : public std::enable_shared_from_this<Device> {
public:
  /// Opens a phone: session and DeviceInfo. Null when that fails; `problem` then says why. `node` is its record, made
  /// by the caller. `starting` is told the device before its first transaction, so that another thread can close() it
  /// meanwhile; false ends the opening.
  static std::shared_ptr<Device> open(const DeviceCandidate& candidate, NodeRegistry& registry, EventThread& events,
                                      const TimeLimits& limits, Node* node,
                                      const std::function<bool(const std::shared_ptr<Device>&)>& starting,
                                      OpenProblem& problem);
  /// Ends the session. Blocks shortly.
  ~Device();

  Node* node() const { return m_node; }
  std::uint64_t attachment() const { return m_attachment; }
  std::uint32_t locationId() const { return m_locationId; }
  bool isGone() const { return m_session.isGone(); }
  bool isDead() const { return m_session.isDead(); }
  /// Breaks running transactions off; the phone counts as unplugged from now on.
  void close() { m_session.close(); }

  /// For the log: where the phone is attached, what it is and can do. Nothing that its owner named, no serial number.
  const std::string& description() const { return m_description; }
  const std::u16string& modelName() const { return m_modelName; } // never empty
  /// Asks the phone the first time.
  std::u16string friendlyName();

  /// Asks the phone for its storages and gives the first one.
  Status firstStorage(Node*& head);

  enum class Want {
    Everything,
    Names // Listing::reported may hold some of them
  };
  /// Sees to it that `listing` holds what the phone told, by fetching it or by waiting for another thread's fetch.
  /// `lock` holds NodeRegistry::mutex on call and return. Afterwards the listing may have been retired. Called by a
  /// transfer's callback it gives what is in memory. The watch (see Session) ends the own fetch: DGSTATUS_IO_CANCEL,
  /// and what was known stays so.
  Status fetch(const std::shared_ptr<Listing>& listing, std::unique_lock<std::mutex>& lock,
               Want want = Want::Everything, const Session::Watch& watch = {});

  /// Whether the object, or storage, is still there: from memory where nothing speaks against it. `lock` as above.
  bool exists(const Node& node, std::unique_lock<std::mutex>& lock);

  /// What an event means for the objects known; null: for events that were lost. Takes the lock. False: it tells the
  /// computer's own doing, or cannot be judged yet; if it is news after all, the event thread gets it for the callback.
  bool handleEvent(const EventContainer* event);

  /// Wants NodeRegistry::mutex.
  ObjectStore& store() { return m_store; }

  // For the operations that change the phone or move data.
  Session& session() { return m_session; }
  const DeviceInfo& info() const { return m_info; }
  NodeRegistry& registry() { return m_registry; }
  /// Changes when the phone lost its session: handles of before mean nothing any more. Wants the lock.
  std::uint64_t epoch() const { return m_epoch; }
  /// Whether handles of this epoch still mean what they did. Takes the lock. The answer holds as long as the session is
  /// held exclusively and no transaction is made.
  bool isCurrent(std::uint64_t epoch);

  /// Whether `size` bytes can be stored: 0, DGSTATUS_STORAGE_FULL, the status of a storage that is read-only, or why
  /// the phone could not be asked. Asks it unless it said lately that there is far more room.
  Status checkRoom(std::uint32_t storage, std::uint64_t size, const Session::Watch& watch);
  /// Whether the phone has not refused the property ObjectSize yet.
  bool knowsSizeProperty() const { return m_knowsSizeProperty; }
  void noteNoSizeProperty() { m_knowsSizeProperty = false; }
  /// Takes what was stored off what is known of the room.
  void takeRoom(std::uint32_t storage, std::uint64_t size);
  /// What is known of the room is no longer so.
  void forgetRoom(std::uint32_t storage);

  /// While one lives, events wait: the object the phone is just making must have been told to the computer before its
  /// events are judged. All take the lock.
  class EventsWait {
  public:
    explicit EventsWait(Device& device);
    ~EventsWait();
    EventsWait(const EventsWait&) = delete;
    EventsWait& operator=(const EventsWait&) = delete;

  private:
    Device& m_device;
  };
  /// The computer has just changed this object; events that tell so are no news. Takes the lock.
  void noteOwnChange(std::uint32_t handle, OwnChange change);
  void noteOwnChange(const std::vector<std::uint32_t>& handles, OwnChange change);
  /// The object and what is known below it, a bounded number. Takes the lock.
  std::vector<std::uint32_t> handlesFrom(const Listing& listing, std::uint32_t handle);
  /// What the phone did is not what was noted. Wants the lock.
  void forgetOwnChanges() { m_own.clear(); }

  /// The last thumbnail fetched, for the second call of the two-call protocol. Wants the lock.
  struct Thumbnail {
    std::uint32_t handle = 0;
    std::vector<std::byte> bytes;
  };
  Thumbnail& thumbnail() { return m_thumbnail; }

private:
  static constexpr std::size_t MaxWaiting = 1024;

  Device(std::unique_ptr<Transport> transport, const DeviceCandidate& candidate, NodeRegistry& registry,
         EventThread& events, const TimeLimits& limits, Node* node);

  Status connect();
  bool judge(const EventContainer& event);
  Status fetchFrom(const std::shared_ptr<Listing>& listing, std::unique_lock<std::mutex>& lock,
                   const Session::Watch& watch);
  void placeReported(std::unique_lock<std::mutex>& lock);
  std::vector<ListedStorage> readStorages(const std::vector<std::uint32_t>& ids, Status& status);

  NodeRegistry& m_registry;
  EventThread& m_events;
  Node* const m_node;
  const std::uint64_t m_attachment;
  const std::uint32_t m_locationId;
  Session m_session;
  DeviceInfo m_info; // written while opening, constant afterwards
  std::u16string m_modelName;
  std::string m_description;                    // likewise
  std::atomic<bool> m_toldEmpty = false;        // written and read by threads listing storages: the log says it once
  std::optional<FolderLister> m_lister;         // made while opening
  std::atomic<bool> m_knowsSizeProperty = true; // written and read by the threads that transfer
  // The rest is guarded by NodeRegistry::mutex.
  std::optional<std::u16string> m_friendlyName;
  ObjectStore m_store;
  std::condition_variable m_fetched; // some listing's fetch ended, or placing did
  bool m_placing = false;            // a thread asks where reported objects are
  std::uint64_t m_epoch = 0;
  OwnChanges m_own;
  int m_eventsWait = 0;
  std::vector<EventContainer> m_waiting; // at most MaxWaiting
  Thumbnail m_thumbnail;
  struct Room {
    std::uint64_t bytes = 0;
    std::chrono::steady_clock::time_point asked;
  };
  std::unordered_map<std::uint32_t, Room> m_rooms; // by storage
};

} // namespace mtp
