#include "SBrowser/UploadDrop.h"

#include "Platform/DragOut.h"
#include "Platform/MainThread.h"
#include "UI/Common/Images.h"
#include "UI/Controls/SOutlineView.h"

#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QSysInfo>
#include <QUrl>

#include <algorithm>

namespace {

/// Drawn over the rows; lets everything through.
class DropFrame : public QWidget {
public:
  explicit DropFrame(QWidget* parent)
      : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
  }

protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ui::namedColor(QStringLiteral("Accent"), palette()), 2));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
  }
};

bool isOfThisComputer(const QUrl& url) {
  const QString host = url.host();
  return url.scheme() == u"file" && (host.isEmpty() || host == u"localhost" ||
                                     host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0);
}

/// Empty when it is none.
QString localPath(const QUrl& url) {
  if (!isOfThisComputer(url))
    return QString();
  // By the bytes: a name need not be text.
  const QByteArray bytes = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toUtf8());
  const QString path = QDir::cleanPath(QFile::decodeName(bytes));
  return path.startsWith(u'/') ? path : QString();
}

} // namespace

QStringList localPaths(const QMimeData& info) {
  QStringList paths;
  for (const QUrl& url : info.urls())
    if (const QString path = localPath(url); !path.isEmpty())
      paths.append(path);
  return paths;
}

UploadDrop::UploadDrop(SOutlineView& outline, platform::Timers& timers, Owner owner)
    : m_outline(outline)
    , m_timers(timers)
    , m_owner(std::move(owner))
    , m_frame(std::make_unique<DropFrame>(outline.viewport())) {
  platform::assertMainThread();
  m_outline.setAcceptDrops(true);
  m_outline.viewport()->setAcceptDrops(true);
  m_outline.viewport()->installEventFilter(this);
}

UploadDrop::~UploadDrop() {
  platform::assertMainThread();
  m_outline.viewport()->removeEventFilter(this);
}

bool UploadDrop::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
  case QEvent::DragEnter:
    if (!draggingEntered(static_cast<QDropEvent&>(*event)))
      event->ignore();
    return true;
  case QEvent::DragMove:
    if (!draggingUpdated(static_cast<QDropEvent&>(*event)))
      event->ignore();
    return true;
  case QEvent::DragLeave:
    draggingExited();
    return true;
  case QEvent::Drop:
    dropped(static_cast<QDropEvent&>(*event));
    return true;
  default:
    return QObject::eventFilter(watched, event);
  }
}

/// Looked at once a drag: the list comes from the other program each time it is asked for, and may be long.
bool UploadDrop::carriesFiles(const QDropEvent& event) {
  if (!m_carriesFiles) {
    const QMimeData* const info = event.mimeData();
    const auto isLocal = [](const QUrl& url) { return !localPath(url).isEmpty(); };
    const QList<QUrl> urls = info != nullptr && info->hasUrls() ? info->urls() : QList<QUrl>();
    m_carriesFiles = std::any_of(urls.begin(), urls.end(), isLocal);
  }
  return *m_carriesFiles;
}

bool UploadDrop::draggingEntered(QDropEvent& event) {
  m_carriesFiles.reset();
  return draggingUpdated(event);
}

bool UploadDrop::draggingUpdated(QDropEvent& event) {
  const QPoint point = event.position().toPoint();
  const QModelIndex row = rowAt(point);
  const bool isFromTree = platform::DragOut::isOwnDrag(event.mimeData()) || event.source() == &m_outline ||
                          event.source() == m_outline.viewport();
  const bool accepted = m_owner.isReady() && carriesFiles(event) && m_owner.validateDrop(row, isFromTree);
  event.setDropAction(Qt::CopyAction);
  // Who offers no copy would delete what it believes to have been moved.
  if (!accepted || event.dropAction() != Qt::CopyAction) {
    hideTraces();
    return false;
  }
  event.accept();
  showFrame(m_owner.targetRow(row));
  rest(row);
  scrollAt(point);
  return true;
}

void UploadDrop::draggingExited() {
  concludeDragOperation();
}

bool UploadDrop::prepareForDragOperation(QDropEvent& event) {
  return draggingUpdated(event);
}

void UploadDrop::performDragOperation(const QDropEvent& event, const QModelIndex& row) {
  m_owner.acceptDrop(*event.mimeData(), row);
}

void UploadDrop::concludeDragOperation() {
  m_carriesFiles.reset();
  hideTraces();
}

void UploadDrop::dropped(QDropEvent& event) {
  const bool accepted = prepareForDragOperation(event);
  const QModelIndex row = rowAt(event.position().toPoint());
  concludeDragOperation(); // first: the files may be asked about at once
  if (accepted)
    performDragOperation(event, row);
  else
    event.ignore();
}

void UploadDrop::hideTraces() {
  m_frame->hide();
  m_openTimer.reset();
  m_restsOn = QPersistentModelIndex();
  m_scrollTimer.reset();
  m_scrollStep = 0;
  m_owner.dragEnded();
}

QModelIndex UploadDrop::rowAt(const QPoint& point) const {
  return m_outline.indexAtRow(m_outline.rowAtPoint(point));
}

void UploadDrop::rest(const QModelIndex& row) {
  if (row == m_restsOn && m_openTimer)
    return;
  m_restsOn = row;
  m_openTimer.reset();
  if (row.isValid())
    m_openTimer = m_timers.oneShot(kOpenDelay, [this] {
      if (m_restsOn.isValid())
        m_outline.expand(m_restsOn);
    });
}

void UploadDrop::showFrame(const QModelIndex& row) {
  QRect frame = m_outline.viewport()->rect();
  if (row.isValid()) {
    const QRect cell = m_outline.visualRect(row);
    frame = QRect(0, cell.top(), m_outline.viewport()->width(), SOutlineView::kRowHeight);
  }
  m_frame->setGeometry(frame);
  m_frame->raise();
  m_frame->show();
}

void UploadDrop::scrollAt(const QPoint& point) {
  const int edge = SOutlineView::kRowHeight;
  const int height = m_outline.viewport()->height();
  m_scrollStep = point.y() < edge ? -1 : point.y() >= height - edge ? 1 : 0;
  if (m_scrollStep == 0)
    m_scrollTimer.reset();
  else if (!m_scrollTimer)
    m_scrollTimer = m_timers.repeating(kScrollInterval, [this] {
      QScrollBar& bar = *m_outline.verticalScrollBar();
      bar.setValue(bar.value() + m_scrollStep * SOutlineView::kRowHeight);
    });
}
