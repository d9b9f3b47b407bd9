#include "UI/NoticeView/SNoticeView.h"

#include "UI/Controls/SGhostView.h"
#include "UI/PanelFixture.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

using testsupport::Asker;

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
}

class NoticePanel : public testsupport::PanelWindow {
protected:
  void SetUp() override {
    PanelWindow::SetUp();
    m_panel = std::make_unique<SNoticeView>(&m_window);
    m_panel->show();
  }
  bool waitUntilShown() {
    return waitFor([this] { return m_panel->isAsking() && m_panel->isReachable(); });
  }
  /// Has the question asked and answered by `answer`.
  void ask(const std::function<void()>& answer, int code, const QVariant& result) {
    Asker asker(*m_panel, {}, QStringLiteral("untouched"));
    ASSERT_TRUE(waitUntilShown());
    EXPECT_FALSE(asker.isAnswered());
    answer();
    ASSERT_TRUE(asker.waitForAnswer());
    EXPECT_EQ(asker.code, code);
    EXPECT_EQ(asker.result, result);
  }
  void press(int key, const QString& text = {}, Qt::KeyboardModifiers modifiers = {}, bool isRepeat = false) {
    QKeyEvent event(QEvent::KeyPress, key, modifiers, text, isRepeat);
    QCoreApplication::sendEvent(m_panel.get(), &event);
  }
  const QVariant m_untouched{QStringLiteral("untouched")};
  std::unique_ptr<SNoticeView> m_panel;
};

} // namespace

TEST_F(NoticePanel, ReturnsOneOnEscapeAndLeavesTheResultUntouched) {
  ask([this] { press(Qt::Key_Escape); }, 1, m_untouched);
}

TEST_F(NoticePanel, ReturnsOneOnCancelAndLeavesTheResultUntouched) {
  ask(
      [this] {
        m_panel->btnCheckbox()->setChecked(true);
        QTest::mouseClick(m_panel->btnCancel(), Qt::LeftButton);
      },
      1, m_untouched);
}

TEST_F(NoticePanel, ReturnsZeroAndAnUntickedBoxOnOK) {
  ask([this] { QTest::mouseClick(m_panel->btnOK(), Qt::LeftButton); }, 0, false);
}

TEST_F(NoticePanel, ReturnsZeroAndATickedBoxOnOK) {
  ask(
      [this] {
        QTest::mouseClick(m_panel->btnCheckbox(), Qt::LeftButton, {}, QPoint(8, m_panel->btnCheckbox()->height() / 2));
        QTest::mouseClick(m_panel->btnOK(), Qt::LeftButton);
      },
      0, true);
}

TEST_F(NoticePanel, ReturnsZeroWithTheCheckboxStateOnReturn) {
  ask([this] { press(Qt::Key_Return, "\r"); }, 0, false);
}

TEST_F(NoticePanel, ReturnsZeroWithTheCheckboxStateOnLineFeed) {
  ask(
      [this] {
        m_panel->btnCheckbox()->setChecked(true);
        press(0, "\n");
      },
      0, true);
}

TEST_F(NoticePanel, ReturnsZeroWithTheCheckboxStateOnKeypadEnter) {
  ask([this] { press(Qt::Key_Enter, "\x03", Qt::KeypadModifier); }, 0, false);
}

TEST_F(NoticePanel, IsNotAnsweredByOtherKeysNorByOneThatIsStillHeldDown) {
  ask(
      [this] {
        press(Qt::Key_A, "a");
        press(Qt::Key_Delete);
        press(Qt::Key_C, "\x03", Qt::ControlModifier);
        press(Qt::Key_M, "\r", Qt::ControlModifier);
        press(Qt::Key_Return, "\r", {}, true);
        EXPECT_TRUE(m_panel->isAsking());
        press(Qt::Key_Escape);
      },
      1, m_untouched);
}

TEST_F(NoticePanel, GetsReturnAndEscapeThroughTheCoverThatHasTheKeyboard) {
  SGhostView ghost(&m_window);
  ghost.setOwnerDelegate(m_panel.get());
  ghost.setGeometry(m_window.rect());
  ghost.show();
  ghost.raise();
  ask(
      [&] {
        ghost.setFocus();
        QTest::keyClick(&ghost, Qt::Key_Return);
      },
      0, false);
  ask(
      [&] {
        ghost.setFocus();
        QTest::keyClick(&ghost, Qt::Key_Escape);
      },
      1, m_untouched);
}

TEST_F(NoticePanel, LiesAboveTheCoverSoThatItsButtonsCanBeClicked) {
  SGhostView ghost(&m_window);
  ghost.setOwnerDelegate(m_panel.get());
  ghost.setGeometry(m_window.rect());
  ghost.show();
  ghost.raise();
  ask(
      [&] {
        finishSlide(*m_panel);
        const QPoint ok = m_panel->btnOK()->mapTo(&m_window, m_panel->btnOK()->rect().center());
        EXPECT_EQ(m_window.childAt(ok), m_panel->btnOK());
        QTest::mouseClick(&ghost, Qt::LeftButton, {}, QPoint(5, 480));
        EXPECT_TRUE(m_panel->hasFocus()) << "a click on the cover took the keyboard away";
        QTest::mouseClick(m_panel->btnOK(), Qt::LeftButton);
      },
      0, false);
}

