// The whole window used by keys and by a screen reader, in both directions, blocked, and at rest.
#include "BrowserFixture.h"
#include "SBrowser/NavigationButton.h"
#include "SBrowser/WindowMenus.h"
#include "UI/Controls/SGhostView.h"
#include "UI/Controls/SOutlineHeaderView.h"
#include "UI/Controls/SToolbarButton.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/LoadingView/SLoadingAniView.h"
#include "UI/LoadingView/SLoadingAniViewController.h"
#include "UI/NoticeView/SNoticeView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAbstractEventDispatcher>
#include <QAccessible>
#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QToolBar>

namespace {

using Command = WindowCommand;

constexpr std::array kHandledCommands{Command::NewFolder, Command::Upload, Command::UploadFolder,
                                      Command::CopyTo,    Command::Rename, Command::Delete};

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

class WindowUseTest : public BrowserFixture {
protected:
  WindowLayout& layout() const { return controller->layout(); }
  QMainWindow& window() const { return *controller->window(); }
  QAction& action(Command command) const { return *layout().menus->action(command); }
  bool isPossible(Command command) const { return controller->possibleCommands().contains(command); }

  void SetUp() override {
    BrowserFixture::SetUp();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
  }
  void connectTwoStorages() {
    addPhone();
    addCard();
    connect();
  }
  /// Sets handlers that count.
  void handleCommands() {
    for (const Command command : kHandledCommands)
      controller->setCommandHandler(command, [this, command] { handled.append(command); });
  }
  /// Presses a key where the keyboard is.
  void press(QKeySequence key) {
    QWidget* const focus = QApplication::focusWidget();
    QTest::keyClick(focus != nullptr ? focus : &window(), key[0].key(), key[0].keyboardModifiers());
    ASSERT_TRUE(settle());
  }
  void select(const QStringList& names) {
    outline().clearSelection();
    for (const QString& name : names)
      outline().selectionModel()->select(row(name), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    if (!names.isEmpty())
      outline().selectionModel()->setCurrentIndex(row(names.last()), QItemSelectionModel::NoUpdate);
  }
  QString selectedName() const { return outline().currentIndex().siblingAtColumn(kFileName).data().toString(); }

  QList<Command> handled;
};

// ---- Accessibility: what a screen reader is told ----

QAccessibleInterface* accessible(QObject* object) {
  return QAccessible::queryAccessibleInterface(object);
}

QString nameOf(QObject* object) {
  return accessible(object)->text(QAccessible::Name);
}

/// What is shown below an interface, itself included.
QList<QAccessibleInterface*> shownBelow(QAccessibleInterface* root) {
  QList<QAccessibleInterface*> found;
  if (root == nullptr || !root->isValid() || root->state().invisible)
    return found;
  found.append(root);
  for (int i = 0; i < root->childCount(); ++i)
    found += shownBelow(root->child(i));
  return found;
}

QString describe(QAccessibleInterface* interface) {
  return QStringLiteral("%1 role %2 \"%3\"")
      .arg(interface->object() != nullptr ? QString::fromLatin1(interface->object()->metaObject()->className())
                                          : QString(),
           QString::number(interface->role(), 16), interface->text(QAccessible::Name));
}

/// Who can be acted on and says nothing of itself.
QStringList namelessControls(QAccessibleInterface* root) {
  QStringList nameless;
  for (QAccessibleInterface* const interface : shownBelow(root)) {
    switch (interface->role()) {
    case QAccessible::Client: // keeps others together
    case QAccessible::Separator:
    case QAccessible::ScrollBar:
    case QAccessible::MenuBar:
      continue;
    default:
      if (interface->text(QAccessible::Name).isEmpty())
        nameless.append(describe(interface));
    }
  }
  return nameless;
}

} // namespace

TEST_F(WindowUseTest, NothingThatIsShownIsWithoutAName) {
  EXPECT_EQ(namelessControls(accessible(&window())), QStringList());
  connectTwoStorages();
  handleCommands();
  EXPECT_EQ(namelessControls(accessible(&window())), QStringList());
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(namelessControls(accessible(&window())), QStringList());
}

TEST_F(WindowUseTest, WhateverTakesTheKeyboardHasANameAndARole) {
  connectTwoStorages();
  handleCommands();
  controller->setDisableCaptureEvent(true);
  for (QWidget* const widget : window().findChildren<QWidget*>()) {
    const bool takesKeyboard = widget->isVisible() && (widget->focusPolicy() != Qt::NoFocus || widget->hasFocus());
    if (!takesKeyboard)
      continue;
    QAccessibleInterface* const interface = accessible(widget);
    ASSERT_NE(interface, nullptr);
    EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty()) << describe(interface).toStdString();
    EXPECT_NE(interface->role(), QAccessible::NoRole) << describe(interface).toStdString();
  }
}

