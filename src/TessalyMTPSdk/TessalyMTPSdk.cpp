#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include "TessalyMTPSdk/EngineState.h"
#include "TessalyMTPSdk/FileReceiver.h"
#include "TessalyMTPSdk/FileSender.h"
#include "TessalyMTPSdk/Logging.h"
#include "TessalyMTPSdk/ObjectExists.h"
#include "TessalyMTPSdk/ObjectNames.h"

#include <cstring>
#include <optional>
#include <utility>

namespace {

using namespace mtp;
using Access = EngineState::Access;

EngineState& engine() {
  return EngineState::instance();
}

/// No exception crosses the C interface.
template <typename Work> Status guarded(Work work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return DGSTATUS_INSUFFICIENT_RESOURCE;
  } catch (const std::exception& error) {
    log(LogLevel::Warning, "unexpected: %s", error.what());
    return DGSTATUS_UNSUCCESSFUL;
  }
}

/// What an address that names no attached phone is answered with.
Status notADevice(const Access& access, const void* address) {
  return access.find(address, {MTPDEXT_NODE_DEVICE}) ? DGSTATUS_NO_DEVICE_ATTACHED : DGSTATUS_NODE_IS_NOT_EXISTED;
}

std::shared_ptr<Device> deviceOf(const Node& node) {
  return node.listing->device->weak_from_this().lock();
}

template <typename Record> Record* recordOf(Node* node) {
  return reinterpret_cast<Record*>(node);
}

/// Hands out the node, or the end of its list.
template <typename Record> Status handOut(Node* node, Record** out) {
  *out = recordOf<Record>(node);
  return node ? DGSTATUS_SUCCESS : DGSTATUS_NO_MORE_DATA;
}

/// The two-call protocol for texts.
Status handOutText(const std::u16string& text, void* buffer, std::uint32_t* byteSize) {
  const auto needed = static_cast<std::uint32_t>((text.size() + 1) * sizeof(char16_t));
  if (!buffer || *byteSize < needed) {
    *byteSize = needed;
    return DGSTATUS_MORE_DATA;
  }
  std::memcpy(buffer, text.c_str(), needed);
  *byteSize = needed;
  return DGSTATUS_SUCCESS;
}

/// The first folder or file of what stands in the folder or storage at `parent`.
template <typename Record>
Status listHead(const void* parent, std::initializer_list<std::int32_t> kinds, Node* Listing::*head, Record** out,
                mtpDextProgressCallback callback, void* context) {
  std::shared_ptr<Device> device; // let go after the lock: it may be the last one to know a phone unplugged meanwhile
  Access access(engine());
  Node* node = access.find(parent, kinds);
  device = node ? deviceOf(*node) : nullptr;
  if (!device)
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  const std::shared_ptr<Listing> listing = device->store().listingOf(*node);
  if (!listing)
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  Session::Watch watch;
  if (callback)
    watch = [callback, context](std::uint64_t) { return callback(0, 0, context) == 0; };
  if (const Status status = device->fetch(listing, access.lock(), Device::Want::Everything, watch);
      status != DGSTATUS_SUCCESS)
    return status;
  return handOut((*listing).*head, out);
}

template <typename Record> Status nextOf(const void* address, std::int32_t kind, Record** next) {
  if (!next)
    return DGSTATUS_INVALID_PARAMETER;
  *next = nullptr;
  return guarded([&] {
    const Access access(engine());
    const Node* node = access.find(address, {kind});
    return node ? handOut(node->next, next) : DGSTATUS_NODE_IS_NOT_EXISTED;
  });
}

/// The text of an argument that has at most so many units and ends at a zero.
std::optional<std::u16string> textOf(const MTPDEXT_CHAR16* text, std::uint32_t units) {
  if (!text || units == 0)
    return std::nullopt;
  const std::u16string_view all(text, units);
  return std::u16string(all.substr(0, all.find(u'\0')));
}