TEST_F(NoticePanel, AnswersAForeignSenderWithTheCodeAsItIs) {
  ask([this] { m_panel->btn_Clicked(nullptr); }, 1, m_untouched);
}

TEST_F(NoticePanel, ClearsItsBoxAndFillsItsTextsForEveryQuestion) {
  ask(
      [this] {
        m_panel->btnCheckbox()->setChecked(true);
        press(Qt::Key_Escape);
      },
      1, m_untouched);
  ask(
      [this] {
        EXPECT_FALSE(m_panel->btnCheckbox()->isChecked());
        EXPECT_EQ(m_panel->lbTitle()->text(), localized("MNU_Delete"));
        EXPECT_EQ(m_panel->lbDescription()->text(), localized("MSG_DeleteFile"));
        EXPECT_EQ(m_panel->btnCheckbox()->text(), localized("MNU_CheckboxText"));
        EXPECT_EQ(m_panel->btnOK()->text(), localized("MNU_Confirm"));
        EXPECT_EQ(m_panel->btnCancel()->text(), localized("FUS_MNU_Cancel"));
        press(Qt::Key_Escape);
      },
      1, m_untouched);
}

TEST_F(NoticePanel, SlidesFromAboveTheTopLineToBelowItInFifteenHundredthsOfASecond) {
  const int height = m_panel->height();
  m_panel->transitionView(false);
  EXPECT_EQ(m_panel->slideAnimation()->duration(), 150);
  EXPECT_EQ(m_panel->y(), -height); // its lower edge at 490 of 490
  m_panel->slideAnimation()->setCurrentTime(75);
  EXPECT_GT(m_panel->y(), -height);
  EXPECT_LT(m_panel->y(), 0);
  finishSlide(*m_panel);
  EXPECT_EQ(m_panel->y(), 0); // its lower edge at 490 - height
  m_panel->transitionView(true);
  EXPECT_EQ(m_panel->y(), 0);
  finishSlide(*m_panel);
  EXPECT_EQ(m_panel->y(), -height);
}

TEST_F(NoticePanel, HangsFromTheTopWhateverTheHeightOfTheWindow) {
  m_window.resize(700, 800);
  m_panel->transitionView(false);
  finishSlide(*m_panel);
  EXPECT_EQ(m_panel->y(), 0);
  EXPECT_EQ(m_panel->x(), (700 - m_panel->width()) / 2);
  m_window.resize(900, 300);
  QCoreApplication::processEvents();
  EXPECT_EQ(m_panel->x(), (900 - m_panel->width()) / 2);
  EXPECT_EQ(m_panel->y(), 0);
}

TEST_F(NoticePanel, CannotBeReachedWhileItIsAway) {
  EXPECT_FALSE(m_panel->btnOK()->isVisible());
  ask([this] { press(Qt::Key_Escape); }, 1, m_untouched);
  ASSERT_TRUE(waitFor([this] { return m_panel->slideAnimation()->state() == QAbstractAnimation::Running; }));
  finishSlide(*m_panel);
  EXPECT_FALSE(m_panel->btnOK()->isVisible());
}

TEST_F(NoticePanel, IsCanceledWhenTheWindowCloses) {
  ask([this] { m_window.close(); }, 1, m_untouched);
}

TEST_F(NoticePanel, IsCanceledWhenThePhoneLeaves) {
  ask([this] { m_panel->cancelQuestion(); }, 1, m_untouched);
}

TEST_F(NoticePanel, IsCanceledWhenItIsDestroyed) {
  Asker asker(*m_panel, {}, m_untouched);
  ASSERT_TRUE(waitUntilShown());
  m_panel.reset();
  ASSERT_TRUE(asker.waitForAnswer());
  EXPECT_EQ(asker.code, 1);
  EXPECT_EQ(asker.result, m_untouched);
}

TEST_F(NoticePanel, IsCanceledWhenTheProgramEnds) {
  ask(
      [] {
        QMetaObject::invokeMethod(
            qApp, [] { QCoreApplication::exit(0); }, Qt::QueuedConnection);
        QCoreApplication::exec();
      },
      1, m_untouched);
  Asker late(*m_panel);
  ASSERT_TRUE(late.waitForAnswer());
  EXPECT_EQ(late.code, 1);
}

TEST_F(NoticePanel, IsCanceledAtOnceInAWindowNobodySees) {
  m_window.hide();
  Asker asker(*m_panel);
  ASSERT_TRUE(asker.waitForAnswer());
  EXPECT_EQ(asker.code, 1);
}

TEST_F(NoticePanel, KeepsItsQuestionWhileTheWindowIsMinimised) {
  ask(
      [this] {
        // What a window system tells of a minimised window.
        QHideEvent hide;
        QSpontaneKeyEvent::setSpontaneous(&hide);
        qApp->notify(m_panel.get(), &hide);
        EXPECT_TRUE(m_panel->isAsking());
        press(Qt::Key_Return, "\r");
      },
      0, false);
}

