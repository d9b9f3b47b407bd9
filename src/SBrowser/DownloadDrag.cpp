#include "SBrowser/DownloadDrag.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"
#include "SBrowser/DownloadRun.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/TrashTarget.h"
#include "SBrowser/WindowLayout.h"
#include "UI/Common/DisplayText.h"
#include "UI/Common/Images.h"
#include "UI/Common/SFont.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QFileDialog>
#include <QFontMetrics>
#include <QLocale>
#include <QMainWindow>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QStandardPaths>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace {

// Where the user chose to copy to last.
const QString kLastFolder = QStringLiteral("CopyToFolder");

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

/// Without what lies in a folder that is among the items itself.
DownloadDrag::Items topmost(const DownloadDrag::Items& items) {
  std::unordered_set<const SItem*> folders;
  for (const auto& item : items)
    if (item->objectType() != SObjectTypeFile)
      folders.insert(item.get());
  const auto isInside = [&](const DownloadDrag::ItemPointer& item) {
    for (auto parent = item->parentItem(); parent; parent = parent->parentItem())
      if (folders.contains(parent.get()))
        return true;
    return false;
  };
  DownloadDrag::Items kept;
  kept.reserve(items.size());
  std::copy_if(items.begin(), items.end(), std::back_inserter(kept), [&](const auto& item) { return !isInside(item); });
  return kept;
}

/// Whatever becomes of a copy's job, carried out or dropped, the window learns that it is over.
struct Ending {
  explicit Ending(std::shared_ptr<TransferRun> transfer)
      : run(std::move(transfer)) {}
  ~Ending() {
    for (const QString& name : std::as_const(names))
      run->record(name, TransferOutcome::Canceled);
    run->end();
  }
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

  const std::shared_ptr<TransferRun> run;
  QStringList names; // of the items, until the job has begun
};

} // namespace

DownloadDrag::DownloadDrag(SBrowserWindowController& window, std::shared_ptr<DeviceQueue> queue,
                           platform::Timers& timers)
    : m_window(window)
    , m_queue(std::move(queue))
    , m_timers(timers)
    , m_dragSource(std::make_unique<QWidget>(window.layout()._outlineView))
    , m_trashTarget(std::make_unique<TrashTarget>(window.layout()._contentView)) {
  platform::assertMainThread();
  m_dragSource->hide();
}

DownloadDrag::~DownloadDrag() {
  delete m_dialog;
  m_dragOut.reset(); // before what it drags from
}

// ---- Dragging ----

bool DownloadDrag::writeItems(const Items& items) {
  platform::assertMainThread();
  _dragItems = topmost(items);
  return writeSelectionToPasteboard();
}

bool DownloadDrag::writeSelectionToPasteboard() {
  platform::assertMainThread();
  if (_dragItems.empty() || m_window.isBlocked())
    return false;
  if (!m_dragOut)
    m_dragOut = std::make_unique<platform::DragOut>(m_timers);
  if (!isAnyProtected(_dragItems))
    m_trashTarget->appear();
  const std::weak_ptr<char> alive = m_alive;
  m_dragOut->start(
      *m_dragSource, picture(), QPoint(-10, -10),
      [this, alive, items = _dragItems, session = m_window.session()](const platform::DragDestination& destination) {
        // Another phone may have come meanwhile, with files of the same paths.
        if (!alive.expired() && session == m_window.session())
          dropped(destination, items);
      });
  if (!alive.expired())
    m_trashTarget->hide();
  return true;
}

void DownloadDrag::dropped(const platform::DragDestination& destination, const Items& items) {
  using Kind = platform::DragDestination::Kind;
  switch (destination.kind) {
  case Kind::Folder:
    namesOfPromisedFilesDroppedAtDestination(destination.folder, items);
    break;
  case Kind::Trash:
    _dragItems = items; // another drag may have begun since
    m_window.layout()._outlineView->draggedImage(QCursor::pos(), SOutlineView::kDragOperationDelete);
    break;
  case Kind::NoneCame:
    explainDrop(items);
    break;
  case Kind::Canceled:
    break;
  }
}

void DownloadDrag::namesOfPromisedFilesDroppedAtDestination(const QString& destination, const Items& items) {
  platform::assertMainThread();
  _drapAndDropPath = destination;
  if (platform::isTrashFolder(destination, platform::DragPlaces::current())) {
    _dragItems = items;
    performDragOperationDelete();
    return;
  }
  drapItemsToTarget(items, destination);
}

void DownloadDrag::performDragOperationDelete() {
  platform::assertMainThread();
  if (isAnyProtected(_dragItems)) {
    MTPB_LOG("the phone's own folders are not deleted");
    QApplication::beep(); // whoever took the drop believes that all is well
    return;
  }
  m_window.deleteDrapItemsProc(_dragItems);
}

bool DownloadDrag::isAnyProtected(const Items& items) const {
  return std::any_of(items.begin(), items.end(), [this](const ItemPointer& item) {
    // Only a storage's own top level holds any: no need to look closer at all the others.
    const ItemPointer parent = item->parentItem();
    return (!parent || parent->isStorageRoot()) && m_window.menuTypeForItem(item) == kMenuTypeProtected;
  });
}

