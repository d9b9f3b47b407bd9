#include "TessalyMTPSdk/FileReceiver.h"

#include "TessalyMTPSdk/FileWriter.h"
#include "TessalyMTPSdk/Logging.h"
#include "TessalyMTPSdk/ObjectDates.h"
#include "TessalyMTPSdk/PartialFile.h"

namespace mtp {

namespace {

/// Of a smaller file the listing is believed until its contents say something else: asking would take as long as the
/// contents.
constexpr std::uint64_t SmallestAskedFor = FileWriter::Small;

} // namespace

FileReceiver::FileReceiver(Device& device, Subject subject, FileFacts facts, TransferProgress progress)
    : m_device(device)
    , m_subject(std::move(subject))
    , m_facts(std::move(facts))
    , m_progress(std::move(progress)) {}

Status FileReceiver::receive(const std::string& destination) {
  const Session::Watch watch = [this](std::uint64_t) { return m_progress.waiting(); };
  PartialFile partial;
  if (const Status status = partial.open(destination); status != DGSTATUS_SUCCESS)
    return status;
  m_alone = m_device.session().exclusive(watch);
  if (!m_alone)
    return DGSTATUS_IO_CANCEL;
  if (!m_device.isCurrent(m_subject.epoch))
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  if (m_facts.size < SmallestAskedFor)
    m_declared = {m_facts.size};
  else if (const Reply reply = askSize(m_device, m_subject.handle, m_declared, watch); !reply.ok())
    return refused(reply);
  const std::uint64_t likely = likelySize();
  m_progress.setTotal(likely);
  if (const Status status = partial.checkRoom(likely); status != DGSTATUS_SUCCESS)
    return status;
  if (const Status status = receiveInto(partial.file(), partial.replaces()); status != DGSTATUS_SUCCESS)
    return status;
  return m_progress.done() ? partial.commit(parseDate(m_facts.date)) : DGSTATUS_IO_CANCEL;
}

/// What 32 bits cannot tell the listing may.
std::uint64_t FileReceiver::likelySize() const {
  return m_declared.fits(m_facts.size) ? m_facts.size : m_declared.bytes;
}

Status FileReceiver::receiveInto(int file, bool durable) {
  const BufferRing::Waiting waiting = [this] { return m_progress.waiting(); };
  FileWriter writer(file, durable, likelySize());
  std::uint64_t received = 0;
  const Reply reply = m_device.session().receive(
      Operation::GetObject, {m_subject.handle},
      [&](Bytes piece) {
        received += piece.size();
        return writer.put(piece, waiting);
      },
      [this](std::uint64_t moved) { return m_progress.at(moved); }, likelySize());
  if (const Status status = writer.status(); status != DGSTATUS_SUCCESS)
    return status;
  if (!reply.ok())
    return refused(reply);
  if (const Status status = checkSize(received); status != DGSTATUS_SUCCESS)
    return status;
  m_alone.unlock(); // the rest is the computer's
  if (!writer.finish(waiting))
    return m_progress.isStopped() ? DGSTATUS_IO_CANCEL : writer.status();
  return DGSTATUS_SUCCESS;
}

Status FileReceiver::refused(const Reply& reply) {
  return reply.code == Response::InvalidObjectHandle ? noteVanished(m_device, m_subject) : reply.status;
}

/// A file that changed on the phone while it was read is whole if the phone says so.
Status FileReceiver::checkSize(std::uint64_t received) {
  if (m_declared.fits(received))
    return DGSTATUS_SUCCESS;
  const Reply reply =
      askSize(m_device, m_subject.handle, m_declared, [this](std::uint64_t) { return m_progress.waiting(); });
  if (!reply.ok())
    return refused(reply);
  if (m_declared.fits(received))
    return DGSTATUS_SUCCESS;
  log(LogLevel::Warning, "the phone declared %llu bytes and sent %llu",
      static_cast<unsigned long long>(m_declared.bytes), static_cast<unsigned long long>(received));
  return DGSTATUS_INTERNAL_SIZE_MISMATCH;
}

} // namespace mtp
