#include "DeviceNotifier/AddUSBNotifier.h"

#include "DeviceNotifier/MtpInterfaces.h"
#include "Platform/Log.h"
#include "Platform/ThreadSafety.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

namespace detection {
namespace {

using platform::RegistryService;
namespace key = platform::registryKey;

// One arrival at a time, whatever the number of notifiers.
platform::Mutex g_arrivals;

// A number property's value where it fits 32 bits.
std::optional<std::int32_t> numberOf(const QVariant& value) {
  bool converted = false;
  const qlonglong number = value.toLongLong(&converted);
  if (!converted || number < INT32_MIN || number > INT32_MAX)
    return std::nullopt;
  return std::int32_t(number);
}

bool isNumber(const QVariant& value) {
  switch (value.typeId()) {
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
    return true;
  default:
    return false;
  }
}

std::optional<QString> textOf(const QVariant& value) {
  return value.isValid() ? std::optional<QString>(value.toString()) : std::nullopt;
}

bool matches(const RegistryService& service, std::uint16_t vendorId, std::uint16_t productId,
             std::uint32_t locationId) {
  const QVariant vendor = service.property(key::vendorId);
  if (!isNumber(vendor) || numberOf(vendor) != std::int32_t(vendorId))
    return false;
  const QVariant product = service.property(key::productId);
  if (!product.isValid() || (isNumber(product) ? numberOf(product).value_or(0) : 0) != std::int32_t(productId))
    return false;
  const QVariant location = service.property(key::locationId);
  if (!isNumber(location))
    return locationId == 0;
  return std::uint32_t(numberOf(location).value_or(0)) == locationId;
}

// As zero-terminated ASCII; false when it is absent or does not fit.
bool copyCalloutPath(const RegistryService& serialPort, CalloutPath& path) {
  const QByteArray text = serialPort.property(key::calloutDevice).toByteArray();
  const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
  if (text.isEmpty() || !ascii || std::size_t(text.size()) >= path.size())
    return false;
  std::copy(text.begin(), text.end(), path.begin());
  return true;
}

} // namespace

AddUSBNotifier::AddUSBNotifier(Parts parts)
    : m_parts(std::move(parts))
    , m_queue(m_parts.queue ? m_parts.queue : std::make_shared<DeviceQueue>()) {}

AddUSBNotifier::~AddUSBNotifier() {
  while (m_queue->takeFirst([](const _connected_device& record) { return record.deviceInterface != nullptr; }))
    ;
}

std::int32_t AddUSBNotifier::addUSBNotifier() {
  MTPB_LOG("ENTER");
  if (m_parts.registry->connect() != 0) {
    MTPB_LOG("IOServiceMatching returned NULL");
    return 0;
  }
  gNotifyPort = std::make_unique<platform::NotificationPort>(m_parts.registry);
  gRunLoopSource = gNotifyPort->runLoopSource();
  gRunLoop = platform::RunLoop::current();
  gRunLoop->addSource(gRunLoopSource);
  const int error = gNotifyPort->addMatchingNotification(
      [this](platform::ServiceIterator& iterator) { DeviceAdded(iterator); }, gAddedIter);
  if (error != 0) {
    MTPB_LOG("USB devices cannot be watched: %s", std::strerror(error));
    return 0;
  }
  DeviceAdded(*gAddedIter);
  MTPB_LOG("EXIT");
  return 1;
}

void AddUSBNotifier::removeUSBNotifier() {
  MTPB_LOG("ENTER");
  if (gNotifyPort == nullptr)
    return;
  gRunLoop->removeSource(gRunLoopSource);
  gNotifyPort.reset();
  MTPB_LOG("EXIT");
}

void AddUSBNotifier::DeviceAdded(platform::ServiceIterator& iterator) {
  const platform::Lock lock(g_arrivals);
  MTPB_LOG("ENTER");
  while (const Service service = iterator.next())
    if (!handleArrival(service))
      return;
  MTPB_LOG("EXIT");
}

// False when the notifier is being torn down and no more services are to be handled.
bool AddUSBNotifier::handleArrival(const Service& service) {
  auto record = std::make_unique<_connected_device>();
  record->deviceName = QString::fromUtf8(service->name());
  MTPB_LOG("deviceNameAsCFString name : %s", qUtf8Printable(*record->deviceName));
  record->usbSerialNumber = textOf(service->property(key::serialNumber));
  if (!readDevice(*service, *record)) {
    MTPB_LOG("CONTINUE");
    return true;
  }
  if (!isAccepted(*service, *record)) {
    awaitInterfaces(service);
    MTPB_LOG("CONTINUE");
    return true;
  }
  if (gNotifyPort == nullptr || findSerialPath(*record) == Search::TornDown || gNotifyPort == nullptr)
    return false;

  _connected_device* const known = record.get();
  const int result = gNotifyPort->addInterestNotification(
      *service,
      [this, known](const Service&, std::uint32_t messageType) { DeviceRemoveNotification(known, messageType); },
      record->notification);
  if (result != 0) {
    MTPB_LOG("IOServiceAddInterestNotification returned 0x%08x.", unsigned(result));
    return true;
  }
  m_queue->append(std::move(record));
  MTPB_LOG("OK DEVICE_ATTACHTED !!");
  if (m_parts.identities.isPhone(known->vendorID, known->productID) && m_parts.identities.isPtp(known->productID)) {
    MTPB_LOG_PLAIN("PTP device connected, %X", known->locationID);
    m_parts.events->sendDeviceNotifyEvent(PtpDeviceAttached, *known);
  } else {
    m_parts.events->sendDeviceNotifyEvent(DeviceAttached, *known);
  }
  MTPB_LOG("IOObjectRelease result: %d", 0);
  return true;
}

bool AddUSBNotifier::readDevice(const RegistryService& service, _connected_device& record) const {
  int result = service.open(record.deviceInterface);
  if (result != 0) {
    MTPB_LOG("IOCreatePlugInInterfaceForService returned 0x%08x.", unsigned(result));
    return false;
  }
  result = record.deviceInterface->queryInterface();
  MTPB_LOG("QueryInterface returned %d.\n", result);
  if (result != 0)
    return false;
  result = record.deviceInterface->deviceVendor(record.vendorID);
  if (result != 0) {
    MTPB_LOG("GetDeviceVendor returned 0x%08x.", unsigned(result));
    return false;
  }
  MTPB_LOG("vendorID: 0x%04x", unsigned(record.vendorID));
  result = record.deviceInterface->deviceProduct(record.productID);
  if (result != 0) {
    MTPB_LOG("GetDeviceProduct returned 0x%08x.", unsigned(result));
    return false;
  }
  MTPB_LOG("productID: 0x%04x\n", unsigned(record.productID));
  result = record.deviceInterface->deviceReleaseNumber(record.bcdDevice);
  if (result != 0) {
    MTPB_LOG("GetDeviceReleaseNumber returned 0x%08x.", unsigned(result));
    return false;
  }
  MTPB_LOG("bcdDevice: 0x%04x\n", unsigned(record.bcdDevice));
  result = record.deviceInterface->locationID(record.locationID);
  if (result != 0) {
    MTPB_LOG("GetLocationID returned 0x%08x.", unsigned(result));
    return false;
  }
  MTPB_LOG("Location ID: 0x%lx\n", static_cast<unsigned long>(record.locationID));
  return true;
}

bool AddUSBNotifier::isAccepted(const RegistryService& service, const _connected_device& record) const {
  if (m_parts.identities.isPhone(record.vendorID, record.productID))
    return true;
  if (!m_parts.identities.AcceptAnyMtpDevice)
    return false;
  return hasMtpInterface(service) || (m_parts.mtpProbe && m_parts.mtpProbe(record.locationID));
}

// A device is often announced before its interfaces are: it is looked at again when something about it changes.
void AddUSBNotifier::awaitInterfaces(const Service& service) {
  if (!m_parts.identities.AcceptAnyMtpDevice || gNotifyPort == nullptr)
    return;
  std::unique_ptr<platform::InterestNotification> interest;
  const auto changed = [this](const Service& now, std::uint32_t messageType) {
    foreignDeviceChanged(now, messageType);
  };
  if (gNotifyPort->addInterestNotification(*service, changed, interest) == 0)
    m_foreign.insert_or_assign(service->entryId(), std::move(interest));
}

void AddUSBNotifier::foreignDeviceChanged(const Service& service, std::uint32_t messageType) {
  if (messageType == platform::messageServiceIsTerminated) {
    m_foreign.erase(service->entryId());
    return;
  }
  _connected_device now;
  if (messageType != platform::messageServicePropertyChange || service->open(now.deviceInterface) != 0 ||
      now.deviceInterface->locationID(now.locationID) != 0 || !isAccepted(*service, now))
    return;
  m_foreign.erase(service->entryId());
  platform::ServiceIterator again(service);
  DeviceAdded(again);
}

AddUSBNotifier::Search AddUSBNotifier::findSerialPath(_connected_device& record) {
  const DeviceIdentityTable& identities = m_parts.identities;
  const bool foreign = !identities.isPhone(record.vendorID, record.productID);
  const bool once = foreign || identities.isSearchedOnce(record.productID);
  const bool skip = !foreign && identities.isPtpWithSkippedSearch(record.productID);
  CalloutPath path{};
  std::int32_t status = 0;
  if (foreign || !identities.isPtpWithoutSearch(record.productID)) {
    bool searchAnnounced = false;
    for (int attempts = 0; attempts < MaxSerialPathAttempts && !skip;) {
      status = FindDevicePath(record.vendorID, record.productID, record.locationID, path);
      if (once)
        break;
      ++attempts;
      MTPB_LOG("[GetSerialPath] #%d, found = %s", attempts, status == 0 ? "true" : "false");
      if (status == 0 || attempts == MaxSerialPathAttempts)
        break;
      if (!searchAnnounced)
        m_parts.events->sendDeviceNotifyEvent(SerialPortSearched, record);
      searchAnnounced = true;
      MTPB_LOG("[GetSerialPath] retry after sleep 2 sec.");
      if (!m_parts.sleep(serialPathRetryDelay) || gNotifyPort == nullptr)
        return Search::TornDown;
    }
  }
  if (status != 0) {
    MTPB_LOG("USB_PATH_NOT_FOUND");
    record.serialPath = QString();
    return Search::Done;
  }
  record.serialPath = QString::fromLatin1(path.data());
  return Search::Done;
}

std::int32_t AddUSBNotifier::FindDevicePath(std::uint16_t vendorId, std::uint16_t productId, std::uint32_t locationId,
                                            CalloutPath& path) const {
  MTPB_LOG("ENTER");
  if (const int error = m_parts.registry->connect(); error != 0)
    return error;
  MTPB_LOG("initialize pathBuf, size=[%d]", int(path.size()));
  path.fill('\0');
  std::vector<Service> serialPorts;
  if (const int error = m_parts.registry->services(platform::ServiceClass::SerialClient, serialPorts); error != 0)
    return error;
  const auto identified = [&](const RegistryService& service) {
    return IdentifyIDs(service, vendorId, productId, locationId);
  };
  for (const Service& serialPort : serialPorts) {
    bool match = false;
    for (Service above = serialPort->parent(); above != nullptr && !match; above = above->parent())
      match = identified(*above);
    Service below = serialPort;
    while (!match) {
      const auto children = below->children();
      if (children.empty())
        break;
      below = children.front();
      match = identified(*below);
    }
    if (match && copyCalloutPath(*serialPort, path)) {
      MTPB_LOG("EXIT");
      return 0;
    }
  }
  MTPB_LOG("EXIT");
  return ENOENT;
}

bool AddUSBNotifier::IdentifyIDs(const RegistryService& service, std::uint16_t vendorId, std::uint16_t productId,
                                 std::uint32_t locationId) {
  MTPB_LOG("ENTER");
  const bool result = matches(service, vendorId, productId, locationId);
  MTPB_LOG("EXIT");
  return result;
}

void AddUSBNotifier::DeviceRemoveNotification(_connected_device* record, std::uint32_t messageType) {
  MTPB_LOG("ENTER");
  Record removed = messageType == platform::messageServiceIsTerminated ? m_queue->remove(record) : nullptr;
  if (removed == nullptr) {
    MTPB_LOG("EXIT");
    return;
  }
  MTPB_LOG("Device removed.");
  const auto location = static_cast<unsigned long>(removed->locationID);
  MTPB_LOG("connectedDeviceInfo->serialPath: ");
  MTPB_LOG_PLAIN("%s", qUtf8Printable(removed->serialPath.value_or(QString())));
  MTPB_LOG("connectedDeviceInfo->deviceName: ");
  MTPB_LOG_PLAIN("%s", qUtf8Printable(removed->deviceName.value_or(QString())));
  MTPB_LOG("connectedDeviceInfo->locationID: 0x%lx.\n", location);
  MTPB_LOG("DeviceRemoveNotification");
  MTPB_LOG("connectedDeviceInfo->locationID: 0x%lx.\n", location);
  m_parts.events->sendDeviceNotifyEvent(DeviceDetached, *removed);
  ConnectedDeviceFree(std::move(removed));
  MTPB_LOG("EXIT");
}

} // namespace detection
