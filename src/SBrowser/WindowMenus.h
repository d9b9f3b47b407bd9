#pragma once
// The window's menu bar with its keys, and the context menu of its tree.
#include "SBrowser/WindowCommands.h"

#include <QList>
#include <QObject>
#include <QStringList>

#include <array>
#include <memory>

class QAction;
class QKeySequence;
class QMainWindow;
class QMenu;

/// An entry's text as it is shown elsewhere: without the mark of its key, and without the ellipsis.
QString textWithoutMnemonic(QString text);

/// What is shown of a storage's name, in UTF-16 units.
inline constexpr qsizetype kLongestStorageName = 40;

/// File, Edit, Go, View and Help, with localized texts, and every command's action with its keys. Which commands can be
/// carried out, and carrying them out, is the window's affair. Main thread.
class WindowMenus : public QObject {
  Q_OBJECT
public:
  /// Gives `window` its menu bar, which it owns; must be destroyed before it. The arrows of the keys follow the
  /// window's direction: back is where a line begins.
  explicit WindowMenus(QMainWindow& window);
  ~WindowMenus() override;

  /// The command's action. Owned by the window.
  QAction* action(WindowCommand command) const { return m_actions[std::size_t(command)]; }
  /// New folder, rename and delete, titled as the tree wants them; no keys.
  QMenu* contextMenu() const { return m_contextMenu.get(); }

  /// Enables what can be carried out now, disables the rest: keys included.
  void setPossible(const WindowCommandSet& commands);
  /// Shows or hides the command's entries, the one of the context menu included. A hidden one's keys do nothing.
  void setOffered(WindowCommand command, bool offered);
  /// The storages' names, of any content, one or two; and which of them is chosen, from 0.
  void setStorages(const QStringList& names, int chosen);
  /// Marks the column the rows are sorted by; -1: none.
  void setSortColumn(int column);

  /// Shows what the program is. Returns at once.
  void showAbout();
  /// Shows the commands that are offered with their keys. Returns at once.
  void showKeys();

Q_SIGNALS:
  /// Chosen in the menu bar or by its key.
  void triggered(WindowCommand command);

private:
  QMenu* addMenu(const char* key);
  QAction* add(QMenu* menu, WindowCommand command, const QString& text, const QList<QKeySequence>& keys);
  void addToContextMenu(WindowCommand command, const char* key);
  void buildFileMenu();
  void buildEditMenu();
  void buildGoMenu();
  void buildViewMenu();
  void buildHelpMenu();
  /// An arrow key towards the beginning of a line, or its end.
  Qt::Key arrow(bool towardsEnd) const;

  QMainWindow& m_window;
  std::array<QAction*, kWindowCommandCount> m_actions{};
  std::array<QAction*, kWindowCommandCount> m_contextActions{}; // null for most
  std::unique_ptr<QMenu> m_contextMenu;
};
