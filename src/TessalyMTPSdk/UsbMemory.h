#pragma once
// Memory for large USB transfers.
#include <cstddef>
#include <memory>
#include <string_view>

struct libusb_device_handle;

namespace mtp {

/// Gives memory back to where it came from: to the kernel if it has a lender, else to the heap.
struct UsbMemoryReturn {
  libusb_device_handle* lender = nullptr;
  std::size_t size = 0;
  void operator()(unsigned char* memory) const;
};
using UsbMemory = std::unique_ptr<unsigned char[], UsbMemoryReturn>;

/// `size` bytes of any content for transfers of `handle`, which must not be closed before they are given back. Where it
/// is safe they are borrowed from the kernel: the USB controller writes such memory itself, so what comes is not copied
/// to the program. Usbfs lends 16 MiB to all programs together, and a transfer from the heap takes its share of them,
/// too, while it is pending. Where the kernel has no memory in one piece, or it is not safe, they are heap. May wait
/// for the kernel to find them. Throws std::bad_alloc.
UsbMemory takeUsbMemory(libusb_device_handle* handle, std::size_t size);

/// The same memory from the heap.
UsbMemory takeHeapMemory(std::size_t size);

/// Whether what a kernel of this release ("6.1.0-28-amd64", from uname()) lends may be used on this kind of processor.
bool isLentMemorySound(std::string_view kernelRelease);

} // namespace mtp
