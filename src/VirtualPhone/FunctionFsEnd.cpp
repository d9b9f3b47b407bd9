#include "VirtualPhone/FunctionFsEnd.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <endian.h>
#include <fcntl.h>
#include <linux/aio_abi.h>
#include <linux/usb/ch9.h>
#include <linux/usb/functionfs.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace vphone {
namespace {

using Clock = std::chrono::steady_clock;
using mtp::IoStatus;

constexpr std::size_t LargestTransfer = 1 << 20;
constexpr std::size_t EventSize = 28;
constexpr std::uint8_t CancelRequest = 0x64;
constexpr std::uint8_t ResetRequest = 0x66;

/// Descriptors are little-endian packed bytes; written one by one, they need no structs of three layouts.
struct Bytes {
  std::vector<std::uint8_t> bytes;
  Bytes& n(std::uint32_t v, int size) {
    for (int i = 0; i < size; ++i)
      bytes.push_back(std::uint8_t(v >> (8 * i)));
    return *this;
  }
  void text(const char* s, std::size_t room) {
    for (std::size_t i = 0; i < room; ++i)
      bytes.push_back(*s ? std::uint8_t(*s++) : 0);
  }
};

void addEndpoint(Bytes& out, std::uint8_t address, std::uint8_t type, std::uint16_t packet, std::uint8_t interval,
                 bool super) {
  out.n(USB_DT_ENDPOINT_SIZE, 1).n(USB_DT_ENDPOINT, 1).n(address, 1).n(type, 1).n(packet, 2).n(interval, 1);
  if (super) {
    out.n(USB_DT_SS_EP_COMP_SIZE, 1).n(USB_DT_SS_ENDPOINT_COMP, 1).n(0, 1).n(0, 1);
    out.n(type == USB_ENDPOINT_XFER_INT ? packet : 0, 2);
  }
}

/// The interface and its endpoints at one speed.
void addInterface(Bytes& out, std::uint16_t packet, std::uint8_t interval, bool super) {
  out.n(USB_DT_INTERFACE_SIZE, 1).n(USB_DT_INTERFACE, 1).n(0, 1).n(0, 1).n(3, 1);
  out.n(USB_CLASS_STILL_IMAGE, 1).n(1, 1).n(1, 1).n(1, 1);
  addEndpoint(out, USB_DIR_IN | 1, USB_ENDPOINT_XFER_BULK, packet, 0, super);
  addEndpoint(out, USB_DIR_OUT | 2, USB_ENDPOINT_XFER_BULK, packet, 0, super);
  addEndpoint(out, USB_DIR_IN | 3, USB_ENDPOINT_XFER_INT, EventSize, interval, super);
}

std::vector<std::uint8_t> descriptors() {
  Bytes out;
  out.n(FUNCTIONFS_DESCRIPTORS_MAGIC_V2, 4).n(0, 4);
  out.n(FUNCTIONFS_HAS_FS_DESC | FUNCTIONFS_HAS_HS_DESC | FUNCTIONFS_HAS_SS_DESC | FUNCTIONFS_HAS_MS_OS_DESC, 4);
  out.n(4, 4).n(4, 4).n(7, 4).n(1, 4); // how many descriptors follow for each
  addInterface(out, 64, 6, false);
  addInterface(out, 512, 6, false);
  addInterface(out, 1024, 6, true);
  // Microsoft's compatible ID, by which Windows and some hosts know MTP.
  out.n(0, 1).n(11 + 24, 4).n(1, 2).n(4, 2).n(1, 1).n(0, 1);
  out.n(0, 1).n(1, 1);
  out.text("MTP", 8);
  out.text("", 8 + 6);
  auto size = std::uint32_t(out.bytes.size());
  for (int i = 0; i < 4; ++i)
    out.bytes[std::size_t(4 + i)] = std::uint8_t(size >> (8 * i));
  return out.bytes;
}

std::vector<std::uint8_t> strings() {
  Bytes out;
  out.n(FUNCTIONFS_STRINGS_MAGIC, 4).n(16 + 2 + 4, 4).n(1, 4).n(1, 4).n(0x0409, 2);
  out.text("MTP", 4);
  return out.bytes;
}

bool writeWhole(int fd, const std::vector<std::uint8_t>& bytes) {
  return ::write(fd, bytes.data(), bytes.size()) == ssize_t(bytes.size());
}

void drain(int eventFd) {
  eventfd_t count = 0;
  eventfd_read(eventFd, &count);
}

Fd makeEventFd() {
  return Fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
}

int pollTime(Clock::time_point deadline) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count() + 1;
  return int(std::clamp<long long>(left, 0, 3600 * 1000));
}

} // namespace

FunctionFsEnd::Endpoint::~Endpoint() {
  if (pending_)
    cancel();
  if (context_)
    syscall(SYS_io_destroy, context_);
}

