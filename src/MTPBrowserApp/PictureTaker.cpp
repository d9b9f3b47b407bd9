#include "MTPBrowserApp/PictureTaker.h"

#include "MTPBrowser.h"
#include "Platform/Log.h"
#include "SBrowser/SBrowserWindowController.h"

#include <QCoreApplication>
#include <QMainWindow>
#include <QPixmap>
#include <QSaveFile>
#include <QTimer>

#include <chrono>

PictureTaker::PictureTaker(const QString& file, const MTPBrowser* browser)
    : m_file(file)
    , m_browser(browser) {
  using namespace std::chrono_literals;
  if (m_file.isEmpty() || m_browser == nullptr)
    return;
  // A moment later: the rows are painted and the covers gone by then.
  connect(
      m_browser->windowController(), &SBrowserWindowController::folderShown, this,
      [this] { QTimer::singleShot(300ms, this, [this] { takePicture(); }); }, Qt::SingleShotConnection);
}

void PictureTaker::takePicture() {
  QSaveFile file(m_file);
  const QPixmap picture = m_browser->windowController()->window()->grab();
  const bool saved = file.open(QIODevice::WriteOnly) && picture.save(&file, "PNG") && file.commit();
  if (!saved)
    MTPB_LOG("the picture cannot be written to %s: %s", qUtf8Printable(m_file), qUtf8Printable(file.errorString()));
  QCoreApplication::exit(saved ? 0 : 1);
}
