#include "TessalyMTPSdk/UsbDiscovery.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <libusb.h>
#include <map>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace mtp {

std::uint32_t usbLocationId(std::uint8_t bus, std::span<const std::uint8_t> ports) {
  std::uint32_t id = std::uint32_t{bus} << 24;
  int shift = 20;
  for (const std::uint8_t port : ports.first(std::min<std::size_t>(ports.size(), 6))) {
    id |= std::uint32_t{std::min<std::uint8_t>(port, 15)} << shift;
    shift -= 4;
  }
  return id;
}

MtpVerdict judgeInterface(const UsbInterfaceFacts& facts) {
  const bool pipes = facts.endpointCount == 3 && facts.bulkIn != 0 && facts.bulkOut != 0 && facts.interruptIn != 0;
  // USB 2.0, 5.8.3 and USB 3.2, 8.12.1: bulk packets are a power of two from 8 to 1024 bytes.
  const bool sizes = std::has_single_bit(facts.bulkPacketSize) && facts.bulkPacketSize >= 8 &&
                     facts.bulkPacketSize <= 1024 && facts.eventPacketSize > 0;
  if (!pipes || !sizes) {
    return MtpVerdict::No;
  }
  if (facts.classCode == LIBUSB_CLASS_IMAGE && facts.subclass == 1 && facts.protocol == 1) {
    return MtpVerdict::Yes;
  }
  if (facts.classCode == LIBUSB_CLASS_VENDOR_SPEC) {
    return facts.name.find("MTP") != std::string::npos ? MtpVerdict::Yes : MtpVerdict::AskDevice;
  }
  return MtpVerdict::No;
}

std::optional<std::uint8_t> osDescriptorVendorCode(std::span<const std::byte> descriptor) {
  // bLength 18, bDescriptorType 3, qwSignature "MSFT100", bMS_VendorCode, bPad.
  static constexpr std::array<unsigned char, 16> head = {18, 3, 'M', 0, 'S', 0, 'F', 0, 'T', 0, '1', 0, '0', 0, '0', 0};
  if (descriptor.size() < head.size() + 1 || std::memcmp(descriptor.data(), head.data(), head.size()) != 0) {
    return std::nullopt;
  }
  return std::to_integer<std::uint8_t>(descriptor[head.size()]);
}

bool compatIdSaysMtp(std::span<const std::byte> descriptor, std::uint8_t interfaceNumber) {
  // A header of 16 bytes with the number of functions at 8, then 24 bytes a function: first interface, reserved,
  // compatibleID (8), subCompatibleID (8), reserved (6).
  constexpr std::size_t headSize = 16, functionSize = 24, countAt = 8;
  if (descriptor.size() < headSize) {
    return false;
  }
  const auto count = std::to_integer<std::size_t>(descriptor[countAt]);
  for (std::size_t i = 0; i < count && descriptor.size() >= headSize + (i + 1) * functionSize; ++i) {
    const auto function = descriptor.subspan(headSize + i * functionSize, functionSize);
    if (std::to_integer<std::uint8_t>(function[0]) == interfaceNumber &&
        std::memcmp(function.data() + 2, "MTP\0\0\0\0\0", 8) == 0) {
      return true;
    }
  }
  return false;
}

