#include "UI/Controls/SOutlineView.h"

#include "Platform/UserDefaults.h"
#include "UI/Controls/SOutlineHeaderView.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Clicks.h"

#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <set>

namespace {

QString text(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(key);
}

/// Answers as the window does, by what the test put beside each name.
class Owner : public SOutlineViewOwner {
public:
  static constexpr int kTypeRole = Qt::UserRole + 1;

  int menuTypeForItem(const QModelIndex& item) override {
    ++asked;
    return item.isValid() ? item.data(kTypeRole).toInt() : kMenuTypeFolder;
  }
  void mouseEntered(QEvent&) override { ++entered; }
  void mouseExited(QEvent&) override { ++exited; }
  void performDragOperationDelete() override { ++deleted; }

  int asked = 0;
  int entered = 0;
  int exited = 0;
  int deleted = 0;
};

class Outline : public testing::Test {
protected:
  void SetUp() override {
    m_model.setColumnCount(3);
    m_dcim = add(nullptr, "DCIM", kMenuTypeProtected);
    m_nested = add(m_dcim, "DCIM", kMenuTypeFolder);
    add(m_dcim, "inside.jpg", kMenuTypeFile);
    m_folder = add(nullptr, "Plain folder", kMenuTypeFolder);
    m_file = add(nullptr, "photo.jpg", kMenuTypeFile);
    m_otherFile = add(nullptr, "z.txt", kMenuTypeFile);
    m_view.awakeFromNib();
    m_view.setModel(&m_model);
    m_view.setOwnerDelegate(&m_owner);
    m_addNewFolder = m_menu.addAction(text("MNU_AddNewFolder"));
    m_editName = m_menu.addAction(text("MNU_EditName"));
    m_delete = m_menu.addAction(text("MNU_Delete"));
    m_view.setOwnerMenu(&m_menu);
    m_view.resize(760, 400);
    m_view.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_view));
  }
  void TearDown() override {
    m_menu.close();
    m_view.setOwnerDelegate(nullptr);
  }

  QStandardItem* add(QStandardItem* parent, const QString& name, int type) {
    auto* item = new QStandardItem(name);
    item->setData(type, Owner::kTypeRole);
    (parent != nullptr ? parent : m_model.invisibleRootItem())
        ->appendRow({item, new QStandardItem("--"), new QStandardItem("--")});
    return item;
  }
  QPoint pointOf(const QStandardItem* item) const { return m_view.visualRect(item->index()).center(); }
  QPoint emptyPoint() const { return {100, m_view.viewport()->height() - 10}; }
  void select(const QStandardItem* item) {
    m_view.selectionModel()->select(item->index(), QItemSelectionModel::Select | QItemSelectionModel::Rows);
  }
  void rightClick(const QPoint& point, int after) {
    testsupport::click(*m_view.viewport(), point, Qt::RightButton, after);
  }
  bool isSelected(const QStandardItem* item) const { return m_view.selectionModel()->isSelected(item->index()); }
  /// The enabled entries, each by a letter: (a)dd, (e)dit name, (d)elete.
  std::string enabled() const {
    return std::string(m_addNewFolder->isEnabled() ? "a" : "") + (m_editName->isEnabled() ? "e" : "") +
           (m_delete->isEnabled() ? "d" : "");
  }
  std::string enabledAt(const QPoint& point) {
    m_view.menuForEvent(point);
    return enabled();
  }

  QStandardItemModel m_model;
  Owner m_owner;
  QMenu m_menu;
  QAction* m_addNewFolder = nullptr;
  QAction* m_editName = nullptr;
  QAction* m_delete = nullptr;
  QStandardItem* m_dcim = nullptr;
  QStandardItem* m_nested = nullptr;
  QStandardItem* m_folder = nullptr;
  QStandardItem* m_file = nullptr;
  QStandardItem* m_otherFile = nullptr;
  SOutlineView m_view;
};

/// A flat model of any size that remembers which rows it was asked to show.
class CountingModel : public QAbstractItemModel {
public:
  explicit CountingModel(int rows)
      : m_rows(rows) {}
  QModelIndex index(int row, int column, const QModelIndex& parent) const override {
    return parent.isValid() || row >= m_rows ? QModelIndex() : createIndex(row, column);
  }
  QModelIndex parent(const QModelIndex&) const override { return {}; }
  int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : m_rows; }
  int columnCount(const QModelIndex&) const override { return 3; }
  QVariant data(const QModelIndex& index, int role) const override {
    if (role == Qt::DisplayRole) {
      shown.insert(index.row());
      return QStringLiteral("row %1").arg(index.row());
    }
    return role == Owner::kTypeRole ? QVariant(kMenuTypeFile) : QVariant();
  }

  mutable std::set<int> shown;

private:
  int m_rows;
};

} // namespace

