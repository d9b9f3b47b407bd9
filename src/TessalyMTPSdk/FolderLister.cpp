#include "TessalyMTPSdk/FolderLister.h"

#include "TessalyMTPSdk/HandleIndex.h"
#include "TessalyMTPSdk/Logging.h"

#include <algorithm>

namespace mtp {

namespace {

constexpr std::uint32_t AllProperties = 0xFFFFFFFF;
constexpr std::uint32_t NoFormat = 0;
constexpr std::uint32_t NoGroup = 0;
constexpr std::uint32_t SizeElsewhere = 0xFFFFFFFF; // in ObjectInfo: too large for its 32 bits
constexpr int MaxUnreadable = 32;                   // objects of one folder; each costs a recovery of the wire

bool isObject(std::uint32_t handle) {
  return handle != 0 && handle != 0xFFFFFFFF;
}

bool isFolder(std::uint64_t format) {
  return format == static_cast<std::uint16_t>(Format::Association);
}

/// The phone said no to the question as such; not: to this object, at this time.
bool isRefusal(const Reply& reply) {
  if (reply.code == Response() || reply.status == DGSTATUS_IO_CANCEL)
    return false; // said nothing, or nobody listened any more
  switch (reply.code) {
  case Response::OK:
  case Response::SessionNotOpen:
  case Response::IncompleteTransfer:
  case Response::InvalidStorageID:
  case Response::InvalidObjectHandle:
  case Response::AccessDenied:
  case Response::StoreNotAvailable:
  case Response::DeviceBusy:
  case Response::InvalidParentObject:
  case Response::TransactionCancelled:
    return false;
  default:
    return true;
  }
}

/// A refusal that will stay one. A general error may be a mishap.
bool isLastingRefusal(const Reply& reply) {
  return isRefusal(reply) && reply.code != Response::GeneralError;
}

bool isUnreadable(Status status) {
  return status == DGSTATUS_INTERNAL_SIZE_MISMATCH || status == DGSTATUS_INTERNAL_DRIVER_READ_ERROR;
}

bool hasVanished(const Reply& reply) {
  return reply.code == Response::InvalidObjectHandle;
}

void setName(ListedFolder& folder, ListedObject& object, const WireText& name) {
  object.nameAt = static_cast<std::uint32_t>(folder.text.size());
  object.nameUnits = static_cast<std::uint16_t>(name.size());
  folder.text.resize(folder.text.size() + name.size());
  name.copyTo(folder.text.data() + object.nameAt);
}

void setDate(ListedFolder& folder, ListedObject& object, const WireText& date) {
  object.dateAt = static_cast<std::uint32_t>(folder.text.size());
  object.dateUnits = static_cast<std::uint16_t>(date.size());
  folder.text.resize(folder.text.size() + date.size());
  date.copyTo(folder.text.data() + object.dateAt);
}

/// Calls `use(object, row)` for each row of the property that belongs to an object of the folder. The rows nearly
/// always come in the objects' own order. False when the rows are not all there.
template <typename Use>
bool forEachRow(Bytes rows, Property property, std::vector<ListedObject>& objects, const HandleIndex& index, Use use) {
  PropertyListReader reader(rows);
  std::size_t expected = 0;
  for (PropertyRow row; reader.next(row);) {
    if (row.property != property)
      continue;
    if (expected >= objects.size() || objects[expected].handle != row.handle) {
      const auto found = index.find(row.handle);
      if (!found)
        continue;
      expected = *found;
    }
    use(expected, row);
    ++expected;
  }
  return reader.ok();
}

/// Leaves only the objects whose flag is set.
void keep(std::vector<ListedObject>& objects, const std::vector<bool>& wanted) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < objects.size(); ++i) {
    if (wanted[i])
      objects[kept++] = objects[i];
  }
  objects.resize(kept);
}

