#include "TessalyMTPSdk/FileSender.h"

#include "TessalyMTPSdk/FileErrors.h"
#include "TessalyMTPSdk/Logging.h"
#include "TessalyMTPSdk/ObjectDates.h"
#include "TessalyMTPSdk/ObjectNames.h"
#include "TessalyMTPSdk/ObjectSize.h"
#include "TessalyMTPSdk/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace mtp {

namespace {

/// Half of the time for which the computer's own changes are remembered: some phones report each write.
constexpr auto RenewOwnChange = OwnChanges::Remembered / 2;

} // namespace

FileSender::FileSender(Device& device, Place place, TransferProgress progress)
    : m_device(device)
    , m_place(std::move(place))
    , m_progress(std::move(progress))
    , m_watch([this](std::uint64_t) { return m_progress.waiting(); }) {}

Status FileSender::send(const std::u16string& source, Node*& node) {
  const auto path = toUtf8(source);
  if (!path)
    return DGSTATUS_FILE_INVALID_CHAR;
  // Without O_NONBLOCK a pipe would be waited for.
  const OpenFile file(open(path->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat facts {};
  if (!file || fstat(file.get(), &facts) != 0)
    return statusOfError(errno, DGSTATUS_FILE_OPEN_FAILED);
  if (!S_ISREG(facts.st_mode))
    return DGSTATUS_FILE_OPEN_FAILED;
  m_size = static_cast<std::uint64_t>(facts.st_size);
  m_progress.setTotal(m_size);

  ObjectCreation creation(m_device, m_place, std::u16string(fileNameOf(source)));
  if (const Status status = creation.prepare(node, m_watch); status != DGSTATUS_SUCCESS)
    return status;
  if (const Status status = m_device.checkRoom(m_place.listing->storage, m_size, m_watch); status != DGSTATUS_SUCCESS)
    return status;
  FileReader reader(file.get(), m_size, ContainerHeader::Size); // what may fail does so before the phone knows the file
  if (const Status status = creation.announce(false, m_size, sentDate(facts.st_mtime), node, m_watch);
      status != DGSTATUS_SUCCESS)
    return status;
  if (const Status status = sendContents(reader, creation); status != DGSTATUS_SUCCESS) {
    creation.withdraw();
    return status;
  }
  m_device.takeRoom(m_place.listing->storage, m_size);
  node = creation.adopt(m_size, toldDate(facts.st_mtime));
  return DGSTATUS_SUCCESS;
}

Status FileSender::sendContents(FileReader& reader, ObjectCreation& creation) {
  const auto now = m_device.session().limits().now;
  auto renewed = now();
  const Reply reply = m_device.session().send(
      Operation::SendObject, {}, m_size, [&] { return reader.next([this] { return m_progress.waiting(); }); },
      [&](std::uint64_t moved) {
        if (now() - renewed >= RenewOwnChange) {
          renewed = now();
          m_device.noteOwnChange(creation.handle(), OwnChange::Stored);
        }
        return m_progress.at(moved);
      });
  if (const Status status = reader.status(); status != DGSTATUS_SUCCESS)
    return status;
  if (!reply.ok())
    return refusalOf(reply);
  if (const Status status = verify(creation.handle()); status != DGSTATUS_SUCCESS)
    return status;
  return m_progress.done() ? DGSTATUS_SUCCESS : DGSTATUS_IO_CANCEL;
}

/// Some responders answer OK to a file that they have cut short.
Status FileSender::verify(std::uint32_t handle) {
  DeclaredSize held;
  if (const Reply reply = askSize(m_device, handle, held, m_watch); !reply.ok())
    return refusalOf(reply);
  if (held.fits(m_size))
    return DGSTATUS_SUCCESS;
  log(LogLevel::Warning, "the phone holds %llu of %llu bytes", static_cast<unsigned long long>(held.bytes),
      static_cast<unsigned long long>(m_size));
  m_device.forgetRoom(m_place.listing->storage);
  // What it holds takes room: without that much more it was the room that ended.
  const Status room = m_device.checkRoom(m_place.listing->storage, m_size - std::min(m_size, held.bytes), m_watch);
  return room == DGSTATUS_STORAGE_FULL ? room : DGSTATUS_INTERNAL_INCOMPLETETRANSFER;
}

} // namespace mtp
