#include "SBrowser/WindowMenus.h"

#include "Platform/UserDefaults.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Languages.h"

#include <QAction>
#include <QDialog>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

#include <map>

namespace {

using Command = WindowCommand;

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

WindowCommandSet all() {
  WindowCommandSet set;
  for (std::size_t i = 0; i < kWindowCommandCount; ++i)
    set.set(Command(i));
  return set;
}

/// The entries of a menu and its submenus, without separators.
QList<QAction*> entriesOf(const QMenu& menu) {
  QList<QAction*> entries;
  for (QAction* const action : menu.actions())
    if (action->menu() != nullptr)
      entries += entriesOf(*action->menu());
    else if (!action->isSeparator())
      entries += action;
  return entries;
}

/// The letter that chooses an entry; null without one.
QChar mnemonicOf(const QString& text) {
  for (qsizetype i = 0; i + 1 < text.size(); ++i)
    if (text[i] == u'&') {
      if (text[i + 1] != u'&')
        return text[i + 1].toUpper();
      ++i;
    }
  return {};
}

class WindowMenusTest : public testing::Test {
protected:
  explicit WindowMenusTest(Qt::LayoutDirection direction = Qt::LeftToRight) {
    window.setLayoutDirection(direction);
    menus = std::make_unique<WindowMenus>(window);
    menus->setPossible(all());
    QObject::connect(menus.get(), &WindowMenus::triggered, &window,
                     [this](Command command) { triggered.append(command); });
  }
  void show() {
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  }
  QList<QMenu*> barMenus() const {
    QList<QMenu*> found;
    for (const QAction* const action : window.menuBar()->actions())
      found.append(action->menu());
    return found;
  }

  QMainWindow window;
  std::unique_ptr<WindowMenus> menus;
  QList<Command> triggered;
};

class MirroredWindowMenusTest : public WindowMenusTest {
protected:
  MirroredWindowMenusTest()
      : WindowMenusTest(Qt::RightToLeft) {}
};

const std::map<Command, QKeySequence> kKeys{
    {Command::NewFolder, Qt::CTRL | Qt::SHIFT | Qt::Key_N},
    {Command::Upload, Qt::CTRL | Qt::Key_U},
    {Command::UploadFolder, Qt::CTRL | Qt::SHIFT | Qt::Key_U},
    {Command::CancelTransfer, Qt::CTRL | Qt::Key_Period},
    {Command::LastTransfer, Qt::CTRL | Qt::Key_J},
    {Command::CopyTo, Qt::CTRL | Qt::SHIFT | Qt::Key_C},
    {Command::Quit, Qt::CTRL | Qt::Key_Q},
    {Command::Rename, Qt::Key_F2},
    {Command::Delete, Qt::Key_Delete},
    {Command::SelectAll, Qt::CTRL | Qt::Key_A},
    {Command::Open, Qt::CTRL | Qt::Key_O},
    {Command::Back, Qt::ALT | Qt::Key_Left},
    {Command::Next, Qt::ALT | Qt::Key_Right},
    {Command::InternalStorage, Qt::CTRL | Qt::Key_1},
    {Command::ExternalStorage, Qt::CTRL | Qt::Key_2},
    {Command::Reload, Qt::Key_F5},
    {Command::SortByName, Qt::ALT | Qt::Key_1},
    {Command::SortByDate, Qt::ALT | Qt::Key_2},
    {Command::SortBySize, Qt::ALT | Qt::Key_3},
    {Command::Expand, Qt::CTRL | Qt::Key_Right},
    {Command::Collapse, Qt::CTRL | Qt::Key_Left},
    {Command::ShowKeys, Qt::Key_F1},
    {Command::About, Qt::SHIFT | Qt::Key_F1},
};

void press(QWidget& widget, const QKeySequence& key) {
  QTest::keyClick(&widget, key[0].key(), key[0].keyboardModifiers());
}

} // namespace

// ---- The bar ----

TEST_F(WindowMenusTest, TheBarHasFileEditGoViewAndHelp) {
  QStringList titles;
  for (const QMenu* const menu : barMenus())
    titles.append(menu->title());
  EXPECT_EQ(titles, QStringList({localized("menu_file"), localized("menu_edit"), localized("menu_go"),
                                 localized("menu_view"), localized("menu_help")}));
}

