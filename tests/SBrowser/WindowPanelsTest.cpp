// The window's panels: where they are, whom they report to, and that nobody waits for an answer that cannot come.
#include "BrowserFixture.h"
#include "SBrowser/WindowMenus.h"
#include "UI/Common/OverlayPanel.h"
#include "UI/Controls/SGhostView.h"
#include "UI/Controls/SMTPButton.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/NoticeView/SNoticeView.h"
#include "UI/ProgressView/SProgressView.h"

#include "UI/LoadingView/SLoadingAniView.h"
#include "UI/LoadingView/SLoadingAniViewController.h"

#include <QAction>
#include <QDebug>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSignalSpy>

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
  /// Presses a key where the keyboard is.
  void press(Qt::Key key) const {
    QWidget* const focus = QApplication::focusWidget();
    QTest::keyClick(focus != nullptr ? focus : controller->window(), key);
  }
  /// The phone tells of a change and two seconds pass. While the tree is listed anew `meanwhile` is run.
  void rebuild(const std::function<void()>& meanwhile = [] {}) {
    Gate gate;
    sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
    QSignalSpy shown(controller.get(), &SBrowserWindowController::folderShown);
    controller->catchMTPEvent();
    ASSERT_TRUE(waitUntil([this] { return controller->isRebuildPending(); }));
    timers.advance(std::chrono::seconds(2));
    ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
    meanwhile();
    gate.open();
    ASSERT_TRUE(waitUntil([&] { return shown.count() > 0; }));
    ASSERT_TRUE(waitUntil([this] { return layout()._loadingViewController->view()->isHidden(); }));
    sdk->setHook(Operation::GetFolderListHead, nullptr);
  }
  QMenu& openContextMenuOf(const QString& name) const {
    outline().menuForEvent(outline().visualRect(row(name)).center())->popup(QPoint(0, 0));
    QMenu& menu = *layout().menus->contextMenu();
    EXPECT_TRUE(menu.isVisible());
    return menu;
  }
};

TEST_F(WindowPanelsTest, TheQuestionsWaitAboveTheUpperEdgeAndTheProgressIsHidden) {
  for (const QWidget* const panel : {static_cast<QWidget*>(layout()._fileNameView), //
                                     static_cast<QWidget*>(layout()._noticeView)}) {
    EXPECT_EQ(panel->parentWidget(), layout()._contentView);
    EXPECT_TRUE(panel->isVisible());
    EXPECT_LE(panel->geometry().bottom(), 0);
    EXPECT_NEAR(panel->geometry().center().x(), layout()._contentView->rect().center().x(), 1);
  }
  EXPECT_TRUE(layout()._progressView->isHidden());
  EXPECT_EQ(layout()._progressView->y(), 0);
  EXPECT_NEAR(layout()._progressView->geometry().center().x(), layout()._contentView->rect().center().x(), 1);
  EXPECT_TRUE(layout()._ghostView->isHidden());
}

TEST_F(WindowPanelsTest, NothingOfAPanelThatIsAwayCanBeSeen) {
  connectPhone();
  const QRect content = layout()._contentView->rect();
  for (const QObject* const child : layout()._contentView->children()) {
    const auto* const widget = qobject_cast<const QWidget*>(child);
    if (widget == nullptr || widget == layout().paths || widget == layout()._outlineView)
      continue;
    EXPECT_FALSE(widget->isVisible() && widget->geometry().intersects(content))
        << qPrintable(QDebug::toString(widget)) << qPrintable(QDebug::toString(widget->geometry()));
  }
}

TEST_F(WindowPanelsTest, ThePanelsCanBeUsedAboveTheCover) {
  connectPhone();
  controller->setDisableCaptureEvent(true);
  layout()._progressView->show();
  const QPoint button = layout()._progressView->btnCancel()->mapTo(
      layout()._contentView, layout()._progressView->btnCancel()->rect().center());
  EXPECT_EQ(layout()._contentView->childAt(button), layout()._progressView->btnCancel());
}

TEST_F(WindowPanelsTest, CancelingATransferHidesTheProgressAndIsToldToTheTransfer) {
  connectPhone();
  controller->setIsTransferProcess(true);
  controller->setIsDropOvering(true);
  controller->setDisableCaptureEvent(true);
  layout()._progressView->show();
  QTest::mouseClick(layout()._progressView->btnCancel(), Qt::LeftButton);
  EXPECT_TRUE(layout()._progressView->isHidden());
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
  layout()._progressView->show();
  EXPECT_FALSE(reload->isEnabled());
}

