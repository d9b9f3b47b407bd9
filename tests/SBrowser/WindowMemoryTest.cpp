#include "SBrowser/WindowMemory.h"

#include "BrowserFixture.h"
#include "SBrowser/WindowMenus.h"
#include "UI/Controls/SOutlineHeaderView.h"

#include <QAction>
#include <QFile>
#include <QMainWindow>
#include <QScreen>

namespace {

namespace defaults = platform::userDefaults;

const QRect kScreen(0, 0, 1920, 1080);

class WindowMemoryTest : public BrowserFixture {
protected:
  SOutlineHeaderView& header() const { return static_cast<SOutlineHeaderView&>(*outline().header()); }
  QRect frame() const { return controller->window()->geometry(); }
  QRect screen() const { return controller->window()->screen()->availableGeometry(); }
  int widthOf(int column) const { return outline().widthOfColumn(column); }
  /// The next start of the program, with this in the file.
  void openWindowWith(const QString& key, const QVariant& value) {
    controller.reset();
    defaults::setValue(key, value);
    openWindow();
  }
};

} // namespace

// ---- Size and place ----

TEST_F(WindowMemoryTest, TheWindowComesBackWhereItWasClosed) {
  const QRect place(screen().topLeft() + QPoint(30, 40), QSize(720, 450));
  controller->window()->setGeometry(place);
  controller->closeAllWindows();
  openWindow();
  EXPECT_EQ(frame(), place);
}

TEST_F(WindowMemoryTest, AWindowThatGoesWithoutBeingClosedIsRememberedToo) {
  const QRect place(screen().topLeft() + QPoint(11, 12), QSize(700, 440));
  controller->window()->setGeometry(place);
  openWindow();
  EXPECT_EQ(frame(), place);
}

TEST_F(WindowMemoryTest, AMaximizedWindowComesBackMaximizedAndKnowsItsSizeBefore) {
  const QRect place(screen().topLeft() + QPoint(20, 30), QSize(710, 430));
  controller->window()->setGeometry(place);
  controller->window()->showMaximized();
  ASSERT_TRUE(waitUntil([this] { return controller->window()->isMaximized(); }));
  controller->closeAllWindows();
  openWindow();
  EXPECT_TRUE(controller->window()->isMaximized());
  EXPECT_EQ(controller->window()->normalGeometry(), place);
  controller->window()->showNormal();
  controller->closeAllWindows();
  openWindow();
  EXPECT_FALSE(controller->window()->isMaximized());
  EXPECT_EQ(frame(), place);
}

TEST_F(WindowMemoryTest, AWindowThatNeverWasShownStoresNothing) {
  controller.reset();
  defaults::useFile(this->defaults.filePath(QStringLiteral("untouched.conf")));
  controller = std::make_unique<SBrowserWindowController>();
  controller.reset();
  EXPECT_FALSE(defaults::value(QStringLiteral("WindowFrame")));
}

TEST_F(WindowMemoryTest, AWindowBeyondEveryScreenComesBackToAVisiblePlace) {
  openWindowWith(QStringLiteral("WindowFrame"), QStringLiteral("9000 7000 700 500"));
  EXPECT_TRUE(screen().contains(frame())) << frame().x() << " " << frame().y();
  EXPECT_LE(frame().width(), 700);
}

