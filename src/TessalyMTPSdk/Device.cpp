#include "TessalyMTPSdk/Device.h"

#include "TessalyMTPSdk/Logging.h"
#include "TessalyMTPSdk/ObjectNames.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace mtp {

namespace {

constexpr std::uint32_t MicrosoftExtension = 6; // VendorExtensionID of MTP
constexpr std::size_t MaxStorages = 64;
constexpr int MaxFetches = 3;                         // of one folder, while the computer itself changes it
constexpr std::uint64_t AmpleRoom = 64 * 1024 * 1024; // bytes that other writers on the phone may fill up meanwhile
constexpr std::chrono::seconds RoomAge{5};
constexpr std::uint16_t ReadWrite = 0; // StorageInfo's AccessCapability

/// A storage ID whose lower half is 0 is a slot without a medium.
bool isStorage(std::uint32_t id) {
  return (id & 0xFFFF) != 0 && id != 0xFFFFFFFF;
}

/// Android's responder keeps MTP's operations when it is set to picture transfer; it then claims no extension at all
/// and shows nothing but pictures.
bool speaksMtp(const DeviceInfo& info) {
  const bool claimsNone = info.vendorExtensionId == 0 && info.vendorExtensionDescription.empty();
  return info.vendorExtensionId == MicrosoftExtension ||
         info.vendorExtensionDescription.find(u"microsoft.com") != std::u16string::npos ||
         (!claimsNone && info.supports(Operation::GetObjectPropsSupported));
}

/// Names are handed out as terminated text: they end at a zero unit.
std::u16string untilZero(std::u16string text) {
  if (const auto zero = text.find(u'\0'); zero != std::u16string::npos)
    text.resize(zero);
  return text;
}

std::u16string firstNotEmpty(std::initializer_list<std::u16string> texts) {
  for (const std::u16string& text : texts) {
    if (!text.empty())
      return text;
  }
  return {};
}

/// Storages are told apart by their descriptions, as components of a path: no two may look the same ("Card", "Card 2"),
/// and none holds a slash.
std::u16string ownDescription(std::u16string description, const std::vector<ListedStorage>& others) {
  std::ranges::replace(description, u'/', u'-');
  const auto isTaken = [&](const std::u16string& text) {
    return std::ranges::any_of(others, [folded = foldedName(text)](const ListedStorage& other) {
      return foldedName(other.info.description) == folded;
    });
  };
  std::u16string own = description;
  for (unsigned number = 2; isTaken(own); ++number) {
    const std::string digits = std::to_string(number);
    own = description + u' ' + std::u16string(digits.begin(), digits.end());
  }
  return own;
}

/// What a phone that was reached failed to do.
OpenProblem problemOf(Status status) {
  switch (status) {
  case DGSTATUS_NO_DEVICE_ATTACHED:
    return {OpenFailure::Gone, {}, "it left while it was being opened"};
  case DGSTATUS_NOT_SUPPORT_OP:
    return {OpenFailure::NotMtp, {}, "it speaks PTP only: choose \"File transfer\" in its USB settings"};
  default: {
    char text[128];
    std::snprintf(text, sizeof text,
                  "it could not be opened (status 0x%08x): unlock the phone, or unplug it and plug it in again",
                  unsigned{status});
    return {OpenFailure::Other, {}, text};
  }
  }
}

/// A phone's text for the log: printable ASCII, of moderate length.
std::string plain(std::u16string_view text) {
  constexpr std::size_t longest = 100;
  std::string result;
  for (const char16_t unit : text.substr(0, longest))
    result += unit >= 0x20 && unit < 0x7F ? static_cast<char>(unit) : '?';
  return result;
}

std::string describe(const std::string& phone, const DeviceInfo& info) {
  std::string capabilities;
  for (const auto& [operation, name] :
       {std::pair{Operation::GetObjectPropList, "GetObjectPropList"},
        std::pair{Operation::GetPartialObject64, "GetPartialObject64"}, std::pair{Operation::GetThumb, "GetThumb"}})
    if (info.supports(operation))
      capabilities += std::string(capabilities.empty() ? "" : ", ") + name;
  return phone + ": model \"" + plain(info.model) + "\" of \"" + plain(info.manufacturer) + "\", version \"" +
         plain(info.deviceVersion) + "\", extensions \"" + plain(info.vendorExtensionDescription) + "\", " +
         std::to_string(info.operations.size()) + " operations" + (capabilities.empty() ? "" : " with ") + capabilities;
}

} // namespace