/// What an operation takes along from a folder's or storage's record. Null: it names none.
std::shared_ptr<Device> placeAt(const void* parent, Place& place) {
  std::shared_ptr<Device> device;
  Access access(engine());
  Node* node = access.find(parent, {MTPDEXT_NODE_STORAGE, MTPDEXT_NODE_FOLDER});
  device = node ? deviceOf(*node) : nullptr;
  if (!device)
    return nullptr;
  place = {device->store().listingOf(*node), device->epoch()};
  return place.listing ? device : nullptr;
}

/// The same for a folder's or file's record, which it also hands out the facts of.
std::shared_ptr<Device> subjectAt(const void* address, std::initializer_list<std::int32_t> kinds, Subject& subject,
                                  const std::function<void(const Node&)>& use = {}) {
  std::shared_ptr<Device> device;
  Access access(engine());
  const Node* node = access.find(address, kinds);
  device = node ? deviceOf(*node) : nullptr;
  if (!device)
    return nullptr;
  subject = {device->store().listingAround(*node), node->common.nodeId, device->epoch()};
  if (use)
    use(*node);
  return subject.listing ? device : nullptr;
}

std::int32_t openFailureCode(OpenFailure failure) {
  switch (failure) {
  case OpenFailure::NoPermission:
    return MTPDEXT_OPEN_NO_PERMISSION;
  case OpenFailure::Busy:
    return MTPDEXT_OPEN_IN_USE;
  case OpenFailure::NotMtp:
    return MTPDEXT_OPEN_PTP_ONLY;
  case OpenFailure::Other:
    return MTPDEXT_OPEN_NO_ANSWER;
  case OpenFailure::None:
  case OpenFailure::Gone:
    break;
  }
  return MTPDEXT_OPEN_DONE;
}

using NameGetter = std::u16string (*)(Device&);

Status getName(const void* address, void* buffer, std::uint32_t* byteSize, NameGetter name) {
  if (!byteSize)
    return DGSTATUS_INVALID_PARAMETER;
  return guarded([&] {
    std::shared_ptr<Device> device;
    {
      const Access access(engine());
      device = access.device(address);
      if (!device)
        return notADevice(access, address);
    }
    return handOutText(name(*device), buffer, byteSize);
  });
}

} // namespace

uint32_t mtpDextSdkInit(void) {
  return guarded([] {
    engine().start();
    return DGSTATUS_SUCCESS;
  });
}

uint32_t mtpDextGetConnectedDeviceListHead(_MTP_DEVICE_NODE** head) {
  if (!head)
    return DGSTATUS_INVALID_PARAMETER;
  *head = nullptr;
  return guarded([&] {
    std::shared_ptr<Device> first;
    const Status status = engine().connect(first);
    if (first)
      *head = &first->node()->device;
    return status;
  });
}

uint32_t mtpDextGetNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next) {
  if (!next)
    return DGSTATUS_INVALID_PARAMETER;
  *next = nullptr;
  return guarded([&] {
    std::shared_ptr<Device> following; // let go after the lock
    const Access access(engine());
    const std::shared_ptr<Device> attached = access.device(device);
    if (!attached)
      return notADevice(access, device);
    following = access.deviceAfter(*attached);
    return handOut(following ? following->node() : nullptr, next);
  });
}

uint32_t mtpDextReleaseDeviceList(_MTP_DEVICE_NODE* device) {
  return guarded([&] {
    const Access access(engine());
    const std::shared_ptr<Device> attached = access.device(device);
    if (!attached)
      return notADevice(access, device);
    attached->store().retireObjects();
    return DGSTATUS_SUCCESS;
  });
}

uint32_t mtpDextGetOpenFailure(uint32_t locationId, int32_t* failure, char* holder, uint32_t holderSize) {
  if (!failure)
    return DGSTATUS_INVALID_PARAMETER;
  *failure = MTPDEXT_OPEN_DONE;
  if (holder && holderSize > 0)
    *holder = 0;
  return guarded([&] {
    const OpenProblem problem = engine().problemAt(locationId);
    *failure = openFailureCode(problem.failure);
    if (holder && holderSize > 0)
      holder[problem.holder.copy(holder, holderSize - 1)] = 0;
    return DGSTATUS_SUCCESS;
  });
}

