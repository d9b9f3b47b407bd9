#pragma once
// One attached phone: its session, what it said of itself, and what is known of its objects.
#include "TessalyMTPSdk/EventThread.h"
#include "TessalyMTPSdk/ObjectStore.h"
#include "TessalyMTPSdk/Session.h"

#include <memory>
#include <optional>

namespace mtp {

/// Functions that talk to the phone block; they take NodeRegistry::mutex themselves and never hold it meanwhile. Those
/// that want it held say so.
class Device : public std::enable_shared_from_this<Device> {
public:
  /// Opens a phone: session and DeviceInfo. Null when that fails; the log then says why. `node` is its record, made by
  /// the caller. `starting` is told the device before its first transaction, so that another thread can close() it
  /// meanwhile; false ends the opening.
  static std::shared_ptr<Device> open(const DeviceCandidate& candidate, NodeRegistry& registry, EventThread& events,
                                      const TimeLimits& limits, Node* node,
                                      const std::function<bool(const std::shared_ptr<Device>&)>& starting);
  /// Ends the session. Blocks shortly.
  ~Device();

  Node* node() const { return m_node; }
  std::uint64_t attachment() const { return m_attachment; }
  std::uint32_t locationId() const { return m_locationId; }
  bool isGone() const { return m_session.isGone(); }
  bool isDead() const { return m_session.isDead(); }
  /// Breaks running transactions off; the phone counts as unplugged from now on.
  void close() { m_session.close(); }

  const std::u16string& modelName() const { return m_modelName; } // never empty
  /// Asks the phone the first time.
  std::u16string friendlyName();

  /// Asks the phone for its storages and gives the first one.
  Status firstStorage(Node*& head);

  /// Sees to it that `listing` holds what the phone told, by fetching it or by waiting for another thread's fetch.
  /// `lock` holds NodeRegistry::mutex on call and return. Afterwards the listing may have been retired.
  Status fetch(const std::shared_ptr<Listing>& listing, std::unique_lock<std::mutex>& lock);

  /// Whether the object, or storage, is still there: from memory where nothing speaks against it. `lock` as above.
  bool exists(const Node& node, std::unique_lock<std::mutex>& lock);

  /// What an event means for the objects known; null: for events that were lost. Takes the lock.
  void handleEvent(const EventContainer* event);

  /// Wants NodeRegistry::mutex.
  ObjectStore& store() { return m_store; }

private:
  Device(std::unique_ptr<Transport> transport, const DeviceCandidate& candidate, NodeRegistry& registry,
         const TimeLimits& limits, Node* node);

  Status connect(EventThread& events);
  std::vector<ListedStorage> readStorages(const std::vector<std::uint32_t>& ids, Status& status);

  NodeRegistry& m_registry;
  Node* const m_node;
  const std::uint64_t m_attachment;
  const std::uint32_t m_locationId;
  Session m_session;
  DeviceInfo m_info; // written while opening, constant afterwards
  std::u16string m_modelName;
  std::optional<FolderLister> m_lister; // made while opening
  // The rest is guarded by NodeRegistry::mutex.
  std::optional<std::u16string> m_friendlyName;
  ObjectStore m_store;
  std::condition_variable m_fetched; // some listing's fetch ended
};

} // namespace mtp