namespace {

struct ContextCloser {
  void operator()(libusb_context* context) const { libusb_exit(context); }
};
struct ConfigurationCloser {
  void operator()(libusb_config_descriptor* configuration) const { libusb_free_config_descriptor(configuration); }
};
using Context = std::unique_ptr<libusb_context, ContextCloser>;
using Configuration = std::unique_ptr<libusb_config_descriptor, ConfigurationCloser>;

class DeviceList {
public:
  explicit DeviceList(libusb_context* context) { m_count = libusb_get_device_list(context, &m_devices); }
  ~DeviceList() {
    if (m_count >= 0) {
      libusb_free_device_list(m_devices, 1);
    }
  }
  DeviceList(const DeviceList&) = delete;
  DeviceList& operator=(const DeviceList&) = delete;
  std::span<libusb_device*> devices() const { return {m_devices, m_count > 0 ? static_cast<std::size_t>(m_count) : 0}; }

private:
  libusb_device** m_devices = nullptr;
  ssize_t m_count = 0;
};

/// The device's folder in sysfs, e.g. /sys/bus/usb/devices/1-2.4; empty for a root hub.
std::string sysfsFolder(std::uint8_t bus, std::span<const std::uint8_t> ports) {
  std::string folder;
  for (const std::uint8_t port : ports) {
    folder += (folder.empty() ? "/sys/bus/usb/devices/" + std::to_string(bus) + "-" : ".") + std::to_string(port);
  }
  return folder;
}

/// The interface's folder in sysfs, e.g. …/1-2.4:1.0.
std::string interfaceFolder(const std::string& deviceFolder, std::uint8_t configuration, std::uint8_t number) {
  return deviceFolder + ":" + std::to_string(configuration) + "." + std::to_string(number);
}

std::string firstLine(const std::string& path) {
  std::string line;
  std::ifstream file(path);
  std::getline(file, line);
  return line;
}

UsbInterfaceFacts factsOf(const libusb_interface_descriptor& descriptor) {
  UsbInterfaceFacts facts;
  facts.number = descriptor.bInterfaceNumber;
  facts.classCode = descriptor.bInterfaceClass;
  facts.subclass = descriptor.bInterfaceSubClass;
  facts.protocol = descriptor.bInterfaceProtocol;
  facts.endpointCount = descriptor.bNumEndpoints;
  std::uint16_t inSize = 0, outSize = 0;
  for (const libusb_endpoint_descriptor& endpoint : std::span(descriptor.endpoint, descriptor.bNumEndpoints)) {
    const bool in = (endpoint.bEndpointAddress & LIBUSB_ENDPOINT_DIR_MASK) == LIBUSB_ENDPOINT_IN;
    const auto kind = endpoint.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK;
    const auto packetSize = static_cast<std::uint16_t>(endpoint.wMaxPacketSize & 0x7ff); // above: packets a microframe
    if (kind == LIBUSB_TRANSFER_TYPE_BULK && in) {
      facts.bulkIn = endpoint.bEndpointAddress;
      inSize = packetSize;
    } else if (kind == LIBUSB_TRANSFER_TYPE_BULK) {
      facts.bulkOut = endpoint.bEndpointAddress;
      outSize = packetSize;
    } else if (kind == LIBUSB_TRANSFER_TYPE_INTERRUPT && in) {
      facts.interruptIn = endpoint.bEndpointAddress;
      facts.eventPacketSize = packetSize;
    }
  }
  facts.bulkPacketSize = inSize == outSize ? inSize : 0;
  return facts;
}

enum class Answer { No, Yes, Denied, None };

/// Asks the device itself for Microsoft's descriptors. Denied: this user may not; None: it could not be asked.
Answer askForMtp(libusb_device* device, std::uint8_t interfaceNumber) {
  constexpr unsigned limitMs = 300;
  libusb_device_handle* handle = nullptr;
  if (const int result = libusb_open(device, &handle); result != LIBUSB_SUCCESS) {
    return result == LIBUSB_ERROR_ACCESS ? Answer::Denied : Answer::None;
  }
  std::array<std::byte, 256> answer;
  const auto ask = [&](std::uint8_t requestType, std::uint8_t request, std::uint16_t value, std::uint16_t index) {
    const int size = libusb_control_transfer(handle, requestType | LIBUSB_ENDPOINT_IN, request, value, index,
                                             reinterpret_cast<unsigned char*>(answer.data()), answer.size(), limitMs);
    return std::span<const std::byte>(answer).first(size > 0 ? static_cast<std::size_t>(size) : 0);
  };
  const auto vendorCode = osDescriptorVendorCode(
      ask(LIBUSB_REQUEST_TYPE_STANDARD, LIBUSB_REQUEST_GET_DESCRIPTOR, (LIBUSB_DT_STRING << 8) | 0xee, 0));
  const bool mtp = vendorCode && compatIdSaysMtp(ask(LIBUSB_REQUEST_TYPE_VENDOR, *vendorCode, 0, 4), interfaceNumber);
  libusb_close(handle);
  return mtp ? Answer::Yes : Answer::No;
}

/// What devices answered when asked, so that each attachment is asked once.
class Answers {
public:
  Answer of(libusb_device* device, std::uint64_t attachment, std::uint8_t interfaceNumber) {
    const std::scoped_lock lock(m_mutex);
    const auto key = std::pair(attachment, interfaceNumber);
    if (const auto known = m_answers.find(key); known != m_answers.end()) {
      return known->second;
    }
    const Answer answer = askForMtp(device, interfaceNumber);
    if (answer == Answer::Yes || answer == Answer::No) {
      if (m_answers.size() >= 256) { // long gone ones, most of them
        m_answers.clear();
      }
      m_answers.emplace(key, answer);
    }
    return answer;
  }

private:
  std::mutex m_mutex;
  std::map<std::pair<std::uint64_t, std::uint8_t>, Answer> m_answers;
};

Answers& answers() {
  static Answers instance;
  return instance;
}

Answer isMtp(libusb_device* device, const UsbMtpDevice& found, const std::string& folder) {
  switch (judgeInterface(found.interface)) {
  case MtpVerdict::Yes:
    return Answer::Yes;
  case MtpVerdict::No:
    return Answer::No;
  case MtpVerdict::AskDevice:
    break;
  }
  // An interface that a kernel driver serves is something else, a serial adapter for example.
  const std::string driver = interfaceFolder(folder, found.configuration, found.interface.number) + "/driver";
  char target[256];
  const ssize_t size = ::readlink(driver.c_str(), target, sizeof target);
  const std::string_view name(target, size > 0 ? static_cast<std::size_t>(size) : 0);
  if (size > 0 && !name.ends_with("/usbfs")) {
    return Answer::No;
  }
  return answers().of(device, found.attachment, found.interface.number);
}

std::optional<UsbMtpDevice> examine(libusb_device* device) {
  std::array<std::uint8_t, 7> portSpace{};
  const int portCount = libusb_get_port_numbers(device, portSpace.data(), portSpace.size());
  libusb_device_descriptor descriptor{};
  if (portCount <= 0 || libusb_get_device_descriptor(device, &descriptor) != LIBUSB_SUCCESS ||
      descriptor.bDeviceClass == LIBUSB_CLASS_HUB) {
    return std::nullopt;
  }
  const std::span<const std::uint8_t> ports(portSpace.data(), static_cast<std::size_t>(portCount));

  UsbMtpDevice found;
  found.bus = libusb_get_bus_number(device);
  found.address = libusb_get_device_address(device);
  found.locationId = usbLocationId(found.bus, ports);
  found.vendorId = descriptor.idVendor;
  found.productId = descriptor.idProduct;
  char node[32];
  std::snprintf(node, sizeof node, "/dev/bus/usb/%03u/%03u", unsigned{found.bus}, unsigned{found.address});
  found.node = node;
  // Addresses come round again; the folder in sysfs is a new one with each attachment, and so is its inode.
  const std::string folder = sysfsFolder(found.bus, ports);
  struct stat status {};
  const std::uint64_t inode = ::stat(folder.c_str(), &status) == 0 ? status.st_ino : 0;
  found.attachment = (inode << 16) ^ (std::uint64_t{found.bus} << 8) ^ found.address;

  libusb_config_descriptor* raw = nullptr;
  if (const int result = libusb_get_active_config_descriptor(device, &raw); result == LIBUSB_ERROR_NOT_FOUND) {
    found.configured = false;
    libusb_get_config_descriptor(device, 0, &raw);
  }
  const Configuration configuration(raw);
  if (!configuration) {
    return std::nullopt;
  }
  found.configuration = configuration->bConfigurationValue;
  std::optional<UsbMtpDevice> denied;
  for (const libusb_interface& interface : std::span(configuration->interface, configuration->bNumInterfaces)) {
    if (interface.num_altsetting < 1) {
      continue;
    }
    found.interface = factsOf(interface.altsetting[0]);
    found.interface.name =
        firstLine(interfaceFolder(folder, found.configuration, found.interface.number) + "/interface");
    const Answer answer = isMtp(device, found, folder);
    if (answer == Answer::Yes) {
      return found;
    }
    if (answer == Answer::Denied && !denied) {
      denied = found;
      denied->denied = true;
    }
  }
  return denied;
}

} // namespace

std::vector<UsbMtpDevice> findMtpDevices() {
  std::vector<UsbMtpDevice> found;
  libusb_context* raw = nullptr;
  // A context of its own scans the bus when it is made, so nothing depends on hot-plug messages having arrived.
  if (libusb_init(&raw) != LIBUSB_SUCCESS) {
    return found;
  }
  const Context context(raw);
  const DeviceList list(context.get());
  for (libusb_device* device : list.devices()) {
    if (auto examined = examine(device)) {
      found.push_back(std::move(*examined));
    }
  }
  return found;
}

bool hasMtpInterface(std::uint32_t locationId) {
  const auto found = findMtpDevices();
  return std::any_of(found.begin(), found.end(), [locationId](const UsbMtpDevice& device) {
    return device.locationId == locationId && !device.denied;
  });
}

} // namespace mtp