TEST_F(WindowMemoryTest, WhatIsNoFrameLeavesTheWindowAsItIsByItself) {
  controller.reset();
  defaults::useFile(this->defaults.filePath(QStringLiteral("fresh.conf")));
  openWindow();
  const QSize own = frame().size();
  for (const QVariant& hostile : std::initializer_list<QVariant>{
           QString(), u"banana"_qs, u"1 2 3"_qs, u"1 2 3 4 5"_qs, u"0 0 0 0"_qs, u"0 0 -700 -500"_qs, u"0 0 700 1"_qs,
           u"0 0 99999999999999999999 500"_qs, u"2147483647 2147483647 2147483647 2147483647"_qs,
           u"-2147483648 0 700 500"_qs, u"0x10 0 700 500"_qs, u"1e3 0 700 500"_qs, u"0 0 700.5 500"_qs,
           QString(100'000, u'1'), QStringList({u"0"_qs, u"0"_qs, u"700"_qs, u"500"_qs}), 7, 1.5, true,
           QByteArray("\xff\x00\x01", 3)}) {
    openWindowWith(QStringLiteral("WindowFrame"), hostile);
    EXPECT_EQ(frame().size(), own) << hostile.toString().left(60).toStdString();
    EXPECT_TRUE(screen().intersects(frame()));
  }
}

TEST_F(WindowMemoryTest, AFileThatIsNoSettingsFileLeavesTheWindowAsItIsByItself) {
  const QSize own = frame().size();
  controller.reset();
  const QString path = this->defaults.filePath(QStringLiteral("hostile.conf"));
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("[General\nWindowFrame=@Variant(\\0\\0\\0\\x7f)\nSortColumn=@Rect(1 2 3 4)\n\0\xff\xfe"
             "ColumnWidths/outline_FileName=@Invalid()\n===\n[]\n");
  file.close();
  defaults::useFile(path);
  openWindow();
  EXPECT_EQ(frame().size(), own);
  EXPECT_EQ(outline().header()->sortIndicatorSection(), -1);
}

TEST(WindowPlace, AWindowThatIsOnAScreenStandsWhereItStood) {
  const QRect stored(100, 200, 700, 500);
  EXPECT_EQ(WindowMemory::placeFor(stored, {kScreen}), stored);
}

TEST(WindowPlace, AWindowOnTheSecondScreenStaysThere) {
  const QRect stored(-1500, 100, 700, 500);
  EXPECT_EQ(WindowMemory::placeFor(stored, {kScreen, QRect(-1920, 0, 1920, 1080)}), stored);
}

TEST(WindowPlace, AWindowOnAScreenThatIsGoneComesToTheMiddleOfTheMainOne) {
  const auto place = WindowMemory::placeFor(QRect(-1500, 100, 700, 500), {kScreen});
  ASSERT_TRUE(place);
  EXPECT_EQ(place->size(), QSize(700, 500));
  EXPECT_EQ(place->center(), kScreen.center());
}

TEST(WindowPlace, AWindowWhoseUpperEdgeCannotBeTakenHoldOfComesToTheMiddle) {
  for (const QRect& stored : {QRect(1880, 100, 700, 500), QRect(-650, 100, 700, 500), QRect(100, 1070, 700, 500),
                              QRect(100, -300, 700, 500)}) {
    const auto place = WindowMemory::placeFor(stored, {kScreen});
    ASSERT_TRUE(place);
    EXPECT_EQ(place->center(), kScreen.center()) << stored.x() << " " << stored.y();
  }
}

TEST(WindowPlace, AWindowIsNeverLargerThanItsScreen) {
  EXPECT_EQ(WindowMemory::placeFor(QRect(0, 0, 5000, 4000), {kScreen}), kScreen);
  EXPECT_EQ(WindowMemory::placeFor(QRect(20'000, 0, 5000, 4000), {kScreen}), kScreen);
}

TEST(WindowPlace, WithoutAScreenOrAPossibleSizeThereIsNoPlace) {
  EXPECT_FALSE(WindowMemory::placeFor(QRect(0, 0, 700, 500), {}));
  EXPECT_FALSE(WindowMemory::placeFor(QRect(0, 0, 10, 500), {kScreen}));
  EXPECT_FALSE(WindowMemory::placeFor(QRect(0, 0, 700, 10), {kScreen}));
  EXPECT_FALSE(WindowMemory::placeFor(QRect(0, 0, 40'000, 500), {kScreen}));
  EXPECT_FALSE(WindowMemory::placeFor(QRect(), {kScreen}));
}

// ---- Column widths ----

TEST_F(WindowMemoryTest, TheColumnsComeBackAsWideAsTheUserMadeThem) {
  header().setWidthOfColumn(kFileName, 430);
  header().setWidthOfColumn(kDateModified, 171);
  openWindow();
  EXPECT_EQ(widthOf(kFileName), 430);
  EXPECT_EQ(widthOf(kDateModified), 171);
  EXPECT_EQ(widthOf(kFileSize), 95);
  connectPhone();
  EXPECT_EQ(widthOf(kFileName), 430);
  EXPECT_EQ(widthOf(kDateModified), 171);
}

TEST_F(WindowMemoryTest, TheNarrowestNameColumnIsRememberedAsOneTheUserChose) {
  controller->window()->resize(900, 500);
  header().setWidthOfColumn(kFileName, 416);
  openWindow();
  connectPhone();
  EXPECT_EQ(widthOf(kFileName), 416);
  controller->window()->resize(1000, 500);
  QCoreApplication::processEvents();
  EXPECT_EQ(widthOf(kFileName), 416);
}

TEST_F(WindowMemoryTest, WidthsNobodyHasChosenGoOnFollowingTheWindow) {
  controller->window()->resize(900, 500);
  openWindow();
  EXPECT_FALSE(defaults::value(QStringLiteral("ColumnWidths/outline_FileName")));
  EXPECT_FALSE(defaults::value(QStringLiteral("ColumnWidths/outline_DateModified")));
  connectPhone();
  controller->window()->resize(1000, 500);
  ASSERT_TRUE(waitUntil([this] { return header().length() == header().width(); }));
  EXPECT_TRUE(header().isFirstColumnFitted());
}

TEST_F(WindowMemoryTest, AWidthOutOfRangeOrOfAnotherTypeCountsAsNotStored) {
  for (const QVariant& hostile :
       std::initializer_list<QVariant>{0, -1, 152, 181, 2147483647, u"99999999999"_qs, u"wide"_qs, u"160.5"_qs,
                                       QString(), QStringList({u"160"_qs, u"170"_qs}), true}) {
    openWindowWith(QStringLiteral("ColumnWidths/outline_DateModified"), hostile);
    EXPECT_EQ(widthOf(kDateModified), 153) << hostile.toString().toStdString();
  }
  for (const QVariant& hostile : std::initializer_list<QVariant>{415, 8193, -416, u"x"_qs}) {
    openWindowWith(QStringLiteral("ColumnWidths/outline_FileName"), hostile);
    EXPECT_TRUE(header().isFirstColumnFitted()) << hostile.toString().toStdString();
  }
  openWindowWith(QStringLiteral("ColumnWidths/outline_FileSize"), 300);
  EXPECT_EQ(widthOf(kFileSize), 95);
}

// ---- Sorting ----

TEST_F(WindowMemoryTest, WhatTheUserSortedByIsAppliedToTheFirstFolderOfTheNextStart) {
  connectPhone();
  outline().sortByColumn(kFileName, Qt::DescendingOrder);
  openWindow();
  EXPECT_EQ(outline().header()->sortIndicatorSection(), kFileName);
  EXPECT_EQ(outline().header()->sortIndicatorOrder(), Qt::DescendingOrder);
  EXPECT_TRUE(controller->layout().menus->action(WindowCommand::SortByName)->isChecked());
  connect();
  EXPECT_EQ(rows(), QStringList({"Empty", "DCIM", "readme.txt"}));
}

TEST_F(WindowMemoryTest, WhoeverNeverSortedSeesThePhonesOrderAfterEveryStart) {
  openWindow();
  EXPECT_EQ(outline().header()->sortIndicatorSection(), -1);
  EXPECT_FALSE(WindowMemory::sorting());
  addPhone();
  sdk->addFolder(phone, QStringLiteral("Alarms"));
  connect();
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "Alarms", "readme.txt"}));
}

TEST_F(WindowMemoryTest, EverySortingIsRemembered) {
  for (const int column : {kFileName, kDateModified, kFileSize})
    for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
      WindowMemory::setSorting({column, order});
      const auto sorting = WindowMemory::sorting();
      ASSERT_TRUE(sorting);
      EXPECT_EQ(sorting->column, column);
      EXPECT_EQ(sorting->order, order);
    }
}

TEST_F(WindowMemoryTest, ASortingByNoColumnIsNotStored) {
  WindowMemory::setSorting({kDateModified, Qt::AscendingOrder});
  WindowMemory::setSorting({-1, Qt::DescendingOrder});
  WindowMemory::setSorting({kOutlineColumnCount, Qt::DescendingOrder});
  const auto sorting = WindowMemory::sorting();
  ASSERT_TRUE(sorting);
  EXPECT_EQ(sorting->column, kDateModified);
  EXPECT_EQ(sorting->order, Qt::AscendingOrder);
}

TEST_F(WindowMemoryTest, AnUnknownSortColumnIsNone) {
  for (const QVariant& hostile :
       std::initializer_list<QVariant>{QString(), u"outline_"_qs, u"OUTLINE_FILENAME"_qs, 0,
                                       QStringList({u"outline_FileName"_qs, u"x"_qs}), QString(100'000, u'a')}) {
    openWindowWith(QStringLiteral("SortColumn"), hostile);
    EXPECT_EQ(outline().header()->sortIndicatorSection(), -1) << hostile.toString().left(60).toStdString();
  }
}

TEST_F(WindowMemoryTest, AnUnreadableSortOrderIsAscending) {
  controller.reset();
  defaults::setValue(QStringLiteral("SortAscending"), QStringLiteral("sideways"));
  openWindowWith(QStringLiteral("SortColumn"), QStringLiteral("outline_FileSize"));
  EXPECT_EQ(outline().header()->sortIndicatorSection(), kFileSize);
  EXPECT_EQ(outline().header()->sortIndicatorOrder(), Qt::AscendingOrder);
}