TEST_F(WindowUseTest, TheWindowIsKnownByThePhonesName) {
  EXPECT_EQ(accessible(&window())->role(), QAccessible::Window);
  EXPECT_EQ(nameOf(&window()), QStringLiteral("MTP Browser"));
  connectPhone();
  EXPECT_EQ(nameOf(&window()), QStringLiteral("Pat's phone"));
}

TEST_F(WindowUseTest, TheWelcomeIsReadOut) {
  EXPECT_EQ(accessible(layout().welcomeTfield)->role(), QAccessible::StaticText);
  EXPECT_EQ(nameOf(layout().welcomeTfield), localized("MSG_WelcomToVBX2"));
}

TEST_F(WindowUseTest, TheToolbarsButtonsAreButtonsThatCanBePressed) {
  connectPhone();
  controller->outlineViewRowDoubleClicked(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(accessible(layout().toolbar)->role(), QAccessible::ToolBar);
  EXPECT_EQ(nameOf(layout().toolbar), localized("accessible_toolbar"));
  QAccessibleInterface* const back = accessible(layout()._btn_Previous);
  EXPECT_EQ(back->role(), QAccessible::Button);
  EXPECT_EQ(back->text(QAccessible::Name), localized("accessible_back"));
  EXPECT_TRUE(back->state().focusable);
  EXPECT_FALSE(back->state().disabled);
  ASSERT_TRUE(back->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
  back->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  controller->setDisableCaptureEvent(true);
  EXPECT_TRUE(back->state().disabled);
}

TEST_F(WindowUseTest, OfTheStoragesTheChosenOneIsToldAsSuch) {
  connectTwoStorages();
  QAccessibleInterface* const internal = accessible(layout()._btn_InternalStorage);
  QAccessibleInterface* const external = accessible(layout()._btn_ExternalStorage);
  EXPECT_EQ(internal->role(), QAccessible::RadioButton);
  EXPECT_EQ(internal->text(QAccessible::Name), QStringLiteral("Phone"));
  EXPECT_TRUE(internal->state().checked);
  EXPECT_FALSE(external->state().checked);
  external->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Card"));
  EXPECT_FALSE(internal->state().checked);
  EXPECT_TRUE(external->state().checked);
}

TEST_F(WindowUseTest, ThePathIsReadOnlyTextWithItsValue) {
  connectPhone();
  QAccessibleInterface* const path = accessible(layout().paths);
  EXPECT_EQ(path->role(), QAccessible::EditableText);
  EXPECT_TRUE(path->state().readOnly);
  EXPECT_EQ(path->text(QAccessible::Name), localized("accessible_path"));
  EXPECT_EQ(path->text(QAccessible::Value), QStringLiteral("/M/Phone"));
}

TEST_F(WindowUseTest, TheTreeTellsItsColumnsRowsAndWhatIsExpandedAndSelected) {
  connectPhone();
  QAccessibleInterface* const tree = accessible(&outline());
  EXPECT_EQ(tree->role(), QAccessible::Tree);
  EXPECT_EQ(tree->text(QAccessible::Name), localized("accessible_files"));
  QAccessibleTableInterface* const table = tree->tableInterface();
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->columnCount(), 3);
  EXPECT_EQ(table->rowCount(), 3);
  EXPECT_EQ(table->columnDescription(kDateModified), localized("MNU_DateOfModify"));
  QAccessibleInterface* const folder = table->cellAt(0, kFileName);
  EXPECT_EQ(folder->role(), QAccessible::TreeItem);
  EXPECT_EQ(folder->text(QAccessible::Name), QStringLiteral("DCIM"));
  EXPECT_EQ(folder->text(QAccessible::Description), localized("accessible_folder"));
  EXPECT_TRUE(folder->state().expandable);
  EXPECT_FALSE(folder->state().expanded);
  EXPECT_TRUE(folder->state().selectable);
  EXPECT_FALSE(folder->state().selected);
  QAccessibleInterface* const file = table->cellAt(2, kFileName);
  EXPECT_EQ(file->text(QAccessible::Name), QStringLiteral("readme.txt"));
  EXPECT_EQ(file->text(QAccessible::Description), localized("accessible_file"));
  EXPECT_FALSE(file->state().expandable);
  EXPECT_EQ(table->cellAt(2, kFileSize)->text(QAccessible::Name), QStringLiteral("1.50KB"));
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  select({QStringLiteral("DCIM")});
  EXPECT_EQ(table->rowCount(), 6);
  EXPECT_TRUE(table->cellAt(0, kFileName)->state().expanded);
  EXPECT_TRUE(table->cellAt(0, kFileName)->state().selected);
  EXPECT_EQ(table->cellAt(1, kFileName)->text(QAccessible::Name), QStringLiteral("Camera"));
}

TEST_F(WindowUseTest, ALoadingFolderIsToldWhereTheKeyboardIs) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  doubleClick(QStringLiteral("DCIM"));
  EXPECT_EQ(QApplication::focusWidget(), layout()._loadingViewController->view());
  EXPECT_EQ(nameOf(QApplication::focusWidget()), localized("accessible_loading"));
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(QApplication::focusWidget(), &outline());
}

