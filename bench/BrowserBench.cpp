// What the user waits for: 100,000 files in one folder of the virtual phone, through responder, wire, engine, access
// layer and window, until the first rows are painted; sorting them by each column; what one listed entry costs in
// resident memory. Prints one line a figure.
#include "BenchWindow.h"
#include "MTPCore/MTPDextSDKWrapper.h"
#include "Platform/Log.h"
#include "Platform/Workers.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/WindowLayout.h"
#include "TessalyMTPSdk/Engine.h"
#include "TessalyMTPSdk/MtpCodes.h"
#include "TessalyMTPSdk/Session.h"
#include "UI/Controls/SOutlineView.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMainWindow>
#include <QProcess>
#include <QTemporaryDir>

#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using namespace bench;

long residentBytes() {
  QFile file(QStringLiteral("/proc/self/statm"));
  if (!file.open(QIODevice::ReadOnly))
    return 0;
  return file.readAll().split(' ').value(1).toLong() * 4096;
}

// What the phone itself keeps for a folder: a listing that nobody keeps. Meant for a process of its own.
int measurePhoneAlone(const QString& folder) {
  vphone::VirtualPhone phone(phoneServing(folder));
  phone.plug();
  mtp::Session session(phone.provider()->list().at(0).open().transport);
  const auto everything = [](mtp::Bytes) { return true; };
  constexpr std::uint32_t allHandles = 0xFFFFFFFF;
  if (session.open([](mtp::Bytes) {}) != 0)
    return 1;
  const long before = residentBytes();
  // The folder lies at the top of the storage: its own listing makes the phone look into it.
  std::vector<std::byte> handles;
  session.receive(mtp::Operation::GetObjectHandles, {allHandles, 0, allHandles}, handles);
  if (handles.size() < 8)
    return 1;
  std::uint32_t many = 0;
  std::memcpy(&many, handles.data() + 4, sizeof many);
  session.receive(mtp::Operation::GetObjectPropList, {many, 0, 0xDC07, 0, 1}, everything);
  std::printf("%ld", residentBytes() - before);
  return 0;
}

long bytesOfPhoneAlone(const QString& folder) {
  QProcess process;
  process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--phone-alone"), folder});
  process.waitForFinished(patience);
  return process.readAllStandardOutput().toLong();
}

int measure(int files) {
  QTemporaryDir folder;
  const QString many = folder.filePath(QStringLiteral("Many"));
  QDir().mkpath(many);
  for (int i = 0; i < files; ++i) {
    QFile file(QStringLiteral("%1/IMG_20240229_%2.jpg").arg(many).arg((i * 7919) % files, 6, 10, QLatin1Char('0')));
    file.open(QIODevice::WriteOnly);
    file.setFileTime(QDateTime(QDate(2001 + i % 20, 1 + i % 12, 1 + i % 28), QTime(i % 24, i % 60, i % 60)),
                     QFileDevice::FileModificationTime);
  }
  vphone::VirtualPhone phone(phoneServing(folder.path()));
  phone.plug();
  mtp::addProvider(phone.provider());
  {
    SBrowserWindowController controller;
    controller.showWindow();
    controller.connectDevice(QStringLiteral("14200000"));
    if (!waitForFolder(controller))
      return 1;
    SOutlineView& outline = *controller.layout()._outlineView;
    waitForPaint(*outline.viewport());

    const long before = residentBytes();
    const auto transactions = mtp::counters().transactions;
    QElapsedTimer clock;
    clock.start();
    controller.outlineViewRowDoubleClicked(outline.model()->index(0, 0));
    if (!waitForFolder(controller))
      return 1;
    waitForPaint(*outline.viewport());
    const auto opened = clock.elapsed();
    std::printf("%7d files: first rows painted %6lld ms after entering, %llu transactions\n", files,
                static_cast<long long>(opened),
                static_cast<unsigned long long>(mtp::counters().transactions - transactions));
    if (outline.model()->rowCount() != files) {
      std::printf("only %d rows\n", outline.model()->rowCount());
      return 1;
    }
    while (platform::runningWorkers() > 0)
      QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    if (files >= 10'000) {
      // The phone lives in this process: what it keeps for itself is measured apart.
      const long all = residentBytes() - before;
      const long phones = bytesOfPhoneAlone(folder.path());
      std::printf("%7d files: %ld bytes of resident memory an entry (%ld with the %ld of the virtual phone)\n", files,
                  (all - phones) / files, all / files, phones / files);
    }
    constexpr std::array columns{"name", "date", "size"};
    for (int column = 0; column < 3; ++column) {
      clock.start();
      outline.sortByColumn(column, Qt::DescendingOrder);
      waitForPaint(*outline.viewport());
      std::printf("%7d files: sorted by %s and painted in %lld ms\n", files, columns[std::size_t(column)],
                  static_cast<long long>(clock.elapsed()));
    }
  }
  mtp::shutdown();
  platform::waitForWorkers(std::chrono::seconds(30));
  platform::resumeWorkers();
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  platform::setLogSink([](const QString&) {});
  mtp::setLog([](mtp::LogLevel, const std::string&) {});
  mtp::setUsbEnabled(false);
  if (arguments.value(1) == QLatin1String("--phone-alone"))
    return measurePhoneAlone(arguments.value(2));
  for (const int files : {100, 1'000, 10'000, 100'000})
    if (const int status = measure(files); status != 0)
      return status;
  return 0;
}