bool FunctionFsEnd::Endpoint::open(const std::filesystem::path& path) {
  fd_ = Fd(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  done_ = makeEventFd();
  woken_ = makeEventFd();
  control_ = std::make_unique<std::byte[]>(sizeof(iocb));
  return fd_ && done_ && woken_ && syscall(SYS_io_setup, 1, &context_) == 0;
}

bool FunctionFsEnd::Endpoint::submit(bool toHost, void* buffer, std::size_t size) {
  auto* control = new (control_.get()) iocb{};
  control->aio_lio_opcode = toHost ? IOCB_CMD_PWRITE : IOCB_CMD_PREAD;
  control->aio_fildes = std::uint32_t(fd_.get());
  control->aio_buf = reinterpret_cast<std::uintptr_t>(buffer);
  control->aio_nbytes = size;
  control->aio_flags = IOCB_FLAG_RESFD;
  control->aio_resfd = std::uint32_t(done_.get());
  drain(done_.get());
  pending_ = syscall(SYS_io_submit, context_, 1, &control) == 1;
  return pending_;
}

std::optional<long> FunctionFsEnd::Endpoint::wait(Milliseconds limit) {
  auto deadline = Clock::now() + std::min(limit, Milliseconds(std::chrono::hours(24)));
  for (;;) {
    io_event event{};
    timespec none{};
    if (syscall(SYS_io_getevents, context_, 0, 1, &event, &none) == 1) {
      pending_ = false;
      return long(event.res);
    }
    pollfd fds[2] = {{done_.get(), POLLIN, 0}, {woken_.get(), POLLIN, 0}};
    int ready = poll(fds, 2, pollTime(deadline));
    if (ready > 0 && fds[0].revents)
      drain(done_.get());
    else if (ready > 0) {
      drain(woken_.get());
      return std::nullopt;
    } else if (ready == 0 && Clock::now() >= deadline) {
      return std::nullopt;
    }
  }
}

long FunctionFsEnd::Endpoint::cancel() {
  io_event event{};
  syscall(SYS_io_cancel, context_, reinterpret_cast<iocb*>(control_.get()), &event);
  timespec limit{5, 0}; // the controller's driver gives a dequeued request back at once
  bool ended = syscall(SYS_io_getevents, context_, 1, 1, &event, &limit) == 1;
  pending_ = !ended;
  return ended ? long(event.res) : -EIO;
}

void FunctionFsEnd::Endpoint::wake() {
  eventfd_write(woken_.get(), 1);
}

std::unique_ptr<FunctionFsEnd> FunctionFsEnd::open(const std::filesystem::path& mount, std::string& problem) {
  std::unique_ptr<FunctionFsEnd> end(new FunctionFsEnd);
  return end->start(mount, problem) ? std::move(end) : nullptr;
}

bool FunctionFsEnd::start(const std::filesystem::path& mount, std::string& problem) {
  auto failed = [&](const char* what) {
    problem =
        std::string(what) + " in " + mount.string() + ": " + std::strerror(errno); // NOLINT(concurrency-mt-unsafe)
    return false;
  };
  stop_ = makeEventFd();
  news_ = makeEventFd();
  received_.resize(LargestTransfer);
  ep0_ = Fd(::open((mount / "ep0").c_str(), O_RDWR | O_CLOEXEC));
  if (!ep0_ || !stop_ || !news_)
    return failed("cannot open ep0");
  if (!writeWhole(ep0_.get(), descriptors()))
    return failed("the kernel refuses the descriptors");
  if (!writeWhole(ep0_.get(), strings()))
    return failed("the kernel refuses the strings");
  if (!in_.open(mount / "ep1") || !out_.open(mount / "ep2") || !event_.open(mount / "ep3"))
    return failed("cannot open the endpoints");
  listener_ = std::thread([this] { listen(); });
  return true;
}

FunctionFsEnd::~FunctionFsEnd() {
  close();
  if (listener_.joinable()) {
    eventfd_write(stop_.get(), 1);
    listener_.join();
  }
}

void FunctionFsEnd::setPlugged(bool plugged) {
  {
    std::lock_guard lock(mutex_);
    enabled_ = fresh_ = plugged;
    plugged_ = false; // a host that configures us anew begins anew
  }
  eventfd_write(news_.get(), 1);
  in_.wake();
  out_.wake();
  event_.wake();
}

void FunctionFsEnd::listen() {
  for (;;) {
    pollfd fds[2] = {{ep0_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
    if (poll(fds, 2, -1) < 0 && errno != EINTR)
      break;
    if (fds[1].revents)
      return;
    if (!fds[0].revents)
      continue;
    usb_functionfs_event event{};
    auto size = ::read(ep0_.get(), &event, sizeof event);
    if (size < 0 && (errno == EINTR || errno == EIDRM || errno == EAGAIN))
      continue; // EIDRM: a request was replaced by a newer one
    if (size != sizeof event)
      break;
    switch (event.type) {
    case FUNCTIONFS_ENABLE:
      setPlugged(true);
      break;
    case FUNCTIONFS_DISABLE:
    case FUNCTIONFS_UNBIND:
      setPlugged(false);
      break;
    case FUNCTIONFS_SETUP:
      setup(std::as_bytes(std::span(&event.u.setup, 1)));
      break;
    default:
      break;
    }
  }
  {
    std::lock_guard lock(mutex_);
    failed_ = true;
  }
  setPlugged(false);
}

void FunctionFsEnd::setup(std::span<const std::byte> request) {
  usb_ctrlrequest setup{};
  std::memcpy(&setup, request.data(), sizeof setup);
  auto length = std::size_t(le16toh(setup.wLength));
  bool fromPhone = setup.bRequestType & USB_DIR_IN;
  std::optional<std::vector<std::byte>> answer;
  std::vector<std::byte> data(length);
  char nothing = 0;
  if (!fromPhone) {
    auto size = ::read(ep0_.get(), length ? static_cast<void*>(data.data()) : &nothing, length);
    if (size < 0)
      return;
    data.resize(std::size_t(size));
  }
  {
    std::lock_guard lock(controlMutex_);
    if (handler_)
      answer = handler_(setup.bRequest, !fromPhone, fromPhone ? std::span<const std::byte>() : data);
  }
  if (fromPhone && answer)
    (void)!::write(ep0_.get(), answer->data(), std::min(answer->size(), length));
  else if (fromPhone)
    (void)!::read(ep0_.get(), &nothing, 0); // the wrong way round: stalls the request
  if (!fromPhone && answer && (setup.bRequest == CancelRequest || setup.bRequest == ResetRequest)) {
    {
      std::lock_guard lock(mutex_);
      cancelled_ = true;
    }
    in_.wake();
    out_.wake();
  }
}

bool FunctionFsEnd::waitForHost(int stopFd) {
  for (;;) {
    pollfd stopped{stopFd, POLLIN, 0};
    if (poll(&stopped, 1, 0) != 0)
      return false;
    {
      std::lock_guard lock(mutex_);
      if (failed_)
        return false;
      if (enabled_ && std::exchange(fresh_, false)) {
        plugged_ = true;
        cancelled_ = false;
        forgetReceived();
        return true;
      }
    }
    pollfd fds[2] = {{news_.get(), POLLIN, 0}, {stopFd, POLLIN, 0}};
    if (poll(fds, 2, -1) < 0 && errno != EINTR)
      return false;
    drain(news_.get());
  }
}

void FunctionFsEnd::forgetReceived() {
  requested_ = taken_ = finished_ = 0;
  early_.clear();
}

std::size_t FunctionFsEnd::maxPacketSize() const {
  usb_endpoint_descriptor descriptor{};
  if (ioctl(in_.fd(), FUNCTIONFS_ENDPOINT_DESC, &descriptor) < 0)
    return 512;
  return le16toh(descriptor.wMaxPacketSize) & 0x7FF;
}

/// Gone or Cancelled when one of them has come to pass, else Ok.
IoStatus FunctionFsEnd::interrupted() {
  std::lock_guard lock(mutex_);
  if (!plugged_)
    return IoStatus::Gone;
  return std::exchange(cancelled_, false) ? IoStatus::Cancelled : IoStatus::Ok;
}

mtp::ReadResult FunctionFsEnd::read(std::span<std::byte> buffer, Milliseconds limit) {
  auto deadline = Clock::now() + std::min(limit, Milliseconds(std::chrono::hours(24)));
  auto size = std::min(early_.size(), buffer.size());
  std::copy_n(early_.begin(), size, buffer.begin());
  early_.erase(early_.begin(), early_.begin() + std::ptrdiff_t(size));
  for (;;) {
    auto part = std::min(finished_ - taken_, buffer.size() - size);
    std::copy_n(received_.begin() + std::ptrdiff_t(taken_), part, buffer.begin() + std::ptrdiff_t(size));
    taken_ += part;
    size += part;
    if (requested_ && taken_ == finished_ && !out_.isPending()) {
      bool ended = finished_ < requested_;
      requested_ = 0;
      if (ended)
        return {IoStatus::Ok, size, true};
    }
    if (size == buffer.size())
      return {IoStatus::Ok, size, false};
    if (auto status = interrupted(); status != IoStatus::Ok) {
      if (out_.isPending())
        out_.cancel();
      forgetReceived();
      return {status, 0, false};
    }
    if (!out_.isPending()) {
      taken_ = finished_ = 0;
      requested_ = std::min(buffer.size() - size, received_.size());
      while (!out_.submit(false, received_.data(), requested_)) {
        if (errno != ENOMEM || requested_ <= 16384) {
          requested_ = 0;
          return {errno == ESHUTDOWN || errno == ENODEV ? IoStatus::Gone : IoStatus::Error, 0, false};
        }
        requested_ /= 2;
      }
    }
    auto left = std::chrono::duration_cast<Milliseconds>(deadline - Clock::now());
    auto outcome = out_.wait(std::max(left, Milliseconds(0)));
    if (outcome && *outcome < 0) {
      requested_ = 0;
      if (auto status = interrupted(); status != IoStatus::Ok)
        return {status, 0, false};
      return {*outcome == -ESHUTDOWN || *outcome == -ENODEV ? IoStatus::Gone : IoStatus::Error, 0, false};
    }
    if (outcome) {
      finished_ = std::size_t(*outcome);
    } else if (Clock::now() >= deadline) {
      early_.assign(buffer.begin(), buffer.begin() + std::ptrdiff_t(size));
      return {IoStatus::Timeout, 0, false};
    }
  }
}

IoStatus FunctionFsEnd::write(std::span<const std::byte> data, Milliseconds limit) {
  const auto packet = maxPacketSize();
  auto piece = LargestTransfer;
  do {
    if (auto status = interrupted(); status != IoStatus::Ok)
      return status;
    auto size = std::min(data.size(), piece);
    if (!in_.submit(true, const_cast<std::byte*>(data.data()), size)) {
      if (errno == ENOMEM && piece > 16 * packet) {
        piece = piece / 2 / packet * packet;
        continue;
      }
      return errno == ESHUTDOWN || errno == ENODEV ? IoStatus::Gone : IoStatus::Error;
    }
    std::optional<long> outcome;
    auto status = IoStatus::Ok;
    auto deadline = Clock::now() + std::min(limit, Milliseconds(std::chrono::hours(24)));
    while (!outcome && status == IoStatus::Ok) {
      auto left = std::chrono::duration_cast<Milliseconds>(deadline - Clock::now());
      outcome = in_.wait(std::max(left, Milliseconds(0)));
      if (!outcome) {
        status = interrupted();
        if (status == IoStatus::Ok && Clock::now() >= deadline)
          status = IoStatus::Timeout;
      }
    }
    if (status != IoStatus::Ok) {
      in_.cancel();
      return status;
    }
    if (*outcome < 0) {
      if (auto why = interrupted(); why != IoStatus::Ok)
        return why;
      return *outcome == -ESHUTDOWN || *outcome == -ENODEV ? IoStatus::Gone : IoStatus::Error;
    }
    data = data.subspan(std::min(data.size(), std::size_t(*outcome)));
  } while (!data.empty());
  return IoStatus::Ok;
}

IoStatus FunctionFsEnd::writeEvent(std::span<const std::byte> data, Milliseconds limit) {
  if (!plugged())
    return IoStatus::Gone;
  if (!event_.submit(true, const_cast<std::byte*>(data.data()), data.size()))
    return errno == ESHUTDOWN || errno == ENODEV ? IoStatus::Gone : IoStatus::Error;
  auto deadline = Clock::now() + std::min(limit, Milliseconds(std::chrono::hours(24)));
  for (;;) {
    auto left = std::chrono::duration_cast<Milliseconds>(deadline - Clock::now());
    auto outcome = event_.wait(std::max(left, Milliseconds(0)));
    if (outcome)
      return *outcome >= 0 ? IoStatus::Ok : plugged() ? IoStatus::Error : IoStatus::Gone;
    bool late = Clock::now() >= deadline;
    if (!plugged() || late) {
      if (event_.cancel() == long(data.size()))
        return IoStatus::Ok; // it went out at the last moment
      return plugged() ? IoStatus::Timeout : IoStatus::Gone;
    }
  }
}

void FunctionFsEnd::stall() {
  if (out_.isPending())
    out_.cancel();
  forgetReceived();
  // Going the wrong way halts an endpoint.
  char nothing = 0;
  (void)!::read(in_.fd(), &nothing, 0);
  (void)!::write(out_.fd(), &nothing, 0);
}

void FunctionFsEnd::setControlHandler(ControlHandler handler) {
  std::lock_guard lock(controlMutex_);
  handler_ = std::move(handler);
}

bool FunctionFsEnd::plugged() const {
  std::lock_guard lock(mutex_);
  return plugged_;
}

void FunctionFsEnd::close() {
  {
    std::lock_guard lock(mutex_);
    plugged_ = false;
  }
  in_.wake();
  out_.wake();
  event_.wake();
}

} // namespace vphone