TEST_F(WindowUseTest, APanelThatWaitsAboveTheWindowIsNotThereForAScreenReader) {
  for (QWidget* const panel :
       {static_cast<QWidget*>(layout()._fileNameView), static_cast<QWidget*>(layout()._noticeView)}) {
    ASSERT_FALSE(panel->isHidden());
    EXPECT_TRUE(accessible(panel)->state().invisible);
    panel->move(0, 0);
    EXPECT_FALSE(accessible(panel)->state().invisible);
  }
}

TEST_F(WindowUseTest, TheCoverSaysWhatGoesOnOrWhomItsKeysGoTo) {
  connectPhone();
  controller->setDisableCaptureEvent(true);
  EXPECT_EQ(nameOf(layout()._ghostView), localized("accessible_waiting"));
  layout()._noticeView->setAccessibleName(QStringLiteral("Delete"));
  controller->changeEventRecieverObject(layout()._noticeView);
  EXPECT_EQ(nameOf(layout()._ghostView), QStringLiteral("Delete"));
  controller->changeEventRecieverObject(nullptr);
  EXPECT_EQ(nameOf(layout()._ghostView), localized("accessible_waiting"));
}

TEST_F(WindowUseTest, TheMenusEntriesTellTheirKeysAndWhetherTheyCanBeUsed) {
  connectPhone();
  QMenu* const go = window().menuBar()->actions()[2]->menu();
  QAccessibleInterface* const menu = accessible(go);
  EXPECT_EQ(menu->role(), QAccessible::PopupMenu);
  const auto entry = [&](Command command) { return menu->child(int(go->actions().indexOf(&action(command)))); };
  EXPECT_EQ(entry(Command::Back)->role(), QAccessible::MenuItem);
  EXPECT_EQ(entry(Command::Back)->text(QAccessible::Name), QStringLiteral("Back"));
  EXPECT_EQ(entry(Command::Back)->text(QAccessible::Accelerator), QStringLiteral("Alt+Left"));
  EXPECT_TRUE(entry(Command::Back)->state().disabled);
  EXPECT_TRUE(entry(Command::InternalStorage)->state().checked);
  EXPECT_EQ(entry(Command::InternalStorage)->text(QAccessible::Name), QStringLiteral("Storage 1 (Phone)"));
}

// ---- Without a mouse ----

TEST_F(WindowUseTest, TabReachesEverythingAndComesBack) {
  connectTwoStorages();
  handleCommands();
  const QSet<QWidget*> wanted{
      layout()._btn_Previous,     layout()._btn_Next, layout()._btn_InternalStorage,    layout()._btn_ExternalStorage,
      layout()._btn_AddNewFolder, layout().paths,     static_cast<QWidget*>(&outline())};
  for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab}) {
    outline().setFocus();
    QSet<QWidget*> reached;
    for (int i = 0; i < 20; ++i) {
      press(key);
      ASSERT_NE(QApplication::focusWidget(), nullptr);
      if (reached.contains(QApplication::focusWidget()))
        break;
      reached.insert(QApplication::focusWidget());
    }
    EXPECT_EQ(reached, wanted);
  }
}