TEST(ContextMenuEntries, OfAProtectedItemAllowOnlyANewFolder) {
  using enum SOutlineMenuEntry;
  for (const qsizetype selected : {0, 1}) {
    EXPECT_TRUE(isContextMenuEntryEnabled(AddNewFolder, selected, kMenuTypeProtected, false));
    EXPECT_FALSE(isContextMenuEntryEnabled(EditName, selected, kMenuTypeProtected, false));
    EXPECT_FALSE(isContextMenuEntryEnabled(Delete, selected, kMenuTypeProtected, false));
    EXPECT_FALSE(isContextMenuEntryEnabled(Other, selected, kMenuTypeProtected, false));
  }
}

TEST(ContextMenuEntries, OfAFileAllowAllButANewFolder) {
  using enum SOutlineMenuEntry;
  for (const qsizetype selected : {0, 1}) {
    EXPECT_FALSE(isContextMenuEntryEnabled(AddNewFolder, selected, kMenuTypeFile, false));
    EXPECT_TRUE(isContextMenuEntryEnabled(EditName, selected, kMenuTypeFile, false));
    EXPECT_TRUE(isContextMenuEntryEnabled(Delete, selected, kMenuTypeFile, false));
    EXPECT_TRUE(isContextMenuEntryEnabled(Other, selected, kMenuTypeFile, false));
  }
}

TEST(ContextMenuEntries, OfAFolderOrTheEmptySpaceAllowAll) {
  using enum SOutlineMenuEntry;
  for (const SOutlineMenuEntry entry : {AddNewFolder, EditName, Delete, Other}) {
    EXPECT_TRUE(isContextMenuEntryEnabled(entry, 0, kMenuTypeFolder, false));
    EXPECT_TRUE(isContextMenuEntryEnabled(entry, 1, kMenuTypeFolder, false));
  }
}

TEST(ContextMenuEntries, OfSeveralRowsAllowOnlyDeletingWhateverWasClicked) {
  using enum SOutlineMenuEntry;
  for (const int type : {kMenuTypeProtected, kMenuTypeFile, kMenuTypeFolder}) {
    EXPECT_FALSE(isContextMenuEntryEnabled(AddNewFolder, 2, type, false));
    EXPECT_FALSE(isContextMenuEntryEnabled(EditName, 2, type, false));
    EXPECT_TRUE(isContextMenuEntryEnabled(Delete, 2, type, false));
    EXPECT_FALSE(isContextMenuEntryEnabled(Other, 2, type, false));
  }
}

TEST(ContextMenuEntries, OfSeveralRowsWithAProtectedOneAllowNothing) {
  using enum SOutlineMenuEntry;
  for (const SOutlineMenuEntry entry : {AddNewFolder, EditName, Delete, Other}) {
    EXPECT_FALSE(isContextMenuEntryEnabled(entry, 2, kMenuTypeFolder, true));
    EXPECT_FALSE(isContextMenuEntryEnabled(entry, 100, kMenuTypeFile, true));
  }
}

TEST_F(Outline, RightClickingAnUnselectedRowWhileAnotherIsSelectedLeavesBothSelectedAndAllowsOnlyDeleting) {
  select(m_file);
  EXPECT_EQ(enabledAt(pointOf(m_otherFile)), "d");
  EXPECT_TRUE(isSelected(m_file));
  EXPECT_TRUE(isSelected(m_otherFile));
}

TEST_F(Outline, RightClickingAnUnselectedRowWhileAProtectedOneIsSelectedAllowsNothing) {
  select(m_dcim);
  EXPECT_EQ(enabledAt(pointOf(m_file)), "");
  EXPECT_TRUE(isSelected(m_dcim));
  EXPECT_TRUE(isSelected(m_file));
}

TEST_F(Outline, RightClickingAProtectedRowWhileAFileIsSelectedAllowsNothing) {
  select(m_file);
  EXPECT_EQ(enabledAt(pointOf(m_dcim)), "");
}

TEST_F(Outline, RightClickingEmptySpaceEnablesAllThreeEntries) {
  EXPECT_EQ(enabledAt(emptyPoint()), "aed");
  EXPECT_EQ(m_view.getSelectedRowIndex(), -1);
  select(m_file);
  EXPECT_EQ(enabledAt(emptyPoint()), "aed");
  EXPECT_TRUE(isSelected(m_file));
}

TEST_F(Outline, RightClickingEmptySpaceWithSeveralRowsSelectedShowsTheMenuOfSeveralRows) {
  select(m_file);
  select(m_folder);
  EXPECT_EQ(enabledAt(emptyPoint()), "d");
}

TEST_F(Outline, RightClickingDCIMAtTheTopLevelEnablesOnlyANewFolder) {
  EXPECT_EQ(enabledAt(pointOf(m_dcim)), "a");
}

