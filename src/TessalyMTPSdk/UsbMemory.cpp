#include "TessalyMTPSdk/UsbMemory.h"

#include <charconv>
#include <libusb.h>
#include <new>
#include <sys/mman.h>
#include <sys/utsname.h>
#include <utility>

namespace mtp {

namespace {

// Elsewhere such memory may not be cached, and reading it be slower than the copy it saves.
#if defined(__x86_64__) || defined(__i386__)
constexpr bool isLentMemoryCached = true;
#else
constexpr bool isLentMemoryCached = false;
#endif

// Before, memory behind an IOMMU could be shown to the program at a wrong place.
constexpr std::pair firstSoundKernel{5, 8};

bool lends() {
  struct utsname system {};
  return uname(&system) == 0 && isLentMemorySound(system.release);
}

} // namespace

bool isLentMemorySound(std::string_view kernelRelease) {
  std::pair version{0, 0};
  const char* const end = kernelRelease.data() + kernelRelease.size();
  const auto [dot, majorError] = std::from_chars(kernelRelease.data(), end, version.first);
  if (majorError != std::errc() || dot == end || *dot != '.')
    return false;
  const auto [rest, minorError] = std::from_chars(dot + 1, end, version.second);
  return minorError == std::errc() && isLentMemoryCached && version >= firstSoundKernel;
}

UsbMemory takeHeapMemory(std::size_t size) {
  return UsbMemory(new unsigned char[size], {nullptr, size});
}

UsbMemory takeUsbMemory(libusb_device_handle* handle, std::size_t size) {
  if (lends()) {
    if (unsigned char* const memory = libusb_dev_mem_alloc(handle, size); memory != nullptr) {
      madvise(memory, size, MADV_DONTFORK); // the kernel knows it by its address, which is to mean one thing only
      return UsbMemory(memory, {handle, size});
    }
  }
  return takeHeapMemory(size);
}

void UsbMemoryReturn::operator()(unsigned char* memory) const {
  if (lender != nullptr)
    libusb_dev_mem_free(lender, memory, size);
  else
    delete[] memory;
}

} // namespace mtp