TEST_F(NoticePanel, TakesTheSecondOfTwoQuickClicksForNoAnswerToTheNextQuestion) {
  ask(
      [this] {
        QTest::mouseClick(m_panel->btnOK(), Qt::LeftButton);
        QTest::mouseClick(m_panel->btnOK(), Qt::LeftButton);
        press(Qt::Key_Return, "\r");
      },
      0, false);
  ask([this] { press(Qt::Key_Escape); }, 1, m_untouched);
}

TEST_F(NoticePanel, LeavesWithItsControlsAlsoWhenItIsAnsweredWhileItComes) {
  bool hasControls = false; // when the last slide began
  QObject::connect(m_panel->slideAnimation(), &QAbstractAnimation::stateChanged, m_panel.get(),
                   [&](QAbstractAnimation::State state) {
                     if (state == QAbstractAnimation::Running)
                       hasControls = m_panel->btnOK()->isVisible();
                   });
  ask(
      [&] {
        EXPECT_FALSE(hasControls); // it came empty-handed: they are shown once it is on its way
        press(Qt::Key_Escape);
      },
      1, m_untouched);
  EXPECT_TRUE(hasControls);
}

TEST_F(NoticePanel, IsFramedInBlackOnTheWindowsColour) {
  m_panel->transitionView(false);
  finishSlide(*m_panel);
  const QImage image = m_panel->grab().toImage();
  const QColor window = m_panel->palette().color(QPalette::Window);
  EXPECT_EQ(image.pixelColor(image.width() / 2, 0), QColor(Qt::black));
  EXPECT_EQ(image.pixelColor(image.width() / 2, image.height() - 1), QColor(Qt::black));
  EXPECT_EQ(image.pixelColor(0, image.height() / 2), QColor(Qt::black));
  EXPECT_EQ(image.pixelColor(image.width() - 1, image.height() / 2), QColor(Qt::black));
  EXPECT_EQ(image.pixelColor(3, 3), window);
}

TEST_F(NoticePanel, SwallowsWhatThePointerDoes) {
  class Below : public QWidget {
  public:
    using QWidget::QWidget;
    int inputs = 0;

  protected:
    bool event(QEvent* event) override {
      inputs += event->type() == QEvent::MouseButtonPress || event->type() == QEvent::Wheel ? 1 : 0;
      return QWidget::event(event);
    }
  } below(nullptr);
  below.resize(600, 490);
  below.show();
  m_panel->setParent(&below);
  m_panel->show();
  m_panel->transitionView(false);
  QTest::mouseClick(m_panel.get(), Qt::LeftButton, {}, QPoint(4, 4));
  QWheelEvent wheel(QPointF(4, 4), QPointF(4, 4), QPoint(0, 10), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(m_panel.get(), &wheel);
  EXPECT_EQ(below.inputs, 0);
  m_panel->setParent(&m_window);
}

TEST_F(NoticePanel, KeepsTheTabKeyAmongItsControls) {
  QLineEdit other(&m_window);
  other.show();
  ask(
      [this] {
        QList<QWidget*> visited;
        for (int i = 0; i < 4; ++i) {
          QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
          visited.append(QApplication::focusWidget());
        }
        EXPECT_EQ(visited, QList<QWidget*>({m_panel->btnCheckbox(), m_panel->btnCancel(), m_panel->btnOK(),
                                            m_panel->btnCheckbox()}));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        EXPECT_EQ(QApplication::focusWidget(), m_panel->btnOK());
        m_panel->btnCancel()->setFocus();
        QTest::keyClick(m_panel->btnCancel(), Qt::Key_Return); // the button that has the keyboard, not OK
      },
      1, m_untouched);
}

TEST_F(NoticePanel, IsADialogWithNamedControlsToAScreenReader) {
  m_panel->transitionView(false);
  QAccessibleInterface* const panel = QAccessible::queryAccessibleInterface(m_panel.get());
  ASSERT_NE(panel, nullptr);
  EXPECT_EQ(panel->role(), QAccessible::Dialog);
  EXPECT_EQ(panel->text(QAccessible::Name), localized("MNU_Delete"));
  EXPECT_EQ(panel->text(QAccessible::Description), localized("MSG_DeleteFile"));
  QAccessibleInterface* const box = QAccessible::queryAccessibleInterface(m_panel->btnCheckbox());
  EXPECT_EQ(box->role(), QAccessible::CheckBox);
  EXPECT_EQ(box->text(QAccessible::Name), localized("MNU_CheckboxText"));
  EXPECT_FALSE(box->state().checked);
  QAccessibleInterface* const ok = QAccessible::queryAccessibleInterface(m_panel->btnOK());
  EXPECT_EQ(ok->role(), QAccessible::Button);
  EXPECT_EQ(ok->text(QAccessible::Name), localized("MNU_Confirm"));
  EXPECT_TRUE(ok->state().focusable);
}