/// The objects that have a name, each once, without the parent's own row. False when the rows are not all there.
bool readNames(Bytes rows, std::uint32_t parent, ListedFolder& folder) {
  PropertyListReader reader(rows);
  for (PropertyRow row; reader.next(row);) {
    if (row.property != Property::ObjectFileName || row.handle == parent || !isObject(row.handle))
      continue;
    ListedObject object;
    object.handle = row.handle;
    setName(folder, object, row.text);
    folder.objects.push_back(object);
  }
  return reader.ok();
}

/// Leaves each object once.
HandleIndex indexOf(std::vector<ListedObject>& objects) {
  HandleIndex index(objects.size());
  std::size_t kept = 0;
  for (const ListedObject& object : objects) {
    if (index.insert(object.handle, static_cast<std::uint32_t>(kept)))
      objects[kept++] = object;
  }
  objects.resize(kept);
  return index;
}

} // namespace

FolderLister::FolderLister(Session& session, const DeviceInfo& info)
    : m_session(session)
    , m_info(info) {
  if (!info.supports(Operation::GetObjectPropList))
    m_ways.byDepth = m_ways.byObjectList = Answer::No;
}

Status FolderLister::list(std::uint32_t storage, std::uint32_t parent, const std::function<bool()>& isWanted,
                          ListedFolder& folder, const Session::Watch& watch) {
  folder = {};
  const Session::Watch whileDataComes = [&watch](std::uint64_t moved) { return moved == 0 || watch(moved); };
  const Wanted wanted{isWanted, watch, watch ? whileDataComes : watch};
  const Answer byDepth = ways().byDepth;
  if (byDepth == Answer::Unknown)
    return findOutByDepth(storage, parent, wanted, folder);
  if (byDepth == Answer::Yes) {
    const Status status = listByDepth(storage, parent, nullptr, {}, wanted, folder);
    if (status != DGSTATUS_NOT_SUPPORT_OP)
      return status;
  }
  Handles handles;
  if (const Status status = getHandles(storage, parent, wanted, handles); status != DGSTATUS_SUCCESS)
    return status;
  return listEachObject(handles, parent, wanted, folder);
}

Status FolderLister::findOutByDepth(std::uint32_t storage, std::uint32_t parent, const Wanted& wanted,
                                    ListedFolder& folder) {
  Handles handles;
  if (const Status status = getHandles(storage, parent, wanted, handles); status != DGSTATUS_SUCCESS || handles.empty())
    return status;

  std::vector<std::byte> names;
  const Reply reply = getColumn(parent, Property::ObjectFileName, wanted, names);
  Answer answer = Answer::No;
  if (reply.status == DGSTATUS_IO_CANCEL)
    return reply.status; // says nothing of the phone
  if (reply.ok()) {
    ListedFolder named;
    const bool readable = readNames(names, parent, named);
    const HandleIndex index = indexOf(named.objects);
    const auto covered = static_cast<std::size_t>(
        std::ranges::count_if(handles, [&](std::uint32_t handle) { return index.find(handle).has_value(); }));
    if (readable && covered == handles.size())
      answer = Answer::Yes;
    else if (readable && handles.size() >= 4 && 2 * covered >= handles.size())
      answer = Answer::Unknown; // the folder changed between the two questions
  } else if (isRefusal(reply)) {
    if (!isLastingRefusal(reply))
      answer = Answer::Unknown;
  } else if (m_session.isGone() || m_session.isDead()) {
    return reply.status;
  } else if (reply.code == Response()) {
    // The operation itself is broken there, in whatever form.
    remember([](Ways& ways) { ways.byObjectList = Answer::No; });
  } else if (isUnreadable(reply.status)) {
    answer = Answer::Unknown;
  } else {
    return reply.status; // says nothing about the operation
  }
  remember([&](Ways& ways) { ways.byDepth = answer; });

  if (answer == Answer::Yes) {
    log(LogLevel::Info, "the phone lists folders at once");
    const Status status = listByDepth(storage, parent, &handles, std::move(names), wanted, folder);
    if (status != DGSTATUS_NOT_SUPPORT_OP)
      return status;
  } else if (answer == Answer::No) {
    log(LogLevel::Info, "the phone lists folders object by object");
  }
  return listEachObject(handles, parent, wanted, folder);
}

