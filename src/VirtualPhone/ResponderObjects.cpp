#include "VirtualPhone/Responder.h"
#include "VirtualPhone/Texts.h"
#include "VirtualPhone/Thumbnail.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vphone {
namespace {

constexpr std::uint32_t All = 0xFFFFFFFF;
constexpr std::uint32_t SizeUnknown = 0xFFFFFFFF;
constexpr std::uint16_t Jpeg = 0x3801;

std::size_t readAt(int fd, std::span<std::byte> buffer, std::uint64_t offset) {
  std::size_t had = 0;
  while (had < buffer.size()) {
    auto size = pread(fd, buffer.data() + had, buffer.size() - had, off_t(offset + had));
    if (size < 0 && errno == EINTR)
      continue;
    if (size <= 0)
      break;
    had += std::size_t(size);
  }
  return had;
}

std::uint64_t sizeOf(int fd) {
  struct stat s {};
  return fstat(fd, &s) == 0 ? std::uint64_t(s.st_size) : 0;
}

/// The thumbnail's bytes; empty when there is none.
std::vector<std::byte> thumbnailOf(int fd) {
  std::vector<std::byte> head(ExifReach);
  head.resize(readAt(fd, head, 0));
  auto found = findThumbnail(head);
  if (!found)
    return {};
  auto bytes = std::span(head).subspan(found->offset, found->size);
  return {bytes.begin(), bytes.end()};
}

mtp::Response codeOfErrno() {
  switch (errno) {
  case ENOSPC:
  case EDQUOT:
    return mtp::Response::StoreFull;
  case EROFS:
    return mtp::Response::StoreReadOnly;
  default:
    return mtp::Response::GeneralError;
  }
}

} // namespace

Fd Responder::openFile(const Object& object, int flags) {
  auto folder = phone_.tree.open(*object.parent);
  return folder ? disk::openFile(folder.get(), object.name, flags) : Fd();
}

Responder::Code Responder::collect(std::uint32_t storageId, std::uint32_t format, std::uint32_t parent,
                                   std::vector<std::uint32_t>& handles) {
  auto& tree = phone_.tree;
  auto storages = tree.storages();
  if (storageId != All)
    std::erase_if(storages, [=](const Storage* s) { return s->options.storageId != storageId; });
  if (storages.empty())
    return Code::InvalidStorageID;
  std::vector<Object*> folders;
  bool deep = parent == 0;
  if (deep || parent == All) {
    for (auto* storage : storages)
      folders.push_back(&storage->top);
  } else {
    auto* folder = tree.find(parent);
    if (!folder || !folder->folder() || std::find(storages.begin(), storages.end(), folder->storage) == storages.end())
      return Code::InvalidObjectHandle;
    folders.push_back(folder);
  }
  while (!folders.empty()) {
    auto* folder = folders.back();
    folders.pop_back();
    if (!tree.list(*folder))
      continue; // not readable: it seems empty
    const auto& children = folder->contents->children;
    handles.reserve(handles.size() + children.size());
    for (auto* child : children) {
      if (!format || formatOf(*child) == format)
        handles.push_back(child->handle);
      if (deep && child->folder())
        folders.push_back(child);
    }
  }
  return Code::OK;
}