TEST_F(WindowMenusTest, EveryCommandHasOneEntryAndEveryEntryIsACommand) {
  QList<QAction*> entries;
  for (const QMenu* const menu : barMenus())
    entries += entriesOf(*menu);
  ASSERT_EQ(std::size_t(entries.size()), kWindowCommandCount);
  for (std::size_t i = 0; i < kWindowCommandCount; ++i)
    EXPECT_EQ(entries.count(menus->action(Command(i))), 1) << i;
}

TEST_F(WindowMenusTest, EveryCommandHasItsKeyAndNoKeyIsGivenTwice) {
  ASSERT_EQ(kKeys.size(), kWindowCommandCount);
  QList<QKeySequence> given;
  for (const auto& [command, key] : kKeys) {
    EXPECT_EQ(menus->action(command)->shortcut(), key);
    for (const QKeySequence& other : menus->action(command)->shortcuts()) {
      EXPECT_FALSE(given.contains(other)) << other.toString().toStdString();
      given.append(other);
    }
  }
  EXPECT_TRUE(menus->action(Command::Reload)->shortcuts().contains(QKeySequence(Qt::CTRL | Qt::Key_R)));
}

TEST_F(WindowMenusTest, EveryKeyReportsItsCommandOnce) {
  show();
  menus->setStorages({QStringLiteral("Phone"), QStringLiteral("Card")}, 0);
  for (const auto& [command, key] : kKeys) {
    triggered.clear();
    press(window, key);
    EXPECT_EQ(triggered, QList<Command>{command}) << key.toString().toStdString();
  }
}

TEST_F(WindowMenusTest, WhatIsNotPossibleHasADisabledEntryAndADeadKey) {
  show();
  menus->setStorages({QStringLiteral("Phone"), QStringLiteral("Card")}, 0);
  menus->setPossible({});
  for (const auto& [command, key] : kKeys) {
    EXPECT_FALSE(menus->action(command)->isEnabled());
    press(window, key);
    menus->action(command)->trigger();
  }
  EXPECT_EQ(triggered, QList<Command>());
}

TEST_F(WindowMenusTest, WhatIsNotOfferedHasNoEntryAndADeadKey) {
  show();
  menus->setOffered(Command::Rename, false);
  EXPECT_FALSE(menus->action(Command::Rename)->isVisible());
  press(window, Qt::Key_F2);
  EXPECT_EQ(triggered, QList<Command>());
  menus->setOffered(Command::Rename, true);
  press(window, Qt::Key_F2);
  EXPECT_EQ(triggered, QList<Command>{Command::Rename});
}

// ---- Storages and sorting ----

TEST_F(WindowMenusTest, WithoutAPhoneNoStorageIsOffered) {
  EXPECT_FALSE(menus->action(Command::InternalStorage)->isVisible());
  EXPECT_FALSE(menus->action(Command::ExternalStorage)->isVisible());
}

TEST_F(WindowMenusTest, TheStoragesAreOfferedByTheirNamesAndTheChosenOneIsMarked) {
  menus->setStorages({QStringLiteral("Phone"), QStringLiteral("Card")}, 1);
  EXPECT_TRUE(menus->action(Command::InternalStorage)->text().contains(QStringLiteral("Phone")));
  EXPECT_TRUE(menus->action(Command::ExternalStorage)->text().contains(QStringLiteral("Card")));
  EXPECT_FALSE(menus->action(Command::InternalStorage)->isChecked());
  EXPECT_TRUE(menus->action(Command::ExternalStorage)->isChecked());
  menus->setStorages({QStringLiteral("Phone")}, 0);
  EXPECT_TRUE(menus->action(Command::InternalStorage)->isChecked());
  EXPECT_FALSE(menus->action(Command::ExternalStorage)->isVisible());
  EXPECT_FALSE(menus->action(Command::ExternalStorage)->isChecked());
}

