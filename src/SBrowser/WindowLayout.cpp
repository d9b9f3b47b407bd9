#include "SBrowser/WindowLayout.h"

#include "Platform/MainThread.h"
#include "SBrowser/NavigationButton.h"
#include "SBrowser/WindowMenus.h"
#include "UI/Common/DisplayText.h"
#include "UI/Common/Images.h"
#include "UI/Common/LayoutDirection.h"
#include "UI/Common/SFont.h"
#include "UI/Controls/SGhostView.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/Controls/SToolbarButton.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/LoadingView/SLoadingAniView.h"
#include "UI/LoadingView/SLoadingAniViewController.h"
#include "UI/NoticeView/SNoticeView.h"
#include "UI/ProgressView/SProgressView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAction>
#include <QEvent>
#include <QFontMetrics>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPainter>
#include <QToolBar>
#include <QVBoxLayout>

#include <initializer_list>

namespace {

constexpr QSize kWindowSize(780, 560);
constexpr int kTitleRoom = 15;
constexpr int kPanelMargin = 12; // beside and below a panel

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
}

/// Shows a picture in its own proportions, never larger than it was drawn.
class Picture : public QWidget {
public:
  Picture(const QString& imageName, QWidget* parent)
      : QWidget(parent)
      , m_image(ui::namedImage(imageName)) {
    setFixedSize(ui::imageSize(m_image));
  }

protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    m_image.paint(&painter, rect());
  }

private:
  QIcon m_image;
};

/// The folder's path, to be read and copied.
class PathField : public QLineEdit {
public:
  using QLineEdit::QLineEdit;

protected:
  void paintEvent(QPaintEvent* event) override {
    QLineEdit::paintEvent(event);
    if (!hasFocus())
      return;
    // It has no frame and no cursor to tell that the keyboard is here.
    QPainter painter(this);
    painter.setPen(QPen(ui::namedColor(QStringLiteral("FocusLine"), palette()), 1));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }
};

QWidget* makeSpace(QWidget* parent) {
  auto* const space = new QWidget(parent);
  space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  return space;
}

} // namespace

WindowLayout::WindowLayout(platform::Timers& timers)
    : m_window(std::make_unique<QMainWindow>()) {
  platform::assertMainThread();
  m_window->setLayoutDirection(ui::isRTLLayout() ? Qt::RightToLeft : Qt::LeftToRight);
  m_window->setWindowIcon(ui::namedImage(QStringLiteral("mtpbrowser")));
  m_window->setContextMenuPolicy(Qt::NoContextMenu); // no menu that hides the toolbar for good
  m_window->resize(kWindowSize);
  menus = std::make_unique<WindowMenus>(*m_window);
  buildToolbar();
  buildContent(timers);
  showWelcome(QString());
}

WindowLayout::~WindowLayout() {
  _contentView->removeEventFilter(this);
  menus.reset(); // before the window
}

NavigationButton* WindowLayout::addNavigationButton(const QString& identifier, const QString& imageName,
                                                    const QString& name, QAction** action) {
  auto* const button = new NavigationButton(imageName, toolbar);
  button->setObjectName(identifier);
  button->setAccessibleName(name);
  button->setToolTip(name);
  connect(button, &QAbstractButton::clicked, this, [this, button] { Q_EMIT toolbarClicked(button); });
  QAction* const item = toolbar->addWidget(button);
  if (action != nullptr)
    *action = item;
  return button;
}

SToolbarButton* WindowLayout::addStorageButton(const QString& identifier, const QString& title, QAction** action) {
  auto* const button = new SToolbarButton(toolbar);
  button->setObjectName(identifier);
  button->setText(title);
  connect(button, &QAbstractButton::clicked, this, [this, button] { Q_EMIT toolbarClicked(button); });
  *action = toolbar->addWidget(button);
  return button;
}