std::shared_ptr<Device> Device::open(const DeviceCandidate& candidate, NodeRegistry& registry, EventThread& events,
                                     const TimeLimits& limits, Node* node,
                                     const std::function<bool(const std::shared_ptr<Device>&)>& starting,
                                     OpenProblem& problem) {
  const std::string phone = candidate.description.empty() ? "the phone" : candidate.description;
  OpenResult result = candidate.open ? candidate.open() : OpenResult{nullptr, OpenFailure::Other, "cannot be opened"};
  if (!result.transport) {
    problem = {result.failure == OpenFailure::None ? OpenFailure::Other : result.failure, std::move(result.holder),
               std::move(result.explanation)};
    return nullptr;
  }
  std::shared_ptr<Device> device(new Device(std::move(result.transport), candidate, registry, events, limits, node));
  if (!starting(device)) {
    problem = problemOf(DGSTATUS_NO_DEVICE_ATTACHED);
    return nullptr;
  }
  if (const Status status = device->connect(); status != DGSTATUS_SUCCESS) {
    problem = problemOf(status);
    return nullptr;
  }
  device->m_description = describe(phone, device->m_info);
  log(LogLevel::Info, "%s is open", device->m_description.c_str());
  return device;
}

Device::Device(std::unique_ptr<Transport> transport, const DeviceCandidate& candidate, NodeRegistry& registry,
               EventThread& events, const TimeLimits& limits, Node* node)
    : m_registry(registry)
    , m_events(events)
    , m_node(node)
    , m_attachment(candidate.attachment)
    , m_locationId(candidate.locationId)
    , m_session(std::move(transport), limits)
    , m_store(registry, this) {}

Device::~Device() {
  m_session.close();
  const std::lock_guard lock(m_registry.mutex);
  m_store.close();
}

Status Device::connect() {
  tzset(); // the computer may have travelled since the last phone came
  m_session.onReopened([this] {
    log(LogLevel::Info, "the phone started a new session; everything is listed anew");
    const std::lock_guard lock(m_registry.mutex);
    ++m_epoch;
    m_own.clear();
    m_thumbnail = {};
    m_store.retireObjects();
  });
  const auto onEvent = [weak = weak_from_this(), node = m_node, &events = m_events](Bytes bytes) {
    if (const auto event = parseEvent(bytes))
      events.post(weak, node, *event);
  };
  if (const Status status = m_session.open(onEvent); status != DGSTATUS_SUCCESS)
    return status;
  std::vector<std::byte> dataset;
  if (const Reply reply = m_session.receive(Operation::GetDeviceInfo, {}, dataset); !reply.ok())
    return reply.status;
  auto info = parseDeviceInfo(dataset);
  if (!info)
    return DGSTATUS_INTERNAL_SIZE_MISMATCH;
  if (!speaksMtp(*info))
    return DGSTATUS_NOT_SUPPORT_OP;
  m_info = std::move(*info);
  m_modelName = firstNotEmpty({untilZero(m_info.model), untilZero(m_info.manufacturer), u"Phone"});
  m_lister.emplace(m_session, m_info);
  return DGSTATUS_SUCCESS;
}

std::u16string Device::friendlyName() {
  {
    const std::lock_guard lock(m_registry.mutex);
    if (m_friendlyName)
      return *m_friendlyName;
  }
  std::u16string name;
  bool answered = true;
  if (m_info.supports(Operation::GetDevicePropValue) && m_info.supports(Property::DeviceFriendlyName)) {
    std::vector<std::byte> value;
    const Reply reply = m_session.receive(Operation::GetDevicePropValue,
                                          {static_cast<std::uint32_t>(Property::DeviceFriendlyName)}, value);
    answered = reply.code != Response();
    if (reply.ok())
      name = untilZero(parseTextValue(value).value_or(u""));
  }
  if (name.empty())
    name = m_modelName;
  const std::lock_guard lock(m_registry.mutex);
  if (answered)
    m_friendlyName = name;
  return name;
}