TEST_F(WindowUseTest, WhereTheKeyboardIsCanBeSeen) {
  connectTwoStorages();
  handleCommands();
  ASSERT_TRUE(waitUntil([this] { return layout()._btn_AddNewFolder->isVisible(); }));
  select({QStringLiteral("DCIM")});
  for (QWidget* const widget : std::initializer_list<QWidget*>{
           layout()._btn_Previous, layout()._btn_AddNewFolder, layout()._btn_InternalStorage,
           layout()._btn_ExternalStorage, layout().paths, static_cast<QWidget*>(&outline())}) {
    window().setFocus();
    const QImage without = widget->grab().toImage();
    widget->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(widget->hasFocus()) << widget->objectName().toStdString();
    EXPECT_NE(widget->grab().toImage(), without) << widget->objectName().toStdString();
  }
}

TEST_F(WindowUseTest, SpacePressesTheButtonTheKeyboardIsOn) {
  connectTwoStorages();
  layout()._btn_ExternalStorage->setFocus();
  press(Qt::Key_Space);
  EXPECT_EQ(currentFolder(), QStringLiteral("Card"));
}

TEST_F(WindowUseTest, ThePhoneIsBrowsedByKeysAlone) {
  connectTwoStorages();
  ASSERT_EQ(QApplication::focusWidget(), &outline());
  press(Qt::Key_Down);
  EXPECT_EQ(selectedName(), QStringLiteral("DCIM"));
  press(Qt::CTRL | Qt::Key_O);
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  press(Qt::ALT | Qt::Key_Left);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  press(Qt::ALT | Qt::Key_Right);
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  press(Qt::Key_Backspace);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  press(Qt::CTRL | Qt::Key_2);
  EXPECT_EQ(currentFolder(), QStringLiteral("Card"));
  EXPECT_TRUE(action(Command::ExternalStorage).isChecked());
  press(Qt::CTRL | Qt::Key_1);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_TRUE(action(Command::InternalStorage).isChecked());
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  press(Qt::CTRL | Qt::Key_Right);
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  press(Qt::CTRL | Qt::Key_Left);
  EXPECT_FALSE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  press(Qt::CTRL | Qt::Key_A);
  EXPECT_EQ(outline().numberOfSelectedRows(), 3);
}

TEST_F(WindowUseTest, TheRowsAreSortedByKeysAndTurnedRoundByTheSameKey) {
  connectPhone();
  press(Qt::ALT | Qt::Key_3);
  EXPECT_EQ(outline().header()->sortIndicatorSection(), kFileSize);
  EXPECT_EQ(outline().header()->sortIndicatorOrder(), Qt::AscendingOrder);
  press(Qt::ALT | Qt::Key_1);
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  press(Qt::ALT | Qt::Key_1);
  EXPECT_EQ(rows(), QStringList({"Empty", "DCIM", "readme.txt"}));
  EXPECT_TRUE(action(Command::SortByName).isChecked());
}

