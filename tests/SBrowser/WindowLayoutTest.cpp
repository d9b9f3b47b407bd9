#include "SBrowser/WindowLayout.h"

#include "SBrowser/NavigationButton.h"
#include "UI/Common/SFont.h"
#include "UI/Controls/SGhostView.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/Controls/SToolbarButton.h"
#include "UI/LoadingView/SLoadingAniView.h"
#include "UI/LoadingView/SLoadingAniViewController.h"

#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QSignalSpy>
#include <QToolBar>

#include <gtest/gtest.h>

namespace {

class WindowLayoutTest : public testing::Test {
protected:
  platform::ManualTimers timers;
  WindowLayout layout{timers};
};

} // namespace

TEST_F(WindowLayoutTest, AtFirstOnlyTheWelcomeIsShown) {
  layout.showWelcome(QStringLiteral("Hello"));
  layout.window()->show();
  EXPECT_TRUE(layout.welcomeTfield->isVisible());
  EXPECT_EQ(layout.welcomeTfield->text(), QStringLiteral("Hello"));
  EXPECT_FALSE(layout.toolbar->isVisible());
  EXPECT_FALSE(layout.scrollViewBrowser->isVisible());
  EXPECT_FALSE(layout.paths->isVisible());
  EXPECT_FALSE(layout._ghostView->isVisible());
  EXPECT_FALSE(layout._loadingViewController->view()->isVisible());
}

TEST_F(WindowLayoutTest, TheToolbarsButtonsAreKnownByTheirIdentifiers) {
  EXPECT_EQ(layout._btn_InternalStorage->objectName(), QStringLiteral("btn_InternalStorage"));
  EXPECT_EQ(layout._btn_ExternalStorage->objectName(), QStringLiteral("btn_ExternalStorage"));
  EXPECT_EQ(layout._btn_Previous->objectName(), QStringLiteral("btn_back"));
  EXPECT_EQ(layout._btn_Next->objectName(), QStringLiteral("btn_next"));
  EXPECT_EQ(layout._btn_AddNewFolder->objectName(), QStringLiteral("btn_AddNewFolder"));
}

TEST_F(WindowLayoutTest, EveryButtonOfTheToolbarReportsItsClick) {
  QSignalSpy clicked(&layout, &WindowLayout::toolbarClicked);
  for (QAbstractButton* const button : std::initializer_list<QAbstractButton*>{
           layout._btn_InternalStorage, layout._btn_ExternalStorage, layout._btn_Previous, layout._btn_Next}) {
    clicked.clear();
    button->click();
    ASSERT_EQ(clicked.count(), 1);
    EXPECT_EQ(clicked.at(0).at(0).value<QObject*>(), button);
  }
}

TEST_F(WindowLayoutTest, TheStorageButtonsAreTitledPhoneAndCardAtFirst) {
  EXPECT_EQ(layout._btn_InternalStorage->text(), QStringLiteral("Phone"));
  EXPECT_EQ(layout._btn_ExternalStorage->text(), QStringLiteral("Card"));
}

TEST_F(WindowLayoutTest, AButtonSizedToItsTitleIsFifteenWiderThanItInTheBoldFaceOf13) {
  const QFontMetrics metrics(SFont::sharedInstance().fontWithPixelSize(13, true));
  for (const char* title : {"Phone", "Card", "A much longer storage name"}) {
    layout._btn_InternalStorage->setText(QString::fromLatin1(title));
    WindowLayout::sizeToTitle(*layout._btn_InternalStorage);
    const int width = metrics.horizontalAdvance(QString::fromLatin1(title)) + 15;
    EXPECT_EQ(layout._btn_InternalStorage->minimumWidth(), width);
    EXPECT_EQ(layout._btn_InternalStorage->maximumWidth(), width);
  }
}

TEST_F(WindowLayoutTest, APathOfAnyContentStaysOnOneLineAndShowsItsBeginning) {
  layout.setPath(QStringLiteral("/M/Phone/a\nb/") + QString(10'000, u'x'));
  EXPECT_FALSE(layout.paths->text().contains(u'\n'));
  EXPECT_EQ(layout.paths->cursorPosition(), 0);
}

TEST_F(WindowLayoutTest, TheCoversFollowTheSizeOfTheWindow) {
  layout.showBrowser(QStringLiteral("Pat's phone"));
  layout.window()->show();
  layout.cover(*layout._ghostView);
  layout.cover(*layout._loadingViewController->view());
  layout.window()->resize(900, 700);
  QCoreApplication::processEvents();
  EXPECT_EQ(layout._ghostView->geometry(), layout._contentView->rect());
  EXPECT_EQ(layout._loadingViewController->view()->geometry(), layout._contentView->rect());
}