Status Device::firstStorage(Node*& head) {
  std::vector<std::byte> dataset;
  if (const Reply reply = m_session.receive(Operation::GetStorageIDs, {}, dataset); !reply.ok())
    return reply.status;
  const auto ids = parseIds(dataset);
  if (!ids)
    return DGSTATUS_INTERNAL_SIZE_MISMATCH;
  Status status = DGSTATUS_NO_STORAGE_ATTACHED;
  const std::vector<ListedStorage> storages = readStorages(*ids, status);
  if (status != DGSTATUS_SUCCESS && status != DGSTATUS_NO_STORAGE_ATTACHED)
    return status;
  if (!storages.empty())
    m_toldEmpty = false;
  else if (!m_toldEmpty.exchange(true))
    log(LogLevel::Warning,
        "the phone shows no storage: it is locked or only charging; unlock the phone and choose \"File transfer\"");

  const std::lock_guard lock(m_registry.mutex);
  if (isGone())
    return DGSTATUS_NO_DEVICE_ATTACHED;
  m_store.setStorages(storages);
  head = m_store.firstStorage();
  return head ? DGSTATUS_SUCCESS : DGSTATUS_NO_STORAGE_ATTACHED;
}

/// `status` stays as it is without any storage; it is the last failure when none of them could be read.
std::vector<ListedStorage> Device::readStorages(const std::vector<std::uint32_t>& ids, Status& status) {
  std::vector<ListedStorage> storages;
  for (const std::uint32_t id : ids) {
    if (!isStorage(id) || storages.size() >= MaxStorages)
      continue;
    std::vector<std::byte> dataset;
    const Reply reply = m_session.receive(Operation::GetStorageInfo, {id}, dataset);
    auto info = parseStorageInfo(dataset);
    if (!reply.ok() || !info) {
      const Status failure = reply.ok() ? DGSTATUS_INTERNAL_SIZE_MISMATCH : reply.status;
      log(LogLevel::Warning, "storage 0x%08x cannot be read: status 0x%08x", id, failure);
      if (m_session.isGone() || m_session.isDead() || failure == DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE) {
        status = failure;
        return {};
      }
      if (storages.empty())
        status = failure;
      continue;
    }
    info->description = ownDescription(
        firstNotEmpty({untilZero(info->description), untilZero(info->volumeIdentifier), u"Storage"}), storages);
    info->volumeIdentifier = untilZero(info->volumeIdentifier);
    storages.push_back({id, std::move(*info)});
    status = DGSTATUS_SUCCESS;
  }
  return storages;
}

Status Device::fetch(const std::shared_ptr<Listing>& listing, std::unique_lock<std::mutex>& lock, Want want,
                     const Session::Watch& watch) {
  if (m_session.isTransactingHere()) // another thread's fetch would wait for this one
    return !listing->known ? DGSTATUS_NODE_IS_NOT_EXISTED : listing->cached ? DGSTATUS_SUCCESS : DGSTATUS_UNSUCCESSFUL;
  const auto isGood = [&] { return listing->cached && !(want == Want::Names ? listing->namesStale : listing->stale); };
  if (listing->known && isGood())
    placeReported(lock);
  if (!listing->known)
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  return isGood() ? DGSTATUS_SUCCESS : fetchFrom(listing, lock, watch);
}

