#pragma once
// Copies one file of the computer to the phone.
#include "TessalyMTPSdk/FileReader.h"
#include "TessalyMTPSdk/ObjectCreation.h"
#include "TessalyMTPSdk/TransferProgress.h"

namespace mtp {

/// One copy, on one thread. Three transactions where the folder is known: the announcement, the contents, and the
/// question how much of them the phone holds.
class FileSender {
public:
  FileSender(Device& device, Place place, TransferProgress progress);

  /// Blocks. `node`: the new file's record, or with a clash that of the object of such a name (see
  /// ObjectCreation::prepare); null in all other cases. 0: the phone holds the whole file. Otherwise nothing of it is
  /// left there, as far as the phone can still be reached. DGSTATUS_IO_CANCEL: the callback ended it;
  /// DGSTATUS_STORAGE_FULL: the phone has no room.
  Status send(const std::u16string& source, Node*& node);

private:
  Status sendContents(FileReader& reader, ObjectCreation& creation);
  Status verify(std::uint32_t handle);

  Device& m_device;
  const Place m_place;
  TransferProgress m_progress;
  const Session::Watch m_watch; // while nothing moves
  std::uint64_t m_size = 0;
};

} // namespace mtp
