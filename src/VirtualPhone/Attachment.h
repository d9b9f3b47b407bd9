#pragma once
// One plugging-in of the phone: its objects, its watch and the wire it is served on. Any thread.
#include "VirtualPhone/Responder.h"

#include <memory>
#include <thread>

namespace vphone {

/// What outlives an attachment.
struct Service {
  Faults faults;
  std::mutex statisticsMutex;
  Statistics statistics;
};

class Attachment {
public:
  Attachment(const Options& options, bool locked, std::shared_ptr<Service> service);
  /// Ends and joins the threads.
  ~Attachment();
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;

  Phone& phone() { return phone_; }
  /// A new wire, served on a thread of its own.
  mtp::OpenResult open();
  /// Serves on the calling thread. False when a wire is being served already.
  bool serve(mtp::DeviceEnd& end);
  /// Closes the wire; nothing is served any more.
  void unplug();
  bool gone() const;
  /// Tells the host what has been changed in the tree from outside.
  void announce();

private:
  void watchFolders();
  void sendEvents(mtp::DeviceEnd& end);

  Phone phone_;
  std::shared_ptr<Service> service_;

  mutable std::mutex linkMutex_;
  mtp::DeviceEnd* link_ = nullptr; // being served; guarded by linkMutex_
  bool gone_ = false;              // guarded by linkMutex_

  std::mutex openMutex_; // one open() at a time; guards the two below
  std::shared_ptr<mtp::DeviceEnd> end_;
  std::thread responder_;

  Fd watchEnd_; // an eventfd: written to end the watch
  std::thread watch_;
};

} // namespace vphone