/// `names` may hold the answer for ObjectFileName already. DGSTATUS_NOT_SUPPORT_OP: not this way. An unreadable answer
/// is asked for once more: the other way costs a transaction an object.
Status FolderLister::listByDepth(std::uint32_t storage, std::uint32_t parent, const Handles* handles,
                                 std::vector<std::byte> names, const Wanted& wanted, ListedFolder& folder) {
  Status status = readColumns(storage, parent, handles, names, wanted, folder);
  if (isUnreadable(status) && !m_session.isDead()) {
    folder = {};
    names.clear();
    status = readColumns(storage, parent, handles, names, wanted, folder);
  }
  if (!isUnreadable(status) && status != DGSTATUS_NOT_SUPPORT_OP)
    return status;
  log(LogLevel::Info, "a folder could not be listed at once (0x%08x); asking object by object", status);
  folder = {};
  return DGSTATUS_NOT_SUPPORT_OP;
}

Status FolderLister::readColumns(std::uint32_t storage, std::uint32_t parent, const Handles* handles,
                                 std::vector<std::byte>& names, const Wanted& wanted, ListedFolder& folder) {
  if (names.empty()) {
    if (const Reply reply = getColumn(parent, Property::ObjectFileName, wanted, names); !reply.ok())
      return isRefusal(reply) ? DGSTATUS_NOT_SUPPORT_OP : reply.status;
  }
  if (!readNames(names, parent, folder))
    return DGSTATUS_INTERNAL_SIZE_MISMATCH;
  auto& objects = folder.objects;
  const HandleIndex index = indexOf(objects);
  if (objects.empty())
    return DGSTATUS_SUCCESS;
  std::vector<bool> complete(objects.size(), false);
  std::vector<std::byte> rows;

  // Folder or file, and the size, must be known. Who has no format any more went away between two questions.
  if (!wanted())
    return DGSTATUS_IO_CANCEL;
  Reply reply = getColumn(parent, Property::ObjectFormat, wanted, rows);
  if (reply.ok() &&
      !forEachRow(rows, Property::ObjectFormat, objects, index, [&](std::size_t i, const PropertyRow& row) {
        objects[i].folder = isFolder(row.number);
        complete[i] = true;
      }))
    return DGSTATUS_INTERNAL_SIZE_MISMATCH;
  if (reply.ok()) {
    if (!wanted())
      return DGSTATUS_IO_CANCEL;
    reply = getColumn(parent, Property::ObjectSize, wanted, rows);
    if (reply.ok() && !forEachRow(rows, Property::ObjectSize, objects, index,
                                  [&](std::size_t i, const PropertyRow& row) { objects[i].size = row.number; }))
      return DGSTATUS_INTERNAL_SIZE_MISMATCH;
  }
  if (!reply.ok()) {
    if (!isRefusal(reply))
      return reply.status;
    if (isLastingRefusal(reply))
      remember([](Ways& ways) { ways.byDepth = Answer::No; });
    return DGSTATUS_NOT_SUPPORT_OP;
  }

  // Dates can be done without.
  if (ways().dates) {
    if (!wanted())
      return DGSTATUS_IO_CANCEL;
    reply = getColumn(parent, Property::DateModified, wanted, rows);
    if (isLastingRefusal(reply))
      remember([](Ways& ways) { ways.dates = false; });
    else if (!reply.ok() && !isRefusal(reply))
      return reply.status;
    else if (reply.ok() &&
             !forEachRow(rows, Property::DateModified, objects, index,
                         [&](std::size_t i, const PropertyRow& row) { setDate(folder, objects[i], row.text); }))
      return DGSTATUS_INTERNAL_SIZE_MISMATCH;
  }

  // The top levels of all storages come as one.
  if (parent == TopLevel) {
    if (!wanted())
      return DGSTATUS_IO_CANCEL;
    std::vector<bool> here(objects.size(), false);
    bool known = ways().storageIds;
    if (known) {
      reply = getColumn(parent, Property::StorageID, wanted, rows);
      known = !isRefusal(reply);
      if (isLastingRefusal(reply))
        remember([](Ways& ways) { ways.storageIds = false; });
      else if (known && !reply.ok())
        return reply.status;
      else if (known && !forEachRow(rows, Property::StorageID, objects, index,
                                    [&](std::size_t i, const PropertyRow& row) { here[i] = row.number == storage; }))
        return DGSTATUS_INTERNAL_SIZE_MISMATCH;
    }
    if (!known) {
      Handles asked;
      if (!handles) {
        if (const Status status = getHandles(storage, parent, wanted, asked); status != DGSTATUS_SUCCESS)
          return status;
        handles = &asked;
      }
      for (const std::uint32_t handle : *handles) {
        if (const auto found = index.find(handle))
          here[*found] = true;
      }
    }
    for (std::size_t i = 0; i < objects.size(); ++i)
      complete[i] = complete[i] && here[i];
  }
  keep(objects, complete);
  return DGSTATUS_SUCCESS;
}