void WindowLayout::buildToolbar() {
  toolbar = new QToolBar(m_window.get());
  toolbar->setAccessibleName(localized("accessible_toolbar"));
  toolbar->setMovable(false);
  toolbar->setFloatable(false);
  toolbar->layout()->setSpacing(6);
  toolbar->layout()->setContentsMargins(8, 6, 8, 6);
  m_window->addToolBar(toolbar);

  const bool mirrored = ui::isRTLLayout();
  const QString towardsStart = QStringLiteral("toolbar_back");
  const QString towardsEnd = QStringLiteral("toolbar_next");
  _btn_Previous = addNavigationButton(QStringLiteral("btn_back"), mirrored ? towardsEnd : towardsStart,
                                      localized("accessible_back"), nullptr);
  _btn_Next = addNavigationButton(QStringLiteral("btn_next"), mirrored ? towardsStart : towardsEnd,
                                  localized("accessible_next"), nullptr);
  for (NavigationButton* const button : {_btn_Previous, _btn_Next})
    connect(button, &NavigationButton::hovered, this, &WindowLayout::navigationHovered);
  toolbar->addSeparator();
  _btn_InternalStorage =
      addStorageButton(QStringLiteral("btn_InternalStorage"), QStringLiteral("Phone"), &_item_InternalStorage);
  _btn_ExternalStorage =
      addStorageButton(QStringLiteral("btn_ExternalStorage"), QStringLiteral("Card"), &_item_ExternalStorage);
  toolbar->addWidget(makeSpace(toolbar));
  _btn_AddNewFolder = addNavigationButton(QStringLiteral("btn_AddNewFolder"), QStringLiteral("toolbar_new_folder"),
                                          localized("MNU_AddNewFolder"), &m_addNewFolderItem);
  setNewFolderButtonShown(false);
}

void WindowLayout::buildContent(platform::Timers& timers) {
  _contentView = new QWidget(m_window.get());
  auto* const column = new QVBoxLayout(_contentView);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);

  paths = new PathField(_contentView);
  paths->setReadOnly(true);
  paths->setFrame(false);
  paths->setFont(SFont::sharedInstance().fontWithPixelSize(12, false));
  paths->setTextMargins(10, 4, 10, 4);
  // A path runs from left to right in any window; it begins where the window's lines do.
  paths->setAlignment((ui::isRTLLayout() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute | Qt::AlignVCenter);
  paths->setAccessibleName(localized("accessible_path"));
  column->addWidget(paths);

  _outlineView = new SOutlineView(_contentView);
  _outlineView->awakeFromNib();
  _outlineView->setAccessibleName(localized("accessible_files"));
  _outlineView->header()->setAccessibleName(localized("accessible_columns"));
  scrollViewBrowser = _outlineView;
  column->addWidget(_outlineView, 1);

  buildWelcome();
  column->addWidget(welcomeView, 1);

  _ghostView = new SGhostView(_contentView);
  _ghostView->setAccessibleName(localized("accessible_waiting")); // for a copy, a question, a new folder
  _ghostView->hide();
  _loadingViewController = std::make_unique<SLoadingAniViewController>(_contentView->rect(), _contentView, timers);
  _loadingViewController->view()->hide();
  _loadingViewController->view()->setAccessibleName(localized("accessible_loading"));
  _fileNameView = new SFileNameView(_contentView);
  _progressView = new SProgressView(_contentView);
  _progressView->hide();
  _noticeView = new SNoticeView(_contentView);
  // In the smallest window every panel is whole.
  QSize smallest(0, 0);
  for (const QWidget* const panel : std::initializer_list<QWidget*>{_fileNameView, _progressView, _noticeView})
    smallest = smallest.expandedTo(panel->size());
  _contentView->setMinimumSize(smallest + QSize(2 * kPanelMargin, kPanelMargin));
  _contentView->installEventFilter(this);
  m_window->setCentralWidget(_contentView);
}