TEST_F(WindowMenusTest, AStoragesNameOfAnyContentStaysATextOnOneShortLine) {
  const auto textFor = [this](const QString& name) {
    menus->setStorages({name}, 0);
    return menus->action(Command::InternalStorage)->text();
  };
  EXPECT_TRUE(textFor(QStringLiteral("R&D")).contains(QStringLiteral("R&&D")));
  EXPECT_EQ(mnemonicOf(textFor(QStringLiteral("R&D"))), u'1');
  EXPECT_TRUE(textFor(QStringLiteral("%1 %2")).contains(QStringLiteral("%1 %2")));
  EXPECT_FALSE(textFor(QStringLiteral("a\nb\tc")).contains(QRegularExpression(QStringLiteral("[\\n\\t]"))));
  EXPECT_LT(textFor(QString(10'000, u'x')).size(), 80);
  const QString cut = textFor(QStringLiteral("😀").repeated(100));
  EXPECT_TRUE(cut.isValidUtf16());
  EXPECT_TRUE(cut.contains(QChar(0x2026)));
  textFor(QString());
}

TEST_F(WindowMenusTest, TheColumnTheRowsAreSortedByIsMarked) {
  const auto marked = [this] {
    QList<Command> found;
    for (const Command command : {Command::SortByName, Command::SortByDate, Command::SortBySize})
      if (menus->action(command)->isChecked())
        found.append(command);
    return found;
  };
  EXPECT_EQ(marked(), QList<Command>());
  menus->setSortColumn(1);
  EXPECT_EQ(marked(), QList<Command>{Command::SortByDate});
  menus->setSortColumn(2);
  EXPECT_EQ(marked(), QList<Command>{Command::SortBySize});
  menus->setSortColumn(-1);
  EXPECT_EQ(marked(), QList<Command>());
}

TEST_F(WindowMenusTest, ChoosingTheMarkedColumnAgainReportsItAndKeepsTheMark) {
  menus->setSortColumn(0);
  menus->action(Command::SortByName)->trigger();
  EXPECT_EQ(triggered, QList<Command>{Command::SortByName});
  EXPECT_TRUE(menus->action(Command::SortByName)->isChecked());
}

// ---- The context menu ----

TEST_F(WindowMenusTest, TheContextMenuHasTheThreeEditingCommandsWithoutKeys) {
  const QMenu& menu = *menus->contextMenu();
  EXPECT_EQ(menu.title(), QStringLiteral("BrowserPopup"));
  QStringList titles;
  for (const QAction* const action : menu.actions()) {
    titles.append(action->text());
    EXPECT_TRUE(action->shortcuts().isEmpty());
  }
  EXPECT_EQ(titles, QStringList({localized("MNU_AddNewFolder"), localized("MNU_EditName"), localized("MNU_Delete")}));
}

TEST_F(WindowMenusTest, AnEntryOfTheContextMenuIsToldFromTheOneOfTheBar) {
  QSignalSpy chosen(menus->contextMenu(), &QMenu::triggered);
  for (QAction* const action : menus->contextMenu()->actions())
    action->trigger();
  EXPECT_EQ(chosen.count(), 3);
  EXPECT_TRUE(triggered.isEmpty());
}

TEST_F(WindowMenusTest, ACommandThatIsNotOfferedLeavesTheContextMenuToo) {
  menus->setOffered(Command::Rename, false);
  EXPECT_TRUE(menus->contextMenu()->actions()[0]->isVisible());
  EXPECT_FALSE(menus->contextMenu()->actions()[1]->isVisible());
  EXPECT_TRUE(menus->contextMenu()->actions()[2]->isVisible());
}

// ---- Direction ----

TEST_F(MirroredWindowMenusTest, BackIsWhereALineBeginsAndNextWhereItEnds) {
  EXPECT_EQ(menus->action(Command::Back)->shortcut(), QKeySequence(Qt::ALT | Qt::Key_Right));
  EXPECT_EQ(menus->action(Command::Next)->shortcut(), QKeySequence(Qt::ALT | Qt::Key_Left));
  EXPECT_EQ(menus->action(Command::Expand)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Left));
  EXPECT_EQ(menus->action(Command::Collapse)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Right));
}

TEST_F(MirroredWindowMenusTest, EveryMenuRunsInTheWindowsDirection) {
  EXPECT_EQ(window.menuBar()->layoutDirection(), Qt::RightToLeft);
  const QList<QMenu*> found = window.findChildren<QMenu*>();
  EXPECT_GE(found.size(), 7);
  for (const QMenu* const menu : found)
    EXPECT_EQ(menu->layoutDirection(), Qt::RightToLeft) << menu->title().toStdString();
}

// ---- Help ----

TEST_F(WindowMenusTest, AboutSaysWhatTheProgramIsAndReturnsAtOnce) {
  QCoreApplication::setApplicationVersion(QStringLiteral("4.5.6"));
  show();
  menus->showAbout();
  auto* const box = window.findChild<QMessageBox*>();
  ASSERT_NE(box, nullptr);
  EXPECT_TRUE(box->isVisible());
  EXPECT_EQ(box->textFormat(), Qt::PlainText);
  EXPECT_TRUE(box->text().contains(QStringLiteral("MTP Browser")));
  EXPECT_TRUE(box->text().contains(QStringLiteral("4.5.6")));
  EXPECT_EQ(box->informativeText(), localized("about_description"));
  const QPointer<QMessageBox> watched(box);
  QTest::keyClick(box, Qt::Key_Escape);
  EXPECT_TRUE(QTest::qWaitFor([&] { return watched.isNull(); }));
}

TEST_F(WindowMenusTest, TheListOfKeysShowsWhatIsOfferedWithItsKeys) {
  show();
  menus->setOffered(Command::Upload, false);
  menus->showKeys();
  auto* const table = window.findChild<QTableWidget*>();
  ASSERT_NE(table, nullptr);
  EXPECT_TRUE(table->isVisible());
  std::map<QString, QString> lines;
  for (int row = 0; row < table->rowCount(); ++row)
    lines[table->item(row, 0)->text()] = table->item(row, 1)->text();
  EXPECT_EQ(lines.at(QStringLiteral("Reload")), QStringLiteral("F5, Ctrl+R"));
  EXPECT_EQ(lines.at(QStringLiteral("New Folder")), QStringLiteral("Ctrl+Shift+N"));
  EXPECT_EQ(lines.at(QStringLiteral("Sort By: Name")), QStringLiteral("Alt+1"));
  EXPECT_FALSE(lines.contains(QStringLiteral("Upload")));
  EXPECT_EQ(lines.size(), kWindowCommandCount - 3); // and no storage is there
  const QPointer<QDialog> watched(qobject_cast<QDialog*>(table->window()));
  ASSERT_FALSE(watched.isNull());
  QTest::keyClick(table, Qt::Key_Escape);
  EXPECT_TRUE(QTest::qWaitFor([&] { return watched.isNull(); }));
}

// ---- Languages ----

class WindowMenusInALanguage : public testing::TestWithParam<const char*> {
protected:
  void SetUp() override { VornLocalStringDefine::loadTables({QString::fromLatin1(GetParam())}); }
  void TearDown() override { VornLocalStringDefine::loadTables({QStringLiteral("en")}); }
};

TEST_P(WindowMenusInALanguage, NoLetterChoosesTwoEntriesOfAMenu) {
  QMainWindow window;
  WindowMenus menus(window);
  menus.setStorages({QStringLiteral("Phone"), QStringLiteral("Card")}, 0);
  const auto check = [](const QList<QAction*>& entries, const QString& menu) {
    QList<QChar> letters;
    for (const QAction* const entry : entries) {
      const QChar letter = mnemonicOf(entry->text());
      if (letter.isNull())
        continue;
      EXPECT_FALSE(letters.contains(letter)) << (menu + QStringLiteral(": ") + entry->text()).toStdString();
      letters.append(letter);
    }
  };
  check(window.menuBar()->actions(), QStringLiteral("bar"));
  for (const QAction* const action : window.menuBar()->actions()) {
    EXPECT_FALSE(mnemonicOf(action->text()).isNull()) << action->text().toStdString();
    check(action->menu()->actions(), action->text());
  }
}

TEST_P(WindowMenusInALanguage, TheListOfKeysNamesCommandsWithoutTheirLetters) {
  QMainWindow window;
  WindowMenus menus(window);
  menus.showKeys();
  const auto* const table = window.findChild<QTableWidget*>();
  ASSERT_NE(table, nullptr);
  for (int row = 0; row < table->rowCount(); ++row) {
    const QString text = table->item(row, 0)->text();
    EXPECT_FALSE(text.isEmpty());
    EXPECT_FALSE(text.contains(u'&') || text.contains(u'(') || text.endsWith(QChar(0x2026))) << text.toStdString();
    EXPECT_FALSE(table->item(row, 1)->text().isEmpty());
  }
}

INSTANTIATE_TEST_SUITE_P(Language, WindowMenusInALanguage, testing::ValuesIn(testsupport::kLanguages),
                         testsupport::languageName);