TEST_F(Outline, ADCIMFolderDeeperDownIsAnOrdinaryFolder) {
  m_view.expand(m_dcim->index());
  EXPECT_EQ(enabledAt(pointOf(m_nested)), "aed");
}

TEST_F(Outline, RightClickingAFileOffersNoNewFolder) {
  EXPECT_EQ(enabledAt(pointOf(m_file)), "ed");
}

TEST_F(Outline, RightClickingAnyPlaceOfARowMeansTheRow) {
  m_view.resize(1200, 400);
  m_view.menuForEvent(QPoint(m_view.viewport()->width() - 2, pointOf(m_file).y()));
  EXPECT_TRUE(isSelected(m_file));
  EXPECT_EQ(m_view.getSelectedRowIndex(), 2);
}

TEST_F(Outline, RemembersTheRowThatWasRightClickedLast) {
  m_view.expand(m_dcim->index());
  m_view.menuForEvent(pointOf(m_file));
  EXPECT_EQ(m_view.getSelectedRowIndex(), 4);
  m_view.menuForEvent(pointOf(m_nested));
  EXPECT_EQ(m_view.getSelectedRowIndex(), 1);
  m_view.menuForEvent(emptyPoint());
  EXPECT_EQ(m_view.getSelectedRowIndex(), -1);
}

TEST_F(Outline, EnablesAgainWhatAnEarlierMenuHadDisabled) {
  EXPECT_EQ(enabledAt(pointOf(m_dcim)), "a");
  m_view.clearSelection();
  EXPECT_EQ(enabledAt(pointOf(m_folder)), "aed");
}

TEST_F(Outline, TellsTheMenusEntriesByTheirTitlesNotTheirOrder) {
  QMenu turned;
  QAction* remove = turned.addAction(text("MNU_Delete"));
  QAction* other = turned.addAction("Something else");
  QAction* add = turned.addAction("&" + text("MNU_AddNewFolder"));
  m_view.setOwnerMenu(&turned);
  m_view.menuForEvent(pointOf(m_dcim));
  EXPECT_FALSE(remove->isEnabled());
  EXPECT_FALSE(other->isEnabled());
  EXPECT_TRUE(add->isEnabled());
}

TEST_F(Outline, HasNoMenuWithoutAnOwnersMenuAndStillRemembersTheRow) {
  m_view.setOwnerMenu(nullptr);
  EXPECT_EQ(m_view.menuForEvent(pointOf(m_file)), nullptr);
  EXPECT_EQ(m_view.getSelectedRowIndex(), 2);
}

TEST_F(Outline, ARightPressSelectsNothingByItself) {
  select(m_folder);
  QTest::mouseClick(m_view.viewport(), Qt::RightButton, {}, pointOf(m_file));
  EXPECT_TRUE(isSelected(m_folder));
  EXPECT_FALSE(isSelected(m_file));
}

TEST_F(Outline, OpensTheMenuForAContextMenuEvent) {
  QContextMenuEvent event(QContextMenuEvent::Mouse, pointOf(m_file), m_view.viewport()->mapToGlobal(pointOf(m_file)));
  QCoreApplication::sendEvent(m_view.viewport(), &event);
  QCoreApplication::processEvents();
  EXPECT_TRUE(m_menu.isVisible());
  EXPECT_EQ(enabled(), "ed");
}

TEST_F(Outline, EveryRightClickOnOneSpotOpensTheMenuHoweverFast) {
  QSignalSpy opened(&m_menu, &QMenu::aboutToShow);
  for (const int pause : {testsupport::slow(), testsupport::kFast, testsupport::kFast, testsupport::kFast,
                          testsupport::slow(), testsupport::slow()}) {
    opened.clear();
    rightClick(pointOf(m_file), pause);
    EXPECT_TRUE(m_menu.isVisible()) << pause;
    EXPECT_EQ(opened.count(), 1) << pause;
    EXPECT_EQ(m_view.getSelectedRowIndex(), 2);
  }
}

TEST_F(Outline, RightClicksOnOneSpotOrBesideItByAHairChooseNoEntry) {
  QSignalSpy chosen(&m_menu, &QMenu::triggered);
  for (const QPoint& aside : {QPoint(0, 0), QPoint(1, 2), QPoint(2, 1)}) {
    rightClick(pointOf(m_folder), testsupport::slow());
    rightClick(pointOf(m_folder) + aside, testsupport::slow());
    EXPECT_TRUE(m_menu.isVisible());
    EXPECT_EQ(enabled(), "aed");
    m_menu.close();
  }
  EXPECT_EQ(chosen.count(), 0);
}