Status Device::fetchFrom(const std::shared_ptr<Listing>& listing, std::unique_lock<std::mutex>& lock,
                         const Session::Watch& watch) {
  if (listing->fetching) {
    const std::uint64_t before = listing->fetches;
    m_fetched.wait(lock, [&] { return listing->fetches != before; }); // ends: every transaction of the fetch does
    if (listing->known && listing->lastFetch == DGSTATUS_IO_CANCEL)   // by somebody else
      return fetchFrom(listing, lock, watch);
    return listing->known ? listing->lastFetch : DGSTATUS_NODE_IS_NOT_EXISTED;
  }

  listing->fetching = true;
  const std::uint64_t changes = listing->changes;
  Status status = DGSTATUS_INSUFFICIENT_RESOURCE; // unless it is reached
  try {
    ListedFolder folder;
    std::uint64_t own = 0;
    int fetches = 0;
    do { // a list begun before the computer changed the folder may lack what it made
      own = listing->ownChanges;
      lock.unlock();
      const auto begun = m_session.limits().now();
      status = m_lister->list(
          listing->storage, listing->parent,
          [&] {
            const std::lock_guard check(m_registry.mutex);
            return listing->known;
          },
          folder, watch);
      log(LogLevel::Info, "listed %zu objects in folder 0x%08x of storage 0x%08x: status 0x%08x, %.3f s",
          folder.objects.size(), listing->parent, listing->storage, status,
          std::chrono::duration<double>(m_session.limits().now() - begun).count());
      lock.lock();
    } while (status == DGSTATUS_SUCCESS && listing->known && listing->ownChanges != own && ++fetches < MaxFetches);
    if (!listing->known)
      status = isGone() ? DGSTATUS_NO_DEVICE_ATTACHED : DGSTATUS_NODE_IS_NOT_EXISTED;
    if (status == DGSTATUS_SUCCESS) {
      m_store.apply(*listing, folder);
      listing->stale = listing->namesStale = listing->changes != changes;
    }
  } catch (const std::exception&) { // whatever it is, those who wait must hear of the end
    status = DGSTATUS_INSUFFICIENT_RESOURCE;
    if (!lock.owns_lock())
      lock.lock();
  }
  listing->fetching = false;
  listing->lastFetch = status;
  ++listing->fetches;
  m_fetched.notify_all();
  // The second: released meanwhile.
  if (status != DGSTATUS_SUCCESS && status != DGSTATUS_NODE_IS_NOT_EXISTED && status != DGSTATUS_IO_CANCEL) {
    lock.unlock(); // where the log is written, it may take its time
    log(LogLevel::Warning, "a folder could not be listed: status 0x%08x", status);
    lock.lock();
  }
  return status;
}

/// Asks the phone in which folders the objects are that it has reported.
void Device::placeReported(std::unique_lock<std::mutex>& lock) {
  m_fetched.wait(lock, [&] { return !m_placing; }); // ends: every transaction does
  const std::vector<std::uint32_t> handles = m_store.takeReported();
  if (handles.empty())
    return;
  m_placing = true;
  const std::uint64_t epoch = m_epoch;
  std::size_t placed = 0;
  try {
    for (; placed < handles.size(); ++placed) {
      lock.unlock();
      std::vector<std::byte> dataset;
      const Reply reply = m_session.receive(Operation::GetObjectInfo, {handles[placed]}, dataset);
      const auto info = parseObjectInfo(dataset);
      const bool vanished = reply.code == Response::InvalidObjectHandle;
      const std::u16string name = reply.ok() && info ? info->fileName.toString() : std::u16string();
      lock.lock();
      if (m_epoch != epoch || (!vanished && (!reply.ok() || !info)))
        break;
      m_store.place(vanished ? FolderLister::TopLevel : info->parent, name); // a wrong object may have been named
    }
  } catch (const std::exception&) { // whatever it is, those who wait must hear of the end
    if (!lock.owns_lock())
      lock.lock();
  }
  if (placed < handles.size() && m_epoch == epoch)
    m_store.markAllStale();
  m_placing = false;
  m_fetched.notify_all();
}

bool Device::exists(const Node& node, std::unique_lock<std::mutex>& lock) {
  const std::uint32_t id = node.common.nodeId;
  const bool storage = node.kind == MTPDEXT_NODE_STORAGE;
  if (!storage && node.listing->cached && !node.listing->stale)
    return true;
  lock.unlock();
  std::vector<std::byte> dataset;
  const Reply reply = m_session.receive(storage ? Operation::GetStorageInfo : Operation::GetObjectInfo, {id}, dataset);
  lock.lock();
  return reply.ok();
}

bool Device::isCurrent(std::uint64_t epoch) {
  const std::lock_guard lock(m_registry.mutex);
  return m_epoch == epoch;
}

