#pragma once
// Copies one file of the phone to the computer.
#include "TessalyMTPSdk/FileWriter.h"
#include "TessalyMTPSdk/ObjectMutation.h"
#include "TessalyMTPSdk/ObjectSize.h"
#include "TessalyMTPSdk/PartialFile.h"
#include "TessalyMTPSdk/TransferProgress.h"

namespace mtp {

/// What is known of the file; taken from its record under the lock.
struct FileFacts {
  std::uint64_t size = 0; // bytes
  std::u16string date;    // as the phone told it
};

/// One copy, on one thread. Two transactions: the file's size, its contents. Of a small file one, unless its contents
/// are not of the size that the listing told: then the phone is asked whether they are all. For a small file the
/// computer's work is done while the phone does its own.
class FileReceiver {
public:
  FileReceiver(Device& device, Subject subject, FileFacts facts, TransferProgress progress);

  /// Blocks. 0: the file is whole, under this name (UTF-8) and with the phone's date. Otherwise what was under that
  /// name is as it was. DGSTATUS_IO_CANCEL: the callback ended it; DGSTATUS_STORAGE_FULL: the computer has no room.
  Status receive(const std::string& destination);

private:
  Status prepare(const std::string& destination);
  Status receiveContents(const std::string& destination);
  bool isSmall() const;
  bool take(Bytes piece);
  Status refused(const Reply& reply);
  Status checkSize();
  std::uint64_t likelySize() const;

  Device& m_device;
  const Subject m_subject;
  const FileFacts m_facts;
  TransferProgress m_progress;
  const BufferRing::Waiting m_waiting;
  const Session::Watch m_watch; // the same, of transactions whose bytes are not the file's
  Session::Exclusive m_alone;
  DeclaredSize m_declared;
  PartialFile m_partial;
  std::optional<FileWriter> m_writer; // into m_partial; none: the file could not be prepared
  std::uint64_t m_received = 0;       // bytes
};

} // namespace mtp
