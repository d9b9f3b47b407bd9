// How phones on the USB become candidates of the engine, and how one is opened.
#include "TessalyMTPSdk/UsbProvider.h"

#include "TessalyMTPSdk/Engine.h"
#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>
#include <string>
#include <vector>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using Calls = std::vector<std::string>;

/// A device as its descriptors show it.
struct Attached {
  std::uint8_t bus = 20;
  std::uint8_t address = 7;
  std::vector<std::uint8_t> ports = {2};
  std::uint16_t vendorId = 0x18D1;
  std::uint16_t productId = 0x4EE1;
  std::uint8_t interfaceClass = LIBUSB_CLASS_IMAGE;
  bool configured = true;
};

/// The buses of a computer, in the place of libusb's view of them. For one thread.
struct FakeUsb {
  std::vector<Attached> devices;
  int openAnswer = 0;
  int configurationAnswer = 0;
  int claimAnswer = 0;
  Calls calls;          // what was done to devices and handles
  int lists = 0;        // how often the buses were looked at
  int openContexts = 0; // made and not ended
};

FakeUsb* usb = nullptr; // of the test that runs

Attached& deviceAt(libusb_device* device) {
  return usb->devices.at(reinterpret_cast<std::uintptr_t>(device) - 1);
}
libusb_device* nameOf(std::size_t index) {
  return reinterpret_cast<libusb_device*>(index + 1);
}
libusb_device_handle* handle() {
  return reinterpret_cast<libusb_device_handle*>(usb);
}

/// The two descriptors of one still image interface with its three endpoints.
int giveConfiguration(const Attached& device, libusb_config_descriptor** out) {
  static libusb_endpoint_descriptor endpoints[3];
  static libusb_interface_descriptor setting;
  static libusb_interface interface;
  static libusb_config_descriptor configuration;
  endpoints[0] = {};
  endpoints[0].bEndpointAddress = 0x81;
  endpoints[0].bmAttributes = LIBUSB_TRANSFER_TYPE_BULK;
  endpoints[0].wMaxPacketSize = 512;
  endpoints[1] = endpoints[0];
  endpoints[1].bEndpointAddress = 0x02;
  endpoints[2] = {};
  endpoints[2].bEndpointAddress = 0x83;
  endpoints[2].bmAttributes = LIBUSB_TRANSFER_TYPE_INTERRUPT;
  endpoints[2].wMaxPacketSize = 28;
  setting = {};
  setting.bInterfaceNumber = 3;
  setting.bNumEndpoints = 3;
  setting.bInterfaceClass = device.interfaceClass;
  setting.bInterfaceSubClass = setting.bInterfaceProtocol = 1;
  setting.endpoint = endpoints;
  interface = {&setting, 1};
  configuration = {};
  configuration.bConfigurationValue = 1;
  configuration.bNumInterfaces = 1;
  configuration.interface = &interface;
  *out = &configuration;
  return 0;
}

} // namespace