TEST_F(Outline, AFastRightClickAfterTheMenuWasClosedOpensItAgain) {
  rightClick(pointOf(m_file), testsupport::slow());
  QTest::keyClick(&m_menu, Qt::Key_Escape);
  ASSERT_FALSE(m_menu.isVisible());
  QSignalSpy opened(&m_menu, &QMenu::aboutToShow);
  rightClick(pointOf(m_file), testsupport::kFast);
  EXPECT_TRUE(m_menu.isVisible());
  EXPECT_EQ(opened.count(), 1); // the double click that the press is told as does not reopen it
}

TEST_F(Outline, ARightClickBesideTheOpenMenuOpensItForTheRowThere) {
  rightClick(pointOf(m_otherFile), testsupport::slow());
  ASSERT_TRUE(m_menu.isVisible());
  m_view.clearSelection();
  for (const int pause : {testsupport::slow(), testsupport::kFast}) {
    rightClick(pointOf(m_dcim), pause);
    EXPECT_TRUE(m_menu.isVisible());
    EXPECT_EQ(m_menu.pos(), m_view.viewport()->mapToGlobal(pointOf(m_dcim)));
    EXPECT_EQ(m_view.getSelectedRowIndex(), 0);
    EXPECT_EQ(enabled(), "a");
  }
}

TEST_F(Outline, ARightClickOutsideTheRowsOnlyClosesTheMenu) {
  rightClick(pointOf(m_file), testsupport::slow());
  ASSERT_TRUE(m_menu.isVisible());
  testsupport::click(*m_view.header()->viewport(), QPoint(20, 5), Qt::RightButton, testsupport::slow());
  EXPECT_FALSE(m_menu.isVisible());
  EXPECT_EQ(m_view.getSelectedRowIndex(), 2);
}

TEST_F(Outline, ARightClickOnAnEntryOfTheMenuChoosesIt) {
  rightClick(pointOf(m_folder), testsupport::slow());
  QSignalSpy chosen(m_editName, &QAction::triggered);
  const QPoint entry = m_menu.mapToGlobal(m_menu.actionGeometry(m_editName).center());
  QTest::mouseMove(&m_menu, m_menu.mapFromGlobal(entry));
  testsupport::click(*m_view.viewport(), m_view.viewport()->mapFromGlobal(entry), Qt::RightButton, testsupport::slow());
  EXPECT_EQ(chosen.count(), 1);
  EXPECT_FALSE(m_menu.isVisible());
}

TEST_F(Outline, AMenuThatIsAboutToOpenDoesNotOnceItIsClosed) {
  QContextMenuEvent event(QContextMenuEvent::Mouse, pointOf(m_file), m_view.viewport()->mapToGlobal(pointOf(m_file)));
  QCoreApplication::sendEvent(m_view.viewport(), &event);
  m_view.closeContextMenu();
  QCoreApplication::processEvents();
  EXPECT_FALSE(m_menu.isVisible());
}

TEST_F(Outline, OnlyTheLeftButtonsDoubleClickIsOne) {
  QSignalSpy doubleClicked(&m_view, &QTreeView::doubleClicked);
  for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton, Qt::LeftButton}) {
    QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, pointOf(m_folder));
    m_menu.close();
    EXPECT_EQ(doubleClicked.count(), 0);
    testsupport::click(*m_view.viewport(), pointOf(m_folder), button, testsupport::slow());
    m_menu.close();
    testsupport::click(*m_view.viewport(), pointOf(m_folder), button, testsupport::kFast);
  }
  EXPECT_EQ(doubleClicked.count(), 1);
}

TEST_F(Outline, EveryClickOnTheMarkOfAFolderOpensOrClosesItHoweverFast) {
  const QRect name = m_view.visualRect(m_dcim->index());
  const QPoint mark(name.left() - m_view.indentation() / 2, name.center().y());
  QSignalSpy doubleClicked(&m_view, &QTreeView::doubleClicked);
  bool expanded = false;
  for (const int pause : {testsupport::slow(), testsupport::kFast, testsupport::kFast, testsupport::kFast}) {
    testsupport::click(*m_view.viewport(), mark, Qt::LeftButton, pause);
    expanded = !expanded;
    EXPECT_EQ(m_view.isExpanded(m_dcim->index()), expanded);
  }
  EXPECT_EQ(doubleClicked.count(), 0);
}

TEST_F(Outline, OpensTheMenuOfTheCurrentRowForTheMenuKey) {
  m_view.setCurrentIndex(m_file->index());
  QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 300), m_view.mapToGlobal(QPoint(5, 300)));
  QCoreApplication::sendEvent(m_view.viewport(), &event);
  EXPECT_TRUE(m_menu.isVisible());
  EXPECT_EQ(m_view.getSelectedRowIndex(), 2);
  EXPECT_EQ(enabled(), "ed");
}