TEST_F(WindowUseTest, ReloadShowsWhatIsNewAndStaysInTheFolder) {
  connectPhone();
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  sdk->addFile(dcim, QStringLiteral("new.jpg"), 1);
  press(Qt::Key_F5);
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg", "new.jpg"}));
  EXPECT_EQ(layout().paths->text(), QStringLiteral("/M/Phone/DCIM"));
  press(Qt::ALT | Qt::Key_Left);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(WindowUseTest, ReloadOfAFolderThatIsGoneEndsAtTheNearestOneAbove) {
  connectPhone();
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  doubleClick(QStringLiteral("Camera"));
  ASSERT_TRUE(settle());
  sdk->remove(camera);
  press(Qt::CTRL | Qt::Key_R);
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  EXPECT_TRUE(layout()._loadingViewController->view()->isHidden());
}

TEST_F(WindowUseTest, ReloadKeepsTheSortingTheHeaderShows) {
  connectPhone();
  outline().sortByColumn(kFileName, Qt::DescendingOrder);
  press(Qt::Key_F5);
  EXPECT_EQ(rows(), QStringList({"Empty", "DCIM", "readme.txt"}));
}

TEST_F(WindowUseTest, CtrlQClosesTheWindow) {
  press(Qt::CTRL | Qt::Key_Q);
  EXPECT_FALSE(window().isVisible());
  EXPECT_TRUE(controller->isCanceled());
}

TEST_F(WindowUseTest, TheMenuKeyOpensTheContextMenuOfTheCurrentRow) {
  connectPhone();
  handleCommands();
  select({QStringLiteral("readme.txt")});
  QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), window().mapToGlobal(QPoint()));
  QCoreApplication::sendEvent(outline().viewport(), &event);
  QMenu& menu = *layout().menus->contextMenu();
  ASSERT_TRUE(menu.isVisible());
  EXPECT_EQ(outline().getSelectedRowIndex(), 2);
  EXPECT_FALSE(menu.actions()[0]->isEnabled());
  EXPECT_TRUE(menu.actions()[1]->isEnabled());
  EXPECT_TRUE(menu.actions()[2]->isEnabled());
  QTest::keyClick(&menu, Qt::Key_Up); // the last entry
  QTest::keyClick(&menu, Qt::Key_Return);
  EXPECT_EQ(handled, QList<Command>{Command::Delete});
}

// ---- Commands that others carry out ----

TEST_F(WindowUseTest, WhatNobodyCarriesOutIsNotOffered) {
  connectPhone();
  for (const Command command : kHandledCommands)
    controller->setCommandHandler(command, nullptr);
  ASSERT_TRUE(waitUntil([this] { return !layout()._btn_AddNewFolder->isVisible(); }));
  select({QStringLiteral("readme.txt")});
  for (const Command command : kHandledCommands)
    EXPECT_FALSE(action(command).isVisible());
  EXPECT_FALSE(layout()._btn_AddNewFolder->isVisible());
  EXPECT_EQ(outline().ownerMenu(), nullptr);
  for (const QKeySequence& key :
       {QKeySequence(Qt::Key_F2), QKeySequence(Qt::Key_Delete), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N)})
    press(key);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(WindowUseTest, ACommandIsOfferedAsLongAsSomebodyCarriesItOut) {
  connectPhone();
  handleCommands();
  select({QStringLiteral("readme.txt")});
  press(Qt::Key_F2);
  press(Qt::Key_Delete);
  press(Qt::CTRL | Qt::Key_U);
  press(Qt::CTRL | Qt::SHIFT | Qt::Key_C);
  EXPECT_EQ(handled, QList<Command>({Command::Rename, Command::Delete, Command::Upload, Command::CopyTo}));
  EXPECT_TRUE(waitUntil([this] { return layout()._btn_AddNewFolder->isVisible(); }));
  EXPECT_NE(outline().ownerMenu(), nullptr);
  controller->setCommandHandler(Command::NewFolder, nullptr);
  EXPECT_TRUE(waitUntil([this] { return !layout()._btn_AddNewFolder->isVisible(); }));
  controller->setCommandHandler(Command::Rename, nullptr);
  controller->setCommandHandler(Command::Delete, nullptr);
  EXPECT_EQ(outline().ownerMenu(), nullptr);
}

TEST_F(WindowUseTest, ANewFolderOfKeyOrButtonGoesIntoTheCurrentFolderWhateverWasRightClicked) {
  connectPhone();
  handleCommands();
  outline().setSelectedRowIndex(1);
  press(Qt::CTRL | Qt::SHIFT | Qt::Key_N);
  EXPECT_EQ(outline().getSelectedRowIndex(), -1);
  outline().setSelectedRowIndex(1);
  layout()._btn_AddNewFolder->click();
  EXPECT_EQ(outline().getSelectedRowIndex(), -1);
  outline().setSelectedRowIndex(1);
  layout().menus->contextMenu()->actions()[0]->trigger();
  EXPECT_EQ(outline().getSelectedRowIndex(), 1);
  EXPECT_EQ(handled, QList<Command>({Command::NewFolder, Command::NewFolder, Command::NewFolder}));
}