Status Device::checkRoom(std::uint32_t storage, std::uint64_t size, const Session::Watch& watch) {
  const auto now = m_session.limits().now();
  {
    const std::lock_guard lock(m_registry.mutex);
    const auto known = m_rooms.find(storage);
    if (known != m_rooms.end() && now - known->second.asked < RoomAge && known->second.bytes >= AmpleRoom &&
        known->second.bytes - AmpleRoom >= size)
      return DGSTATUS_SUCCESS;
  }
  std::vector<std::byte> dataset;
  const Reply reply = m_session.receive(Operation::GetStorageInfo, {storage}, dataset, watch);
  if (!reply.ok())
    return reply.status;
  const auto info = parseStorageInfo(dataset);
  if (!info || info->maxCapacity == 0)
    return DGSTATUS_SUCCESS; // the phone does not tell
  if (info->accessCapability != ReadWrite)
    return DGSTATUS_INTERNAL_STOREWRITEPROTECTED;
  const std::lock_guard lock(m_registry.mutex);
  m_rooms[storage] = {info->freeSpace, now};
  return size <= info->freeSpace ? DGSTATUS_SUCCESS : DGSTATUS_STORAGE_FULL;
}

void Device::takeRoom(std::uint32_t storage, std::uint64_t size) {
  const std::lock_guard lock(m_registry.mutex);
  if (const auto known = m_rooms.find(storage); known != m_rooms.end())
    known->second.bytes -= std::min(known->second.bytes, size);
}

void Device::forgetRoom(std::uint32_t storage) {
  const std::lock_guard lock(m_registry.mutex);
  m_rooms.erase(storage);
}

Device::EventsWait::EventsWait(Device& device)
    : m_device(device) {
  const std::lock_guard lock(m_device.m_registry.mutex);
  ++m_device.m_eventsWait;
}

Device::EventsWait::~EventsWait() {
  const std::lock_guard lock(m_device.m_registry.mutex);
  if (--m_device.m_eventsWait > 0)
    return;
  for (const EventContainer& event : std::exchange(m_device.m_waiting, {})) {
    if (m_device.judge(event))
      m_device.m_events.post({}, m_device.m_node, event);
  }
}

void Device::noteOwnChange(std::uint32_t handle, OwnChange change) {
  const std::lock_guard lock(m_registry.mutex);
  m_own.add(handle, change, m_session.limits().now());
}

void Device::noteOwnChange(const std::vector<std::uint32_t>& handles, OwnChange change) {
  const std::lock_guard lock(m_registry.mutex);
  for (const std::uint32_t handle : handles)
    m_own.add(handle, change, m_session.limits().now());
}

std::vector<std::uint32_t> Device::handlesFrom(const Listing& listing, std::uint32_t handle) {
  const std::lock_guard lock(m_registry.mutex);
  std::vector<std::uint32_t> handles;
  if (const Node* object = ObjectStore::find(listing, handle))
    handles = m_store.handlesBelow(*object, OwnChanges::MaxRemembered - 1);
  handles.insert(handles.begin(), handle);
  return handles;
}

bool Device::handleEvent(const EventContainer* event) {
  const std::lock_guard lock(m_registry.mutex);
  if (event && m_eventsWait == 0)
    return judge(*event);
  if (event && m_waiting.size() < MaxWaiting) {
    m_waiting.push_back(*event);
    return false;
  }
  m_store.markAllStale();
  return true;
}

/// Whether the event is news. Wants the lock.
bool Device::judge(const EventContainer& event) {
  const std::uint32_t parameter = event.parameters[0];
  const auto code = static_cast<Event>(event.code);
  if (m_own.cover(parameter, code, m_session.limits().now()))
    return false;
  switch (code) {
  case Event::ObjectRemoved:
    m_store.retireObject(parameter);
    break;
  case Event::ObjectAdded: // where, only the phone knows
  case Event::ObjectInfoChanged:
    m_store.noteReported(parameter);
    break;
  case Event::StoreRemoved:
    m_store.retireStorage(parameter);
    m_rooms.erase(parameter);
    break;
  case Event::StorageInfoChanged:
  case Event::StoreFull:
    m_rooms.erase(parameter);
    break;
  case Event::StoreAdded:
  case Event::DeviceReset:
  case Event::UnreportedStatus:
    m_store.markAllStale();
    break;
  default:
    break;
  }
  return true;
}

} // namespace mtp
