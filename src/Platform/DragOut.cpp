#include "Platform/DragOut.h"

#include "Platform/Log.h"
#include "Platform/LogNames.h"
#include "Platform/MainThread.h"

#include <QCursor>
#include <QDBusContext>
#include <QDBusError>
#include <QDrag>
#include <QGuiApplication>
#include <QMimeData>
#include <QTimer>
#include <QWindow>

#include <utility>

namespace platform {
namespace {

const QString kDirectSaveType = QStringLiteral("XdndDirectSave0");
const QString kExtractServiceType = QStringLiteral("application/x-kde-ark-dndextract-service");
const QString kExtractPathType = QStringLiteral("application/x-kde-ark-dndextract-path");

// What targets see of a drag. Belongs to Qt, which keeps it up to ten minutes for a target that takes its time.
class DragOutMimeData : public QMimeData {
public:
  DragOutMimeData(std::shared_ptr<DragSession> session, std::shared_ptr<DirectSaveProperty> directSave,
                  QByteArray service, QByteArray path)
      : m_session(std::move(session))
      , m_directSave(std::move(directSave))
      , m_service(std::move(service))
      , m_path(std::move(path)) {}

  DragSession& session() const { return *m_session; }

  QStringList formats() const override {
    QStringList formats;
    if (m_directSave)
      formats << kDirectSaveType;
    if (!m_path.isEmpty())
      formats << kExtractServiceType << kExtractPathType;
    return formats;
  }

  bool hasFormat(const QString& type) const override { return formats().contains(type); }

protected:
  QVariant retrieveData(const QString& type, QMetaType) const override {
    if (m_directSave && type == kDirectSaveType)
      return directSave();
    if (!m_path.isEmpty() && type == kExtractServiceType)
      return m_service;
    if (!m_path.isEmpty() && type == kExtractPathType)
      return m_path;
    return {};
  }

private:
  // "S": saved, the target has nothing to do; "E": not saved, and the target is not to save it itself either.
  QByteArray directSave() const {
    if (m_session->isOver())
      return "E";
    const QByteArray property = m_directSave->take();
    const auto destination = destinationFromDirectSave(property, DragPlaces::current());
    if (destination && m_session->accept(*destination))
      return "S";
    if (const qsizetype scheme = property.indexOf("://"); scheme >= 0)
      MTPB_LOG("a drop was refused: \"%s://%s\"", property.left(scheme).constData(),
               nameForLog(QString::fromUtf8(property.mid(scheme + 3))).constData());
    return "E";
  }

  const std::shared_ptr<DragSession> m_session;
  const std::shared_ptr<DirectSaveProperty> m_directSave;
  const QByteArray m_service;
  const QByteArray m_path;
};

const DragOutMimeData* ownData(const QMimeData* data) {
  return dynamic_cast<const DragOutMimeData*>(data);
}

// Whether the button was released while a drag ran, rather than the drag ended some other way.
class ReleaseWatch : public QObject {
public:
  ReleaseWatch() {
    // Filters are asked from the last one on, and the drag's own, which is there when it runs, lets nothing pass.
    QTimer::singleShot(0, this, [this] { qApp->installEventFilter(this); });
  }

  // After the end of the drag's event loop: whether it was ended without asking anybody else for a folder.
  bool wasAbandoned() const {
    // Elsewhere the program hears nothing of the pointer while it drags.
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
      return false;
    return !m_released || QGuiApplication::topLevelAt(QCursor::pos()) != nullptr;
  }

  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::MouseButtonRelease)
      m_released = true;
    return false;
  }

private:
  bool m_released = false;
};

} // namespace

// The object of the archive-extract protocol. A target calls it with its folder and waits for the answer.
class DragExtractObject : public QObject, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.kde.ark.DndExtract")

public:
  explicit DragExtractObject(std::shared_ptr<DragSession> session)
      : m_session(std::move(session))
      , m_path(QStringLiteral("/org/mtpbrowser/DragOut/%1").arg(++s_count)) {}

  const QString& path() const { return m_path; }

public Q_SLOTS:
  Q_SCRIPTABLE void extractSelectedFilesTo(const QString& folder) {
    const auto destination = destinationFromExtractArgument(folder, DragPlaces::current());
    if (destination && m_session->accept(*destination))
      return;
    MTPB_LOG("a drop was refused: \"%s\"", nameForLog(folder.left(1000)).constData());
    if (calledFromDBus())
      sendErrorReply(QDBusError::InvalidArgs, destination ? QStringLiteral("the drag is over")
                                                          : QStringLiteral("not a folder of this computer"));
  }

private:
  static inline int s_count = 0; // main thread only
  const std::shared_ptr<DragSession> m_session;
  const QString m_path;
};

DragOut::DragOut(Timers& timers)
    : DragOut(timers, QDBusConnection::sessionBus(), DirectSaveProperty::ofDisplay()) {}

DragOut::DragOut(Timers& timers, const QDBusConnection& bus, std::unique_ptr<DirectSaveProperty> directSave)
    : m_timers(timers)
    , m_bus(bus)
    , m_directSave(std::move(directSave)) {
  assertMainThread();
}

DragOut::~DragOut() {
  assertMainThread();
  for (const Drag& drag : m_drags)
    drag.session->close();
  if (m_running)
    QDrag::cancel();
}

std::unique_ptr<DragExtractObject> DragOut::makeExtractObject(const std::shared_ptr<DragSession>& session) {
  auto object = std::make_unique<DragExtractObject>(session);
  if (m_bus.isConnected() && m_bus.registerObject(object->path(), object.get(), QDBusConnection::ExportScriptableSlots))
    return object;
  MTPB_LOG("no session bus: file managers that tell their folder over it cannot be dropped on");
  return nullptr;
}

void DragOut::start(QObject& source, const QPixmap& picture, const QPoint& hotSpot, Delivered delivered) {
  assertMainThread();
  std::erase_if(m_drags, [](const Drag& drag) { return drag.session->isOver(); });
  const auto session = std::make_shared<DragSession>(m_timers, std::move(delivered));
  m_drags.push_back({session, nullptr});
  if (m_running) { // called from within a drag's event loop
    session->released(true);
    return;
  }
  auto extract = makeExtractObject(session);
  auto* const drag = new QDrag(&source); // Qt's from now on, as is the data
  drag->setMimeData(new DragOutMimeData(session, m_directSave, extract ? m_bus.baseService().toLatin1() : QByteArray(),
                                        extract ? extract->path().toLatin1() : QByteArray()));
  drag->setPixmap(picture);
  drag->setHotSpot(hotSpot);
  m_drags.back().extract = std::move(extract);
  m_running = drag;
  if (m_directSave) // the window that offers the drag is known when it runs
    QTimer::singleShot(0, drag, [property = m_directSave] { property->offer(); });
  // The drag goes with its source; whoever is in the middle of running it must not find it gone.
  QObject::connect(&source, &QObject::destroyed, drag, [] { QDrag::cancel(); });

  const ReleaseWatch watch;
  // What it returns says nothing about whether a folder was or will be named.
  drag->exec(Qt::CopyAction);

  // This object may be gone; its destructor has closed the session then.
  if (session->isOver())
    return;
  m_running = nullptr;
  session->released(watch.wasAbandoned());
}

bool DragOut::isOwnDrag(const QMimeData* data) {
  return ownData(data) != nullptr;
}

bool DragOut::dropOnTrash(const QMimeData* data) {
  const DragOutMimeData* own = ownData(data);
  return own != nullptr && own->session().accept({DragDestination::Kind::Trash, {}});
}

} // namespace platform

#include "DragOut.moc"
