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
  contentView->removeEventFilter(this);
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
  btn_Previous = addNavigationButton(QStringLiteral("btn_back"), mirrored ? towardsEnd : towardsStart,
                                     localized("accessible_back"), nullptr);
  btn_Next = addNavigationButton(QStringLiteral("btn_next"), mirrored ? towardsStart : towardsEnd,
                                 localized("accessible_next"), nullptr);
  for (NavigationButton* const button : {btn_Previous, btn_Next})
    connect(button, &NavigationButton::hovered, this, &WindowLayout::navigationHovered);
  toolbar->addSeparator();
  btn_InternalStorage =
      addStorageButton(QStringLiteral("btn_InternalStorage"), QStringLiteral("Phone"), &m_internalItem);
  btn_ExternalStorage =
      addStorageButton(QStringLiteral("btn_ExternalStorage"), QStringLiteral("Card"), &m_externalItem);
  toolbar->addWidget(makeSpace(toolbar));
  btn_AddNewFolder = addNavigationButton(QStringLiteral("btn_AddNewFolder"), QStringLiteral("toolbar_new_folder"),
                                         localized("MNU_AddNewFolder"), &m_addNewFolderItem);
  setNewFolderButtonShown(false);
}

void WindowLayout::buildContent(platform::Timers& timers) {
  contentView = new QWidget(m_window.get());
  auto* const column = new QVBoxLayout(contentView);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);

  paths = new PathField(contentView);
  paths->setReadOnly(true);
  paths->setFrame(false);
  paths->setFont(SFont::sharedInstance().fontWithPixelSize(12, false));
  paths->setTextMargins(10, 4, 10, 4);
  // A path runs from left to right in any window; it begins where the window's lines do.
  paths->setAlignment((ui::isRTLLayout() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute | Qt::AlignVCenter);
  paths->setAccessibleName(localized("accessible_path"));
  column->addWidget(paths);

  outlineView = new SOutlineView(contentView);
  outlineView->awakeFromNib();
  outlineView->setAccessibleName(localized("accessible_files"));
  outlineView->header()->setAccessibleName(localized("accessible_columns"));
  scrollViewBrowser = outlineView;
  column->addWidget(outlineView, 1);

  buildWelcome();
  column->addWidget(welcomeView, 1);

  ghostView = new SGhostView(contentView);
  ghostView->setAccessibleName(localized("accessible_waiting")); // for a copy, a question, a new folder
  ghostView->hide();
  loadingViewController = std::make_unique<SLoadingAniViewController>(contentView->rect(), contentView, timers);
  loadingViewController->view()->hide();
  loadingViewController->view()->setAccessibleName(localized("accessible_loading"));
  fileNameView = new SFileNameView(contentView);
  progressView = new SProgressView(contentView);
  progressView->hide();
  noticeView = new SNoticeView(contentView);
  // In the smallest window every panel is whole.
  QSize smallest(0, 0);
  for (const QWidget* const panel : std::initializer_list<QWidget*>{fileNameView, progressView, noticeView})
    smallest = smallest.expandedTo(panel->size());
  contentView->setMinimumSize(smallest + QSize(2 * kPanelMargin, kPanelMargin));
  contentView->installEventFilter(this);
  m_window->setCentralWidget(contentView);
}

void WindowLayout::buildWelcome() {
  welcomeView = new QWidget(contentView);
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
  (&button == btn_InternalStorage ? m_internalItem : m_externalItem)->setVisible(shown);
}

void WindowLayout::setNewFolderButtonShown(bool shown) {
  platform::assertMainThread();
  btn_AddNewFolder->setEnabled(shown);
  m_addNewFolderItem->setVisible(shown);
}

void WindowLayout::cover(QWidget& overlay) {
  platform::assertMainThread();
  overlay.setGeometry(contentView->rect());
  overlay.show();
  overlay.raise();
  // A panel that is there already is used above the cover.
  fileNameView->raise();
  progressView->raise();
  noticeView->raise();
  closeContextMenu();
  giveKeyboardBack();
}

QWidget* WindowLayout::frontmost() const {
  for (ui::QuestionPanel* const panel : std::initializer_list<ui::QuestionPanel*>{noticeView, fileNameView})
    if (panel->isReachable())
      return panel;
  for (QWidget* const cover : std::initializer_list<QWidget*>{progressView, loadingViewController->view(), ghostView})
    if (!cover->isHidden())
      return cover;
  return outlineView;
}

void WindowLayout::giveKeyboardBack() {
  platform::assertMainThread();
  QWidget* const front = frontmost();
  if (front->isAncestorOf(m_window->focusWidget()))
    return; // a panel's control keeps it
  if (front == fileNameView)
    fileNameView->txtNewName()->setFocus();
  else
    front->setFocus();
}

void WindowLayout::closeContextMenu() {
  platform::assertMainThread();
  outlineView->closeContextMenu();
}

bool WindowLayout::eventFilter(QObject* watched, QEvent* event) {
  if (watched == contentView && event->type() == QEvent::Resize) {
    ghostView->setGeometry(contentView->rect());
    loadingViewController->setLoadingFrame(contentView->rect());
  }
  return QObject::eventFilter(watched, event);
}
