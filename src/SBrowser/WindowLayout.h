#pragma once
// The browser window's widgets and where they stand.
#include "Platform/Timers.h"

#include <QObject>
#include <QString>

#include <memory>

class NavigationButton;
class QAction;
class QLabel;
class QLineEdit;
class QMainWindow;
class QToolBar;
class QWidget;
class SFileNameView;
class SGhostView;
class SLoadingAniViewController;
class SNoticeView;
class SOutlineView;
class SProgressView;
class SToolbarButton;
class WindowMenus;

/// Builds the window in its welcome state, hidden. The menu bar; a toolbar with back, next, the storages and the
/// new-folder button; below it either the welcome or the path and the tree, with the overlays on top: panels wait above
/// the upper edge, the covers lie below the panels. Owns all widgets. Main thread.
class WindowLayout : public QObject {
  Q_OBJECT
public:
  explicit WindowLayout(platform::Timers& timers);
  ~WindowLayout() override;

  QMainWindow* window() const { return m_window.get(); }

  /// The welcome with this text, under the program's own title; no toolbar.
  void showWelcome(const QString& text);
  /// Toolbar, path and tree, under this title.
  void showBrowser(const QString& title);
  /// A path of any content, on one line.
  void setPath(const QString& path);
  /// Gives the button the width of its title in the bold face of 13 points and 15 more.
  static void sizeToTitle(SToolbarButton& button);
  void setStorageButton(SToolbarButton& button, bool shown, const QString& title);
  /// Shows or hides the new-folder button.
  void setNewFolderButtonShown(bool shown);
  /// The overlay fills the content area, comes to the front but for the panels, is shown and gets the keyboard, unless
  /// a panel has it. The context menu closes.
  void cover(QWidget& overlay);
  /// Gives the keyboard to what the user's keys can be meant for: a question that is being asked, else the progress,
  /// else a cover, else the tree.
  void giveKeyboardBack();
  /// Closes the tree's context menu: what it was opened on is no longer there.
  void closeContextMenu();

  // Owned by the window.
  QToolBar* toolbar = nullptr;
  NavigationButton* _btn_Previous = nullptr;
  NavigationButton* _btn_Next = nullptr;
  NavigationButton* _btn_AddNewFolder = nullptr; ///< shown while a new folder can be made
  SToolbarButton* _btn_InternalStorage = nullptr;
  SToolbarButton* _btn_ExternalStorage = nullptr;
  QWidget* _contentView = nullptr;
  QWidget* welcomeView = nullptr;
  QLabel* welcomeTfield = nullptr;
  QLineEdit* paths = nullptr;
  QWidget* scrollViewBrowser = nullptr; ///< what encloses the tree
  SOutlineView* _outlineView = nullptr;
  SGhostView* _ghostView = nullptr;
  SFileNameView* _fileNameView = nullptr;
  SNoticeView* _noticeView = nullptr;
  SProgressView* _progressView = nullptr;
  std::unique_ptr<SLoadingAniViewController> _loadingViewController;
  std::unique_ptr<WindowMenus> menus;

Q_SIGNALS:
  /// A button of the toolbar was clicked; its identifier is its objectName.
  void toolbarClicked(QObject* sender);
  /// The pointer has come over the back or next button (true) or left it.
  void navigationHovered(bool entered);

protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

private:
  void buildToolbar();
  void buildContent(platform::Timers& timers);
  void buildWelcome();
  QWidget* frontmost() const;
  NavigationButton* addNavigationButton(const QString& identifier, const QString& imageName, const QString& name,
                                        QAction** action);
  SToolbarButton* addStorageButton(const QString& identifier, const QString& title, QAction** action);

  std::unique_ptr<QMainWindow> m_window;
  QAction* _item_InternalStorage = nullptr; // what shows or hides a widget of a toolbar
  QAction* _item_ExternalStorage = nullptr;
  QAction* m_addNewFolderItem = nullptr;
};