TEST_F(WindowUseTest, TheEntriesFollowTheSelection) {
  connectPhone();
  handleCommands();
  const auto enabled = [this] {
    QList<Command> found;
    for (const Command command : {Command::CopyTo, Command::Rename, Command::Delete, Command::Open})
      if (action(command).isEnabled())
        found.append(command);
    return found;
  };
  EXPECT_EQ(enabled(), QList<Command>());
  select({QStringLiteral("readme.txt")});
  EXPECT_EQ(enabled(), QList<Command>({Command::CopyTo, Command::Rename, Command::Delete}));
  select({QStringLiteral("DCIM")});
  EXPECT_EQ(enabled(), QList<Command>({Command::CopyTo, Command::Open}));
  select({QStringLiteral("readme.txt"), QStringLiteral("Empty")});
  EXPECT_EQ(enabled(), QList<Command>({Command::CopyTo, Command::Delete, Command::Open}));
  select({QStringLiteral("readme.txt"), QStringLiteral("DCIM")});
  EXPECT_EQ(enabled(), QList<Command>({Command::CopyTo, Command::Open}));
  select({});
  EXPECT_FALSE(action(Command::Delete).isEnabled());
}

TEST_F(WindowUseTest, TheWayBackAndForthIsEnabledExactlyWhenThereIsOne) {
  connectPhone();
  EXPECT_FALSE(action(Command::Back).isEnabled());
  EXPECT_FALSE(action(Command::Next).isEnabled());
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  EXPECT_TRUE(action(Command::Back).isEnabled());
  EXPECT_FALSE(action(Command::Next).isEnabled());
  press(Qt::ALT | Qt::Key_Left);
  EXPECT_FALSE(action(Command::Back).isEnabled());
  EXPECT_TRUE(action(Command::Next).isEnabled());
  press(Qt::ALT | Qt::Key_Right);
  EXPECT_TRUE(action(Command::Back).isEnabled());
  EXPECT_FALSE(action(Command::Next).isEnabled());
}

// ---- Blocked ----

TEST_F(WindowUseTest, NoKeyOfTheMenusWorksInABlockedWindow) {
  connectTwoStorages();
  handleCommands();
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  select({QStringLiteral("a.jpg")});
  controller->setDisableCaptureEvent(true);
  const int listings = sdk->calls(Operation::GetFolderListHead);
  for (std::size_t i = 0; i < kWindowCommandCount; ++i) {
    if (Command(i) == Command::Quit)
      continue;
    EXPECT_FALSE(action(Command(i)).isEnabled()) << i;
    for (const QKeySequence& key : action(Command(i)).shortcuts())
      press(key);
    controller->performCommand(Command(i));
  }
  for (QAction* const entry : layout().menus->contextMenu()->actions()) {
    entry->setEnabled(true); // the menu was open when the window was blocked
    entry->trigger();
  }
  ASSERT_TRUE(settle());
  EXPECT_EQ(handled, QList<Command>());
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  EXPECT_EQ(outline().numberOfSelectedRows(), 1);
  EXPECT_EQ(outline().header()->sortIndicatorSection(), -1);
  EXPECT_EQ(sdk->calls(Operation::GetFolderListHead), listings);
  EXPECT_TRUE(window().findChildren<QDialog*>().isEmpty());
  EXPECT_TRUE(window().isVisible());
  controller->setDisableCaptureEvent(false);
  press(Qt::Key_F2);
  EXPECT_EQ(handled, QList<Command>{Command::Rename});
}

TEST_F(WindowUseTest, AWindowWhoseEventsAPanelGetsIsBlockedToo) {
  connectPhone();
  handleCommands();
  select({QStringLiteral("readme.txt")});
  controller->changeEventRecieverObject(layout()._fileNameView);
  press(Qt::Key_F2);
  press(Qt::Key_Delete);
  press(Qt::Key_F5);
  EXPECT_EQ(handled, QList<Command>());
  EXPECT_FALSE(isPossible(Command::Reload));
  controller->changeEventRecieverObject(nullptr);
  EXPECT_TRUE(isPossible(Command::Reload));
  EXPECT_FALSE(isPossible(Command::Back));
  press(Qt::Key_Delete);
  EXPECT_EQ(handled, QList<Command>{Command::Delete});
}