Status FolderLister::listEachObject(const Handles& handles, std::uint32_t parent, const Wanted& wanted,
                                    ListedFolder& folder) {
  HandleIndex seen(handles.size());
  int unreadable = 0;
  Status failure = DGSTATUS_SUCCESS;
  for (const std::uint32_t handle : handles) {
    if (!isObject(handle) || handle == parent || !seen.insert(handle, 0))
      continue;
    if (!wanted())
      return DGSTATUS_IO_CANCEL;
    const Status status = listObject(handle, wanted, folder);
    if (status == DGSTATUS_SUCCESS || status == DGSTATUS_INTERNAL_INVALIDOBJECTHANDLE)
      continue;
    // One object the phone cannot describe is no reason to show none of the others.
    if (m_session.isGone() || m_session.isDead() || status == DGSTATUS_NO_DEVICE_ATTACHED ||
        status == DGSTATUS_IO_CANCEL || status == DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE ||
        status == DGSTATUS_INTERNAL_SESSIONNOTOPEN || status == DGSTATUS_INTERNAL_STORENOTAVAILABLE ||
        status == DGSTATUS_INTERNAL_INVALIDSTORAGEID)
      return status;
    if (isUnreadable(status) && ++unreadable == MaxUnreadable)
      return status;
    log(LogLevel::Info, "object 0x%08x is left out of its folder: status 0x%08x", handle, status);
    failure = status;
  }
  return folder.objects.empty() ? failure : DGSTATUS_SUCCESS; // a folder of which nothing can be read is not empty
}

Status FolderLister::listObject(std::uint32_t handle, const Wanted& wanted, ListedFolder& folder) {
  const Answer byObjectList = ways().byObjectList;
  if (byObjectList != Answer::No) {
    bool answered = false;
    const Status status = objectByPropertyList(handle, wanted, folder, answered);
    if (byObjectList == Answer::Unknown && (!answered || status == DGSTATUS_SUCCESS))
      remember([&](Ways& ways) { ways.byObjectList = answered ? Answer::Yes : Answer::No; });
    if (answered)
      return status;
    // Where it has worked before, it is this object's fault: the sizes of the others stay the 64-bit ones.
  }
  return objectByInfo(handle, wanted, folder);
}

