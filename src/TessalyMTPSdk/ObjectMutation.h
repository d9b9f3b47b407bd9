#pragma once
// Small changes of the phone's objects: a new folder, another name, a deletion. Each updates what is known of the
// folder instead of listing it again.
#include "TessalyMTPSdk/ObjectCreation.h"

namespace mtp {

/// An object to be changed or read; taken from its record under the lock.
struct Subject {
  std::shared_ptr<Listing> listing; // in which it stands
  std::uint32_t handle = 0;
  std::uint64_t epoch = 0; // of the device
};

// All block, any thread.

/// `node`: the new folder's record, or that of the object of such a name (see ObjectCreation::prepare).
Status createFolder(Device& device, const Place& place, std::u16string_view name, Node*& node);
/// A name that another object of the folder has, but for case and composition, is refused with that object's status.
Status renameObject(Device& device, const Subject& subject, std::u16string_view name);
/// With everything below it. What could not be deleted is listed anew.
Status deleteObject(Device& device, const Subject& subject);
/// The phone says that the object is not there (any more): the folder is listed again.
Status noteVanished(Device& device, const Subject& subject);
/// The picture's own small one.
Status fetchThumbnail(Device& device, const Subject& subject, std::vector<std::byte>& bytes);

} // namespace mtp