TEST_F(WindowUseTest, WhileAFolderLoadsItsRowsAreOutOfReach) {
  connectPhone();
  handleCommands();
  select({QStringLiteral("readme.txt")});
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  for (const Command command :
       {Command::NewFolder, Command::Upload, Command::CopyTo, Command::Rename, Command::Delete, Command::SelectAll,
        Command::Open, Command::Reload, Command::SortByName, Command::Expand, Command::Collapse}) {
    EXPECT_FALSE(action(command).isEnabled()) << int(command);
    for (const QKeySequence& key : action(command).shortcuts())
      QTest::keyClick(QApplication::focusWidget(), key[0].key(), key[0].keyboardModifiers());
    controller->performCommand(command);
  }
  for (const Qt::Key key : {Qt::Key_Backspace, Qt::Key_Return, Qt::Key_Tab, Qt::Key_Down})
    QTest::keyClick(QApplication::focusWidget(), key);
  EXPECT_EQ(QApplication::focusWidget(), layout()._loadingViewController->view());
  EXPECT_EQ(handled, QList<Command>());
  EXPECT_EQ(outline().numberOfSelectedRows(), 1);
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  EXPECT_TRUE(action(Command::Reload).isEnabled());
}

TEST_F(WindowUseTest, AfterADetachOnlyTheProgramItselfHasCommands) {
  connectTwoStorages();
  handleCommands();
  controller->deviceDisconnected();
  for (std::size_t i = 0; i < kWindowCommandCount; ++i) {
    const bool isProgram = Command(i) == Command::Quit || Command(i) == Command::LastTransfer ||
                           Command(i) == Command::ShowKeys || Command(i) == Command::About;
    EXPECT_EQ(action(Command(i)).isEnabled(), isProgram) << i;
  }
  EXPECT_FALSE(action(Command::InternalStorage).isVisible());
}

// ---- Direction ----

namespace {

class WindowDirection : public BrowserFixture, public testing::WithParamInterface<bool> {
protected:
  void SetUp() override {
    BrowserFixture::SetUp();
    platform::userDefaults::setValue(QStringLiteral("RTLLayout"), GetParam());
    openWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(controller->window()));
    controller->setCommandHandler(Command::NewFolder, [] {});
    addPhone();
    addCard();
    connect();
  }
  bool isMirrored() const { return GetParam(); }
  WindowLayout& layout() const { return controller->layout(); }
  /// Whether the places, given from where a line begins, run as they should.
  void expectInOrder(QList<int> places) const {
    if (isMirrored())
      std::reverse(places.begin(), places.end());
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
    EXPECT_EQ(std::adjacent_find(places.begin(), places.end()), places.end());
  }
  int place(const QWidget* widget) const { return widget->mapTo(controller->window(), widget->rect().center()).x(); }
};

} // namespace

TEST_P(WindowDirection, TheToolbarBeginsWithBackAndEndsWithTheNewFolder) {
  expectInOrder({place(layout()._btn_Previous), place(layout()._btn_Next), place(layout()._btn_InternalStorage),
                 place(layout()._btn_ExternalStorage), place(layout()._btn_AddNewFolder)});
}

TEST_P(WindowDirection, BackPointsToWhereALineBegins) {
  platform::userDefaults::setValue(QStringLiteral("RTLLayout"), !GetParam());
  const WindowLayout other(timers);
  const auto picture = [](NavigationButton* button) {
    button->setEnabled(true);
    return button->grab().toImage().convertToFormat(QImage::Format_RGB32);
  };
  EXPECT_EQ(picture(layout()._btn_Previous), picture(other._btn_Next));
  EXPECT_EQ(picture(layout()._btn_Next), picture(other._btn_Previous));
  EXPECT_NE(picture(layout()._btn_Previous), picture(layout()._btn_Next));
}

TEST_P(WindowDirection, TheMenusStandInTheLinesOrder) {
  const QMenuBar& bar = *controller->window()->menuBar();
  QList<int> places;
  for (QAction* const action : bar.actions())
    places.append(bar.actionGeometry(action).center().x());
  expectInOrder(places);
}

TEST_P(WindowDirection, TheColumnsStandInTheLinesOrder) {
  const QHeaderView& header = *outline().header();
  expectInOrder({header.sectionViewportPosition(kFileName), header.sectionViewportPosition(kDateModified),
                 header.sectionViewportPosition(kFileSize)});
}

