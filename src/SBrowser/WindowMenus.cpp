#include "SBrowser/WindowMenus.h"

#include "Platform/MainThread.h"
#include "UI/Common/DisplayText.h"
#include "UI/Controls/SOutlineView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr std::array kSortCommands{WindowCommand::SortByName, WindowCommand::SortByDate, WindowCommand::SortBySize};

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

/// A text of any content as an entry shows it.
QString entryText(QString text) {
  return text.replace(u'&', QStringLiteral("&&"));
}

/// Makes the action one of several of which one is chosen.
void addChoice(QActionGroup* group, QAction* action) {
  action->setCheckable(true);
  group->addAction(action);
}

QString storageText(const char* key, const QString& name) {
  return localized(key).arg(entryText(ui::singleLineText(name, kLongestStorageName)));
}

} // namespace

QString textWithoutMnemonic(QString text) {
  static const QRegularExpression appended(QStringLiteral("\\(&[^)]\\)"));
  text.remove(appended);
  text.replace(QStringLiteral("&&"), QStringLiteral("\n"));
  text.remove(u'&');
  return text.replace(u'\n', u'&').remove(QChar(0x2026)).trimmed();
}

WindowMenus::WindowMenus(QMainWindow& window)
    : m_window(window)
    , m_contextMenu(std::make_unique<QMenu>(&window)) {
  platform::assertMainThread();
  buildFileMenu();
  buildEditMenu();
  buildGoMenu();
  buildViewMenu();
  buildHelpMenu();
  m_contextMenu->setTitle(QStringLiteral("BrowserPopup"));
  m_contextMenu->setLayoutDirection(m_window.layoutDirection()); // a window of its own: none is handed down to it
  addToContextMenu(WindowCommand::NewFolder, "MNU_AddNewFolder");
  addToContextMenu(WindowCommand::Rename, "MNU_EditName");
  addToContextMenu(WindowCommand::Delete, "MNU_Delete");
}

WindowMenus::~WindowMenus() = default;

QMenu* WindowMenus::addMenu(const char* key) {
  QMenu* const menu = m_window.menuBar()->addMenu(localized(key));
  menu->setLayoutDirection(m_window.layoutDirection());
  return menu;
}

QAction* WindowMenus::add(QMenu* menu, WindowCommand command, const QString& text, const QList<QKeySequence>& keys) {
  auto* const action = new QAction(text, &m_window);
  action->setShortcuts(keys);
  action->setMenuRole(QAction::NoRole);
  connect(action, &QAction::triggered, this, [this, command] { Q_EMIT triggered(command); });
  menu->addAction(action);
  m_actions[std::size_t(command)] = action;
  return action;
}

void WindowMenus::addToContextMenu(WindowCommand command, const char* key) {
  m_contextActions[std::size_t(command)] = m_contextMenu->addAction(localized(key));
}

void WindowMenus::buildFileMenu() {
  QMenu* const menu = addMenu("menu_file");
  add(menu, WindowCommand::NewFolder, localized("menu_file_new_folder"), {Qt::CTRL | Qt::SHIFT | Qt::Key_N});
  menu->addSeparator();
  add(menu, WindowCommand::Upload, localized("menu_file_upload"), {Qt::CTRL | Qt::Key_U});
  add(menu, WindowCommand::UploadFolder, localized("menu_file_upload_folder"), {Qt::CTRL | Qt::SHIFT | Qt::Key_U});
  add(menu, WindowCommand::CopyTo, localized("menu_file_copy_to"), {Qt::CTRL | Qt::SHIFT | Qt::Key_C});
  add(menu, WindowCommand::CancelTransfer, localized("menu_file_cancel_transfer"), {Qt::CTRL | Qt::Key_Period});
  menu->addSeparator();
  add(menu, WindowCommand::Quit, localized("menu_file_quit"), {Qt::CTRL | Qt::Key_Q});
}

void WindowMenus::buildEditMenu() {
  QMenu* const menu = addMenu("menu_edit");
  add(menu, WindowCommand::Rename, localized("menu_edit_rename"), {Qt::Key_F2});
  add(menu, WindowCommand::Delete, localized("menu_edit_delete"), {Qt::Key_Delete});
  menu->addSeparator();
  add(menu, WindowCommand::SelectAll, localized("menu_edit_select_all"), {Qt::CTRL | Qt::Key_A});
}

void WindowMenus::buildGoMenu() {
  QMenu* const menu = addMenu("menu_go");
  add(menu, WindowCommand::Open, localized("menu_go_open"), {Qt::CTRL | Qt::Key_O, Qt::ALT | Qt::Key_Down});
  menu->addSeparator();
  add(menu, WindowCommand::Back, localized("menu_go_back"), {Qt::ALT | arrow(false), Qt::Key_Backspace, Qt::Key_Back});
  add(menu, WindowCommand::Next, localized("menu_go_next"), {Qt::ALT | arrow(true), Qt::Key_Forward});
  menu->addSeparator();
  auto* const storages = new QActionGroup(&m_window);
  addChoice(storages, add(menu, WindowCommand::InternalStorage, QString(), {Qt::CTRL | Qt::Key_1}));
  addChoice(storages, add(menu, WindowCommand::ExternalStorage, QString(), {Qt::CTRL | Qt::Key_2}));
  setStorages({}, 0);
}