QPixmap DownloadDrag::picture() const {
  constexpr int height = 28;
  constexpr int icon = 18;
  constexpr int margin = 6;
  constexpr int widest = 260;
  const QPalette& palette = m_window.window()->palette();
  const QFont font = SFont::sharedInstance().fontWithPixelSize(12, false);
  const QFontMetrics metrics(font);
  const SItem& first = *_dragItems.front();
  const QString name = metrics.elidedText(ui::singleLineText(first.fileName()), Qt::ElideMiddle, widest);
  const QString count = _dragItems.size() > 1 ? QLocale().toString(qulonglong(_dragItems.size())) : QString();
  const int nameWidth = metrics.horizontalAdvance(name);
  const int countWidth = count.isEmpty() ? 0 : metrics.horizontalAdvance(count) + 2 * margin;
  const QSize size(margin + icon + margin + nameWidth + margin + (countWidth > 0 ? countWidth + margin : 0), height);
  const qreal ratio = m_window.window()->devicePixelRatioF();
  QPixmap picture(size * ratio);
  picture.setDevicePixelRatio(ratio);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setFont(font);
  const auto color = [&](const char* colorName) { return ui::namedColor(QLatin1StringView(colorName), palette); };
  painter.setPen(QPen(color("ButtonFrame"), 1));
  painter.setBrush(color("RowSelected"));
  painter.drawRoundedRect(QRectF(QPointF(), QSizeF(size)).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
  ui::drawImage(painter, QRectF(margin, (height - icon) / 2.0, icon, icon),
                ui::iconForItem(first.objectType(), first.fileName()));
  painter.setPen(color("ItemText"));
  const int left = margin + icon + margin;
  painter.drawText(QRect(left, 0, nameWidth, height), Qt::AlignVCenter | Qt::AlignLeft, name);
  if (countWidth > 0) {
    const QRect plate(left + nameWidth + margin, 5, countWidth, height - 10);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color("ButtonPrimary"));
    painter.drawRoundedRect(plate, plate.height() / 2.0, plate.height() / 2.0);
    painter.setPen(Qt::white);
    painter.drawText(plate, Qt::AlignCenter, count);
  }
  return picture;
}

// ---- Copying ----

void DownloadDrag::drapItemsToTarget(const Items& items, const QString& destination) {
  platform::assertMainThread();
  if (items.empty())
    return;
  const auto run = m_window.isBlocked() ? nullptr : m_window.transfers().begin(m_window.session());
  if (!run) {
    QApplication::beep(); // whoever took the drop believes that the files are coming
    return;
  }
  _drapAndDropPath = destination;
  const auto ending = std::make_shared<Ending>(run);
  for (const ItemPointer& item : items)
    ending->names.append(item->fileName());
  const auto publish = [this](const ItemPointer& folder, std::shared_ptr<SItemArray> children) {
    m_window.publishChildren(folder, std::move(children)); // on the main thread, while the window is there
    if (folder == m_window.currentFolderItem())
      m_window.reloadDataOfOutlineView(folder);
  };
  m_queue->perform("mtp-download", run->session(), [run, ending, items, destination, publish](DeviceSession& session) {
    ending->names.clear();
    DownloadRun(*run, session, destination, publish).drapItemsToTarget(items);
  });
}

void DownloadDrag::copySelectionTo() {
  platform::assertMainThread();
  Items items;
  for (const QModelIndex& index : m_window.layout()._outlineView->selectedRowIndexes())
    items.push_back(m_window.outlineModel().itemAtIndex(index));
  if (!items.empty())
    chooseFolder(topmost(items));
}

void DownloadDrag::chooseFolder(const Items& items) {
  QString folder = QDir::homePath();
  for (const QString& better : {QStandardPaths::writableLocation(QStandardPaths::DownloadLocation),
                                platform::userDefaults::stringForKey(kLastFolder)})
    if (!better.isEmpty() && QDir(better).exists())
      folder = better;
  auto* const dialog = new QFileDialog(m_window.window(), localized("MSG_ChooseCopyFolder"), folder);
  dialog->setFileMode(QFileDialog::Directory);
  dialog->setOption(QFileDialog::ShowDirsOnly);
  dialog->setSupportedSchemes({QStringLiteral("file")});
  QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [this, items](const QString& chosen) {
    const QString path = QDir::cleanPath(QDir(chosen).absolutePath());
    platform::userDefaults::setValue(kLastFolder, path);
    drapItemsToTarget(items, path);
  });
  open(*dialog);
}

void DownloadDrag::explainDrop(const Items& items) {
  if (m_window.isBlocked() || !m_window.session() || m_window.session()->ended)
    return;
  auto* const box = new QMessageBox(m_window.window());
  box->setIcon(QMessageBox::Information);
  box->setWindowTitle(QStringLiteral("MTP Browser"));
  box->setTextFormat(Qt::PlainText);
  box->setText(localized("MSG_NowhereToDrop"));
  box->setInformativeText(localized("MSG_NowhereToDropDescription"));
  QPushButton* const copyTo = box->addButton(localized("menu_file_copy_to"), QMessageBox::AcceptRole);
  box->setEscapeButton(box->addButton(localized("FUS_MNU_Cancel"), QMessageBox::RejectRole));
  box->setDefaultButton(copyTo);
  QObject::connect(box, &QDialog::finished, box, [this, box, copyTo, items] {
    if (box->clickedButton() != copyTo)
      return;
    m_dialog = nullptr;
    chooseFolder(items);
  });
  open(*box);
}

void DownloadDrag::open(QDialog& dialog) {
  if (m_dialog)
    m_dialog->reject(); // about other items
  m_dialog = &dialog;
  dialog.setAttribute(Qt::WA_DeleteOnClose);
  dialog.setLayoutDirection(m_window.window()->layoutDirection());
  dialog.open();
}

void DownloadDrag::forgetItems() {
  platform::assertMainThread();
  if (m_dialog)
    m_dialog->reject();
  _dragItems.clear();
}