// These take the place of libusb's own in this program.
extern "C" {

int LIBUSB_CALL libusb_init(libusb_context** context) {
  ++usb->openContexts;
  *context = reinterpret_cast<libusb_context*>(usb);
  return 0;
}
void LIBUSB_CALL libusb_exit(libusb_context*) {
  --usb->openContexts;
}

ssize_t LIBUSB_CALL libusb_get_device_list(libusb_context*, libusb_device*** list) {
  ++usb->lists;
  *list = new libusb_device*[usb->devices.size() + 1];
  for (std::size_t i = 0; i < usb->devices.size(); ++i)
    (*list)[i] = nameOf(i);
  return static_cast<ssize_t>(usb->devices.size());
}
void LIBUSB_CALL libusb_free_device_list(libusb_device** list, int) {
  delete[] list;
}

std::uint8_t LIBUSB_CALL libusb_get_bus_number(libusb_device* device) {
  return deviceAt(device).bus;
}
std::uint8_t LIBUSB_CALL libusb_get_device_address(libusb_device* device) {
  return deviceAt(device).address;
}
int LIBUSB_CALL libusb_get_port_numbers(libusb_device* device, std::uint8_t* ports, int room) {
  const auto& chain = deviceAt(device).ports;
  if (static_cast<std::size_t>(room) < chain.size())
    return LIBUSB_ERROR_OVERFLOW;
  std::ranges::copy(chain, ports);
  return static_cast<int>(chain.size());
}
int LIBUSB_CALL libusb_get_device_descriptor(libusb_device* device, libusb_device_descriptor* descriptor) {
  *descriptor = {};
  descriptor->idVendor = deviceAt(device).vendorId;
  descriptor->idProduct = deviceAt(device).productId;
  return 0;
}
int LIBUSB_CALL libusb_get_active_config_descriptor(libusb_device* device, libusb_config_descriptor** out) {
  return deviceAt(device).configured ? giveConfiguration(deviceAt(device), out) : LIBUSB_ERROR_NOT_FOUND;
}
int LIBUSB_CALL libusb_get_config_descriptor(libusb_device* device, std::uint8_t, libusb_config_descriptor** out) {
  return giveConfiguration(deviceAt(device), out);
}
void LIBUSB_CALL libusb_free_config_descriptor(libusb_config_descriptor*) {}

int LIBUSB_CALL libusb_open(libusb_device* device, libusb_device_handle** opened) {
  usb->calls.push_back("open " + std::to_string(deviceAt(device).address));
  if (usb->openAnswer == 0)
    *opened = handle();
  return usb->openAnswer;
}
void LIBUSB_CALL libusb_close(libusb_device_handle*) {
  usb->calls.emplace_back("close");
}
int LIBUSB_CALL libusb_set_auto_detach_kernel_driver(libusb_device_handle*, int enable) {
  usb->calls.push_back("detach drivers " + std::to_string(enable));
  return 0;
}
int LIBUSB_CALL libusb_set_configuration(libusb_device_handle*, int value) {
  usb->calls.push_back("configure " + std::to_string(value));
  return usb->configurationAnswer;
}
int LIBUSB_CALL libusb_claim_interface(libusb_device_handle*, int number) {
  usb->calls.push_back("claim " + std::to_string(number));
  return usb->claimAnswer;
}
int LIBUSB_CALL libusb_release_interface(libusb_device_handle*, int number) {
  usb->calls.push_back("release " + std::to_string(number));
  return 0;
}
int LIBUSB_CALL libusb_clear_halt(libusb_device_handle*, unsigned char) {
  usb->calls.emplace_back("clear halt");
  return 0;
}
int LIBUSB_CALL libusb_handle_events_timeout_completed(libusb_context*, timeval*, int*) {
  return 0; // no transfer is ever under way
}
void LIBUSB_CALL libusb_interrupt_event_handler(libusb_context*) {}
int LIBUSB_CALL libusb_reset_device(libusb_device_handle*) {
  usb->calls.emplace_back("reset");
  return 0;
}

} // extern "C"

namespace {

class UsbProvider : public testing::Test {
protected:
  UsbProvider() { usb = &m_usb; }
  ~UsbProvider() override {
    EXPECT_EQ(m_usb.openContexts, 0) << "libusb is not given back";
    usb = nullptr;
  }
  mtp::OpenResult openOnly() {
    const auto candidates = provider->list();
    EXPECT_EQ(candidates.size(), 1u);
    return candidates.empty() ? mtp::OpenResult() : candidates[0].open();
  }

private:
  FakeUsb m_usb;

protected:
  const std::shared_ptr<mtp::DeviceProvider> provider = mtp::makeUsbProvider();
};

} // namespace

TEST_F(UsbProvider, ListsThePhonesThatAreAttachedNow) {
  EXPECT_TRUE(provider->list().empty());
  Attached keyboard;
  keyboard.interfaceClass = LIBUSB_CLASS_HID;
  usb->devices = {keyboard, {.address = 9, .ports = {2, 4}}};
  const auto candidates = provider->list();
  ASSERT_EQ(candidates.size(), 1u);
  EXPECT_EQ(candidates[0].locationId, 0x14240000u);
  EXPECT_EQ(candidates[0].vendorId, 0x18D1);
  EXPECT_EQ(candidates[0].productId, 0x4EE1);
  EXPECT_EQ(candidates[0].description, "USB device 18d1:4ee1 at /dev/bus/usb/020/009");
  usb->devices = {{.address = 10, .ports = {2, 4}}};
  const auto later = provider->list();
  ASSERT_EQ(later.size(), 1u);
  EXPECT_NE(later[0].attachment, candidates[0].attachment) << "the same place, another attachment";
  EXPECT_THAT(usb->calls, ElementsAre()) << "looking opens nothing";
}

TEST_F(UsbProvider, OpeningTakesTheInterfaceAndLeavesTheRestAsItIs) {
  usb->devices = {{.address = 6}, {.address = 7}};
  usb->devices[0].interfaceClass = LIBUSB_CLASS_HID;
  const mtp::OpenResult result = openOnly();
  ASSERT_TRUE(result.transport) << result.explanation;
  EXPECT_EQ(result.failure, mtp::OpenFailure::None);
  EXPECT_EQ(result.transport->maxPacketSize(), 512u);
  EXPECT_THAT(usb->calls, ElementsAre("open 7", "detach drivers 1", "claim 3"));
  result.transport->close();
  EXPECT_THAT(usb->calls, Contains("release 3"));
  EXPECT_THAT(usb->calls, Contains("close"));
  EXPECT_THAT(usb->calls, Not(Contains("reset")));
  EXPECT_THAT(usb->calls, Not(Contains("clear halt")));
}

