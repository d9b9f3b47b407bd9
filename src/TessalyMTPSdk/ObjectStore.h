#pragma once
// What is known of one phone's storages, folders and files: node records in lists as the phone gave them. Pure memory;
// makes no transactions. Every function wants NodeRegistry::mutex held.
#include "TessalyMTPSdk/FolderLister.h"
#include "TessalyMTPSdk/NameIndex.h"
#include "TessalyMTPSdk/NodeRegistry.h"
#include "TessalyMTPSdk/StatusCodes.h"
#include "TessalyMTPSdk/Wire.h"

#include <condition_variable>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>

namespace mtp {

class Device;

/// What stands directly in a folder or at a storage's top level. Guarded by NodeRegistry::mutex.
struct Listing {
  Device* device = nullptr;  // lives as long as any known record of it
  std::uint32_t storage = 0; // storage ID
  std::uint32_t parent = FolderLister::TopLevel;
  Node* parentNode = nullptr; // the folder; null at a storage's top level

  bool known = true;                           // false: its folder or storage has been retired
  bool cached = false;                         // the lists below hold what the phone told
  bool stale = false;                          // the phone has reported a change since
  bool namesStale = false;                     // there may be names that stand neither in the lists nor in `reported`
  std::uint64_t changes = 0;                   // how often
  std::unordered_set<std::u16string> reported; // folded names (see foldedName) of objects reported since

  // A fetch on its way; others who want the listing wait for it.
  bool fetching = false;
  std::uint64_t fetches = 0; // finished ones
  Status lastFetch = DGSTATUS_SUCCESS;

  std::uint64_t ownChanges = 0; // how often the computer changed what the lists below hold

  Node* firstFolder = nullptr;
  Node* firstFile = nullptr;
  Node* lastFolder = nullptr;
  Node* lastFile = nullptr;
  struct Entry {
    std::uint32_t handle;
    Node* node; // null: removed since
  };
  std::vector<Entry> byHandle;    // ascending
  std::optional<NameIndex> names; // made when first needed

  Listing* nextToRetire = nullptr;
};

struct ListedStorage {
  std::uint32_t id = 0;
  StorageInfo info;
};

class ObjectStore {
public:
  /// `device` is what its listings say they belong to.
  ObjectStore(NodeRegistry& registry, Device* device);

  /// Takes over the phone's storages, in their order. A storage that stays keeps everything below it; where only its
  /// numbers changed a new record is made, and the older one keeps naming the same storage until the list is released.
  void setStorages(const std::vector<ListedStorage>& storages);
  Node* firstStorage() const;
  Node* storageAfter(const Node& storage) const;

  /// The listing of the storage with this ID; null: there is none.
  std::shared_ptr<Listing> topLevel(std::uint32_t storage) const;
  /// The listing in which a folder's or file's record stands.
  std::shared_ptr<Listing> listingAround(const Node& object) const;
  /// The object of this handle in the listing; null: none.
  static Node* find(const Listing& listing, std::uint32_t handle);
  /// The listing of a folder's or storage's record.
  std::shared_ptr<Listing> listingOf(Node& parent);
  /// Takes over a fetched folder. Records of objects of which nothing changed are kept, those no longer there retired.
  /// Throws std::bad_alloc, having changed nothing.
  void apply(Listing& listing, const ListedFolder& folder);

  /// The object of the listing, other than `except`, that a storage may take for one of this name; null: none is known.
  static Node* namesake(Listing& listing, std::u16string_view name, const Node* except = nullptr);

  // What the computer changed on the phone; no listing is stale for it.
  /// Adds a new object, the first one of `one`, behind the others of its kind. Null when the listing is not known or
  /// holds nothing of the phone. Throws std::bad_alloc, having changed nothing.
  Node* insert(Listing& listing, const ListedFolder& one);
  /// Gives the object another name: a new record takes its place, and the older one keeps naming the same object.
  /// Throws std::bad_alloc, having changed nothing.
  void rename(Node& object, std::u16string_view name);
  /// Retires the object and everything below it.
  void remove(Node& object);
  /// The record that stands for the object of this record, itself for most.
  Node& current(Node& node) const;

  /// Retires all folders and files.
  void retireObjects();
  /// Retires all storages and everything below them.
  void retireStorages();
  /// Retires everything and takes nothing more: the phone has gone.
  void close();
  /// Retires one storage and everything below it.
  void retireStorage(std::uint32_t id);
  // What the phone reports.
  /// It removed the object. What is known of it and below it is retired, and its listing is stale. An object that is
  /// not known changes no listing, but for those under way, and top levels: some responders name a wrong object there.
  /// False then.
  bool retireObject(std::uint32_t handle);
  /// It added or changed the object. The listings in which it stands are stale; in which folder it is now remains to be
  /// asked. With too many of these all is stale.
  void noteReported(std::uint32_t handle);
  /// The objects of which that is to be asked; they are place()d next.
  std::vector<std::uint32_t> takeReported();
  /// The object of this name is in the folder with this handle (0, 0xFFFFFFFF: at a top level).
  void place(std::uint32_t parent, std::u16string_view name);

  /// The next question for any listing goes to the phone.
  void markAllStale();
  /// The same for one, and for the listings in which an object stands.
  static void markStale(Listing& listing);
  void markStale(std::uint32_t handle);

  /// What is known below the object, `most` at most.
  std::vector<std::uint32_t> handlesBelow(const Node& object, std::size_t most) const;

private:
  static constexpr std::size_t MaxReported = 64;  // each costs a transaction, a listing some five
  static constexpr std::size_t MaxNames = 10'000; // reported ones, of one folder

  struct Storage {
    std::uint32_t id = 0;
    std::shared_ptr<Listing> topLevel;
    std::vector<Node*> nodes; // the last one is current
  };

  Node* createStorage(const ListedStorage& storage);
  Node* createObject(const ListedFolder& folder, const ListedObject& object);
  void retire(Storage& storage);
  void retireListing(Listing& listing);
  void retireContents(Listing& listing);
  void retireNode(Node& node, Listing*& toRetire);
  void retireRecord(Node& node);
  void retireCollected(Listing* toRetire);
  static void unlink(Node& node);
  static void append(Listing& listing, Node& node);
  template <typename Use> void forEachListing(Use use);

  NodeRegistry& m_registry;
  Device* const m_device;
  NodeRegistry::Arena m_arena;
  bool m_closed = false;
  std::vector<Storage> m_storages; // in the phone's order
  std::unordered_map<const Node*, std::shared_ptr<Listing>> m_folders;
  std::unordered_set<std::uint32_t> m_reported; // handles
  std::unordered_map<Node*, Node*> m_renamed;   // from records of former names to the current one
};

} // namespace mtp