void WindowLayout::buildWelcome() {
  welcomeView = new QWidget(_contentView);
  auto* const column = new QVBoxLayout(welcomeView);
  column->setContentsMargins(32, 32, 32, 32);
  column->addStretch(2);
  column->addWidget(new Picture(QStringLiteral("welcome"), welcomeView), 0, Qt::AlignHCenter);
  column->addSpacing(24);
  welcomeTfield = new QLabel(welcomeView);
  welcomeTfield->setTextFormat(Qt::PlainText);
  welcomeTfield->setAlignment(Qt::AlignCenter);
  welcomeTfield->setWordWrap(true);
  welcomeTfield->setFont(SFont::sharedInstance().fontWithPixelSize(15, false));
  column->addWidget(welcomeTfield);
  column->addStretch(3);
}

void WindowLayout::showWelcome(const QString& text) {
  platform::assertMainThread();
  closeContextMenu();
  toolbar->hide();
  welcomeTfield->setText(text);
  welcomeView->show();
  m_window->setWindowTitle(QStringLiteral("MTP Browser"));
  scrollViewBrowser->hide();
  paths->hide();
}

void WindowLayout::showBrowser(const QString& title) {
  platform::assertMainThread();
  welcomeView->hide();
  scrollViewBrowser->show();
  paths->show();
  m_window->setWindowTitle(ui::singleLineText(title));
  toolbar->show();
}

void WindowLayout::setPath(const QString& path) {
  platform::assertMainThread();
  paths->setText(ui::singleLineText(path));
  paths->setToolTip(paths->text().toHtmlEscaped());
  paths->setCursorPosition(0);
}

void WindowLayout::sizeToTitle(SToolbarButton& button) {
  const QFontMetrics metrics(SFont::sharedInstance().fontWithPixelSize(13, true));
  button.setFixedWidth(metrics.horizontalAdvance(button.text()) + kTitleRoom);
}

void WindowLayout::setStorageButton(SToolbarButton& button, bool shown, const QString& title) {
  platform::assertMainThread();
  if (shown)
    button.setText(ui::singleLineText(title, kLongestStorageName));
  button.setToolTip(ui::singleLineText(title).toHtmlEscaped());
  button.setEnabled(shown);
  button.updateGeometry();
  (&button == _btn_InternalStorage ? _item_InternalStorage : _item_ExternalStorage)->setVisible(shown);
}

void WindowLayout::setNewFolderButtonShown(bool shown) {
  platform::assertMainThread();
  _btn_AddNewFolder->setEnabled(shown);
  m_addNewFolderItem->setVisible(shown);
}

void WindowLayout::cover(QWidget& overlay) {
  platform::assertMainThread();
  overlay.setGeometry(_contentView->rect());
  overlay.show();
  overlay.raise();
  // A panel that is there already is used above the cover.
  _fileNameView->raise();
  _progressView->raise();
  _noticeView->raise();
  closeContextMenu();
  giveKeyboardBack();
}

QWidget* WindowLayout::frontmost() const {
  for (ui::QuestionPanel* const panel : std::initializer_list<ui::QuestionPanel*>{_noticeView, _fileNameView})
    if (panel->isReachable())
      return panel;
  for (QWidget* const cover :
       std::initializer_list<QWidget*>{_progressView, _loadingViewController->view(), _ghostView})
    if (!cover->isHidden())
      return cover;
  return _outlineView;
}

void WindowLayout::giveKeyboardBack() {
  platform::assertMainThread();
  QWidget* const front = frontmost();
  if (front->isAncestorOf(m_window->focusWidget()))
    return; // a panel's control keeps it
  if (front == _fileNameView)
    _fileNameView->txtNewName()->setFocus();
  else
    front->setFocus();
}

void WindowLayout::closeContextMenu() {
  platform::assertMainThread();
  _outlineView->closeContextMenu();
}

bool WindowLayout::eventFilter(QObject* watched, QEvent* event) {
  if (watched == _contentView && event->type() == QEvent::Resize) {
    _ghostView->setGeometry(_contentView->rect());
    _loadingViewController->setLoadingFrame(_contentView->rect());
  }
  return QObject::eventFilter(watched, event);
}