TEST_F(UsbProvider, OnlyAPhoneWithoutConfigurationIsGivenOne) {
  usb->devices = {{.configured = false}};
  {
    const mtp::OpenResult result = openOnly();
    ASSERT_TRUE(result.transport) << result.explanation;
    EXPECT_THAT(usb->calls, ElementsAre("open 7", "detach drivers 1", "configure 1", "claim 3"));
  }
  usb->calls.clear();
  usb->configurationAnswer = LIBUSB_ERROR_IO;
  const mtp::OpenResult result = openOnly();
  EXPECT_EQ(result.failure, mtp::OpenFailure::Other);
  EXPECT_THAT(result.explanation, HasSubstr("takes no configuration"));
  EXPECT_THAT(usb->calls, ElementsAre("open 7", "detach drivers 1", "configure 1", "close"));
}

TEST_F(UsbProvider, ACandidateOfAnEarlierAttachmentIsGone) {
  usb->devices = {{.address = 7}};
  const auto candidates = provider->list();
  ASSERT_EQ(candidates.size(), 1u);
  usb->devices = {{.address = 8}};
  EXPECT_EQ(candidates[0].open().failure, mtp::OpenFailure::Gone);
  usb->devices = {{.address = 7, .vendorId = 0x1234}};
  EXPECT_EQ(candidates[0].open().failure, mtp::OpenFailure::Gone) << "the address has come round to another device";
  EXPECT_THAT(usb->calls, ElementsAre());
}

TEST_F(UsbProvider, APhoneThatMayNotBeOpenedIsToldWithTheRuleThatHelps) {
  usb->devices = {{.vendorId = 0x4E8}};
  usb->openAnswer = LIBUSB_ERROR_ACCESS;
  const mtp::OpenResult result = openOnly();
  EXPECT_FALSE(result.transport);
  EXPECT_EQ(result.failure, mtp::OpenFailure::NoPermission);
  EXPECT_THAT(result.explanation, HasSubstr("/dev/bus/usb/020/007"));
  EXPECT_THAT(result.explanation, HasSubstr("ATTR{idVendor}==\"04e8\", TAG+=\"uaccess\""));
  EXPECT_THAT(usb->calls, ElementsAre("open 7")) << "there is no handle to close";
}

TEST_F(UsbProvider, APhoneInUseIsToldAndItsHandleGivenBack) {
  usb->devices = {{}};
  usb->claimAnswer = LIBUSB_ERROR_BUSY;
  const mtp::OpenResult result = openOnly();
  EXPECT_FALSE(result.transport);
  EXPECT_EQ(result.failure, mtp::OpenFailure::Busy);
  EXPECT_THAT(result.explanation, HasSubstr("is in use by another program"));
  EXPECT_EQ(result.holder, "");
  EXPECT_THAT(usb->calls, ElementsAre("open 7", "detach drivers 1", "claim 3", "close"));
}

TEST_F(UsbProvider, OtherFailuresSayWhatHelps) {
  usb->devices = {{}};
  usb->openAnswer = LIBUSB_ERROR_IO;
  EXPECT_THAT(openOnly().explanation, HasSubstr("cannot be opened"));
  usb->openAnswer = LIBUSB_ERROR_NO_DEVICE;
  EXPECT_EQ(openOnly().failure, mtp::OpenFailure::Gone);
  usb->openAnswer = 0;
  usb->claimAnswer = LIBUSB_ERROR_IO;
  const mtp::OpenResult result = openOnly();
  EXPECT_EQ(result.failure, mtp::OpenFailure::Other);
  EXPECT_THAT(result.explanation, HasSubstr("Unplug it and plug it in again"));
}

TEST_F(UsbProvider, AfterTheEnginesEndTheUsbIsLeftAloneUntilItIsWantedAgain) {
  mtp::setLog([](mtp::LogLevel, const std::string&) {});
  usb->devices = {{}};
  usb->openAnswer = LIBUSB_ERROR_ACCESS;
  _MTP_DEVICE_NODE* head = nullptr;
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0x12000003u);
  EXPECT_THAT(usb->calls, ElementsAre("open 7"));
  mtp::shutdown();
  const int before = usb->lists;
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0x12000001u) << "a thread that has not heard of the end";
  EXPECT_EQ(usb->lists, before);
  mtp::setUsbEnabled(true);
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0x12000003u);
  mtp::shutdown();
  mtp::setLog(nullptr);
}
