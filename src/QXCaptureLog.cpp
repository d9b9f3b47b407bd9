#include "QXCaptureLog.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/SystemVersion.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <plist/plist.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr qint64 kMaxInfoFile = 1 << 20;

struct PlistFree {
  void operator()(void* node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, PlistFree>;

// How a property list says what form it has; the numbers are those the log line is known by.
enum PropertyListFormat { kUnknownForm = 0, kXmlForm = 100, kBinaryForm = 200 };

PropertyListFormat formOf(const QByteArray& contents) {
  if (contents.startsWith("bplist"))
    return kBinaryForm;
  return contents.trimmed().startsWith('<') ? kXmlForm : kUnknownForm;
}

void discardStandardError() {
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0)
    return;
  ::dup2(nowhere, STDERR_FILENO);
  if (nowhere != STDERR_FILENO)
    ::close(nowhere);
}

// Serial numbers of phones are in it: only the owner may read it.
constexpr mode_t kLogMode = S_IRUSR | S_IWUSR;

// Emptied, to be appended to; null with errno. Never waits: something else than a file may stand in its place.
std::FILE* openLogFile(const QByteArray& path) {
  const int file = ::open(path.constData(), O_RDWR | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kLogMode);
  if (file < 0)
    return nullptr;
  struct stat status = {};
  int error = ::fstat(file, &status) != 0 ? errno : !S_ISREG(status.st_mode) ? EINVAL : 0;
  if (error == 0 && ::ftruncate(file, 0) != 0)
    error = errno;
  if (error != 0) {
    ::close(file);
    errno = error;
    return nullptr;
  }
  ::fchmod(file, kLogMode); // it may be there from before, made by somebody less careful
  return ::fdopen(file, "a+");
}

QString shortVersion(const Plist& list) {
  if (plist_get_node_type(list.get()) != PLIST_DICT)
    return QStringLiteral("(null)");
  const plist_t value = plist_dict_get_item(list.get(), "CFBundleShortVersionString");
  if (value == nullptr || plist_get_node_type(value) != PLIST_STRING)
    return QStringLiteral("(null)");
  char* text = nullptr;
  plist_get_string_val(value, &text);
  QString version = QString::fromUtf8(text);
  std::free(text);
  return version;
}

} // namespace

QXCaptureLog& QXCaptureLog::defaultCaptureLog(const QString& appDataPath) {
  platform::assertMainThread();
  static QXCaptureLog* const singleton_capturelog =
      new QXCaptureLog(appDataPath + QStringLiteral("/Log/mtpCapture.log"));
  return *singleton_capturelog;
}

QString QXCaptureLog::legacyDriverInfoPath() {
  return QStringLiteral("/Library/Extensions/corvdrv.kext/Contents/Plugins/corvmtp.kext/Contents/Info.plist");
}

QXCaptureLog::QXCaptureLog(const QString& filePath, const QString& driverInfoPath, const platform::LogSizes& sizes)
    : logfilePath(filePath)
    , m_driverInfoPath(driverInfoPath)
    , m_sizes(sizes) {
  const QByteArray shown = filePath.toUtf8();
  if (QFileInfo::exists(filePath)) {
    MTPB_LOG_PLAIN("File already exists at %s", shown.constData());
    return;
  }
  const std::filesystem::path path(QFile::encodeName(filePath).toStdString());
  std::error_code error;
  std::filesystem::create_directories(path.parent_path(), error);
  if (error) {
    MTPB_LOG_PLAIN("Error: The folder \"%s\" could not be created.", path.parent_path().c_str());
    MTPB_LOG_PLAIN("Failure Reason: %s", error.message().c_str());
    MTPB_LOG_PLAIN("Recovery Suggestion: %s", "Check that the folder above it may be written to and has space left.");
    MTPB_LOG_PLAIN("Error Code: %ld", long(error.value()));
    MTPB_LOG_PLAIN("Domain: %s", error.category().name());
    return;
  }
  MTPB_LOG_PLAIN("No error details available");
  const int file =
      ::open(QFile::encodeName(filePath).constData(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, kLogMode);
  if (file >= 0) {
    ::close(file);
    MTPB_LOG_PLAIN("File created successfully at %s", shown.constData());
  } else {
    MTPB_LOG_PLAIN("Failed to create file at %s", shown.constData());
  }
}

QXCaptureLog::~QXCaptureLog() {
  stopCapture();
}

void QXCaptureLog::startCapture() {
  platform::assertMainThread();
  if (started)
    return;
  std::fflush(stderr);
  if (::fcntl(STDERR_FILENO, F_GETFD) < 0)
    discardStandardError(); // started without one: the log file must not become descriptor 2 by itself
  stderrSave = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  logfile = openLogFile(QFile::encodeName(logfilePath));
  // The descriptor is exchanged in one step: threads that write meanwhile hit the old destination or the new one. A
  // late line of the capture before goes to the end of the emptied file, not to where it would have stood.
  if (logfile != nullptr) {
    ::dup2(::fileno(logfile), STDERR_FILENO);
    platform::limitLog(::fileno(logfile), m_sizes);
  } else {
    const int error = errno;
    MTPB_LOG_PLAIN("%s cannot be opened, nothing will be logged: %s", logfilePath.toUtf8().constData(),
                   std::strerror(error));
    discardStandardError();
  }
  MTPB_LOG_PLAIN("start Capture");
  const platform::SystemVersion version = platform::systemVersion().value_or(platform::SystemVersion{});
  MTPB_LOG_PLAIN("macOS %ld.%ld.%ld", version.major, version.minor, version.patch);
  started = true;
  printMTPSDKVersion();
}

void QXCaptureLog::stopCapture() {
  if (!started)
    return;
  platform::assertMainThread();
  MTPB_LOG_PLAIN("stop Capture");
  std::fflush(stderr);
  if (stderrSave >= 0) {
    ::dup2(stderrSave, STDERR_FILENO);
    ::close(stderrSave);
    stderrSave = -1;
  }
  platform::unlimitLog();
  if (logfile != nullptr)
    std::fclose(logfile);
  logfile = nullptr;
  started = false;
}

void QXCaptureLog::printMTPSDKVersion() const {
  QFile file(m_driverInfoPath);
  if (!file.exists()) {
    MTPB_LOG_PLAIN("MTP SDK info file is not existed.");
    return;
  }
  QByteArray contents;
  if (file.open(QIODevice::ReadOnly))
    contents = file.read(kMaxInfoFile);
  plist_t parsed = nullptr;
  plist_from_memory(contents.constData(), uint32_t(contents.size()), &parsed);
  const Plist list(parsed);
  if (!list) {
    const QString reason =
        file.error() == QFileDevice::NoError ? QStringLiteral("it is no property list") : file.errorString();
    MTPB_LOG_PLAIN("Error reading plist: %s, format: %d", qUtf8Printable(reason), int(formOf(contents)));
    return;
  }
  MTPB_LOG_PLAIN("MTP SDK Version is %s", qUtf8Printable(shortVersion(list)));
}
