#include "TessalyMTPSdk/ObjectMutation.h"

#include "TessalyMTPSdk/ObjectNames.h"

namespace mtp {

namespace {

/// 0 when no other object of the folder has such a name.
Status lookForNamesake(Device& device, const Subject& subject, std::u16string_view name, bool again, bool& same) {
  std::unique_lock lock(device.registry().mutex);
  if (again)
    ObjectStore::markStale(*subject.listing);
  if (const Status status = device.fetch(subject.listing, lock); status != DGSTATUS_SUCCESS)
    return status;
  const Node* object = ObjectStore::find(*subject.listing, subject.handle);
  if (!subject.listing->known || !object || device.epoch() != subject.epoch)
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  same = nameOf(*object) == name;
  const Node* namesake = ObjectStore::namesake(*subject.listing, name, object);
  if (!namesake)
    return DGSTATUS_SUCCESS;
  return namesake->kind == MTPDEXT_NODE_FOLDER ? DGSTATUS_NODE_FOLDER_DUPNAME_EXISTED
                                               : DGSTATUS_NODE_FILE_DUPNAME_EXISTED;
}

} // namespace

Status createFolder(Device& device, const Place& place, std::u16string_view name, Node*& node) {
  ObjectCreation creation(device, place, std::u16string(name));
  if (const Status status = creation.prepare(node); status != DGSTATUS_SUCCESS)
    return status;
  if (const Status status = creation.announce(true, 0, u"", node); status != DGSTATUS_SUCCESS)
    return status;
  node = creation.adopt(0, u"");
  return DGSTATUS_SUCCESS;
}

Status renameObject(Device& device, const Subject& subject, std::u16string_view name) {
  if (!isObjectName(name))
    return DGSTATUS_FILE_INVALID_CHAR;
  if (!device.info().supports(Operation::SetObjectPropValue))
    return DGSTATUS_NOT_SUPPORT_OP;
  bool same = false;
  if (const Status status = lookForNamesake(device, subject, name, false, same); status != DGSTATUS_SUCCESS || same)
    return status;
  Reply reply;
  {
    const Session::Exclusive alone = device.session().exclusive();
    if (!device.isCurrent(subject.epoch))
      return DGSTATUS_NODE_IS_NOT_EXISTED;
    device.noteOwnChange(subject.handle, OwnChange::Stored);
    reply = device.session().send(Operation::SetObjectPropValue,
                                  {subject.handle, static_cast<std::uint32_t>(Property::ObjectFileName)},
                                  textDataset(name));
    if (reply.ok()) {
      const std::lock_guard lock(device.registry().mutex);
      Node* object = device.epoch() == subject.epoch ? ObjectStore::find(*subject.listing, subject.handle) : nullptr;
      if (object)
        device.store().rename(*object, name);
      return DGSTATUS_SUCCESS;
    }
  }
  if (reply.code == Response::InvalidObjectHandle)
    return noteVanished(device, subject);
  if (reply.code == Response()) { // it may have another name now, or not
    const std::lock_guard lock(device.registry().mutex);
    device.store().markAllStale();
  }
  if (reply.code != Response::GeneralError)
    return refusalOf(reply);
  const Status found = lookForNamesake(device, subject, name, true, same);
  return found == DGSTATUS_SUCCESS ? reply.status : found;
}

Status deleteObject(Device& device, const Subject& subject) {
  const Session::Exclusive alone = device.session().exclusive();
  if (!device.isCurrent(subject.epoch))
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  const std::vector<std::uint32_t> deleted = device.handlesFrom(*subject.listing, subject.handle);
  device.noteOwnChange(deleted, OwnChange::Deleted);
  device.forgetRoom(subject.listing->storage);
  const Reply reply = device.session().run(Operation::DeleteObject, {subject.handle, 0});
  if (reply.ok())
    device.noteOwnChange(deleted, OwnChange::Deleted); // that may have taken its time
  const std::unique_lock lock(device.registry().mutex);
  if (device.epoch() != subject.epoch)
    return reply.ok() ? DGSTATUS_SUCCESS : reply.status;
  if (reply.code == Response::InvalidObjectHandle) {
    device.store().retireObject(subject.handle);
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  }
  if (reply.ok()) {
    if (Node* object = ObjectStore::find(*subject.listing, subject.handle))
      device.store().remove(*object);
  } else if (reply.code == Response::PartialDeletion || reply.code == Response()) {
    device.store().markAllStale(); // what is left below it only the phone knows
    device.forgetOwnChanges();
  }
  return reply.status;
}

Status noteVanished(Device& device, const Subject& subject) {
  const std::lock_guard lock(device.registry().mutex);
  if (device.epoch() == subject.epoch)
    device.store().retireObject(subject.handle);
  return DGSTATUS_NODE_IS_NOT_EXISTED;
}

Status fetchThumbnail(Device& device, const Subject& subject, std::vector<std::byte>& bytes) {
  if (!device.info().supports(Operation::GetThumb))
    return DGSTATUS_NOT_SUPPORT_THUMBNAIL;
  const Session::Exclusive alone = device.session().exclusive();
  if (!device.isCurrent(subject.epoch))
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  const Reply reply = device.session().receive(Operation::GetThumb, {subject.handle}, bytes);
  if (reply.ok() && bytes.empty())
    return statusOfResponse(static_cast<std::uint16_t>(Response::NoThumbnailPresent));
  return reply.code == Response::InvalidObjectHandle ? DGSTATUS_NODE_IS_NOT_EXISTED : reply.status;
}

} // namespace mtp