uint32_t mtpDextGetStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head) {
  if (!head)
    return DGSTATUS_INVALID_PARAMETER;
  *head = nullptr;
  return guarded([&] {
    std::shared_ptr<Device> attached;
    {
      const Access access(engine());
      attached = access.device(device);
      if (!attached)
        return notADevice(access, device);
    }
    Node* first = nullptr;
    const Status status = attached->firstStorage(first);
    *head = recordOf<_MTP_STORAGE_NODE>(first);
    return status;
  });
}

uint32_t mtpDextGetNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next) {
  if (!next)
    return DGSTATUS_INVALID_PARAMETER;
  *next = nullptr;
  return guarded([&] {
    const Access access(engine());
    const Node* node = access.find(storage, {MTPDEXT_NODE_STORAGE});
    if (!node)
      return DGSTATUS_NODE_IS_NOT_EXISTED;
    return handOut(node->listing->device->store().storageAfter(*node), next);
  });
}

uint32_t mtpDextReleaseStorageList(_MTP_STORAGE_NODE* storage) {
  return guarded([&] {
    const Access access(engine());
    const Node* node = access.find(storage, {MTPDEXT_NODE_STORAGE});
    if (!node)
      return DGSTATUS_NODE_IS_NOT_EXISTED;
    node->listing->device->store().retireStorages();
    return DGSTATUS_SUCCESS;
  });
}

uint32_t mtpDextGetFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, uint32_t* byteSize) {
  return getName(device, buffer, byteSize, [](Device& attached) { return attached.friendlyName(); });
}

uint32_t mtpDextGetModelName(_MTP_DEVICE_NODE* device, void* buffer, uint32_t* byteSize) {
  return getName(device, buffer, byteSize, [](Device& attached) { return attached.modelName(); });
}

uint32_t mtpDextGetFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent, _MTP_FOLDER_NODE** head,
                                  mtpDextProgressCallback callback, void* context) {
  if (!head)
    return DGSTATUS_INVALID_PARAMETER;
  *head = nullptr;
  if (!storage)
    return DGSTATUS_INVALID_PARAMETER;
  return guarded([&]() -> Status {
    if (!parent)
      return listHead(storage, {MTPDEXT_NODE_STORAGE}, &Listing::firstFolder, head, callback, context);
    {
      const Access access(engine());
      const Node* in = access.find(storage, {MTPDEXT_NODE_STORAGE});
      const Node* folder = access.find(parent, {MTPDEXT_NODE_FOLDER});
      if (!in || !folder)
        return DGSTATUS_NODE_IS_NOT_EXISTED;
      if (in->listing->device != folder->listing->device || in->listing->storage != folder->listing->storage)
        return DGSTATUS_INVALID_PARAMETER;
    }
    return listHead(parent, {MTPDEXT_NODE_FOLDER}, &Listing::firstFolder, head, callback, context);
  });
}

uint32_t mtpDextGetNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) {
  return nextOf(folder, MTPDEXT_NODE_FOLDER, next);
}

uint32_t mtpDextGetParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent) {
  if (!parent)
    return DGSTATUS_INVALID_PARAMETER;
  *parent = nullptr;
  return guarded([&] {
    const Access access(engine());
    const Node* node = access.find(folder, {MTPDEXT_NODE_FOLDER});
    return node ? handOut(node->listing->parentNode, parent) : DGSTATUS_NODE_IS_NOT_EXISTED;
  });
}

uint32_t mtpDextGetFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head, mtpDextProgressCallback callback,
                                void* context) {
  if (!head)
    return DGSTATUS_INVALID_PARAMETER;
  *head = nullptr;
  if (!parent)
    return DGSTATUS_INVALID_PARAMETER;
  return guarded([&] {
    return listHead(parent, {MTPDEXT_NODE_STORAGE, MTPDEXT_NODE_FOLDER}, &Listing::firstFile, head, callback, context);
  });
}

