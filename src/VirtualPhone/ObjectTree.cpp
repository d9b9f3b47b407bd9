#include "VirtualPhone/ObjectTree.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <unordered_set>

namespace vphone {
namespace {

constexpr std::uint32_t WatchMask =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB | IN_ONLYDIR;
constexpr std::size_t MaxChanges = 10000; // a host that has not asked for so long lists again anyway

} // namespace

ObjectTree::ObjectTree()
    : inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

ObjectTree::~ObjectTree() = default;

std::uint32_t ObjectTree::addStorage(StorageOptions options) {
  Fd folder(::open(options.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder)
    return 0;
  auto taken = [this](std::uint32_t id) {
    return std::any_of(storages_.begin(), storages_.end(),
                       [id](const Storage& s) { return s.options.storageId == id; });
  };
  if (!options.storageId) {
    options.storageId = 0x00010001;
    while (taken(options.storageId))
      options.storageId += 0x00010000;
  } else if (options.storageId == 0xFFFFFFFF || taken(options.storageId)) {
    return 0;
  }
  auto& storage = storages_.emplace_back();
  storage.options = std::move(options);
  storage.folder = std::move(folder);
  storage.top.storage = &storage;
  storage.top.contents = std::make_unique<FolderContents>();
  changes_.push_back({mtp::Event::StoreAdded, storage.options.storageId});
  return storage.options.storageId;
}

bool ObjectTree::removeStorage(std::uint32_t id) {
  for (auto& storage : storages_) {
    if (storage.present && storage.options.storageId == id) {
      while (!storage.top.contents->children.empty())
        remove(*storage.top.contents->children.back());
      unwatch(storage.top);
      storage.present = false;
      storage.options.storageId = 0;
      storage.folder.reset();
      changes_.push_back({mtp::Event::StoreRemoved, id});
      return true;
    }
  }
  return false;
}

void ObjectTree::setLocked(bool locked) {
  if (std::exchange(locked_, locked) == locked)
    return;
  for (const auto& storage : storages_) {
    if (storage.present)
      changes_.push_back({locked ? mtp::Event::StoreRemoved : mtp::Event::StoreAdded, storage.options.storageId});
  }
}

std::vector<Storage*> ObjectTree::storages() {
  std::vector<Storage*> result;
  for (auto& storage : storages_) {
    if (storage.present && !locked_)
      result.push_back(&storage);
  }
  return result;
}

Storage* ObjectTree::storage(std::uint32_t id) {
  for (auto* storage : storages()) {
    if (storage->options.storageId == id)
      return storage;
  }
  return nullptr;
}

std::uint64_t ObjectTree::capacity(const Storage& storage) const {
  struct statvfs s {};
  if (storage.options.capacity)
    return storage.options.capacity;
  return fstatvfs(storage.folder.get(), &s) == 0 ? std::uint64_t(s.f_blocks) * s.f_frsize : 0;
}

std::uint64_t ObjectTree::freeSpace(const Storage& storage) const {
  struct statvfs s {};
  auto real = fstatvfs(storage.folder.get(), &s) == 0 ? std::uint64_t(s.f_bavail) * s.f_frsize : 0;
  if (!storage.options.capacity)
    return real;
  auto used = disk::usedBytes(storage.folder.get());
  return std::min(real, storage.options.capacity - std::min(storage.options.capacity, used));
}

Object* ObjectTree::find(std::uint32_t handle) {
  if (handle == 0 || handle > objects_.size())
    return nullptr;
  auto& object = objects_[handle - 1];
  return object.alive && !locked_ ? &object : nullptr;
}

bool ObjectTree::isBelow(const Object& folder, const Object& object) {
  for (const auto* at = &folder; at; at = at->parent) {
    if (at == &object)
      return true;
  }
  return false;
}

Fd ObjectTree::open(const Object& folder) const {
  if (!folder.parent)
    return Fd(fcntl(folder.storage->folder.get(), F_DUPFD_CLOEXEC, 0));
  auto above = open(*folder.parent);
  return above ? disk::openFolder(above.get(), folder.name) : Fd();
}

std::optional<disk::Facts> ObjectTree::facts(Object& object, Cursor& cursor) {
  if (object.factsKnown)
    return object.facts;
  if (cursor.folder_ != object.parent) {
    cursor.folder_ = object.parent;
    cursor.fd_ = open(*object.parent);
  }
  auto facts = cursor.fd_ ? disk::facts(cursor.fd_.get(), object.name) : std::nullopt;
  if (facts && facts->folder != object.folder())
    facts.reset(); // another thing under the same name: not what the handle was given for
  if (facts) {
    object.facts = *facts;
    object.factsKnown = object.parent->contents->watch >= 0 && !object.hostWriting;
  }
  return facts;
}

bool ObjectTree::list(Object& folder) {
  return (folder.contents->listed && folder.contents->watch >= 0) || scan(folder, false);
}

bool ObjectTree::scan(Object& folder, bool tellHost) {
  auto fd = open(folder);
  if (!fd)
    return false;
  watch(folder, fd.get()); // before reading: what changes meanwhile is seen twice rather than not at all
  std::unordered_set<const Object*> found;
  bool first = folder.contents->children.empty();
  bool readable = disk::read(fd.get(), [&](const char* name, bool isFolder) {
    auto* known = first ? nullptr : child(folder, name);
    if (known && known->folder() != isFolder) {
      tell(*known, mtp::Event::ObjectRemoved);
      remove(*known);
      known = nullptr;
    }
    if (!known) {
      known = &insert(folder, name, isFolder);
      if (tellHost)
        tell(*known, mtp::Event::ObjectAdded);
    }
    if (!first)
      found.insert(known);
  });
  if (!readable)
    return false;
  auto children = first ? std::vector<Object*>() : folder.contents->children;
  for (auto* object : children) {
    if (!found.contains(object) && !object->hostWriting) {
      if (tellHost)
        tell(*object, mtp::Event::ObjectRemoved);
      remove(*object);
    }
  }
  folder.contents->listed = true;
  return true;
}

void ObjectTree::watch(Object& folder, int fd) {
  if (folder.contents->watch >= 0 || !inotify_)
    return;
  // The folder that was opened, not whatever stands at its path now.
  auto path = "/proc/self/fd/" + std::to_string(fd);
  folder.contents->watch = inotify_add_watch(inotify_.get(), path.c_str(), WatchMask);
  if (folder.contents->watch >= 0)
    watched_[folder.contents->watch] = &folder;
}

Object& ObjectTree::insert(Object& folder, const std::string& name, bool isFolder) {
  if (auto* known = child(folder, name))
    return *known;
  auto& object = objects_.emplace_back();
  object.handle = std::uint32_t(objects_.size());
  object.parent = &folder;
  object.storage = folder.storage;
  object.name = name;
  if (isFolder)
    object.contents = std::make_unique<FolderContents>();
  folder.contents->children.push_back(&object);
  folder.contents->byName.insert(&object);
  return object;
}

Object* ObjectTree::child(const Object& folder, std::string_view name) {
  auto found = folder.contents->byName.find(name);
  return found == folder.contents->byName.end() ? nullptr : *found;
}

void ObjectTree::detach(Object& object) {
  object.parent->contents->byName.erase(&object);
  auto& children = object.parent->contents->children;
  if (!children.empty() && children.back() == &object)
    children.pop_back();
  else
    children.erase(std::find(children.begin(), children.end(), &object));
}

void ObjectTree::relocate(Object& object, Object& folder, const std::string& name) {
  detach(object);
  object.parent = &folder;
  object.name = name;
  folder.contents->children.push_back(&object);
  folder.contents->byName.insert(&object);
  object.factsKnown = false;
  auto adopt = [&](auto& self, Object& each) -> void {
    each.storage = folder.storage;
    if (each.folder()) {
      for (auto* below : each.contents->children)
        self(self, *below);
    }
  };
  adopt(adopt, object);
}

void ObjectTree::remove(Object& object) {
  if (object.folder()) {
    while (!object.contents->children.empty())
      remove(*object.contents->children.back());
    unwatch(object);
  }
  detach(object);
  object.alive = object.factsKnown = object.editing = false;
  object.name = {};
  object.contents.reset();
  references_.erase(object.handle);
}

void ObjectTree::unwatch(Object& folder) {
  auto& watch = folder.contents->watch;
  if (watch >= 0) {
    inotify_rm_watch(inotify_.get(), watch);
    watched_.erase(watch);
  }
  watch = -1;
}

bool ObjectTree::isSilent(const Object& object) {
  for (const auto* at = &object; at; at = at->parent) {
    if (at->hostWriting)
      return true;
  }
  return false;
}

void ObjectTree::tell(const Object& object, mtp::Event code) {
  if (!isSilent(object) && changes_.size() < MaxChanges)
    changes_.push_back({code, object.handle});
}

void ObjectTree::appeared(Object& folder, const std::string& name) {
  auto fd = open(folder);
  std::optional<disk::Facts> facts;
  if (fd)
    facts = disk::facts(fd.get(), name);
  auto* known = child(folder, name);
  if (known && facts && facts->folder != known->folder()) {
    tell(*known, mtp::Event::ObjectRemoved);
    remove(*known);
    known = nullptr;
  }
  if (known)
    tell(*known, mtp::Event::ObjectInfoChanged); // something was moved over it
  else if (facts)
    tell(insert(folder, name, facts->folder), mtp::Event::ObjectAdded);
}

void ObjectTree::seen(int watch, std::uint32_t mask, const std::string& name) {
  auto found = watched_.find(watch);
  if (found == watched_.end())
    return;
  auto& folder = *found->second;
  if (mask & IN_IGNORED) { // the folder is gone
    folder.contents->watch = -1;
    watched_.erase(found);
    return;
  }
  if (name.empty())
    return;
  auto* known = child(folder, name);
  if (known)
    known->factsKnown = false;
  if (mask & IN_MOVED_TO || (mask & IN_CREATE && !known)) {
    appeared(folder, name);
  } else if (known && mask & (IN_DELETE | IN_MOVED_FROM)) {
    if (known->hostWriting)
      return; // whoever writes it knows
    tell(*known, mtp::Event::ObjectRemoved);
    remove(*known);
  } else if (known && mask & IN_CLOSE_WRITE) {
    tell(*known, mtp::Event::ObjectInfoChanged);
  }
}

void ObjectTree::catchUp() {
  alignas(inotify_event) std::array<char, 1 << 16> buffer;
  for (int rounds = 0; inotify_ && rounds < 64; ++rounds) {
    auto size = ::read(inotify_.get(), buffer.data(), buffer.size());
    if (size <= 0)
      return;
    bool lost = false;
    for (std::size_t at = 0; at + sizeof(inotify_event) <= std::size_t(size);) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* name = buffer.data() + at + sizeof event;
      lost |= (event.mask & IN_Q_OVERFLOW) != 0;
      seen(event.wd, event.mask, event.len ? std::string(name, strnlen(name, event.len)) : std::string());
      at += sizeof event + event.len;
    }
    if (lost) {
      std::vector<Object*> folders;
      for (const auto& [watch, folder] : watched_)
        folders.push_back(folder);
      for (auto* folder : folders) {
        if (!folder->alive)
          continue;
        for (auto* object : folder->contents->children)
          object->factsKnown = false;
        scan(*folder, true);
      }
    }
  }
}

std::vector<Change> ObjectTree::takeChanges() {
  return std::exchange(changes_, {});
}

} // namespace vphone