Responder::Answer Responder::getHandles(const Command& c, bool countOnly) {
  std::vector<std::uint32_t> handles;
  {
    auto lock = lockPhone();
    auto code = collect(c.parameters[0], c.parameters[1], c.parameters[2], handles);
    if (code != Code::OK)
      return code;
  }
  if (countOnly)
    return {Code::OK, {std::uint32_t(handles.size())}};
  DatasetWriter out;
  out.array32(handles);
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::getObjectInfo(const Command& c) {
  DatasetWriter out;
  {
    auto lock = lockPhone();
    auto* object = phone_.tree.find(c.parameters[0]);
    if (!object)
      return Code::InvalidObjectHandle;
    ObjectTree::Cursor cursor;
    auto facts = phone_.tree.facts(*object, cursor);
    if (!facts)
      return Code::InvalidObjectHandle;
    std::uint32_t thumbnail = 0;
    if (formatOf(*object) == Jpeg) {
      if (auto file = openFile(*object, O_RDONLY))
        thumbnail = std::uint32_t(thumbnailOf(file.get()).size());
    }
    out.u32(object->storage->options.storageId);
    out.u16(formatOf(*object));
    out.u16(object->storage->options.readOnly ? 1 : 0);
    if (phone_.manners.wideObjectInfoSize)
      out.u64(facts->size);
    else if (phone_.manners.sizeModulo32)
      out.u32(std::uint32_t(facts->size));
    else
      out.u32(std::uint32_t(std::min<std::uint64_t>(facts->size, SizeUnknown)));
    out.u16(thumbnail ? Jpeg : 0);
    out.u32(thumbnail);
    out.u32(0); // thumbnail's width and height
    out.u32(0);
    out.u32(0); // picture's width, height and depth
    out.u32(0);
    out.u32(0);
    out.u32(object->parent->handle);
    out.u16(object->folder() ? 1 : 0); // association: a folder
    out.u32(0);
    out.u32(0);
    out.string(object->name);
    out.string(u""); // date of capture
    out.string(dateText(facts->modified));
    out.string(u""); // keywords
  }
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::getObject(const Command& c) {
  Fd file;
  {
    auto lock = lockPhone();
    auto* object = phone_.tree.find(c.parameters[0]);
    if (!object || object->folder())
      return Code::InvalidObjectHandle;
    file = openFile(*object, O_RDONLY);
    if (!file)
      return errno == EACCES ? Code::AccessDenied : Code::GeneralError;
  }
  std::uint64_t at = 0;
  bool whole = channel_.sendStream(sizeOf(file.get()), [&](std::span<std::byte> buffer) {
    auto had = readAt(file.get(), buffer, at);
    at += had;
    return had;
  });
  return whole ? Code::OK : Code::IncompleteTransfer;
}

Responder::Answer Responder::getPartialObject(const Command& c, bool wide) {
  Fd file;
  {
    auto lock = lockPhone();
    auto* object = phone_.tree.find(c.parameters[0]);
    if (!object || object->folder())
      return Code::InvalidObjectHandle;
    file = openFile(*object, O_RDONLY);
    if (!file)
      return errno == EACCES ? Code::AccessDenied : Code::GeneralError;
  }
  std::uint64_t offset = c.parameters[1];
  if (wide)
    offset |= std::uint64_t(c.parameters[2]) << 32;
  auto size = sizeOf(file.get());
  if (offset > size)
    return Code::InvalidParameter;
  auto length = std::min<std::uint64_t>(c.parameters[wide ? 3 : 2], size - offset);
  auto at = offset;
  bool whole = channel_.sendStream(length, [&](std::span<std::byte> buffer) {
    auto had = readAt(file.get(), buffer, at);
    at += had;
    return had;
  });
  return {whole ? Code::OK : Code::IncompleteTransfer, {std::uint32_t(at - offset)}};
}

Responder::Answer Responder::getThumb(const Command& c) {
  DatasetWriter out;
  {
    auto lock = lockPhone();
    auto* object = phone_.tree.find(c.parameters[0]);
    if (!object)
      return Code::InvalidObjectHandle;
    auto file = formatOf(*object) == Jpeg ? openFile(*object, O_RDONLY) : Fd();
    auto thumbnail = file ? thumbnailOf(file.get()) : std::vector<std::byte>();
    if (thumbnail.empty())
      return Code::NoThumbnailPresent;
    out.raw(thumbnail);
  }
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::sendObjectInfo(const Command& c) {
  std::vector<std::byte> bytes;
  auto received = channel_.receiveData(bytes);
  auto lock = lockPhone();
  auto& tree = phone_.tree;
  auto* storage = tree.storage(c.parameters[0]);
  if (!storage)
    return Code::InvalidStorageID;
  auto parent = c.parameters[1];
  auto* folder = parent == All ? &storage->top : tree.find(parent);
  if (!folder || folder->storage != storage)
    return Code::InvalidObjectHandle;
  if (!folder->folder())
    return Code::InvalidParentObject;

  DatasetReader in(bytes);
  in.skip(4); // storage
  auto format = in.u16();
  in.skip(2); // protection
  Incoming incoming;
  incoming.size = in.u32();
  in.skip(2 + 4 * 6 + 4 + 2 + 4 + 4); // thumbnail, picture, parent, association, sequence number
  auto nameText = in.string();
  in.string(); // date of capture
  if (phone_.manners.cutsNames)
    nameText.resize(std::size_t(
        std::find_if(nameText.begin(), nameText.end(), [](char16_t c) { return c >= 0xD800 && c < 0xE000; }) -
        nameText.begin()));
  // Some hosts end the dataset behind the name.
  auto name = in.ok() || !nameText.empty() ? fileName(nameText) : std::nullopt;
  incoming.modified = parseDate(in.string());
  if (received != Received::Complete)
    return Code::InvalidDataset;
  if (!name)
    return Code::InvalidParameter;
  if (storage->options.readOnly)
    return Code::StoreReadOnly;

  bool isFolder = format == std::uint16_t(mtp::Format::Association);
  auto limit = storage->options.maxFileSize;
  if (!isFolder && limit && incoming.size > std::min<std::uint64_t>(limit, SizeUnknown - 1))
    return Code::ObjectTooLarge;
  if (!isFolder && incoming.size != SizeUnknown && incoming.size > tree.freeSpace(*storage) &&
      !phone_.manners.cutsFilesSilently)
    return Code::StoreFull;
  auto onDisk = tree.open(*folder);
  if (!onDisk)
    return Code::InvalidObjectHandle;
  tree.list(*folder); // what is there already has its handles before the new one does
  if (ObjectTree::child(*folder, *name) || faccessat(onDisk.get(), name->c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0)
    return Code::GeneralError;
  auto folded = storage->options.foldsCase ? disk::findFolded(onDisk.get(), *name) : std::nullopt;
  Object* object = folded ? ObjectTree::child(*folder, *folded) : nullptr;
  if (isFolder || (object && object->folder())) {
    if (object || mkdirat(onDisk.get(), name->c_str(), 0777) != 0)
      return object ? Code::GeneralError : codeOfErrno();
    object = &tree.insert(*folder, *name, true);
    object->hostWriting = true;
    settle(object);
    tellHost(mtp::Event::ObjectAdded, object->handle);
    return {Code::OK, {storage->options.storageId, parent, object->handle}};
  }
  incoming.replaces = object != nullptr;
  if (!object)
    object = &tree.insert(*folder, *name, false);
  object->hostWriting = true;
  incoming.handle = object->handle;
  incoming.diskName = object->name;
  incoming_ = incoming;
  tellHost(mtp::Event::ObjectAdded, object->handle);
  return {Code::OK, {storage->options.storageId, parent, object->handle}};
}

void Responder::dropIncoming() {
  if (!incoming_)
    return;
  std::lock_guard lock(phone_.mutex);
  if (auto* object = phone_.tree.find(incoming_->handle)) {
    settle(object);
    if (!incoming_->replaces && object->alive)
      phone_.tree.remove(*object);
  }
  incoming_.reset();
}

Responder::Answer Responder::sendObject() {
  if (!incoming_) {
    channel_.receiveStream([](std::span<const std::byte>) { return true; });
    return Code::NoValidObjectInfo;
  }
  auto incoming = *std::exchange(incoming_, std::nullopt);
  Fd folder;
  Fd file;
  auto code = Code::OK;
  std::uint64_t room = 0;
  bool cutsSilently = false;
  std::uint64_t largest = UINT64_MAX;
  {
    auto lock = lockPhone();
    largest = phone_.manners.largestFileKept;
    cutsSilently = phone_.manners.cutsFilesSilently || largest != UINT64_MAX;
    auto& tree = phone_.tree;
    auto* object = tree.find(incoming.handle);
    if (object) {
      room = tree.freeSpace(*object->storage);
      if (incoming.replaces) {
        ObjectTree::Cursor cursor;
        ObjectTree::forgetFacts(*object);
        auto facts = tree.facts(*object, cursor);
        room += facts ? facts->size : 0; // what is overwritten
      }
      folder = tree.open(*object->parent);
    }
    if (folder)
      file =
          disk::openFile(folder.get(), incoming.diskName, O_WRONLY | O_CREAT | (incoming.replaces ? O_TRUNC : O_EXCL));
    if (!file)
      code = folder ? codeOfErrno() : Code::InvalidObjectHandle;
  }
  std::uint64_t at = 0;
  std::uint64_t kept = UINT64_MAX; // bytes; what comes behind them is lost without a word
  if (cutsSilently)
    kept = std::min(room, largest);
  /// The file as it is to stay, or no file.
  auto finish = [&](bool keep) {
    if (file && keep && incoming.modified) {
      struct timespec times[2] = {{0, UTIME_OMIT}, {*incoming.modified, 0}};
      futimens(file.get(), times);
    }
    bool made = bool(file);
    std::lock_guard lock(phone_.mutex);
    file.reset();
    if (!keep && made)
      unlinkat(folder.get(), incoming.diskName.c_str(), 0);
    if (auto* object = phone_.tree.find(incoming.handle)) {
      settle(object);
      ObjectTree::forgetFacts(*object);
      if (!keep && object->alive)
        phone_.tree.remove(*object);
    }
  };
  try {
    auto received = channel_.receiveStream([&](std::span<const std::byte> piece) {
      if (code != Code::OK)
        return false;
      if (cutsSilently && piece.size() > kept - std::min(at, kept)) {
        auto rest = kept - std::min(at, kept);
        disk::writeAll(file.get(), piece.data(), std::size_t(rest), at);
      } else if (piece.size() > room - at)
        code = Code::StoreFull;
      else if (!disk::writeAll(file.get(), piece.data(), piece.size(), at))
        code = codeOfErrno();
      at += piece.size();
      return code == Code::OK;
    });
    bool sizeFits = incoming.size == SizeUnknown || at == incoming.size;
    if (code == Code::OK && (received != Received::Complete || !sizeFits))
      code = Code::IncompleteTransfer;
  } catch (...) { // cancelled or unplugged
    finish(false);
    throw;
  }
  finish(code == Code::OK);
  tellHost(mtp::Event::ObjectInfoChanged, incoming.handle);
  return code;
}

void Responder::tellHost(mtp::Event event, std::uint32_t handle) {
  if (phone_.manners.tellsOwnChanges)
    phone_.events.push({{event, handle}});
}

Responder::Answer Responder::beginEdit(const Command& c) {
  auto lock = lockPhone();
  auto* object = phone_.tree.find(c.parameters[0]);
  if (!object || object->folder())
    return Code::InvalidObjectHandle;
  if (object->storage->options.readOnly)
    return Code::StoreReadOnly;
  object->editing = true;
  return Code::OK;
}

Responder::Answer Responder::endEdit(const Command& c) {
  auto lock = lockPhone();
  auto* object = phone_.tree.find(c.parameters[0]);
  if (!object)
    return Code::InvalidObjectHandle;
  return std::exchange(object->editing, false) ? Code::OK : Code::GeneralError;
}

Responder::Answer Responder::sendPartialObject(const Command& c) {
  auto offset = c.parameters[1] | std::uint64_t(c.parameters[2]) << 32;
  std::uint64_t length = c.parameters[3];
  Fd file;
  auto code = Code::OK;
  std::uint64_t room = 0;
  {
    auto lock = lockPhone();
    auto* object = phone_.tree.find(c.parameters[0]);
    if (!object || object->folder()) {
      code = Code::InvalidObjectHandle;
    } else if (!object->editing) {
      code = Code::GeneralError;
    } else if (file = openFile(*object, O_WRONLY); !file) {
      code = codeOfErrno();
    } else {
      auto size = sizeOf(file.get());
      room = size + phone_.tree.freeSpace(*object->storage);
      if (offset > size) // no holes
        code = Code::InvalidParameter;
      else
        object->hostWriting = true;
    }
  }
  std::uint64_t at = 0;
  auto finish = [&] {
    std::lock_guard lock(phone_.mutex);
    file.reset();
    auto* object = phone_.tree.find(c.parameters[0]);
    settle(object);
    if (object)
      ObjectTree::forgetFacts(*object);
  };
  try {
    auto received = channel_.receiveStream([&](std::span<const std::byte> piece) {
      if (code != Code::OK)
        return false;
      if (piece.size() > length - at)
        code = Code::InvalidParameter;
      else if (offset + at + piece.size() > room)
        code = Code::StoreFull;
      else if (!disk::writeAll(file.get(), piece.data(), piece.size(), offset + at))
        code = codeOfErrno();
      else
        at += piece.size();
      return code == Code::OK;
    });
    if (code == Code::OK && (received != Received::Complete || at != length))
      code = Code::IncompleteTransfer;
  } catch (...) {
    finish();
    throw;
  }
  finish();
  return {code, {std::uint32_t(at)}};
}

Responder::Answer Responder::truncateObject(const Command& c) {
  auto size = c.parameters[1] | std::uint64_t(c.parameters[2]) << 32;
  auto lock = lockPhone();
  auto* object = phone_.tree.find(c.parameters[0]);
  if (!object || object->folder())
    return Code::InvalidObjectHandle;
  if (!object->editing)
    return Code::GeneralError;
  auto file = openFile(*object, O_WRONLY);
  if (!file || size > std::uint64_t(INT64_MAX))
    return Code::GeneralError;
  object->hostWriting = true;
  auto code = ftruncate(file.get(), off_t(size)) == 0 ? Code::OK : codeOfErrno();
  file.reset();
  settle(object);
  ObjectTree::forgetFacts(*object);
  return code;
}

Responder::Answer Responder::deleteObject(const Command& c) {
  if (c.parameters[1])
    return Code::SpecificationByFormatUnsupported;
  auto lock = lockPhone();
  auto& tree = phone_.tree;
  auto* object = tree.find(c.parameters[0]);
  if (!object)
    return Code::InvalidObjectHandle;
  if (object->storage->options.readOnly)
    return Code::StoreReadOnly;
  auto folder = tree.open(*object->parent);
  if (!folder)
    return Code::InvalidObjectHandle;
  object->hostWriting = true;
  auto result = disk::removeTree(folder.get(), object->name, phone_.manners.undeletable);
  bool gone = !disk::facts(folder.get(), object->name);
  settle(object);
  tellHost(mtp::Event::ObjectRemoved, c.parameters[0]);
  if (gone && object->alive)
    tree.remove(*object);
  if (gone)
    return Code::OK;
  return result.deleted ? Code::PartialDeletion : Code::ObjectWriteProtected;
}

Responder::Answer Responder::rename(Object& object, const std::u16string& newName) {
  auto name = fileName(newName);
  if (!name)
    return Code::InvalidParameter;
  if (object.storage->options.readOnly)
    return Code::StoreReadOnly;
  if (*name == object.name)
    return Code::OK;
  auto folder = phone_.tree.open(*object.parent);
  if (!folder)
    return Code::InvalidObjectHandle;
  object.hostWriting = true;
  bool done = !ObjectTree::child(*object.parent, *name) && disk::move(folder.get(), object.name, folder.get(), *name);
  auto code = done ? Code::OK : codeOfErrno();
  if (done)
    phone_.tree.relocate(object, *object.parent, *name);
  settle(&object);
  return done ? Code::OK : code == Code::OK ? Code::GeneralError : code;
}

Responder::Answer Responder::moveOrCopy(const Command& c, bool copy) {
  auto lock = lockPhone();
  auto& tree = phone_.tree;
  auto* object = tree.find(c.parameters[0]);
  if (!object)
    return Code::InvalidObjectHandle;
  auto* storage = tree.storage(c.parameters[1]);
  if (!storage)
    return Code::InvalidStorageID;
  auto* folder = c.parameters[2] ? tree.find(c.parameters[2]) : &storage->top;
  if (!folder || folder->storage != storage)
    return Code::InvalidObjectHandle;
  if (!folder->folder() || ObjectTree::isBelow(*folder, *object))
    return Code::InvalidParentObject;
  if (storage->options.readOnly || (!copy && object->storage->options.readOnly))
    return Code::StoreReadOnly;
  auto from = tree.open(*object->parent);
  auto to = tree.open(*folder);
  if (!from || !to)
    return Code::InvalidObjectHandle;
  const auto name = object->name;
  if (ObjectTree::child(*folder, name) || faccessat(to.get(), name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0)
    return Code::GeneralError;
  bool sameStorage = object->storage == storage;
  if ((copy || !sameStorage) && disk::usedBytes(from.get(), name) > tree.freeSpace(*storage))
    return Code::StoreFull;

  auto code = Code::OK;
  Object* made = nullptr;
  object->hostWriting = true;
  bool renamed = !copy && disk::move(from.get(), name, to.get(), name);
  if (renamed) {
    tree.relocate(*object, *folder, name);
  } else if (copy || errno == EXDEV) {
    made = &tree.insert(*folder, name, object->folder());
    made->hostWriting = true;
    if (!disk::copyTree(from.get(), name, to.get(), name)) {
      code = codeOfErrno() == Code::OK ? Code::GeneralError : codeOfErrno();
      disk::removeTree(to.get(), name, {});
    }
  } else {
    code = codeOfErrno();
  }
  if (made && !copy && code == Code::OK) {
    // Another file system: the copy takes over the handle, the original goes.
    if (disk::removeTree(from.get(), name, phone_.manners.undeletable).failed)
      code = Code::PartialDeletion;
  }
  settle(object);
  if (made) {
    settle(made);
    bool lost = code != Code::OK && code != Code::PartialDeletion;
    if ((lost || !copy) && made->alive)
      tree.remove(*made);
    if (!copy && code == Code::OK)
      tree.relocate(*object, *folder, name);
  }
  if (copy && code == Code::OK)
    return {Code::OK, {made->handle}};
  return code;
}

} // namespace vphone
