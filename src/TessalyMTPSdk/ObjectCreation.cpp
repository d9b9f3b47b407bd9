#include "TessalyMTPSdk/ObjectCreation.h"

#include "TessalyMTPSdk/Logging.h"
#include "TessalyMTPSdk/ObjectMutation.h"
#include "TessalyMTPSdk/ObjectNames.h"

namespace mtp {

Status refusalOf(const Reply& reply) {
  switch (reply.code) {
  case Response::StoreFull:
    return DGSTATUS_STORAGE_FULL;
  case Response::InvalidParameter:
  case Response::InvalidObjectPropValue:
    return DGSTATUS_FILE_INVALID_CHAR;
  case Response::InvalidObjectHandle:
  case Response::InvalidParentObject:
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  default:
    return reply.status;
  }
}

ObjectCreation::ObjectCreation(Device& device, Place place, std::u16string name)
    : m_device(device)
    , m_place(std::move(place))
    , m_name(std::move(name)) {}

Status ObjectCreation::prepare(Node*& namesake, const Session::Watch& watch) {
  if (!isObjectName(m_name))
    return DGSTATUS_FILE_INVALID_CHAR;
  if (const Status status = lookForNamesake(namesake, Ask::Phone, watch); status != DGSTATUS_SUCCESS)
    return status;
  m_alone = m_device.session().exclusive(watch);
  if (!m_alone)
    return DGSTATUS_IO_CANCEL;
  if (!m_device.isCurrent(m_place.epoch))
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  rememberPath();
  return lookForNamesake(namesake, Ask::Memory); // another thread may have made it meanwhile
}

void ObjectCreation::rememberPath() {
  const std::lock_guard lock(m_device.registry().mutex);
  for (const Node* folder = m_place.listing->parentNode; folder; folder = folder->listing->parentNode)
    m_path.emplace(m_path.begin(), nameOf(*folder));
}

/// Whoever fetches may want the session: those that hold it must not wait for them.
Status ObjectCreation::lookForNamesake(Node*& namesake, Ask ask, const Session::Watch& watch) {
  std::unique_lock lock(m_device.registry().mutex);
  if (ask == Ask::Phone) {
    Status status = m_device.fetch(m_place.listing, lock, Device::Want::Names, watch);
    if (status == DGSTATUS_SUCCESS && m_place.listing->reported.contains(foldedName(m_name)))
      status = m_device.fetch(m_place.listing, lock, Device::Want::Everything, watch); // its record is wanted
    if (status != DGSTATUS_SUCCESS)
      return status;
  }
  if (!m_place.listing->known)
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  Node* found = ObjectStore::namesake(*m_place.listing, m_name);
  if (!found)
    return DGSTATUS_SUCCESS;
  namesake = found;
  return found->kind == MTPDEXT_NODE_FOLDER ? DGSTATUS_NODE_FOLDER_DUPNAME_EXISTED : DGSTATUS_NODE_FILE_DUPNAME_EXISTED;
}

Status ObjectCreation::announce(bool folder, std::uint64_t size, std::u16string_view modified, Node*& namesake,
                                const Session::Watch& watch) {
  const Listing& listing = *m_place.listing;
  const std::uint32_t parent = listing.parent == FolderLister::TopLevel ? TopLevelParent : listing.parent;
  const NewObject object{listing.storage, parent, folder, size, m_name, std::u16string(modified)};
  m_folder = folder;
  m_size = size;
  Reply reply;
  {
    const Device::EventsWait wait(m_device);
    reply =
        m_device.session().send(Operation::SendObjectInfo, {listing.storage, parent}, objectInfoDataset(object), watch);
    m_handle = reply.code == Response::OK ? reply.parameters[2] : 0;
    if (m_handle != 0)
      m_device.noteOwnChange(m_handle, OwnChange::Stored);
  }
  if (reply.ok() && m_handle != 0)
    return DGSTATUS_SUCCESS;
  withdraw(); // stopped by the watch when it was there already
  if (m_alone)
    m_alone.unlock();                        // for the others, and for the listing's fetch below
  if (reply.code == Response() && !folder) { // it may have been made, or not: some make the file at once
    {
      const std::lock_guard lock(m_device.registry().mutex);
      ObjectStore::markStale(*m_place.listing);
    }
    withdrawByPath();
    return refusalOf(reply);
  }
  if (reply.ok()) {
    {
      const std::lock_guard lock(m_device.registry().mutex);
      ObjectStore::markStale(*m_place.listing);
    }
    log(LogLevel::Warning, "the phone made an object without telling which");
    return DGSTATUS_INTERNAL_GENERALERROR;
  }
  const Status status = refusalOf(reply);
  {
    const std::lock_guard lock(m_device.registry().mutex);
    if (m_device.epoch() != m_place.epoch)
      return status;
    if (reply.code == Response()) // it may have been made, or not
      ObjectStore::markStale(*m_place.listing);
    if (status == DGSTATUS_NODE_IS_NOT_EXISTED)
      m_device.store().markStale(listing.parent);
    if (reply.code != Response::GeneralError)
      return status;
    ObjectStore::markStale(*m_place.listing);
  }
  const Status found = lookForNamesake(namesake, Ask::Phone);
  return found == DGSTATUS_SUCCESS ? status : found;
}

Node* ObjectCreation::adopt(std::uint64_t size, std::u16string_view date) {
  const std::u16string name = isBeyondBasicPlane(m_name) ? nameOnPhone() : m_name;
  ListedFolder one;
  ListedObject object;
  object.handle = m_handle;
  object.folder = m_folder;
  object.size = size;
  object.nameUnits = static_cast<std::uint16_t>(name.size());
  object.dateAt = object.nameUnits;
  object.dateUnits = static_cast<std::uint16_t>(date.size());
  one.text = name;
  one.text += date;
  one.objects.push_back(object);
  m_device.noteOwnChange(m_handle, OwnChange::Stored);
  const std::lock_guard lock(m_device.registry().mutex);
  return m_device.epoch() == m_place.epoch ? m_device.store().insert(*m_place.listing, one) : nullptr;
}

void ObjectCreation::withdraw() {
  if (m_handle == 0)
    return;
  if (!m_device.isCurrent(m_place.epoch))
    return withdrawByPath();
  m_device.noteOwnChange(m_handle, OwnChange::Deleted);
  m_device.forgetRoom(m_place.listing->storage);
  const Reply reply = m_device.session().run(Operation::DeleteObject, {m_handle, 0});
  if (reply.ok() || reply.code == Response::InvalidObjectHandle || m_device.isGone())
    return;
  {
    const std::lock_guard lock(m_device.registry().mutex);
    ObjectStore::markStale(*m_place.listing); // only the phone knows
  }
  log(LogLevel::Warning, "an incomplete object may have stayed on the phone: status 0x%08x", reply.status);
}

void ObjectCreation::withdrawByPath() {
  if (m_folder || m_device.isGone())
    return;
  if (m_alone)
    m_alone.unlock(); // for the listings below
  Subject remains;
  {
    std::unique_lock lock(m_device.registry().mutex);
    std::shared_ptr<Listing> listing = m_device.store().topLevel(m_place.listing->storage);
    const auto named = [&](Node* Listing::*head, const std::u16string& name) -> Node* {
      if (!listing || m_device.fetch(listing, lock) != DGSTATUS_SUCCESS)
        return nullptr;
      Node* node = (*listing).*head;
      while (node && nameOf(*node) != name)
        node = node->next;
      return node;
    };
    for (const std::u16string& name : m_path) {
      Node* folder = named(&Listing::firstFolder, name);
      listing = folder ? m_device.store().listingOf(*folder) : nullptr;
    }
    const Node* file = named(&Listing::firstFile, m_name);
    if (!file || file->file.fileLength == m_size)
      return;
    remains = {listing, file->common.nodeId, m_device.epoch()};
  }
  if (const Status status = deleteObject(m_device, remains); status != DGSTATUS_SUCCESS)
    log(LogLevel::Warning, "an incomplete object has stayed on the phone: status 0x%08x", status);
}

/// Some responders cut a name at the first character they cannot keep.
std::u16string ObjectCreation::nameOnPhone() {
  std::vector<std::byte> value;
  if (!m_device.info().supports(Operation::GetObjectPropValue))
    return m_name;
  const Reply reply = m_device.session().receive(
      Operation::GetObjectPropValue, {m_handle, static_cast<std::uint32_t>(Property::ObjectFileName)}, value);
  const auto name = parseTextValue(value);
  return reply.ok() && name && isObjectName(*name) ? *name : m_name;
}

} // namespace mtp
