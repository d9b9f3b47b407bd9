// What the hand feels: a frame while 100,000 rows scroll, and how long the context menu takes to open and the menus to
// follow with many rows selected. Painted in software; the time is the main thread's on the processor. Prints one line
// a figure.
#include "BenchWindow.h"
#include "Platform/Log.h"
#include "Platform/Workers.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/WindowLayout.h"
#include "SBrowser/WindowMenus.h"
#include "TessalyMTPSdk/Engine.h"
#include "UI/Controls/SOutlineView.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QFile>
#include <QMainWindow>
#include <QMenu>
#include <QScrollBar>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

namespace {

using namespace bench;

constexpr int kFrames = 400;
constexpr int kFiles = 100'000;
constexpr int kFolders = 10'000;

/// What the work costs this thread, whatever else the machine is busy with: nothing of it waits.
double millisecondsFor(const std::function<void()>& work) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
  };
  const double start = now();
  work();
  return now() - start;
}

/// The middle, the hundredth from the top and the longest of some durations.
void print(const char* what, std::vector<double> milliseconds) {
  std::sort(milliseconds.begin(), milliseconds.end());
  std::printf("%-58s median %6.2f ms, 99%% below %6.2f ms, longest %6.2f ms\n", what,
              milliseconds[milliseconds.size() / 2], milliseconds[milliseconds.size() * 99 / 100], milliseconds.back());
}

/// Moves the rows `kFrames` times, each time until they are painted. `next`: where the scroll bar stands then.
void measureScrolling(const char* what, SOutlineView& outline, const std::function<int(int frame)>& next) {
  outline.verticalScrollBar()->setValue(0);
  QCoreApplication::processEvents();
  std::vector<double> frames;
  for (int frame = 0; frame < kFrames; ++frame)
    frames.push_back(millisecondsFor([&] {
      outline.verticalScrollBar()->setValue(next(frame));
      outline.window()->repaint();
    }));
  print(what, frames);
}

/// Opens the context menu over the first row, until it is painted.
void measureContextMenu(const char* what, SBrowserWindowController& controller) {
  SOutlineView& outline = *controller.layout()._outlineView;
  QMenu& menu = *controller.layout().menus->contextMenu();
  outline.verticalScrollBar()->setValue(0);
  std::vector<double> openings;
  for (int i = 0; i < 20; ++i) {
    QCoreApplication::processEvents();
    openings.push_back(millisecondsFor([&] {
      const QPoint at(60, SOutlineView::kRowHeight / 2);
      QContextMenuEvent event(QContextMenuEvent::Mouse, at, outline.viewport()->mapToGlobal(at));
      QCoreApplication::sendEvent(outline.viewport(), &event);
      QCoreApplication::sendPostedEvents(); // it opens then
      menu.repaint();
    }));
    if (!menu.isVisible())
      std::printf("no menu\n");
    menu.close();
  }
  print(what, openings);
}

void select(SOutlineView& outline, int first, int last, int step) {
  QItemSelection selection;
  for (int row = first; row <= last; row += step)
    if (step == 1) {
      selection.select(outline.model()->index(first, 0), outline.model()->index(last, kFileSize));
      break;
    } else {
      selection.append({outline.model()->index(row, 0), outline.model()->index(row, kFileSize)});
    }
  outline.selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

/// Adds one row to the selection, as a click with Ctrl does, until the menus have followed.
void measureSelecting(const char* what, SOutlineView& outline, int firstFreeRow) {
  std::vector<double> clicks;
  for (int i = 0; i < 20; ++i)
    clicks.push_back(millisecondsFor([&] {
      outline.selectionModel()->select(outline.model()->index(firstFreeRow + 2 * i, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }));
  print(what, clicks);
}

void measureSelections(const char* rows, SBrowserWindowController& controller) {
  SOutlineView& outline = *controller.layout()._outlineView;
  const auto line = [rows](const char* what) {
    static QByteArray text;
    text = QByteArray(rows) + ", " + what;
    return text.constData();
  };
  select(outline, 0, 9'999, 1);
  measureContextMenu(line("context menu, 10,000 rows in one piece"), controller);
  if (outline.model()->rowCount() < 20'000)
    return;
  select(outline, 0, 19'999, 2);
  measureContextMenu(line("context menu, every second of 20,000 rows"), controller);
  measureSelecting(line("one more row selected, with the menus"), outline, 30'001);
}

int measure() {
  QTemporaryDir folder;
  const QString many = folder.filePath(QStringLiteral("Many"));
  QDir().mkpath(many);
  for (int i = 0; i < kFiles; ++i) {
    QFile file(QStringLiteral("%1/IMG_20240229_%2.jpg").arg(many).arg(i, 6, 10, QLatin1Char('0')));
    file.open(QIODevice::WriteOnly);
  }
  for (int i = 0; i < kFolders; ++i)
    QDir(folder.path()).mkdir(QStringLiteral("Folder %1").arg(i));
  vphone::VirtualPhone phone(phoneServing(folder.path()));
  phone.plug();
  mtp::addProvider(phone.provider());
  {
    SBrowserWindowController controller;
    for (const WindowCommand command : {WindowCommand::NewFolder, WindowCommand::Rename, WindowCommand::Delete})
      controller.setCommandHandler(command, [] {});
    controller.showWindow();
    controller.connectDevice(QStringLiteral("14200000"));
    if (!waitForFolder(controller))
      return 1;
    SOutlineView& outline = *controller.layout()._outlineView;
    waitForPaint(*outline.viewport());
    measureSelections("10,001 folders of the storage itself", controller);

    outline.clearSelection();
    const auto found = outline.model()->match(outline.model()->index(0, 0), Qt::DisplayRole, QStringLiteral("Many"), 1,
                                              Qt::MatchExactly);
    if (found.isEmpty())
      return 1;
    controller.outlineViewRowDoubleClicked(found.constFirst());
    if (!waitForFolder(controller) || outline.model()->rowCount() != kFiles)
      return 1;
    controller.window()->resize(1280, 800);
    waitForPaint(*outline.viewport());
    const QScrollBar& bar = *outline.verticalScrollBar();
    std::printf("rows of %d by %d pixels\n", outline.viewport()->width(), outline.viewport()->height());
    measureScrolling("100,000 rows, a wheel's step a frame", outline,
                     [](int frame) { return 3 * SOutlineView::kRowHeight * (frame + 1); });
    measureScrolling("100,000 rows, a page a frame", outline, [&](int frame) { return bar.pageStep() * (frame + 1); });
    measureScrolling("100,000 rows, the handle dragged anywhere", outline,
                     [&](int frame) { return int(qint64(frame) * 7919 % kFrames * bar.maximum() / kFrames); });
    outline.selectAll();
    measureScrolling("100,000 selected rows, a page a frame", outline,
                     [&](int frame) { return bar.pageStep() * (frame + 1); });
    measureSelections("100,000 files", controller);
  }
  mtp::shutdown();
  platform::waitForWorkers(std::chrono::seconds(30));
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  platform::setLogSink([](const QString&) {});
  mtp::setLog([](mtp::LogLevel, const std::string&) {});
  mtp::setUsbEnabled(false);
  return measure();
}
