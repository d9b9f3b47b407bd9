#include "UI/Controls/SOutlineHeaderView.h"

#include "UI/Controls/SOutlineView.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Clicks.h"

#include <QStandardItemModel>
#include <QTest>

#include <gtest/gtest.h>

#include <vector>

namespace {

class Header : public testing::Test {
protected:
  void SetUp() override {
    m_model.setColumnCount(3);
    m_model.setRowCount(3);
    m_view.awakeFromNib();
    m_view.setModel(&m_model);
    m_view.resize(760, 300);
    m_view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_view));
  }
  SOutlineHeaderView& header() { return *qobject_cast<SOutlineHeaderView*>(m_view.header()); }

  /// Drags the edge after a section by so many pixels, as a user does.
  void dragEdge(int section, int by) {
    QWidget* area = header().viewport();
    const int x = header().sectionViewportPosition(section) + header().sectionSize(section) - 2;
    QTest::mousePress(area, Qt::LeftButton, {}, QPoint(x, 10));
    QTest::mouseMove(area, QPoint(x + by / 2, 10));
    QTest::mouseMove(area, QPoint(x + by, 10));
    QTest::mouseRelease(area, Qt::LeftButton, {}, QPoint(x + by, 10));
  }

  QStandardItemModel m_model;
  SOutlineView m_view;
};

} // namespace

TEST_F(Header, IsTwentyFivePointsHigh) {
  EXPECT_EQ(header().height(), 25);
}

TEST_F(Header, HasTheThreeColumnsWithLocalizedTitles) {
  ASSERT_EQ(header().columns().size(), 3U);
  const char* const keys[] = {"MNU_FileName", "MNU_DateOfModify", "MSG_FileSize"};
  const char* const identifiers[] = {"outline_FileName", "outline_DateModified", "outline_FileSize"};
  for (int section = 0; section < 3; ++section) {
    EXPECT_EQ(header().columns()[size_t(section)].identifier, identifiers[section]);
    EXPECT_EQ(header().headerCell(section)->title, VornLocalStringDefine::QX_LocalizedStringWithKey(keys[section]));
  }
  EXPECT_EQ(header().headerCell(3), nullptr);
  EXPECT_EQ(header().headerCell(-1), nullptr);
}

TEST_F(Header, StartsWithItsColumnsWidths) {
  m_view.resize(679, 300);
  EXPECT_EQ(m_view.widthOfColumn(kFileName), 416);
  EXPECT_EQ(m_view.widthOfColumn(kDateModified), 153);
  EXPECT_EQ(m_view.widthOfColumn(kFileSize), 95);
}

TEST_F(Header, GivesTheRoomThatIsLeftToTheName) {
  m_view.resize(1000, 300);
  EXPECT_EQ(header().length(), header().width());
  EXPECT_EQ(m_view.widthOfColumn(kDateModified), 153);
  EXPECT_EQ(m_view.widthOfColumn(kFileSize), 95);
  m_view.resize(300, 300);
  EXPECT_EQ(m_view.widthOfColumn(kFileName), 416);
}

TEST_F(Header, KeepsTheDateBetween153And180) {
  dragEdge(kDateModified, 15);
  EXPECT_EQ(m_view.widthOfColumn(kDateModified), 168);
  dragEdge(kDateModified, 200);
  EXPECT_EQ(m_view.widthOfColumn(kDateModified), 180);
  dragEdge(kDateModified, -200);
  EXPECT_EQ(m_view.widthOfColumn(kDateModified), 153);
}

TEST_F(Header, KeepsTheSizeAt95) {
  dragEdge(kFileSize, 40);
  EXPECT_EQ(m_view.widthOfColumn(kFileSize), 95);
  header().setWidthOfColumn(kFileSize, 300);
  EXPECT_EQ(m_view.widthOfColumn(kFileSize), 95);
  header().setWidthOfColumn(kFileSize, 1);
  EXPECT_EQ(m_view.widthOfColumn(kFileSize), 95);
}

TEST_F(Header, KeepsTheNameAtItsMinimumOrMore) {
  dragEdge(kFileName, -40);
  EXPECT_EQ(m_view.widthOfColumn(kFileName), 760 - 158 - 100 - 5 - 40);
  dragEdge(kFileName, -400);
  EXPECT_EQ(m_view.widthOfColumn(kFileName), 416);
}

