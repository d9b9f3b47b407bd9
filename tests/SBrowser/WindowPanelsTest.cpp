// The window's panels: where they are, whom they report to, and that nobody waits for an answer that cannot come.
#include "BrowserFixture.h"
#include "SBrowser/WindowMenus.h"
#include "UI/Common/OverlayPanel.h"
#include "UI/Controls/SGhostView.h"
#include "UI/Controls/SMTPButton.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/NoticeView/SNoticeView.h"
#include "UI/ProgressView/SProgressView.h"

#include <QAction>
#include <QDebug>
#include <QMainWindow>
#include <QPushButton>

namespace {

class WindowPanelsTest : public BrowserFixture {
protected:
  /// A worker's question and its answer.
  struct Question {
    std::atomic<int> code{-1}; // written by the worker, read by the test
  };

  WindowLayout& layout() const { return controller->layout(); }
  /// Has a worker ask; the panel is on screen when this returns.
  std::shared_ptr<Question> ask(ui::QuestionPanel& panel) const {
    auto question = std::make_shared<Question>();
    platform::startWorker("test-ask",
                          [&panel, question] { question->code = panel.runViewModalWithParam({}, nullptr); });
    EXPECT_TRUE(waitUntil([&] { return panel.isReachable(); }));
    return question;
  }
};

TEST_F(WindowPanelsTest, TheQuestionsWaitAboveTheUpperEdgeAndTheProgressIsHidden) {
  for (const QWidget* const panel : {static_cast<QWidget*>(layout().fileNameView), //
                                     static_cast<QWidget*>(layout().noticeView)}) {
    EXPECT_EQ(panel->parentWidget(), layout().contentView);
    EXPECT_TRUE(panel->isVisible());
    EXPECT_LE(panel->geometry().bottom(), 0);
    EXPECT_NEAR(panel->geometry().center().x(), layout().contentView->rect().center().x(), 1);
  }
  EXPECT_TRUE(layout().progressView->isHidden());
  EXPECT_EQ(layout().progressView->y(), 0);
  EXPECT_NEAR(layout().progressView->geometry().center().x(), layout().contentView->rect().center().x(), 1);
  EXPECT_TRUE(layout().ghostView->isHidden());
}

TEST_F(WindowPanelsTest, NothingOfAPanelThatIsAwayCanBeSeen) {
  connectPhone();
  const QRect content = layout().contentView->rect();
  for (const QObject* const child : layout().contentView->children()) {
    const auto* const widget = qobject_cast<const QWidget*>(child);
    if (widget == nullptr || widget == layout().paths || widget == layout().outlineView)
      continue;
    EXPECT_FALSE(widget->isVisible() && widget->geometry().intersects(content))
        << qPrintable(QDebug::toString(widget)) << qPrintable(QDebug::toString(widget->geometry()));
  }
}

TEST_F(WindowPanelsTest, ThePanelsCanBeUsedAboveTheCover) {
  connectPhone();
  controller->setDisableCaptureEvent(true);
  layout().progressView->show();
  const QPoint button = layout().progressView->btnCancel()->mapTo(layout().contentView,
                                                                  layout().progressView->btnCancel()->rect().center());
  EXPECT_EQ(layout().contentView->childAt(button), layout().progressView->btnCancel());
}

TEST_F(WindowPanelsTest, CancelingATransferHidesTheProgressAndIsToldToTheTransfer) {
  connectPhone();
  controller->setIsTransferProcess(true);
  controller->setIsDropOvering(true);
  controller->setDisableCaptureEvent(true);
  layout().progressView->show();
  QTest::mouseClick(layout().progressView->btnCancel(), Qt::LeftButton);
  EXPECT_TRUE(layout().progressView->isHidden());
  EXPECT_TRUE(controller->isCanceled());
  EXPECT_FALSE(controller->isTransferProcess());
  EXPECT_FALSE(controller->isDropOvering());
}

TEST_F(WindowPanelsTest, WhileTheWindowIsBlockedItsCommandsCannotBeGiven) {
  connectPhone();
  const QAction* const reload = layout().menus->action(WindowCommand::Reload);
  EXPECT_TRUE(reload->isEnabled());
  controller->setDisableCaptureEvent(true);
  EXPECT_TRUE(controller->isBlocked());
  EXPECT_FALSE(reload->isEnabled());
  controller->setDisableCaptureEvent(false);
  EXPECT_FALSE(controller->isBlocked());
  EXPECT_TRUE(reload->isEnabled());
  layout().progressView->show();
  EXPECT_FALSE(reload->isEnabled());
}

TEST_F(WindowPanelsTest, ADetachAnswersWhatIsAskedByCanceled) {
  connectPhone();
  const auto name = ask(*layout().fileNameView);
  const auto deletion = ask(*layout().noticeView);
  layout().progressView->show();
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 1);
  EXPECT_EQ(deletion->code, 1);
  EXPECT_TRUE(layout().progressView->isHidden());
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(WindowPanelsTest, ClosingAnswersWhatIsAskedByCanceled) {
  connectPhone();
  const auto name = ask(*layout().fileNameView);
  const auto deletion = ask(*layout().noticeView);
  layout().progressView->show();
  controller->window()->close(); // as the user does
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 1);
  EXPECT_EQ(deletion->code, 1);
  EXPECT_TRUE(layout().progressView->isHidden());
  EXPECT_TRUE(controller->isCanceled());
}

TEST_F(WindowPanelsTest, AnotherPhoneEndsWhatWasAskedAboutTheFormerOne) {
  connectPhone();
  controller->setDisableCaptureEvent(true);
  const auto name = ask(*layout().fileNameView);
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 1);
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(WindowPanelsTest, TheWindowMayGoWhileItAsks) {
  connectPhone();
  const auto name = ask(*layout().fileNameView);
  controller.reset();
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 1);
}

} // namespace
