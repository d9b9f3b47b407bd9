#pragma once
// The phone's end of a real bus: an MTP function on the kernel's FunctionFS (linux/usb/functionfs.h), the interface
// being the still image class (6/1/1) with the string "MTP", as Android's is. The gadget around it (configfs) is made
// by whoever mounts the FunctionFS; it is bound to a controller once the descriptors have been written.
#include "TessalyMTPSdk/MemoryTransport.h"
#include "VirtualPhone/Disk.h"

#include <filesystem>
#include <mutex>
#include <thread>

namespace vphone {

class FunctionFsEnd final : public mtp::DeviceEnd {
public:
  /// Writes the descriptors to the FunctionFS mounted at `mount` and opens its endpoints. Null when that fails, with
  /// the reason in `problem`.
  static std::unique_ptr<FunctionFsEnd> open(const std::filesystem::path& mount, std::string& problem);
  ~FunctionFsEnd() override;

  /// Waits until a host has configured the gadget anew; plugged() is true from then on, until the host or the cable
  /// goes. False once `stopFd` (an eventfd) is readable or the FunctionFS has failed. For the responder thread.
  bool waitForHost(int stopFd);

  std::size_t maxPacketSize() const override;
  mtp::ReadResult read(std::span<std::byte> buffer, Milliseconds limit) override;
  mtp::IoStatus write(std::span<const std::byte> data, Milliseconds limit) override;
  mtp::IoStatus writeEvent(std::span<const std::byte> data, Milliseconds limit) override;
  void stall() override;
  void setControlHandler(ControlHandler handler) override;
  bool plugged() const override;
  /// Ends all calls until the next waitForHost(). The gadget stays on the bus: only its owner can take it off.
  void close() override;

private:
  /// One endpoint: at most one transfer on the way (Linux AIO, so that every wait can be ended).
  class Endpoint {
  public:
    ~Endpoint();
    bool open(const std::filesystem::path& path);
    int fd() const { return fd_.get(); }
    bool isPending() const { return pending_; }
    /// False with errno when the kernel refuses.
    bool submit(bool toHost, void* buffer, std::size_t size);
    /// Waits for the transfer. No value at a time-out or wake(), and the transfer is still on its way.
    std::optional<long> wait(Milliseconds limit);
    /// Ends the transfer; its outcome: bytes, or a negative errno. For the thread that submitted.
    long cancel();
    /// Ends a wait() in progress, or the next one. Any thread.
    void wake();

  private:
    Fd fd_;
    Fd done_; // eventfd, counts finished transfers
    Fd woken_;
    unsigned long context_ = 0;
    std::unique_ptr<std::byte[]> control_; // the kernel's struct iocb
    bool pending_ = false;
  };

  FunctionFsEnd() = default;
  bool start(const std::filesystem::path& mount, std::string& problem);
  void listen();
  void setup(std::span<const std::byte> request);
  void setPlugged(bool plugged);
  mtp::IoStatus interrupted();
  void forgetReceived();

  Fd ep0_;
  Fd stop_; // eventfd: ends listen()
  Fd news_; // eventfd: something happened to the state below
  Endpoint in_;
  Endpoint out_;
  Endpoint event_;
  std::vector<std::byte> received_; // of the read on its way
  std::size_t requested_ = 0;       // its size
  std::size_t taken_ = 0;           // of a finished one, handed out already
  std::size_t finished_ = 0;        // bytes of it
  std::vector<std::byte> early_;    // came before a time-out, for the next call

  mutable std::mutex mutex_; // guards the five below
  bool enabled_ = false;     // the host has configured us
  bool fresh_ = false;       // and waitForHost() has not said so yet
  bool plugged_ = false;
  bool cancelled_ = false;
  bool failed_ = false;

  std::mutex controlMutex_;
  ControlHandler handler_; // guarded by controlMutex_
  std::thread listener_;
};

} // namespace vphone
