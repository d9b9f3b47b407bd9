#include "TessalyMTPSdk/UsbProvider.h"

#include "TessalyMTPSdk/LibusbTransport.h"
#include "TessalyMTPSdk/UsbDiscovery.h"
#include "TessalyMTPSdk/UsbHolders.h"

#include <cstdio>
#include <libusb.h>

namespace mtp {

namespace {

std::string hex4(std::uint16_t value) {
  char text[8];
  std::snprintf(text, sizeof text, "%04x", unsigned{value});
  return text;
}

OpenResult failed(OpenFailure failure, const std::string& explanation) {
  return {nullptr, failure, explanation};
}

class Opening {
public:
  explicit Opening(const UsbMtpDevice& device)
      : m_device(device) {}

  OpenResult run() {
    if (const int result = libusb_init(&m_context); result != LIBUSB_SUCCESS) {
      return failed(OpenFailure::Other, std::string("USB is not available: ") + libusb_strerror(result));
    }
    OpenResult result = open();
    if (!result.transport) {
      if (m_handle != nullptr) {
        libusb_close(m_handle);
      }
      libusb_exit(m_context);
    }
    return result;
  }

private:
  OpenResult open() {
    const int found = openHandle();
    // Permission may have come since it was looked for: then the next look asks the device whether it is a phone.
    if (found == LIBUSB_ERROR_ACCESS || (found == LIBUSB_SUCCESS && m_device.denied)) {
      return noPermission();
    }
    if (found != LIBUSB_SUCCESS) {
      return other("cannot be opened", found);
    }
    libusb_set_auto_detach_kernel_driver(m_handle, 1);
    if (!m_device.configured) {
      if (const int set = libusb_set_configuration(m_handle, m_device.configuration); set != LIBUSB_SUCCESS) {
        return other("takes no configuration", set);
      }
    }
    const int claimed = libusb_claim_interface(m_handle, m_device.interface.number);
    if (claimed == LIBUSB_ERROR_BUSY) {
      return busy();
    }
    if (claimed != LIBUSB_SUCCESS) {
      return other("does not hand its MTP interface over", claimed);
    }
    return {makeLibusbTransport(m_context, m_handle, m_device.interface), OpenFailure::None, {}};
  }

  /// Opens the very attachment that was found: bus and address tell it among the devices of now.
  int openHandle() {
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(m_context, &list);
    int result = count < 0 ? static_cast<int>(count) : LIBUSB_ERROR_NO_DEVICE;
    for (ssize_t i = 0; i < count; ++i) {
      libusb_device_descriptor descriptor{};
      if (libusb_get_bus_number(list[i]) == m_device.bus && libusb_get_device_address(list[i]) == m_device.address &&
          libusb_get_device_descriptor(list[i], &descriptor) == LIBUSB_SUCCESS &&
          descriptor.idVendor == m_device.vendorId && descriptor.idProduct == m_device.productId) {
        result = libusb_open(list[i], &m_handle);
        break;
      }
    }
    if (count >= 0) {
      libusb_free_device_list(list, 1);
    }
    return result;
  }

  OpenResult noPermission() const {
    return failed(OpenFailure::NoPermission,
                  "no permission to open the phone at " + m_device.node +
                      ". Put the line SUBSYSTEM==\"usb\", ATTR{idVendor}==\"" + hex4(m_device.vendorId) +
                      "\", TAG+=\"uaccess\" into /etc/udev/rules.d/60-mtp-phone.rules, then plug the phone in again");
  }

  OpenResult busy() const {
    std::string programs;
    const std::vector<UsbHolder> holders = holdersOf(m_device.node);
    for (const UsbHolder& holder : holders) {
      programs += (programs.empty() ? "" : ", ") + holder.name + " (process " + holder.process + ")";
    }
    OpenResult result = failed(OpenFailure::Busy, "the phone at " + m_device.node + " is in use by " +
                                                      (programs.empty() ? "another program" : programs) +
                                                      ". Eject the phone there or end that program, then try again");
    if (!holders.empty()) {
      result.holder = holders.front().name;
    }
    return result;
  }

  OpenResult other(const std::string& what, int result) const {
    if (result == LIBUSB_ERROR_NO_DEVICE || result == LIBUSB_ERROR_NOT_FOUND) {
      return failed(OpenFailure::Gone, "the phone at " + m_device.node + " has been unplugged");
    }
    return failed(OpenFailure::Other, "the phone at " + m_device.node + " " + what + " (" + libusb_strerror(result) +
                                          "). Unplug it and plug it in again");
  }

  const UsbMtpDevice& m_device;
  libusb_context* m_context = nullptr;
  libusb_device_handle* m_handle = nullptr;
};

class UsbProvider final : public DeviceProvider {
public:
  std::vector<DeviceCandidate> list() override {
    std::vector<DeviceCandidate> candidates;
    for (const UsbMtpDevice& device : findMtpDevices()) {
      DeviceCandidate candidate;
      candidate.locationId = device.locationId;
      candidate.attachment = device.attachment;
      candidate.vendorId = device.vendorId;
      candidate.productId = device.productId;
      candidate.description =
          "USB device " + hex4(device.vendorId) + ":" + hex4(device.productId) + " at " + device.node;
      candidate.open = [device] { return Opening(device).run(); };
      candidates.push_back(std::move(candidate));
    }
    return candidates;
  }
};

} // namespace

std::shared_ptr<DeviceProvider> makeUsbProvider() {
  return std::make_shared<UsbProvider>();
}

} // namespace mtp
