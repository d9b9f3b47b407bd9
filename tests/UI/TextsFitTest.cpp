// In every language the texts stand whole where the views have room for them.
#include "UI/Common/SFont.h"
#include "UI/Controls/SOutlineHeaderView.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/NoticeView/SNoticeView.h"
#include "UI/ProgressView/SProgressView.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Languages.h"
#include "support/TextFit.h"

#include <QCheckBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStandardItemModel>
#include <QVBoxLayout>

#include <gtest/gtest.h>

namespace {

constexpr int kWindowWidth = 780;

QString shown(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

class TextsFit : public testing::TestWithParam<const char*> {
protected:
  void SetUp() override { VornLocalStringDefine::loadTables({QString::fromLatin1(GetParam())}); }
  void TearDown() override { VornLocalStringDefine::loadTables({QStringLiteral("en")}); }
};

} // namespace

TEST_P(TextsFit, InTheHeadersNarrowestCellsBesideTheSortMark) {
  QStandardItemModel model(1, 3);
  SOutlineView view;
  view.awakeFromNib();
  view.setModel(&model);
  auto& header = dynamic_cast<SOutlineHeaderView&>(*view.header());
  for (size_t section = 0; section < header.columns().size(); ++section) {
    BrowserHeaderCell cell = *header.headerCell(int(section));
    cell.columnPriority = 0;
    const int width = header.columns()[section].minWidth + SOutlineHeaderView::kColumnSpacing;
    const QRectF room = cell.titleRectForBounds(QRectF(0, 0, width, SOutlineHeaderView::kHeight));
    const QFont font = SFont::sharedInstance().fontWithPixelSize(12, true);
    EXPECT_TRUE(testsupport::fits(cell.title, font, room.size().toSize())) << qPrintable(cell.title);
  }
}

TEST_P(TextsFit, InTheQuestionBeforeDeleting) {
  QWidget window;
  window.resize(kWindowWidth, 560);
  SNoticeView panel(&window);
  window.show();
  panel.animationHidden(false);
  QCoreApplication::processEvents(); // it is shown from the main thread's queue
  ASSERT_TRUE(panel.findChild<QCheckBox*>()->isVisible());
  EXPECT_EQ(testsupport::cutOffTexts(panel), QStringList());
}

TEST_P(TextsFit, InThePanelThatAsksForAName) {
  QWidget window;
  window.resize(kWindowWidth, 560);
  SFileNameView panel(&window);
  window.show();
  for (const QVariant& item : {QVariant(), QVariant(QStringLiteral("photo.jpg"))}) {
    panel.animationShowViewWithInfos(item);
    ASSERT_TRUE(panel.findChild<QLabel*>()->isVisible());
    EXPECT_EQ(testsupport::cutOffTexts(panel), QStringList());
  }
}

TEST_P(TextsFit, InThePanelOfATransferThatBegins) {
  QWidget window;
  window.resize(kWindowWidth, 560);
  SProgressView panel(&window);
  window.show();
  panel.animationHidden(false, {});
  panel.show();
  ASSERT_TRUE(panel.findChild<QLabel*>()->isVisible());
  EXPECT_EQ(testsupport::cutOffTexts(panel), QStringList());
}

TEST_P(TextsFit, InAContextMenuHalfAsWideAsTheWindow) {
  QMenu menu;
  for (const char* key : {"MNU_AddNewFolder", "MNU_EditName", "MNU_Delete"})
    menu.addAction(shown(key));
  EXPECT_LE(menu.sizeHint().width(), kWindowWidth / 2);
}

TEST_P(TextsFit, InAMenuBarAcrossTheWindow) {
  QWidget window;
  window.resize(kWindowWidth, 100);
  auto* const column = new QVBoxLayout(&window);
  column->setContentsMargins(0, 0, 0, 0);
  auto* const bar = new QMenuBar;
  bar->setNativeMenuBar(false);
  column->setMenuBar(bar);
  for (const char* key : {"menu_file", "menu_edit", "menu_go", "menu_view", "menu_help"})
    bar->addMenu(shown(key))->addAction(shown("menu_help_about"));
  window.show();
  for (QAction* title : bar->actions())
    EXPECT_GT(bar->actionGeometry(title).width(), 0) << qPrintable(title->text());
  // A title that finds no room goes into a menu of the bar's own, which is shown then.
  for (const QWidget* extension : bar->findChildren<QWidget*>(QStringLiteral("qt_menubar_ext_button")))
    EXPECT_FALSE(extension->isVisible());
}

INSTANTIATE_TEST_SUITE_P(Language, TextsFit, testing::ValuesIn(testsupport::kLanguages), testsupport::languageName);

TEST(TextFit, IsNotGivenByALineThatIsTooNarrow) {
  const QFont font = SFont::sharedInstance().fontWithPixelSize(13, false);
  const QString text = QStringLiteral("Überspringen");
  const QSize room = QFontMetrics(font).boundingRect(QRect(0, 0, 1000, 1000), 0, text).size();
  EXPECT_TRUE(testsupport::fits(text, font, room));
  EXPECT_FALSE(testsupport::fits(text, font, room - QSize(1, 0)));
  EXPECT_FALSE(testsupport::fits(text, font, QSize(room.width(), 5)));
  EXPECT_TRUE(testsupport::fitsLines(text, font, room.width() + 1, 1));
  EXPECT_FALSE(testsupport::fitsLines(text, font, room.width() - 2, 1));
}

TEST(TextFit, IsNotGivenByTooFewLines) {
  const QFont font = SFont::sharedInstance().fontWithPixelSize(13, false);
  const QString text = QStringLiteral("one\ntwo\nthree");
  EXPECT_TRUE(testsupport::fitsLines(text, font, 500, 3));
  EXPECT_FALSE(testsupport::fitsLines(text, font, 500, 2));
  EXPECT_FALSE(testsupport::fitsLines(QStringLiteral("Donaudampfschifffahrtsgesellschaft"), font, 60, 9));
}

TEST(TextFit, FindsLabelsAndButtonsThatAreTooNarrowOrBeyondTheEdge) {
  QWidget window;
  window.resize(400, 200);
  QLabel whole(QStringLiteral("whole"), &window);
  QLabel narrow(QStringLiteral("a label that is too narrow"), &window);
  QLabel beyond(QStringLiteral("beyond"), &window);
  QLabel hidden(QStringLiteral("hidden, too narrow"), &window);
  QPushButton button(QStringLiteral("a button that is too narrow"), &window);
  whole.setGeometry(0, 0, 200, 30);
  narrow.setGeometry(0, 40, 30, 30);
  beyond.setGeometry(380, 40, 200, 30);
  hidden.setGeometry(0, 80, 10, 10);
  hidden.hide();
  button.setGeometry(0, 120, 40, 30);
  EXPECT_EQ(testsupport::cutOffTexts(window), QStringList({narrow.text(), beyond.text(), button.text()}));
}