void WindowMenus::buildViewMenu() {
  QMenu* const menu = addMenu("menu_view");
  add(menu, WindowCommand::Reload, localized("menu_view_reload"), {Qt::Key_F5, Qt::CTRL | Qt::Key_R});
  menu->addSeparator();
  QMenu* const sorting = menu->addMenu(localized("menu_view_sort"));
  sorting->setLayoutDirection(m_window.layoutDirection());
  auto* const columns = new QActionGroup(&m_window);
  const std::array headings{"MNU_FileName", "MNU_DateOfModify", "MSG_FileSize"};
  for (std::size_t column = 0; column < kSortCommands.size(); ++column)
    addChoice(columns, add(sorting, kSortCommands[column], entryText(localized(headings[column])),
                           {Qt::ALT | Qt::Key(Qt::Key_1 + int(column))}));
  menu->addSeparator();
  add(menu, WindowCommand::Expand, localized("menu_view_expand"), {Qt::CTRL | arrow(true)});
  add(menu, WindowCommand::Collapse, localized("menu_view_collapse"), {Qt::CTRL | arrow(false)});
  menu->addSeparator();
  add(menu, WindowCommand::LastTransfer, localized("menu_view_last_transfer"), {Qt::CTRL | Qt::Key_J});
}

void WindowMenus::buildHelpMenu() {
  QMenu* const menu = addMenu("menu_help");
  add(menu, WindowCommand::ShowKeys, localized("menu_help_keys"), {Qt::Key_F1});
  menu->addSeparator();
  add(menu, WindowCommand::About, localized("menu_help_about"), {Qt::SHIFT | Qt::Key_F1});
}

Qt::Key WindowMenus::arrow(bool towardsEnd) const {
  return towardsEnd == m_window.isLeftToRight() ? Qt::Key_Right : Qt::Key_Left;
}

void WindowMenus::setPossible(const WindowCommandSet& commands) {
  platform::assertMainThread();
  for (std::size_t i = 0; i < kWindowCommandCount; ++i)
    m_actions[i]->setEnabled(commands.contains(WindowCommand(i)));
}

void WindowMenus::setOffered(WindowCommand command, bool offered) {
  platform::assertMainThread();
  for (QAction* const action : {m_actions[std::size_t(command)], m_contextActions[std::size_t(command)]})
    if (action != nullptr)
      action->setVisible(offered);
}

void WindowMenus::setStorages(const QStringList& names, int chosen) {
  platform::assertMainThread();
  const auto set = [&](WindowCommand command, const char* key, int place) {
    QAction* const action = this->action(command);
    action->setText(storageText(key, names.value(place)));
    action->setVisible(place < names.size());
    action->setChecked(place == chosen);
  };
  set(WindowCommand::InternalStorage, "menu_go_storage_1", 0);
  set(WindowCommand::ExternalStorage, "menu_go_storage_2", 1);
}

void WindowMenus::setSortColumn(int column) {
  platform::assertMainThread();
  for (std::size_t i = 0; i < kSortCommands.size(); ++i)
    action(kSortCommands[i])->setChecked(int(i) == column);
}

void WindowMenus::showAbout() {
  platform::assertMainThread();
  auto* const box = new QMessageBox(&m_window);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setLayoutDirection(m_window.layoutDirection());
  box->setWindowTitle(textWithoutMnemonic(localized("menu_help_about")));
  box->setIconPixmap(m_window.windowIcon().pixmap(QSize(64, 64), m_window.devicePixelRatio()));
  box->setTextFormat(Qt::PlainText);
  // A name in Latin letters begins where the other lines do.
  const QString direction = m_window.isLeftToRight() ? QString() : QString(QChar(0x200F));
  box->setText(direction + QStringLiteral("MTP Browser\n") +
               localized("about_version").arg(QCoreApplication::applicationVersion()));
  box->setInformativeText(localized("about_description"));
  box->setStandardButtons(QMessageBox::Ok);
  box->open();
}

void WindowMenus::showKeys() {
  platform::assertMainThread();
  auto* const dialog = new QDialog(&m_window);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setLayoutDirection(m_window.layoutDirection());
  dialog->setWindowTitle(textWithoutMnemonic(localized("menu_help_keys")));
  auto* const table = new QTableWidget(0, 2, dialog);
  table->setAccessibleName(dialog->windowTitle());
  table->horizontalHeader()->hide();
  table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
  table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  table->verticalHeader()->hide();
  table->setShowGrid(false);
  table->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table->setSelectionBehavior(QAbstractItemView::SelectRows);
  table->setTabKeyNavigation(false);
  // Keys are written from left to right everywhere, "Ctrl+." too.
  const QString leftToRight = m_window.isLeftToRight() ? QString() : QString(QChar(0x200E));
  const QString sorting = textWithoutMnemonic(localized("menu_view_sort")) + QStringLiteral(": ");
  for (const QAction* const action : m_actions) {
    if (!action->isVisible())
      continue;
    const bool sorts = std::any_of(kSortCommands.begin(), kSortCommands.end(),
                                   [&](WindowCommand command) { return action == this->action(command); });
    QStringList keys;
    for (const QKeySequence& key : action->shortcuts())
      keys.append(leftToRight + key.toString(QKeySequence::NativeText) + leftToRight);
    const int row = table->rowCount();
    table->insertRow(row);
    table->setItem(row, 0, new QTableWidgetItem((sorts ? sorting : QString()) + textWithoutMnemonic(action->text())));
    table->setItem(row, 1, new QTableWidgetItem(keys.join(QStringLiteral(", "))));
  }
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
  connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  auto* const column = new QVBoxLayout(dialog);
  column->addWidget(table);
  column->addWidget(buttons);
  dialog->resize(440, 480);
  dialog->open();
}
