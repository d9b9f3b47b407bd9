#include "TessalyMTPSdk/UsbHolders.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace mtp {

std::vector<UsbHolder> holdersOf(const std::string& node) {
  namespace fs = std::filesystem;
  std::vector<UsbHolder> holders;
  std::error_code ignored;
  for (fs::directory_iterator process("/proc", ignored), end; process != end; process.increment(ignored)) {
    const std::string id = process->path().filename().string();
    if (id.find_first_not_of("0123456789") != std::string::npos) {
      continue;
    }
    const bool own = id == std::to_string(::getpid());
    for (fs::directory_iterator file(process->path() / "fd", ignored), last; !ignored && file != last;
         file.increment(ignored)) {
      std::error_code gone;
      if (fs::read_symlink(file->path(), gone) != node) {
        continue;
      }
      if (!own) {
        std::string name;
        std::ifstream comm(process->path() / "comm");
        std::getline(comm, name);
        holders.push_back({name, id});
      }
      break;
    }
    ignored.clear();
  }
  return holders;
}

} // namespace mtp