TEST_F(Header, KeepsAWidthTheUserGaveTheNameWhenTheWindowChanges) {
  dragEdge(kFileName, -30);
  const int chosen = m_view.widthOfColumn(kFileName);
  m_view.resize(900, 300);
  EXPECT_EQ(m_view.widthOfColumn(kFileName), chosen);
}

TEST_F(Header, KeepsItsColumnsWhenTheModelIsReset) {
  m_model.clear();
  m_model.setColumnCount(3);
  EXPECT_EQ(m_view.widthOfColumn(kDateModified), 153);
  EXPECT_EQ(m_view.widthOfColumn(kFileSize), 95);
  EXPECT_EQ(header().length(), header().width());
}

TEST_F(Header, SortsByTheClickedColumnAndTurnsTheOrderAround) {
  QTest::mouseClick(header().viewport(), Qt::LeftButton, {},
                    QPoint(header().sectionViewportPosition(kFileSize) + 30, 10));
  EXPECT_EQ(header().sortIndicatorSection(), kFileSize);
  const Qt::SortOrder order = header().sortIndicatorOrder();
  QTest::mouseClick(header().viewport(), Qt::LeftButton, {},
                    QPoint(header().sectionViewportPosition(kFileSize) + 30, 10));
  EXPECT_NE(header().sortIndicatorOrder(), order);
  header().grab();
  EXPECT_EQ(header().headerCell(kFileSize)->columnPriority, 0);
  EXPECT_EQ(header().headerCell(kFileName)->columnPriority, 1);
}

TEST_F(Header, StrokesALineAroundEachColumnAsWideAsItAndItsSpacing) {
  const QImage image = header().grab().toImage();
  std::vector<int> lines;
  for (int x = 0; x < image.width(); ++x) {
    if (image.pixelColor(x, 21) == QColor(Qt::black)) { // below the titles
      lines.push_back(x);
    }
  }
  const int first = m_view.widthOfColumn(kFileName) + 5;
  // The right line of a rectangle is the left one of the next; the last one's lies beyond the edge.
  EXPECT_EQ(lines, (std::vector<int>{0, first, first + 153 + 5}));
  EXPECT_EQ(image.pixelColor(100, 0), QColor(Qt::black));
  EXPECT_EQ(image.pixelColor(100, 24), QColor(Qt::black));
}

TEST(HeaderWithoutRows, IsDrawnWithoutAModelToo) {
  SOutlineView view;
  view.awakeFromNib();
  view.resize(700, 200);
  view.grab();
  EXPECT_EQ(view.header()->count(), 0);
}

TEST_F(Header, EveryClickOnATitleSortsHoweverFast) {
  const QPoint title(header().sectionViewportPosition(1) + 40, 10);
  testsupport::click(*header().viewport(), title, Qt::LeftButton, testsupport::slow());
  EXPECT_EQ(header().sortIndicatorSection(), 1);
  Qt::SortOrder order = header().sortIndicatorOrder();
  for (int i = 0; i < 3; ++i) {
    testsupport::click(*header().viewport(), title, Qt::LeftButton, testsupport::kFast);
    EXPECT_NE(header().sortIndicatorOrder(), order);
    order = header().sortIndicatorOrder();
  }
  testsupport::click(*header().viewport(), title, Qt::RightButton, testsupport::slow());
  testsupport::click(*header().viewport(), title, Qt::RightButton, testsupport::kFast);
  EXPECT_EQ(header().sortIndicatorOrder(), order);
}

TEST_F(Header, ADoubleClickBetweenTwoTitlesSortsNothing) {
  const int section = header().sortIndicatorSection();
  const Qt::SortOrder order = header().sortIndicatorOrder();
  const QPoint edge(header().sectionViewportPosition(1) + header().sectionSize(1) - 2, 10);
  QTest::mouseMove(header().viewport(), edge);
  testsupport::click(*header().viewport(), edge, Qt::LeftButton, testsupport::slow());
  testsupport::click(*header().viewport(), edge, Qt::LeftButton, testsupport::kFast);
  EXPECT_EQ(header().sortIndicatorSection(), section);
  EXPECT_EQ(header().sortIndicatorOrder(), order);
}