TEST_P(WindowDirection, ThePathBeginsWhereALineBegins) {
  EXPECT_TRUE(layout().paths->alignment().testFlag(isMirrored() ? Qt::AlignRight : Qt::AlignLeft));
  EXPECT_TRUE(layout().paths->alignment().testFlag(Qt::AlignAbsolute));
}

TEST_P(WindowDirection, TheArrowAwayFromALinesBeginningExpandsAndTheOtherCollapses) {
  const Qt::Key inwards = isMirrored() ? Qt::Key_Left : Qt::Key_Right;
  const Qt::Key outwards = isMirrored() ? Qt::Key_Right : Qt::Key_Left;
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  QTest::keyClick(&outline(), inwards);
  ASSERT_TRUE(settle());
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  QTest::keyClick(&outline(), outwards);
  EXPECT_FALSE(outline().isExpanded(row(QStringLiteral("DCIM"))));
}

TEST_P(WindowDirection, TheArrowTowardsALinesBeginningWithAltLeadsBack) {
  const Qt::Key outwards = isMirrored() ? Qt::Key_Right : Qt::Key_Left;
  const Qt::Key inwards = isMirrored() ? Qt::Key_Left : Qt::Key_Right;
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  QTest::keyClick(&outline(), inwards, Qt::AltModifier);
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  QTest::keyClick(&outline(), outwards, Qt::AltModifier);
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  QTest::keyClick(&outline(), inwards, Qt::AltModifier);
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
}

TEST_P(WindowDirection, WidgetsMenusAndDialogsAllRunInIt) {
  layout().menus->showAbout();
  layout().menus->showKeys();
  const Qt::LayoutDirection direction = isMirrored() ? Qt::RightToLeft : Qt::LeftToRight;
  for (const QWidget* const widget : controller->window()->findChildren<QWidget*>())
    EXPECT_EQ(widget->layoutDirection(), direction)
        << widget->metaObject()->className() << " " << widget->objectName().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Direction, WindowDirection, testing::Bool(),
                         [](const auto& info) { return info.param ? "RightToLeft" : "LeftToRight"; });

// ---- At rest ----

namespace {

/// Every timer that runs for the program's objects, by its owner's class.
QStringList runningTimers() {
  QStringList found;
  const auto collect = [&found](QObject* object, const auto& self) -> void {
    for (const auto& timer : QAbstractEventDispatcher::instance()->registeredTimers(object))
      found.append(QStringLiteral("%1 every %2 ms")
                       .arg(QString::fromLatin1(object->metaObject()->className()))
                       .arg(timer.interval));
    for (QObject* const child : object->children())
      self(child, self);
  };
  collect(qApp, collect);
  for (QWidget* const widget : QApplication::topLevelWidgets())
    collect(widget, collect);
  return found;
}

} // namespace

TEST_F(WindowUseTest, NoTimerRunsWhileTheWelcomeIsShown) {
  EXPECT_EQ(timers.pending(), 0);
  EXPECT_TRUE(waitUntil([] { return runningTimers().isEmpty(); })) << runningTimers().join(u'\n').toStdString();
}

TEST_F(WindowUseTest, NoTimerRunsWhileAFolderIsShownWhereverTheKeyboardIs) {
  connectTwoStorages();
  handleCommands();
  EXPECT_EQ(timers.pending(), 0);
  for (QWidget* const widget :
       std::initializer_list<QWidget*>{&outline(), layout().paths, layout()._btn_Previous, layout()._btn_AddNewFolder,
                                       layout()._btn_InternalStorage}) {
    widget->setFocus(Qt::TabFocusReason);
    EXPECT_TRUE(waitUntil([] { return runningTimers().isEmpty(); })) << runningTimers().join(u'\n').toStdString();
  }
}

TEST_F(WindowUseTest, NoTimerRunsAfterAFolderWasLoaded) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  doubleClick(QStringLiteral("DCIM"));
  EXPECT_EQ(timers.pending(), 1); // the animation
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(timers.pending(), 0);
}

TEST_F(WindowUseTest, ATimerThatRunsIsSeen) {
  QTimer timer(&window());
  timer.start(50);
  EXPECT_TRUE(runningTimers().contains(QStringLiteral("QTimer every 50 ms")));
}