TEST_F(Outline, StartsWithoutARememberedRow) {
  EXPECT_EQ(SOutlineView().getSelectedRowIndex(), -1);
  m_view.setSelectedRowIndex(2);
  m_view.awakeFromNib();
  EXPECT_EQ(m_view.getSelectedRowIndex(), -1);
}

TEST_F(Outline, SettingTheSelectedRowSelectsExactlyThatRow) {
  select(m_folder);
  m_view.setSelectedRowIndex(2);
  EXPECT_EQ(m_view.getSelectedRowIndex(), 2);
  EXPECT_TRUE(isSelected(m_file));
  EXPECT_FALSE(isSelected(m_folder));
  EXPECT_EQ(m_view.numberOfSelectedRows(), 1);
}

TEST_F(Outline, SettingTheSelectedRowToMinusOneClearsTheVisibleSelection) {
  select(m_folder);
  m_view.setSelectedRowIndex(-1);
  EXPECT_EQ(m_view.getSelectedRowIndex(), -1);
  EXPECT_FALSE(m_view.selectionModel()->hasSelection());
}

TEST_F(Outline, SettingARowThereIsNotClearsTheSelection) {
  for (const qint64 row :
       {qint64(4), qint64(1) << 40, std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min()}) {
    select(m_folder);
    m_view.setSelectedRowIndex(row);
    EXPECT_EQ(m_view.getSelectedRowIndex(), row);
    EXPECT_FALSE(m_view.selectionModel()->hasSelection());
  }
}

TEST_F(Outline, NumbersRowsAsTheyAreSeen) {
  EXPECT_EQ(m_view.rowOfIndex(m_file->index()), 2);
  EXPECT_EQ(m_view.rowOfIndex(m_nested->index()), -1);
  m_view.expand(m_dcim->index());
  EXPECT_EQ(m_view.rowOfIndex(m_nested->index()), 1);
  EXPECT_EQ(m_view.rowOfIndex(m_file->index()), 4);
  EXPECT_EQ(m_view.rowOfIndex(m_file->index().siblingAtColumn(kFileSize)), 4);
  EXPECT_EQ(m_view.rowOfIndex({}), -1);
  for (int row = 0; row < 6; ++row) {
    EXPECT_EQ(m_view.rowOfIndex(m_view.indexAtRow(row)), row);
  }
  EXPECT_FALSE(m_view.indexAtRow(6).isValid());
  EXPECT_FALSE(m_view.indexAtRow(-1).isValid());
}

TEST_F(Outline, NumbersRowsTheSameWhileScrolled) {
  for (int i = 0; i < 200; ++i) {
    add(nullptr, QStringLiteral("zz%1").arg(i), kMenuTypeFile);
  }
  m_view.grab(); // lays the new rows out
  m_view.verticalScrollBar()->setValue(m_view.verticalScrollBar()->maximum());
  EXPECT_EQ(m_view.rowOfIndex(m_file->index()), 2);
  EXPECT_EQ(m_view.indexAtRow(2), m_file->index());
  EXPECT_EQ(m_view.indexAtRow(203).row(), 203);
  EXPECT_EQ(m_view.rowAtPoint(QPoint(5, m_view.viewport()->height() - 1)), 203);
  m_view.horizontalScrollBar()->setValue(50);
  EXPECT_EQ(m_view.indexAtRow(100).row(), 100);
}

TEST_F(Outline, PutsTheKeyboardOnARowOrTheLastOneWithoutSelectingIt) {
  m_view.expand(m_dcim->index());
  m_view.setCurrentRow(1);
  EXPECT_EQ(m_view.currentIndex(), m_nested->index());
  m_view.setCurrentRow(-1);
  EXPECT_EQ(m_view.currentIndex(), m_nested->index());
  m_view.setCurrentRow(100);
  EXPECT_EQ(m_view.currentIndex(), m_otherFile->index());
  m_model.removeRows(1, 3); // the last row lies in an expanded folder then
  m_view.setCurrentRow(100);
  EXPECT_EQ(m_view.currentIndex(), m_dcim->child(1)->index());
  EXPECT_EQ(m_view.numberOfSelectedRows(), 0);
}

TEST_F(Outline, TellsTheSelectedRowsFromTheFirstToTheLastHoweverTheyWereSelected) {
  m_view.expand(m_dcim->index());
  const auto select = [&](const QStandardItem* item) {
    m_view.selectionModel()->select(item->index(), QItemSelectionModel::Select | QItemSelectionModel::Rows);
  };
  EXPECT_TRUE(m_view.selectedRowIndexes().isEmpty());
  for (const QStandardItem* item : {m_otherFile, m_nested, m_folder, m_dcim})
    select(item);
  EXPECT_EQ(m_view.selectedRowIndexes(),
            QModelIndexList({m_dcim->index(), m_nested->index(), m_folder->index(), m_otherFile->index()}));
}

