// vphone-gadget: puts the virtual phone on a real USB, as an MTP function of a Linux gadget.
#include "VirtualPhone/FunctionFsEnd.h"
#include "VirtualPhone/VirtualPhone.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/eventfd.h>

namespace {

constexpr const char* Usage =
    "usage: vphone-gadget --ffs MOUNT --storage FOLDER:NAME [--storage FOLDER:NAME ...]\n"
    "                     [--manufacturer TEXT] [--model TEXT] [--serial TEXT] [--name TEXT]\n"
    "                     [--without CODE] [--ignore-depth] [--no-zlp]\n"
    "Serves the folders as the storages of an MTP phone through the FunctionFS mounted at MOUNT, until it is told to "
    "end.\n"
    "Bind the gadget to its controller once MOUNT/ep1 exists. --without takes an operation (hexadecimal) away.\n";

int stopFd = -1; // written before the handlers are installed

void onSignal(int) {
  eventfd_write(stopFd, 1);
}

bool parse(int argc, char** argv, vphone::Options& options, std::string& mount) {
  for (int i = 1; i < argc; ++i) {
    std::string_view name = argv[i];
    if (name == "--ignore-depth") {
      options.manners.ignoresDepth = true;
      continue;
    }
    if (name == "--no-zlp") {
      options.manners.zeroLengthPackets = false;
      continue;
    }
    if (i + 1 == argc)
      return false;
    std::string value = argv[++i];
    if (name == "--ffs") {
      mount = value;
    } else if (name == "--storage") {
      auto colon = value.rfind(':');
      if (colon == std::string::npos)
        return false;
      vphone::StorageOptions storage;
      storage.folder = value.substr(0, colon);
      storage.description = value.substr(colon + 1);
      storage.removable = !options.storages.empty();
      options.storages.push_back(storage);
    } else if (name == "--manufacturer") {
      options.manufacturer = value;
    } else if (name == "--model") {
      options.model = value;
    } else if (name == "--serial") {
      options.serial = value;
    } else if (name == "--name") {
      options.friendlyName = value;
    } else if (name == "--without") {
      options.manners.missingOperations.insert(std::uint16_t(std::strtoul(value.c_str(), nullptr, 16)));
    } else {
      return false;
    }
  }
  return !mount.empty() && !options.storages.empty();
}

} // namespace

int main(int argc, char** argv) {
  vphone::Options options;
  std::string mount;
  if (!parse(argc, argv, options, mount)) {
    std::fputs(Usage, stderr);
    return 2;
  }
  std::string problem;
  auto end = vphone::FunctionFsEnd::open(mount, problem);
  if (!end) {
    std::fprintf(stderr, "vphone-gadget: %s\n", problem.c_str());
    return 1;
  }
  stopFd = eventfd(0, EFD_CLOEXEC);
  struct sigaction action {};
  action.sa_handler = onSignal;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);

  vphone::VirtualPhone phone(options);
  std::thread stopper([&] { // a signal ends the service in progress, too
    eventfd_t count = 0;
    eventfd_read(stopFd, &count);
    eventfd_write(stopFd, 1);
    end->close();
  });
  while (end->waitForHost(stopFd)) {
    phone.plug();
    phone.serve(*end);
    phone.unplug();
  }
  eventfd_write(stopFd, 1);
  stopper.join();
  return 0;
}