/// `answered` stays false when the operation does not do for this what it should, so that another way is to be taken.
Status FolderLister::objectByPropertyList(std::uint32_t handle, const Wanted& wanted, ListedFolder& folder,
                                          bool& answered) {
  std::vector<std::byte> rows;
  const Reply reply = m_session.receive(Operation::GetObjectPropList, {handle, NoFormat, AllProperties, NoGroup, 0},
                                        rows, wanted.during);
  if (!reply.ok()) {
    answered = !isRefusal(reply) && !(isUnreadable(reply.status) && !m_session.isDead());
    return reply.status;
  }
  ListedObject object;
  object.handle = handle;
  WireText name;
  WireText date;
  bool hasName = false;
  bool hasFormat = false;
  bool hasSize = false;
  PropertyListReader reader(rows);
  for (PropertyRow row; reader.next(row);) {
    if (row.handle != handle)
      return DGSTATUS_NOT_SUPPORT_OP;
    if (row.property == Property::ObjectFileName) {
      name = row.text;
      hasName = true;
    } else if (row.property == Property::ObjectFormat) {
      object.folder = isFolder(row.number);
      hasFormat = true;
    } else if (row.property == Property::ObjectSize) {
      object.size = row.number;
      hasSize = true;
    } else if (row.property == Property::DateModified) {
      date = row.text;
    }
  }
  if (!reader.ok() || !hasName || !hasFormat || !(hasSize || object.folder))
    return DGSTATUS_NOT_SUPPORT_OP;
  answered = true;
  setName(folder, object, name);
  setDate(folder, object, date);
  folder.objects.push_back(object);
  return DGSTATUS_SUCCESS;
}

Status FolderLister::objectByInfo(std::uint32_t handle, const Wanted& wanted, ListedFolder& folder) {
  std::vector<std::byte> dataset;
  if (const Reply reply = m_session.receive(Operation::GetObjectInfo, {handle}, dataset, wanted.during); !reply.ok())
    return reply.status;
  const auto info = parseObjectInfo(dataset);
  if (!info)
    return DGSTATUS_INTERNAL_SIZE_MISMATCH;
  ListedObject object;
  object.handle = handle;
  object.folder = isFolder(info->format);
  object.size = info->size;
  setName(folder, object, info->fileName);
  setDate(folder, object, info->dateModified);
  if (!object.folder && !info->sizeIs64Bit && info->size == SizeElsewhere &&
      m_info.supports(Operation::GetObjectPropValue)) {
    std::vector<std::byte> value;
    const Reply reply =
        m_session.receive(Operation::GetObjectPropValue, {handle, static_cast<std::uint32_t>(Property::ObjectSize)},
                          value, wanted.during);
    if (hasVanished(reply) || reply.status == DGSTATUS_IO_CANCEL)
      return reply.status;
    if (const auto size = parseNumberValue(value); reply.ok() && size)
      object.size = *size;
  }
  folder.objects.push_back(object);
  return DGSTATUS_SUCCESS;
}

Status FolderLister::getHandles(std::uint32_t storage, std::uint32_t parent, const Wanted& wanted, Handles& handles) {
  // To this operation, parent 0 would be the whole storage.
  const std::uint32_t in = parent == TopLevel ? TopLevelParent : parent;
  std::vector<std::byte> dataset;
  if (const Reply reply =
          m_session.receive(Operation::GetObjectHandles, {storage, NoFormat, in}, dataset, wanted.during);
      !reply.ok())
    return reply.status;
  auto ids = parseIds(dataset);
  if (!ids)
    return DGSTATUS_INTERNAL_SIZE_MISMATCH;
  handles = std::move(*ids);
  return DGSTATUS_SUCCESS;
}

/// One property of all objects directly in the folder.
Reply FolderLister::getColumn(std::uint32_t parent, Property property, const Wanted& wanted,
                              std::vector<std::byte>& rows) {
  return m_session.receive(Operation::GetObjectPropList,
                           {parent, NoFormat, static_cast<std::uint32_t>(property), NoGroup, 1}, rows, wanted.during);
}

FolderLister::Ways FolderLister::ways() const {
  const std::lock_guard lock(m_mutex);
  return m_ways;
}

void FolderLister::remember(const std::function<void(Ways&)>& change) {
  const std::lock_guard lock(m_mutex);
  change(m_ways);
}

} // namespace mtp