TEST_F(Outline, ARowThatGoesOutOfSightIsNoLongerSelected) {
  m_view.expand(m_dcim->index());
  m_view.expand(m_folder->index());
  for (const QStandardItem* item : {m_nested, m_file})
    m_view.selectionModel()->select(item->index(), QItemSelectionModel::Select | QItemSelectionModel::Rows);
  m_view.collapse(m_dcim->index());
  EXPECT_EQ(m_view.selectedRowIndexes(), QModelIndexList({m_file->index()}));
  m_view.expand(m_dcim->index());
  EXPECT_EQ(m_view.numberOfSelectedRows(), 1);
}

TEST_F(Outline, RowsAreTwentyTwoPointsHigh) {
  m_file->setText("two\nlines");
  EXPECT_EQ(m_view.visualRect(m_file->index()).height(), 22);
  EXPECT_EQ(m_view.visualRect(m_file->index()).top(), 44);
}

TEST_F(Outline, NothingIsEditedInPlace) {
  QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, pointOf(m_file));
  QTest::mouseDClick(m_view.viewport(), Qt::LeftButton, {}, pointOf(m_file));
  QTest::keyClick(&m_view, Qt::Key_F2);
  EXPECT_EQ(m_view.viewport()->findChildren<QWidget*>().size(), 0);
}

TEST_F(Outline, ADoubleClickDoesNotExpand) {
  QSignalSpy doubleClicked(&m_view, &QAbstractItemView::doubleClicked);
  QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, pointOf(m_dcim));
  QTest::mouseDClick(m_view.viewport(), Qt::LeftButton, {}, pointOf(m_dcim));
  EXPECT_FALSE(m_view.isExpanded(m_dcim->index()));
  EXPECT_EQ(doubleClicked.size(), 1);
}

TEST_F(Outline, TheChevronExpandsAndTheArrowKeysToo) {
  QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, QPoint(9, 11));
  EXPECT_TRUE(m_view.isExpanded(m_dcim->index()));
  m_view.setCurrentIndex(m_dcim->index());
  QTest::keyClick(&m_view, Qt::Key_Left);
  EXPECT_FALSE(m_view.isExpanded(m_dcim->index()));
  QTest::keyClick(&m_view, Qt::Key_Right);
  EXPECT_TRUE(m_view.isExpanded(m_dcim->index()));
}

TEST_F(Outline, TellsItsOwnerWhenThePointerComesAndGoes) {
  m_owner.entered = m_owner.exited = 0;
  QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
  QCoreApplication::sendEvent(&m_view, &enter);
  EXPECT_EQ(m_owner.entered, 1);
  QEvent leave(QEvent::Leave);
  QCoreApplication::sendEvent(&m_view, &leave);
  EXPECT_EQ(m_owner.exited, 1);
}

TEST_F(Outline, ADetachedOwnerGetsNoMoreHoverCalls) {
  m_owner.entered = m_owner.exited = 0;
  m_view.setOwnerDelegate(nullptr);
  QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
  QCoreApplication::sendEvent(&m_view, &enter);
  QEvent leave(QEvent::Leave);
  QCoreApplication::sendEvent(&m_view, &leave);
  EXPECT_EQ(m_owner.entered + m_owner.exited, 0);
  EXPECT_FALSE(m_view.viewport()->hasMouseTracking());
  // Another owner gets them once the tracking is set up again.
  m_view.setOwnerDelegate(&m_owner);
  QCoreApplication::sendEvent(&m_view, &enter);
  EXPECT_EQ(m_owner.entered, 0);
  m_view.awakeFromNib();
  QCoreApplication::sendEvent(&m_view, &enter);
  EXPECT_EQ(m_owner.entered, 1);
}

TEST_F(Outline, DraggingRowsOntoTheTrashEndsInTheOwnersDelete) {
  m_view.draggedImage(QPoint(5, 5), SOutlineView::kDragOperationDelete);
  EXPECT_EQ(m_owner.deleted, 1);
  m_view.draggedImage(QPoint(5, 5), 1);
  m_view.draggedImage(QPoint(5, 5), 0);
  EXPECT_EQ(m_owner.deleted, 1);
  m_view.setOwnerDelegate(nullptr);
  m_view.draggedImage(QPoint(5, 5), SOutlineView::kDragOperationDelete);
  EXPECT_EQ(m_owner.deleted, 1);
}

TEST_F(Outline, MarksTheRowBelowThePointerAndOnlyIt) {
  const QImage before = m_view.viewport()->grab().toImage();
  QTest::mouseMove(m_view.viewport(), pointOf(m_file));
  const QImage hovered = m_view.viewport()->grab().toImage();
  const int x = m_view.viewport()->width() - 30;
  EXPECT_NE(before.pixel(x, pointOf(m_file).y()), hovered.pixel(x, pointOf(m_file).y()));
  EXPECT_EQ(before.pixel(x, pointOf(m_folder).y()), hovered.pixel(x, pointOf(m_folder).y()));
  QEvent leave(QEvent::Leave);
  QCoreApplication::sendEvent(m_view.viewport(), &leave);
  EXPECT_EQ(m_view.viewport()->grab().toImage(), before);
}

