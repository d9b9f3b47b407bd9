#pragma once
// The phone's objects: which handle means which file. Handles are given out as the host gets to see objects, folders
// are read when they are first listed and watched from then on (inotify), as Android does. Not locked: its owner's lock
// guards every call. Functions block for the file system.
#include "TessalyMTPSdk/MtpCodes.h"
#include "VirtualPhone/Disk.h"
#include "VirtualPhone/VirtualPhone.h"

#include <deque>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace vphone {

struct Storage;
struct Object;

struct NameHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
  std::size_t operator()(const Object* object) const;
};
struct NameEqual {
  using is_transparent = void;
  bool operator()(const Object* a, const Object* b) const { return a == b; }
  bool operator()(const Object* object, std::string_view name) const;
  bool operator()(std::string_view name, const Object* object) const { return (*this)(object, name); }
};

/// What only a folder has.
struct FolderContents {
  bool listed = false;           // children are complete, as far as the watch tells
  int watch = -1;                // inotify's watch descriptor
  std::vector<Object*> children; // in the order found
  std::unordered_set<Object*, NameHash, NameEqual> byName;
};

struct Object {
  std::uint32_t handle = 0; // 0: the top of a storage
  bool alive = true;
  bool hostWriting = false; // the host is changing it, or what is below it: no events about that
  bool editing = false;     // between BeginEditObject and EndEditObject
  bool factsKnown = false;  // kept only while a watch on its folder would tell of changes
  Object* parent = nullptr; // none for the top of a storage
  Storage* storage = nullptr;
  std::string name;                         // as on the disk
  std::unique_ptr<FolderContents> contents; // none for a file
  disk::Facts facts;

  bool folder() const { return contents != nullptr; }
};

inline std::size_t NameHash::operator()(const Object* object) const {
  return (*this)(std::string_view(object->name));
}
inline bool NameEqual::operator()(const Object* object, std::string_view name) const {
  return object->name == name;
}

struct Storage {
  StorageOptions options;
  Fd folder;
  bool present = true;
  Object top;
};

/// An event for the host.
struct Change {
  mtp::Event code;
  std::uint32_t parameter; // object handle or storage ID
};

class ObjectTree {
public:
  ObjectTree();
  ~ObjectTree();
  ObjectTree(const ObjectTree&) = delete;
  ObjectTree& operator=(const ObjectTree&) = delete;

  /// The storage's ID; 0 when its folder cannot be opened or the ID is taken.
  std::uint32_t addStorage(StorageOptions options);
  bool removeStorage(std::uint32_t id);
  void setLocked(bool locked);
  /// Those the host may see.
  std::vector<Storage*> storages();
  Storage* storage(std::uint32_t id);
  std::uint64_t capacity(const Storage& storage) const;
  std::uint64_t freeSpace(const Storage& storage) const;

  /// Null for a handle never given out, of a removed object or on a removed storage.
  Object* find(std::uint32_t handle);
  /// The folder's children, read now if it has not been listed or is not watched. False when it cannot be read.
  bool list(Object& folder);
  /// Whether `folder` is `object` or lies below it.
  static bool isBelow(const Object& folder, const Object& object);

  /// The folder on the disk; empty when it is no longer there.
  Fd open(const Object& folder) const;

  /// Keeps the folder of the last object open, for many objects of one folder in a row.
  class Cursor {
    friend class ObjectTree;
    const Object* folder_ = nullptr;
    Fd fd_;
  };
  /// No value when the file is gone.
  std::optional<disk::Facts> facts(Object& object, Cursor& cursor);

  /// The child of that name, made when there is none.
  Object& insert(Object& folder, const std::string& name, bool isFolder);
  static Object* child(const Object& folder, std::string_view name);
  /// Another name or folder for an object; what is below it stays.
  void relocate(Object& object, Object& folder, const std::string& name);
  /// Forgets it and all below it.
  void remove(Object& object);
  /// What is known of the file is no longer so.
  static void forgetFacts(Object& object) { object.factsKnown = false; }

  /// GetObjectReferences and SetObjectReferences: kept, not used.
  std::vector<std::uint32_t>& references(const Object& object) { return references_[object.handle]; }

  /// Takes in what the watches have seen up to now.
  void catchUp();
  /// Readable when catchUp() has something to do; -1 when this computer cannot watch.
  int watchFd() const { return inotify_.get(); }
  /// Events that have come up since the last call.
  std::vector<Change> takeChanges();

private:
  bool scan(Object& folder, bool tell);
  void watch(Object& folder, int fd);
  void seen(int watch, std::uint32_t mask, const std::string& name);
  void appeared(Object& folder, const std::string& name);
  void unwatch(Object& folder);
  void tell(const Object& object, mtp::Event code);
  static bool isSilent(const Object& object);
  void detach(Object& object);

  std::deque<Storage> storages_;
  bool locked_ = false;
  std::deque<Object> objects_; // by handle - 1
  Fd inotify_;
  std::unordered_map<int, Object*> watched_;
  std::unordered_map<std::uint32_t, std::vector<std::uint32_t>> references_;
  std::vector<Change> changes_;
};

} // namespace vphone