uint32_t mtpDextGetNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) {
  return nextOf(file, MTPDEXT_NODE_FILE, next);
}

uint32_t mtpDextCreateFolderNode(_MTP_COMMON_NODE* parent, const MTPDEXT_CHAR16* name, uint32_t byteSize,
                                 _MTP_FOLDER_NODE** created) {
  if (!created)
    return DGSTATUS_INVALID_PARAMETER;
  *created = nullptr;
  return guarded([&]() -> Status {
    const auto text = textOf(name, byteSize / sizeof(MTPDEXT_CHAR16));
    if (!parent || !text)
      return DGSTATUS_INVALID_PARAMETER;
    Place place;
    const std::shared_ptr<Device> device = placeAt(parent, place);
    if (!device)
      return DGSTATUS_NODE_IS_NOT_EXISTED;
    Node* node = nullptr;
    const Status status = createFolder(*device, place, *text, node);
    if (status == DGSTATUS_SUCCESS)
      *created = recordOf<_MTP_FOLDER_NODE>(node);
    return status;
  });
}

uint32_t mtpDextRenameNode(_MTP_COMMON_NODE* node, const MTPDEXT_CHAR16* newName, uint32_t byteSize) {
  return guarded([&]() -> Status {
    const auto text = textOf(newName, byteSize / sizeof(MTPDEXT_CHAR16));
    if (!node || !text)
      return DGSTATUS_INVALID_PARAMETER;
    Subject subject;
    const std::shared_ptr<Device> device = subjectAt(node, {MTPDEXT_NODE_FOLDER, MTPDEXT_NODE_FILE}, subject);
    return device ? renameObject(*device, subject, *text) : DGSTATUS_NODE_IS_NOT_EXISTED;
  });
}

uint32_t mtpDextDeleteNode(_MTP_COMMON_NODE* node) {
  return guarded([&]() -> Status {
    if (!node)
      return DGSTATUS_INVALID_PARAMETER;
    Subject subject;
    const std::shared_ptr<Device> device = subjectAt(node, {MTPDEXT_NODE_FOLDER, MTPDEXT_NODE_FILE}, subject);
    return device ? deleteObject(*device, subject) : DGSTATUS_NODE_IS_NOT_EXISTED;
  });
}

uint32_t mtpDextGetFileEx(_MTP_FILE_NODE* file, const MTPDEXT_CHAR16* destination, uint32_t length,
                          mtpDextProgressCallback callback, void* context) {
  return guarded([&]() -> Status {
    const auto path = textOf(destination, length);
    if (!file || !path || path->empty())
      return DGSTATUS_INVALID_PARAMETER;
    const auto name = toUtf8(*path);
    if (!name)
      return DGSTATUS_FILE_INVALID_CHAR;
    Subject subject;
    FileFacts facts;
    const std::shared_ptr<Device> device = subjectAt(file, {MTPDEXT_NODE_FILE}, subject, [&](const Node& node) {
      facts = {node.file.fileLength, std::u16string(node.file.date, node.file.dateLength)};
    });
    if (!device)
      return DGSTATUS_NODE_IS_NOT_EXISTED;
    return FileReceiver(*device, subject, facts, {callback, context, device->session().limits().now}).receive(*name);
  });
}

uint32_t mtpDextSendFileEx(const MTPDEXT_CHAR16* source, uint32_t length, _MTP_COMMON_NODE* parent,
                           _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context) {
  if (!created)
    return DGSTATUS_INVALID_PARAMETER;
  *created = nullptr;
  return guarded([&]() -> Status {
    const auto path = textOf(source, length);
    if (!parent || !path || path->empty())
      return DGSTATUS_INVALID_PARAMETER;
    Place place;
    const std::shared_ptr<Device> device = placeAt(parent, place);
    if (!device)
      return DGSTATUS_NODE_IS_NOT_EXISTED;
    Node* node = nullptr;
    const Status status =
        FileSender(*device, place, {callback, context, device->session().limits().now}).send(*path, node);
    *created = recordOf<_MTP_FILE_NODE>(node);
    return status;
  });
}

