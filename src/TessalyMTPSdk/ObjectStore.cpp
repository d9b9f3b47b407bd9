#include "TessalyMTPSdk/ObjectStore.h"

#include "TessalyMTPSdk/ObjectNames.h"

#include <algorithm>
#include <utility>

namespace mtp {

namespace {

/// The last unit of `text` becomes the terminating zero.
MTPDEXT_CHAR16* putTerminated(MTPDEXT_CHAR16* text, std::u16string_view value) {
  std::ranges::copy(value, text);
  text[value.size()] = u'\0';
  return text + value.size() + 1;
}

/// Whether a fresh record of the object would say just what this one says.
bool says(const Node& node, const ListedFolder& folder, const ListedObject& object) {
  if ((node.kind == MTPDEXT_NODE_FOLDER) != object.folder || nameOf(node) != folder.name(object))
    return false;
  return object.folder || (node.file.fileLength == object.size &&
                           std::u16string_view(node.file.date, node.file.dateLength) == folder.date(object));
}

bool says(const Node& node, const ListedStorage& storage) {
  const _MTP_STORAGE_NODE& record = node.storage;
  return record.totalCapacity == storage.info.maxCapacity && record.freeSpace == storage.info.freeSpace &&
         std::u16string_view(record.name, record.nameLength - 1) == storage.info.description &&
         std::u16string_view(record.volume, record.volumeLength - 1) == storage.info.volumeIdentifier;
}

Node* findHandle(const Listing& listing, std::uint32_t handle) {
  const auto found = std::ranges::lower_bound(listing.byHandle, handle, {}, &Listing::Entry::handle);
  return found != listing.byHandle.end() && found->handle == handle ? found->node : nullptr;
}

Node*& headOf(Listing& listing, const Node& node) {
  return node.kind == MTPDEXT_NODE_FOLDER ? listing.firstFolder : listing.firstFile;
}

Node*& lastOf(Listing& listing, const Node& node) {
  return node.kind == MTPDEXT_NODE_FOLDER ? listing.lastFolder : listing.lastFile;
}

void empty(Listing& listing) {
  listing.firstFolder = listing.firstFile = listing.lastFolder = listing.lastFile = nullptr;
  listing.names.reset();
}

Listing::Entry* entryOf(Listing& listing, const Node& node) {
  const auto found = std::ranges::lower_bound(listing.byHandle, node.common.nodeId, {}, &Listing::Entry::handle);
  return found != listing.byHandle.end() && found->node == &node ? &*found : nullptr;
}

} // namespace

ObjectStore::ObjectStore(NodeRegistry& registry, Device* device)
    : m_registry(registry)
    , m_device(device) {}

void ObjectStore::setStorages(const std::vector<ListedStorage>& storages) {
  if (m_closed)
    return;
  std::vector<Storage> now;
  for (const ListedStorage& listed : storages) {
    if (std::ranges::find(now, listed.id, &Storage::id) != now.end())
      continue;
    Storage storage;
    const auto before = std::ranges::find(m_storages, listed.id, &Storage::id);
    if (before != m_storages.end()) {
      storage = *before;
    } else {
      storage.id = listed.id;
      storage.topLevel = std::make_shared<Listing>();
      storage.topLevel->device = m_device;
      storage.topLevel->storage = listed.id;
    }
    now.push_back(std::move(storage));
  }
  for (Storage& before : m_storages) {
    if (std::ranges::find(now, before.id, &Storage::id) == now.end())
      retire(before);
  }
  m_storages = std::move(now);
  for (Storage& storage : m_storages) {
    const ListedStorage& listed = *std::ranges::find(storages, storage.id, &ListedStorage::id);
    if (!storage.nodes.empty() && says(*storage.nodes.back(), listed))
      continue;
    storage.nodes.reserve(storage.nodes.size() + 1);
    Node* node = createStorage(listed);
    node->listing = storage.topLevel.get();
    storage.nodes.push_back(node);
  }
}

Node* ObjectStore::firstStorage() const {
  return m_storages.empty() || m_storages.front().nodes.empty() ? nullptr : m_storages.front().nodes.back();
}

Node* ObjectStore::storageAfter(const Node& storage) const {
  auto found = std::ranges::find(m_storages, storage.listing->storage, &Storage::id);
  if (found == m_storages.end() || ++found == m_storages.end() || found->nodes.empty())
    return nullptr;
  return found->nodes.back();
}

std::shared_ptr<Listing> ObjectStore::topLevel(std::uint32_t storage) const {
  const auto found = std::ranges::find(m_storages, storage, &Storage::id);
  return found != m_storages.end() ? found->topLevel : nullptr;
}

std::shared_ptr<Listing> ObjectStore::listingAround(const Node& object) const {
  if (const Node* parent = object.listing->parentNode) {
    const auto found = m_folders.find(parent);
    return found != m_folders.end() ? found->second : nullptr;
  }
  return topLevel(object.listing->storage);
}

Node* ObjectStore::find(const Listing& listing, std::uint32_t handle) {
  return findHandle(listing, handle);
}

std::shared_ptr<Listing> ObjectStore::listingOf(Node& parent) {
  if (parent.kind == MTPDEXT_NODE_STORAGE)
    return topLevel(parent.listing->storage);
  if (const auto found = m_folders.find(&parent); found != m_folders.end())
    return found->second;
  auto listing = std::make_shared<Listing>();
  listing->device = m_device;
  listing->storage = parent.listing->storage;
  listing->parent = parent.common.nodeId;
  listing->parentNode = &parent;
  m_folders.emplace(&parent, listing);
  return listing;
}

void ObjectStore::apply(Listing& listing, const ListedFolder& folder) {
  // Everything that can fail comes first. A new record has no listing yet.
  std::vector<Node*> order;
  std::vector<Listing::Entry> byHandle;
  order.reserve(folder.objects.size());
  byHandle.reserve(folder.objects.size());
  try {
    for (const ListedObject& object : folder.objects) {
      Node* node = findHandle(listing, object.handle);
      if (!node || !says(*node, folder, object))
        node = createObject(folder, object);
      order.push_back(node);
      byHandle.push_back({object.handle, node});
    }
  } catch (...) {
    for (Node* node : order) {
      if (!node->listing)
        m_registry.retire(node);
    }
    throw;
  }
  if (!std::ranges::is_sorted(byHandle, {}, &Listing::Entry::handle))
    std::ranges::sort(byHandle, {}, &Listing::Entry::handle);

  Listing* toRetire = nullptr;
  auto now = byHandle.begin();
  for (const Listing::Entry& before : listing.byHandle) { // both ascend
    while (now != byHandle.end() && now->handle < before.handle)
      ++now;
    const bool kept = now != byHandle.end() && now->node == before.node;
    if (before.node && !kept)
      retireNode(*before.node, toRetire);
  }
  listing.byHandle = std::move(byHandle);
  listing.reported.clear();
  for (const Listing::Entry& entry : listing.byHandle)
    m_reported.erase(entry.handle);
  empty(listing);
  for (Node* node : order)
    append(listing, *node);
  listing.cached = true;
  retireCollected(toRetire);
}

/// Puts the node at the end of its kind's list.
void ObjectStore::append(Listing& listing, Node& node) {
  Node*& last = lastOf(listing, node);
  node.listing = &listing;
  node.previous = last;
  node.next = nullptr;
  (last ? last->next : headOf(listing, node)) = &node;
  last = &node;
}

/// Takes the node out of its list; it goes on saying where it stood.
void ObjectStore::unlink(Node& node) {
  Listing& listing = *node.listing;
  (node.previous ? node.previous->next : headOf(listing, node)) = node.next;
  (node.next ? node.next->previous : lastOf(listing, node)) = node.previous;
  node.previous = node.next = nullptr;
  if (listing.names)
    listing.names->remove(node);
}

Node* ObjectStore::namesake(Listing& listing, std::u16string_view name, const Node* except) {
  if (!listing.names) {
    NameIndex names;
    for (Node* head : {listing.firstFolder, listing.firstFile}) {
      for (Node* node = head; node; node = node->next)
        names.insert(*node);
    }
    listing.names = std::move(names);
  }
  return listing.names->find(name, except);
}

Node* ObjectStore::insert(Listing& listing, const ListedFolder& one) {
  if (m_closed || !listing.known || !listing.cached || one.objects.empty())
    return nullptr;
  const ListedObject& object = one.objects.front();
  Listing* toRetire = nullptr;
  listing.byHandle.reserve(listing.byHandle.size() + 1);
  Node* node = createObject(one, object);
  try {
    if (listing.names)
      listing.names->insert(*node);
  } catch (...) {
    m_registry.retire(node);
    throw;
  }
  const auto at = std::ranges::lower_bound(listing.byHandle, object.handle, {}, &Listing::Entry::handle);
  if (at == listing.byHandle.end() || at->handle != object.handle) {
    listing.byHandle.insert(at, {object.handle, node});
  } else {
    if (at->node) { // what the phone said of it before is overtaken
      unlink(*at->node);
      retireNode(*at->node, toRetire);
    }
    at->node = node;
  }
  append(listing, *node);
  ++listing.ownChanges;
  retireCollected(toRetire);
  return node;
}

void ObjectStore::rename(Node& object, std::u16string_view name) {
  Listing& listing = *object.listing;
  Listing::Entry* entry = entryOf(listing, object);
  if (!entry)
    return;
  ListedFolder one;
  ListedObject renamed;
  const bool folder = object.kind == MTPDEXT_NODE_FOLDER;
  renamed.handle = object.common.nodeId;
  renamed.folder = folder;
  renamed.size = folder ? 0 : object.file.fileLength;
  renamed.nameUnits = static_cast<std::uint16_t>(std::min(name.size(), MaxNameUnits));
  renamed.dateAt = renamed.nameUnits;
  one.text = name.substr(0, renamed.nameUnits);
  if (!folder && object.file.date) {
    one.text.append(object.file.date, object.file.dateLength);
    renamed.dateUnits = static_cast<std::uint16_t>(object.file.dateLength);
  }
  Node* node = createObject(one, renamed);
  try {
    m_renamed[&object] = node;
    m_folders.reserve(m_folders.size() + 1);
    if (listing.names)
      listing.names->insert(*node);
  } catch (...) {
    m_renamed.erase(&object);
    m_registry.retire(node);
    throw;
  }
  for (auto& [former, now] : m_renamed) {
    if (now == &object)
      now = node;
  }
  node->listing = &listing;
  node->previous = object.previous;
  node->next = object.next;
  (node->previous ? node->previous->next : headOf(listing, *node)) = node;
  (node->next ? node->next->previous : lastOf(listing, *node)) = node;
  object.previous = object.next = nullptr;
  if (listing.names)
    listing.names->remove(object);
  entry->node = node;
  ++listing.ownChanges;
  if (auto own = m_folders.extract(&object)) {
    own.key() = node;
    own.mapped()->parentNode = node;
    m_folders.insert(std::move(own));
  }
}

void ObjectStore::remove(Node& object) {
  Listing& listing = *object.listing;
  Listing* toRetire = nullptr;
  if (Listing::Entry* entry = entryOf(listing, object))
    entry->node = nullptr;
  ++listing.ownChanges;
  unlink(object);
  retireNode(object, toRetire);
  retireCollected(toRetire);
}

Node& ObjectStore::current(Node& node) const {
  const auto renamed = m_renamed.find(&node);
  return renamed != m_renamed.end() ? *renamed->second : node;
}

void ObjectStore::retireCollected(Listing* toRetire) {
  while (toRetire) {
    Listing* next = toRetire->nextToRetire;
    retireListing(*toRetire);
    toRetire = next;
  }
}

/// Retires the object's record, and those of its former names.
void ObjectStore::retireRecord(Node& node) {
  for (auto former = m_renamed.begin(); former != m_renamed.end();) {
    if (former->second != &node) {
      ++former;
      continue;
    }
    m_registry.retire(former->first);
    former = m_renamed.erase(former);
  }
  m_registry.retire(&node);
}

Node* ObjectStore::createStorage(const ListedStorage& storage) {
  const StorageInfo& info = storage.info;
  MTPDEXT_CHAR16* text = nullptr;
  Node* node = m_registry.create(m_arena, MTPDEXT_NODE_STORAGE,
                                 info.description.size() + 1 + info.volumeIdentifier.size() + 1, &text);
  _MTP_STORAGE_NODE& record = node->storage;
  record.common.nodeId = storage.id;
  record.name = text;
  record.nameLength = static_cast<std::uint32_t>(info.description.size() + 1);
  record.volume = putTerminated(text, info.description);
  record.volumeLength = static_cast<std::uint32_t>(info.volumeIdentifier.size() + 1);
  putTerminated(text + record.nameLength, info.volumeIdentifier);
  record.totalCapacity = info.maxCapacity;
  record.freeSpace = info.freeSpace;
  return node;
}

Node* ObjectStore::createObject(const ListedFolder& folder, const ListedObject& object) {
  const std::u16string_view name = folder.name(object);
  const std::u16string_view date = object.folder ? std::u16string_view() : folder.date(object);
  MTPDEXT_CHAR16* text = nullptr;
  Node* node = m_registry.create(m_arena, object.folder ? MTPDEXT_NODE_FOLDER : MTPDEXT_NODE_FILE,
                                 name.size() + 1 + date.size(), &text);
  node->common.nodeId = object.handle;
  MTPDEXT_CHAR16* afterName = putTerminated(text, name);
  const auto nameSize = static_cast<std::uint32_t>(name.size() + 1);
  if (object.folder) {
    node->folder.name = text;
    node->folder.nameSize = nameSize;
    return node;
  }
  node->file.fileLength = object.size;
  node->file.name = text;
  node->file.nameSize = nameSize;
  if (!date.empty()) {
    std::ranges::copy(date, afterName);
    node->file.date = afterName;
    node->file.dateLength = static_cast<std::uint32_t>(date.size());
  }
  return node;
}

void ObjectStore::retireObjects() {
  m_reported.clear();
  for (Storage& storage : m_storages)
    retireContents(*storage.topLevel);
}

void ObjectStore::retireStorages() {
  for (Storage& storage : m_storages)
    retire(storage);
  m_storages.clear();
}

void ObjectStore::close() {
  retireStorages();
  m_registry.close(m_arena);
  m_closed = true;
}

void ObjectStore::retireStorage(std::uint32_t id) {
  const auto found = std::ranges::find(m_storages, id, &Storage::id);
  if (found == m_storages.end())
    return;
  retire(*found);
  m_storages.erase(found);
}

bool ObjectStore::retireObject(std::uint32_t handle) {
  const bool reported = m_reported.erase(handle) > 0;
  bool listed = false;
  Listing* toRetire = nullptr;
  forEachListing([&](Listing& listing) {
    const auto found = std::ranges::lower_bound(listing.byHandle, handle, {}, &Listing::Entry::handle);
    if (found == listing.byHandle.end() || found->handle != handle || !found->node)
      return;
    listed = true;
    listing.stale = true; // though no name is missing in it
    ++listing.changes;
    Node& node = *found->node;
    unlink(node);
    found->node = nullptr;
    // Its own listing leaves the map only below: the map is being walked.
    const auto own = m_folders.find(&node);
    if (own != m_folders.end()) {
      own->second->nextToRetire = toRetire;
      toRetire = own->second.get();
    }
    retireRecord(node);
  });
  while (toRetire) {
    Listing* next = toRetire->nextToRetire;
    const std::shared_ptr<Listing> listing = m_folders.find(toRetire->parentNode)->second;
    retireListing(*listing);
    toRetire = next;
  }
  if (!listed) {
    forEachListing([reported](Listing& listing) {
      if (listing.fetching || (!reported && listing.parent == FolderLister::TopLevel))
        markStale(listing);
    });
  }
  return listed || reported;
}

void ObjectStore::noteReported(std::uint32_t handle) {
  forEachListing([&](Listing& listing) {
    if (!findHandle(listing, handle) && !listing.fetching)
      return;
    listing.stale = true; // its name is still to be asked for
    ++listing.changes;
  });
  if (m_reported.size() >= MaxReported && !m_reported.contains(handle)) {
    m_reported.clear();
    markAllStale();
  } else {
    m_reported.insert(handle);
  }
}

std::vector<std::uint32_t> ObjectStore::takeReported() {
  const std::unordered_set<std::uint32_t> handles = std::exchange(m_reported, {});
  return {handles.begin(), handles.end()};
}

void ObjectStore::place(std::uint32_t parent, std::u16string_view name) {
  forEachListing([&](Listing& listing) {
    const bool topLevel = listing.parent == FolderLister::TopLevel; // some responders name a wrong object there
    if (listing.parent != parent && !topLevel)
      return;
    if (topLevel || !listing.cached || listing.reported.size() >= MaxNames)
      return markStale(listing);
    listing.reported.insert(foldedName(name));
    listing.stale = true;
    ++listing.changes;
  });
}

void ObjectStore::markAllStale() {
  forEachListing([](Listing& listing) { markStale(listing); });
}

void ObjectStore::markStale(std::uint32_t handle) {
  forEachListing([&](Listing& listing) {
    if (findHandle(listing, handle))
      markStale(listing);
  });
}

void ObjectStore::markStale(Listing& listing) {
  listing.stale = listing.namesStale = true;
  ++listing.changes;
  listing.reported.clear();
}

std::vector<std::uint32_t> ObjectStore::handlesBelow(const Node& object, std::size_t most) const {
  std::vector<std::uint32_t> handles;
  std::vector<const Node*> folders{&object};
  while (!folders.empty() && handles.size() < most) {
    const auto listing = m_folders.find(folders.back());
    folders.pop_back();
    if (listing == m_folders.end())
      continue;
    for (const Listing::Entry& entry : listing->second->byHandle) {
      if (!entry.node || handles.size() >= most)
        continue;
      handles.push_back(entry.handle);
      if (entry.node->kind == MTPDEXT_NODE_FOLDER)
        folders.push_back(entry.node);
    }
  }
  return handles;
}

void ObjectStore::retire(Storage& storage) {
  retireContents(*storage.topLevel);
  storage.topLevel->known = false;
  for (Node* node : storage.nodes)
    m_registry.retire(node);
  storage.nodes.clear();
}

/// The listing of a folder whose own record is retired.
void ObjectStore::retireListing(Listing& listing) {
  const std::shared_ptr<Listing> alive = m_folders.extract(listing.parentNode).mapped();
  retireContents(listing);
  listing.known = false;
  listing.parentNode = nullptr;
}

/// Retires everything below. In a loop, not by recursion: how deep a tree is, the phone decides.
void ObjectStore::retireContents(Listing& listing) {
  Listing* toRetire = nullptr;
  Listing* current = &listing;
  std::shared_ptr<Listing> alive;
  for (;;) {
    for (const Listing::Entry& entry : current->byHandle) {
      if (entry.node)
        retireNode(*entry.node, toRetire);
    }
    current->byHandle = {};
    empty(*current);
    current->cached = false;
    markStale(*current);
    if (current != &listing)
      current->known = false;
    if (!toRetire)
      return;
    current = toRetire;
    toRetire = current->nextToRetire;
    alive = m_folders.extract(current->parentNode).mapped(); // also when a fetch of it is on its way
    current->parentNode = nullptr;
  }
}

/// Retires the record; its own listing, if it has one, is put before `toRetire`.
void ObjectStore::retireNode(Node& node, Listing*& toRetire) {
  const auto own = node.kind == MTPDEXT_NODE_FOLDER ? m_folders.find(&node) : m_folders.end();
  if (own != m_folders.end()) {
    own->second->nextToRetire = toRetire;
    toRetire = own->second.get();
  }
  retireRecord(node);
}

template <typename Use> void ObjectStore::forEachListing(Use use) {
  for (Storage& storage : m_storages)
    use(*storage.topLevel);
  for (auto& [node, listing] : m_folders)
    use(*listing);
}

} // namespace mtp