TEST_F(WindowPanelsTest, ARebuildLeavesTheKeyboardWithTheNameThatIsBeingTyped) {
  connectPhone();
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  controller->setDisableCaptureEvent(true);
  const auto name = ask(*layout()._fileNameView);
  QLineEdit* const field = layout()._fileNameView->txtNewName();
  QTest::keyClicks(field, QStringLiteral("Hol"));
  rebuild([&] {
    EXPECT_EQ(QApplication::focusWidget(), field);
    QTest::mouseClick(layout()._loadingViewController->view(), Qt::LeftButton);
    EXPECT_EQ(QApplication::focusWidget(), field);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("iday"));
  });
  EXPECT_EQ(QApplication::focusWidget(), field);
  EXPECT_EQ(field->text(), QStringLiteral("Holiday"));
  press(Qt::Key_Return);
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 0);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(WindowPanelsTest, AfterARebuildReturnAnswersTheQuestionThatIsAsked) {
  connectPhone();
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  controller->changeEventRecieverObject(layout()._noticeView);
  const auto deletion = ask(*layout()._noticeView);
  press(Qt::Key_Tab);
  QWidget* const chosen = QApplication::focusWidget();
  rebuild();
  EXPECT_EQ(QApplication::focusWidget(), chosen) << "the panel's control that had the keyboard";
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  layout()._noticeView->setFocus();
  press(Qt::Key_Return);
  ASSERT_TRUE(settle());
  EXPECT_EQ(deletion->code, 0);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(WindowPanelsTest, AfterARebuildEscapeEndsTheTransfer) {
  connectPhone();
  controller->setIsTransferProcess(true);
  controller->setDisableCaptureEvent(true);
  layout()._progressView->show();
  rebuild();
  press(Qt::Key_Escape);
  EXPECT_TRUE(controller->isCanceled());
  EXPECT_TRUE(layout()._progressView->isHidden());
}

TEST_F(WindowPanelsTest, UntilACanceledTransferHasEndedNoKeyReachesTheRows) {
  connectPhone();
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  controller->setDisableCaptureEvent(true);
  layout()._progressView->show();
  press(Qt::Key_Escape);
  ASSERT_TRUE(layout()._progressView->isHidden());
  EXPECT_EQ(QApplication::focusWidget(), layout()._ghostView);
  for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Tab, Qt::Key_Return})
    press(key);
  ASSERT_TRUE(settle());
  EXPECT_FALSE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  controller->setDisableCaptureEvent(false);
  EXPECT_EQ(QApplication::focusWidget(), &outline());
}

TEST_F(WindowPanelsTest, ReturnEntersNoFolderBelowACover) {
  connectPhone();
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  controller->setDisableCaptureEvent(true);
  QTest::keyClick(&outline(), Qt::Key_Return); // however it got there
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  controller->setDisableCaptureEvent(false);
  QTest::keyClick(&outline(), Qt::Key_Return);
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
}

TEST_F(WindowPanelsTest, AContextMenuClosesWhenTheTreeIsBuiltAnew) {
  connectPhone();
  const QMenu& menu = openContextMenuOf(QStringLiteral("Empty"));
  rebuild();
  EXPECT_FALSE(menu.isVisible());
}

TEST_F(WindowPanelsTest, AContextMenuClosesWhenTheRowsAreDrawnAnew) {
  connectPhone();
  const QMenu& menu = openContextMenuOf(QStringLiteral("Empty"));
  controller->reloadDataOfOutlineView(controller->currentFolderItem());
  EXPECT_FALSE(menu.isVisible());
  EXPECT_EQ(outline().getSelectedRowIndex(), -1);
}

TEST_F(WindowPanelsTest, AContextMenuClosesWhenTheWindowIsBlockedAndWhenThePhoneGoes) {
  connectPhone();
  const QMenu& menu = openContextMenuOf(QStringLiteral("Empty"));
  controller->setDisableCaptureEvent(true);
  EXPECT_FALSE(menu.isVisible());
  controller->setDisableCaptureEvent(false);
  openContextMenuOf(QStringLiteral("Empty"));
  controller->deviceDisconnected();
  EXPECT_FALSE(menu.isVisible());
}

TEST_F(WindowPanelsTest, TheWindowMayGoWithAnOpenMenu) {
  connectPhone();
  openContextMenuOf(QStringLiteral("Empty"));
  controller.reset();
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  openWindow();
  QMenuBar& bar = *controller->window()->menuBar();
  bar.actions()[0]->menu()->popup(QPoint(0, 0));
  controller.reset();
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(WindowPanelsTest, ADetachAnswersWhatIsAskedByCanceled) {
  connectPhone();
  const auto name = ask(*layout()._fileNameView);
  const auto deletion = ask(*layout()._noticeView);
  layout()._progressView->show();
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 1);
  EXPECT_EQ(deletion->code, 1);
  EXPECT_TRUE(layout()._progressView->isHidden());
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(WindowPanelsTest, ClosingAnswersWhatIsAskedByCanceled) {
  connectPhone();
  const auto name = ask(*layout()._fileNameView);
  const auto deletion = ask(*layout()._noticeView);
  layout()._progressView->show();
  controller->window()->close(); // as the user does
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 1);
  EXPECT_EQ(deletion->code, 1);
  EXPECT_TRUE(layout()._progressView->isHidden());
  EXPECT_TRUE(controller->isCanceled());
}

TEST_F(WindowPanelsTest, AnotherPhoneEndsWhatWasAskedAboutTheFormerOne) {
  connectPhone();
  controller->setDisableCaptureEvent(true);
  const auto name = ask(*layout()._fileNameView);
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 1);
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(WindowPanelsTest, TheWindowMayGoWhileItAsks) {
  connectPhone();
  const auto name = ask(*layout()._fileNameView);
  controller.reset();
  ASSERT_TRUE(settle());
  EXPECT_EQ(name->code, 1);
}

} // namespace
