#include "VirtualPhone/Attachment.h"

#include <exception>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace vphone {

using namespace std::chrono_literals;

Attachment::Attachment(const Options& options, bool locked, std::shared_ptr<Service> service)
    : phone_(options)
    , service_(std::move(service))
    , watchEnd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (locked) {
    phone_.tree.setLocked(true);
    phone_.tree.takeChanges();
  }
  if (phone_.tree.watchFd() >= 0 && watchEnd_)
    watch_ = std::thread([this] { watchFolders(); });
}

Attachment::~Attachment() {
  unplug();
  if (watch_.joinable()) {
    eventfd_write(watchEnd_.get(), 1);
    watch_.join();
  }
  std::lock_guard lock(openMutex_);
  if (responder_.joinable())
    responder_.join();
}

bool Attachment::gone() const {
  std::lock_guard lock(linkMutex_);
  return gone_;
}

void Attachment::unplug() {
  std::lock_guard lock(linkMutex_);
  gone_ = true;
  if (link_)
    link_->close();
}

mtp::OpenResult Attachment::open() {
  std::lock_guard lock(openMutex_);
  if (gone())
    return {nullptr, mtp::OpenFailure::Gone, "the virtual phone has been unplugged"};
  if (responder_.joinable()) {
    if (end_->plugged())
      return {nullptr, mtp::OpenFailure::Busy, "the virtual phone is open already"};
    responder_.join(); // on its way out
  }
  {
    std::lock_guard link(linkMutex_);
    if (link_)
      return {nullptr, mtp::OpenFailure::Busy, "the virtual phone is being served on another wire"};
  }
  auto wire = mtp::makeMemoryWire(phone_.options.maxPacketSize);
  end_ = std::move(wire.device);
  responder_ = std::thread([this, end = end_] { serve(*end); });
  return {std::move(wire.initiator), mtp::OpenFailure::None, {}};
}

bool Attachment::serve(mtp::DeviceEnd& end) {
  {
    std::lock_guard lock(linkMutex_);
    if (link_ || gone_) {
      end.close();
      return false;
    }
    link_ = &end;
  }
  phone_.events.begin();
  std::thread events([&] { sendEvents(end); });
  try {
    Channel channel(end, service_->faults, [this] { unplug(); });
    Responder(phone_, channel, service_->statistics, service_->statisticsMutex).run();
  } catch (const std::exception&) {
    // Out of memory or threads: to the host it is a phone that went away.
  }
  end.close();
  phone_.events.end();
  events.join();
  std::lock_guard lock(linkMutex_);
  link_ = nullptr;
  return true;
}

void Attachment::sendEvents(mtp::DeviceEnd& end) {
  while (auto change = phone_.events.pop()) {
    DatasetWriter event;
    event.u32(change->parameter);
    auto& bytes = event.bytes();
    DatasetWriter header;
    header.u32(std::uint32_t(bytes.size()));
    header.u16(std::uint16_t(mtp::ContainerType::Event));
    header.u16(std::uint16_t(change->code));
    header.u32(0xFFFFFFFF); // of no transaction
    std::copy(header.bytes().begin() + HeaderSize, header.bytes().end(), bytes.begin());
    auto status = mtp::IoStatus::Timeout;
    while (status == mtp::IoStatus::Timeout && end.plugged())
      status = end.writeEvent(bytes, 1s);
    if (status == mtp::IoStatus::Gone)
      return;
    std::lock_guard lock(service_->statisticsMutex);
    service_->statistics.eventsSent += status == mtp::IoStatus::Ok;
  }
}

void Attachment::watchFolders() {
  for (;;) {
    pollfd fds[2] = {{phone_.tree.watchFd(), POLLIN, 0}, {watchEnd_.get(), POLLIN, 0}};
    if (poll(fds, 2, -1) < 0 && errno != EINTR)
      return;
    if (fds[1].revents)
      return;
    announce();
  }
}

void Attachment::announce() {
  std::lock_guard lock(phone_.mutex);
  phone_.tree.catchUp();
  phone_.events.push(phone_.tree.takeChanges());
}

} // namespace vphone