TEST_F(Outline, IndentsEachLevelAndMarksOnlyWhatCanBeExpanded) {
  m_view.expand(m_dcim->index());
  m_view.clearSelection();
  m_view.setCurrentIndex({});
  const QImage image = m_view.viewport()->grab().toImage();
  // The leftmost ink of a row: its chevron, or its text where it has none.
  const auto leftmost = [&](const QStandardItem* item) {
    const int top = m_view.visualRect(item->index()).top();
    for (int x = 0; x < image.width(); ++x) {
      for (int y = top; y < top + SOutlineView::kRowHeight; ++y) {
        if (image.pixelColor(x, y).lightness() < 160) {
          return x;
        }
      }
    }
    return image.width();
  };
  EXPECT_LT(leftmost(m_dcim), m_view.indentation());
  const int text = m_view.indentation() + 25 + 3;
  EXPECT_NEAR(leftmost(m_folder), text, 3);
  EXPECT_NEAR(leftmost(m_nested), text + m_view.indentation(), 3);
}

TEST_F(Outline, ShowsNamesOfAnyContentOnOneRowInTheirColumn) {
  const QStringList names{QString(),
                          QStringLiteral("x"),
                          QString(254, 'x'),
                          QString(10'000, 'x'),
                          QStringLiteral("two\nlines\r\u2028and\u2029more"),
                          QStringLiteral("bell\a tab\t nul") + QChar(0),
                          QStringLiteral("\u202Egpj.exe\u2066\u200F"),
                          QString(QChar(0xD800)) + "half" + QChar(0xDC00),
                          QStringLiteral("👩‍👩‍👧‍👦🏳️‍🌈.png"),
                          QStringLiteral("שלום עולם.txt"),
                          "z" + QString(200, QChar(0x0338)) + QString(200, QChar(0x0301)) +
                              QString(200, QChar(0x0323))};
  m_model.removeRows(0, m_model.rowCount());
  for (const QString& name : names) {
    auto* const size = new QStandardItem("18446744073709551615");
    auto* const date = new QStandardItem;
    date->setData(QVariant(), Qt::DisplayRole); // a date that is not there
    m_model.appendRow({new QStandardItem(name), date, size});
  }
  m_view.header()->setSortIndicatorShown(false);
  m_view.setSortingEnabled(false);
  const QImage all = m_view.viewport()->grab().toImage();
  const QColor paper = all.pixelColor(m_view.columnViewportPosition(kDateModified) + 60, 5);
  for (int row = 0; row < names.size(); ++row) {
    const QModelIndex index = m_model.index(row, 0);
    EXPECT_EQ(m_view.visualRect(index).height(), SOutlineView::kRowHeight) << row;
    // Nothing of the name or of the rows around stands in the empty date's cell.
    const QRect cell = m_view.visualRect(index.siblingAtColumn(kDateModified)).adjusted(1, 0, -1, 0);
    for (int y = cell.top(); y <= cell.bottom(); ++y)
      for (int x = cell.left(); x <= cell.right(); ++x)
        ASSERT_EQ(all.pixelColor(x, y), paper) << row << " at " << x << ',' << y;
  }
  // Piled up accents stay in their own row: the one below the last is empty.
  const int below = int(names.size()) * SOutlineView::kRowHeight;
  for (int x = 0; x < all.width(); ++x)
    for (int y = below; y < below + SOutlineView::kRowHeight; ++y)
      ASSERT_EQ(all.pixelColor(x, y), paper) << x << ',' << y;
}

TEST_F(Outline, IsATreeWithItsRowsAndHeadingsToAScreenReader) {
  m_model.setHorizontalHeaderLabels({text("MNU_FileName"), text("MNU_DateOfModify"), text("MSG_FileSize")});
  QAccessibleInterface* const tree = QAccessible::queryAccessibleInterface(&m_view);
  ASSERT_NE(tree, nullptr);
  EXPECT_EQ(tree->role(), QAccessible::Tree);
  ASSERT_NE(tree->tableInterface(), nullptr);
  EXPECT_EQ(tree->tableInterface()->columnCount(), 3);
  EXPECT_EQ(tree->tableInterface()->rowCount(), 4);
  EXPECT_EQ(tree->tableInterface()->columnDescription(0), text("MNU_FileName"));
  QAccessibleInterface* const dcim = tree->tableInterface()->cellAt(0, 0);
  EXPECT_EQ(dcim->text(QAccessible::Name), "DCIM");
  EXPECT_EQ(dcim->role(), QAccessible::TreeItem);
  EXPECT_TRUE(dcim->state().expandable);
  EXPECT_FALSE(dcim->state().expanded);
  m_view.expand(m_dcim->index());
  m_view.setSelectedRowIndex(0);
  QAccessibleInterface* const again = tree->tableInterface()->cellAt(0, 0);
  EXPECT_TRUE(again->state().expanded);
  EXPECT_TRUE(again->state().selected);
  EXPECT_EQ(tree->tableInterface()->cellAt(1, 0)->text(QAccessible::Name), "DCIM");
}

TEST_F(Outline, IsSafeWithoutAModel) {
  SOutlineView view;
  view.awakeFromNib();
  view.setOwnerMenu(&m_menu);
  view.setSelectedRowIndex(3);
  EXPECT_EQ(view.numberOfSelectedRows(), 0);
  EXPECT_FALSE(view.indexAtRow(0).isValid());
  EXPECT_EQ(view.rowAtPoint(QPoint(1, 1)), -1);
  EXPECT_EQ(view.menuForEvent(QPoint(1, 1)), &m_menu);
  EXPECT_EQ(enabled(), "aed");
}

TEST(OutlineLayout, FollowsTheUserDefault) {
  QTemporaryDir folder;
  platform::userDefaults::useFile(folder.filePath("defaults.conf"));
  platform::userDefaults::setValue("RTLLayout", true);
  SOutlineView view;
  view.awakeFromNib();
  EXPECT_EQ(view.layoutDirection(), Qt::RightToLeft);
  platform::userDefaults::setValue("RTLLayout", false);
  view.awakeFromNib();
  EXPECT_EQ(view.layoutDirection(), Qt::LeftToRight);
  platform::userDefaults::useFile({});
}

TEST(OutlineLayout, FindsRowsRightToLeftToo) {
  CountingModel model(100);
  SOutlineView view;
  view.awakeFromNib();
  view.setLayoutDirection(Qt::RightToLeft);
  view.setModel(&model);
  view.resize(500, 300);
  view.grab();
  EXPECT_EQ(view.indexAtRow(50).row(), 50);
  EXPECT_EQ(view.rowAtPoint(QPoint(3, 30)), 1);
}

TEST(OutlineOf100000Rows, PaintsByAskingForTheVisibleRowsOnly) {
  CountingModel model(100000);
  SOutlineView view;
  view.awakeFromNib();
  view.setModel(&model);
  view.resize(760, 400);
  view.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
  model.shown.clear();
  view.grab();
  const size_t visible = size_t(view.viewport()->height() / SOutlineView::kRowHeight + 2);
  EXPECT_GE(model.shown.size(), visible - 3);
  EXPECT_LE(model.shown.size(), visible);

  view.verticalScrollBar()->setValue(50000 * SOutlineView::kRowHeight);
  model.shown.clear();
  view.grab();
  EXPECT_LE(model.shown.size(), visible);
  EXPECT_EQ(*model.shown.begin(), 50000);
}

TEST(OutlineOf100000Rows, OpensTheMenuOfAllRowsByCountingRanges) {
  CountingModel model(100000);
  Owner owner;
  QMenu menu;
  menu.addAction(text("MNU_Delete"));
  SOutlineView view;
  view.awakeFromNib();
  view.setModel(&model);
  view.setOwnerDelegate(&owner);
  view.setOwnerMenu(&menu);
  view.resize(760, 400);
  view.selectAll();
  EXPECT_EQ(view.numberOfSelectedRows(), 100000);
  EXPECT_EQ(view.menuForEvent(QPoint(30, 30)), &menu);
  EXPECT_TRUE(menu.actions()[0]->isEnabled());
  // Each selected row is asked for once at most.
  EXPECT_LE(owner.asked, 100000);
  view.setOwnerDelegate(nullptr);
}

namespace {

/// What is painted of a widget.
class PaintedRegion : public QObject {
public:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint)
      region += static_cast<QPaintEvent*>(event)->region();
    return false;
  }
  QRegion region;
};

} // namespace

TEST_F(Outline, DrawsRowsAnewInTheirWholeWidthWhenTheSelectionMovesInBothDirections) {
  for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
    m_view.setLayoutDirection(direction);
    m_view.setSelectedRowIndex(0);
    QCoreApplication::processEvents();
    PaintedRegion painted;
    m_view.viewport()->installEventFilter(&painted);
    m_view.setSelectedRowIndex(1);
    QCoreApplication::processEvents();
    for (const int row : {0, 1}) {
      const QRect whole(0, row * SOutlineView::kRowHeight, m_view.viewport()->width(), SOutlineView::kRowHeight);
      EXPECT_TRUE(QRegion(whole).subtracted(painted.region).isEmpty()) << direction << " " << row;
    }
  }
}