uint32_t mtpDextGetThumb(_MTP_FILE_NODE* file, void* buffer, uint32_t* byteSize) {
  if (!file || !byteSize)
    return DGSTATUS_INVALID_PARAMETER;
  return guarded([&]() -> Status {
    Subject subject;
    const std::shared_ptr<Device> device = subjectAt(file, {MTPDEXT_NODE_FILE}, subject);
    if (!device)
      return DGSTATUS_NODE_IS_NOT_EXISTED;
    std::vector<std::byte> bytes;
    {
      const Access access(engine());
      if (buffer && device->thumbnail().handle == subject.handle && device->epoch() == subject.epoch)
        bytes = std::exchange(device->thumbnail(), {}).bytes;
    }
    if (bytes.empty()) {
      if (const Status status = fetchThumbnail(*device, subject, bytes); status != DGSTATUS_SUCCESS)
        return status;
    }
    const auto size = static_cast<std::uint32_t>(bytes.size()); // a dataset's size: below 2^32
    const bool fits = buffer && *byteSize >= size;
    *byteSize = size;
    if (fits) {
      if (size > 0)
        std::memcpy(buffer, bytes.data(), size);
      return DGSTATUS_SUCCESS;
    }
    const Access access(engine());
    device->thumbnail() = {subject.handle, std::move(bytes)};
    return DGSTATUS_MORE_DATA;
  });
}

uint32_t mtpDextRequestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback, void* context) {
  return guarded([&] {
    Status status = DGSTATUS_SUCCESS;
    {
      const Access access(engine());
      if (!access.device(device))
        status = notADevice(access, device);
    }
    // Taking a callback back works for a phone that is gone, too: its last event may just be on its way.
    if (status == DGSTATUS_SUCCESS || !callback)
      engine().events().setCallback(device, callback, context);
    return status;
  });
}

void mtpDextHoldNodes(void) {
  NodeRegistry& registry = engine().registry();
  const std::lock_guard lock(registry.mutex);
  registry.hold();
}

void mtpDextUnholdNodes(void) {
  NodeRegistry& registry = engine().registry();
  const std::lock_guard lock(registry.mutex);
  registry.unhold();
}

uint32_t mtpDextGetNodeKind(const void* address, int32_t* kind) {
  if (!kind)
    return DGSTATUS_INVALID_PARAMETER;
  *kind = 0;
  return guarded([&] {
    const Access access(engine());
    const Node* node =
        access.find(address, {MTPDEXT_NODE_DEVICE, MTPDEXT_NODE_STORAGE, MTPDEXT_NODE_FOLDER, MTPDEXT_NODE_FILE});
    if (!node)
      return DGSTATUS_NODE_IS_NOT_EXISTED;
    if (node->kind == MTPDEXT_NODE_DEVICE && !access.device(address))
      return DGSTATUS_NO_DEVICE_ATTACHED;
    *kind = node->kind;
    return DGSTATUS_SUCCESS;
  });
}

namespace mtp {

bool objectExists(const void* address, std::int32_t kind) {
  bool exists = false;
  guarded([&]() -> Status {
    std::shared_ptr<Device> device; // let go after the lock
    Access access(engine());
    if (kind == MTPDEXT_NODE_DEVICE) {
      exists = access.device(address) != nullptr;
      return DGSTATUS_SUCCESS;
    }
    const Node* node = access.find(address, {kind});
    device = node ? deviceOf(*node) : nullptr;
    exists = device && device->exists(*node, access.lock());
    return DGSTATUS_SUCCESS;
  });
  return exists;
}

} // namespace mtp
