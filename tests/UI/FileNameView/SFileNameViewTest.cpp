#include "UI/FileNameView/SFileNameView.h"

#include "UI/Controls/SGhostView.h"
#include "UI/PanelFixture.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

using testsupport::Asker;

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
}

class NamePanel : public testsupport::PanelWindow {
protected:
  void SetUp() override {
    PanelWindow::SetUp();
    m_panel = std::make_unique<SFileNameView>(&m_window);
    m_panel->show();
  }
  QLineEdit& field() { return *m_panel->txtNewName(); }
  bool waitUntilShown() {
    return waitFor([this] { return m_panel->isAsking() && m_panel->isReachable(); });
  }
  /// Has a question (about `item`, or a new folder) asked and answered by `answer`.
  void ask(const QVariant& item, const std::function<void()>& answer, int code, const QVariant& result) {
    Asker asker(*m_panel, item, QStringLiteral("before"));
    ASSERT_TRUE(waitUntilShown());
    answer();
    ASSERT_TRUE(asker.waitForAnswer());
    EXPECT_EQ(asker.code, code);
    EXPECT_EQ(asker.result, result);
  }
  void escape() { QTest::keyClick(&field(), Qt::Key_Escape); }

  std::unique_ptr<SFileNameView> m_panel;
};

} // namespace

TEST_F(NamePanel, RefusesADotAndAnythingThatStartsWithOneWhileTyping) {
  ask(
      {},
      [this] {
        QTest::keyClicks(&field(), "..Trips");
        EXPECT_EQ(field().text(), "Trips");
        field().setCursorPosition(0);
        QTest::keyClick(&field(), '.');
        EXPECT_EQ(field().text(), "Trips");
        escape();
      },
      1, QVariant());
}

TEST_F(NamePanel, RefusesThe99thCharacterWhileTyping) {
  ask(
      {},
      [this] {
        QTest::keyClicks(&field(), QString(99, 'x'));
        EXPECT_EQ(field().text(), QString(98, 'x'));
        QTest::keyClick(&field(), Qt::Key_Return);
      },
      0, QString(98, 'x'));
}

TEST_F(NamePanel, RefusesTheNineForbiddenCharactersWhileTypingAndPasting) {
  ask(
      {},
      [this] {
        QTest::keyClicks(&field(), "a/b*c\"d:e?f\\g|h<i>j");
        EXPECT_EQ(field().text(), "abcdefghij");
        QGuiApplication::clipboard()->setText("x/y");
        field().paste();
        EXPECT_EQ(field().text(), "abcdefghij");
        escape();
      },
      1, QVariant());
}

TEST_F(NamePanel, AllowsAnEmptyFieldWhileTypingOnWhichReturnDoesNothing) {
  ask(
      {},
      [this] {
        QTest::keyClicks(&field(), "a");
        QTest::keyClick(&field(), Qt::Key_Backspace);
        EXPECT_EQ(field().text(), "");
        QTest::keyClick(&field(), Qt::Key_Return);
        EXPECT_TRUE(m_panel->isAsking());
        escape();
      },
      1, QVariant());
}

TEST_F(NamePanel, ReturnsZeroWithAnEmptyStringOnOKOnAnEmptyField) {
  Asker asker(*m_panel, {}, QStringLiteral("before"));
  ASSERT_TRUE(waitUntilShown());
  QTest::mouseClick(m_panel->btnOK(), Qt::LeftButton);
  ASSERT_TRUE(asker.waitForAnswer());
  EXPECT_EQ(asker.code, 0);
  EXPECT_EQ(asker.result.typeId(), QMetaType::QString);
  EXPECT_EQ(asker.result.toString(), "");
}

TEST_F(NamePanel, ReturnsTheNameOnReturnAndOnKeypadEnter) {
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter})
    ask(
        {},
        [this, key] {
          QTest::keyClicks(&field(), "Trips");
          QTest::keyClick(&field(), key);
        },
        0, QStringLiteral("Trips"));
}

TEST_F(NamePanel, ReturnsOneAndNoNameOnEscapeAndOnCancel) {
  ask(
      QStringLiteral("Old"), [this] { escape(); }, 1, QVariant());
  ask(
      QStringLiteral("Old"), [this] { QTest::mouseClick(m_panel->btnCancel(), Qt::LeftButton); }, 1, QVariant());
}

TEST_F(NamePanel, OffersNothingForANewFolder) {
  ask(
      {},
      [this] {
        EXPECT_EQ(m_panel->lbDescription()->text(), localized("MNU_AddNewFolder"));
        EXPECT_EQ(field().text(), "");
        EXPECT_TRUE(field().hasFocus());
        EXPECT_EQ(m_panel->btnOK()->text(), localized("MNU_Confirm"));
        EXPECT_EQ(m_panel->btnCancel()->text(), localized("FUS_MNU_Cancel"));
        escape();
      },
      1, QVariant());
}

TEST_F(NamePanel, OffersTheItemsNameWithTheCursorAtItsEnd) {
  ask(
      QStringLiteral("Holiday.jpg"),
      [this] {
        EXPECT_EQ(m_panel->lbDescription()->text(), localized("MNU_EditName"));
        EXPECT_EQ(field().text(), "Holiday.jpg");
        EXPECT_TRUE(field().hasFocus());
        EXPECT_FALSE(field().hasSelectedText());
        EXPECT_EQ(field().cursorPosition(), 11);
        QTest::keyClick(&field(), Qt::Key_Return);
      },
      0, QStringLiteral("Holiday.jpg"));
}

TEST_F(NamePanel, RefusesEditsThatLeaveAHiddenItemsNameInvalid) {
  ask(
      QStringLiteral(".cache"),
      [this] {
        QTest::keyClicks(&field(), "xy");
        EXPECT_EQ(field().text(), ".cache");
        EXPECT_EQ(field().cursorPosition(), 6);
        QTest::keyClick(&field(), Qt::Key_Home);
        QTest::keyClick(&field(), Qt::Key_Delete);
        EXPECT_EQ(field().text(), "cache");
        QTest::keyClick(&field(), Qt::Key_Return);
      },
      0, QStringLiteral("cache"));
}

TEST_F(NamePanel, ShowsNamesOfAnyContentOnOneLine) {
  const QStringList names{QString(10'000, 'x'), QStringLiteral("two\nlines"), QString(QChar(0xD800)),
                          QStringLiteral("a\u202Egpj.exe"), QStringLiteral("👩‍👩‍👧.png")};
  const int height = m_panel->height();
  for (const QString& name : names)
    ask(
        name,
        [&] {
          m_panel->grab();
          EXPECT_EQ(m_panel->height(), height);
          QTest::keyClick(&field(), Qt::Key_Return);
        },
        0, name);
}

TEST_F(NamePanel, AnswersEachQuestionAfreshWhateverTheOneBefore) {
  ask(
      {},
      [this] {
        QTest::keyClicks(&field(), "First");
        QTest::keyClick(&field(), Qt::Key_Return);
        QTest::keyClick(&field(), Qt::Key_Return); // too much: no question is open any more
      },
      0, QStringLiteral("First"));
  ask(
      {}, [this] { escape(); }, 1, QVariant());
}

TEST_F(NamePanel, TakesAKeyStillHeldDownForNoAnswer) {
  ask(
      QStringLiteral("Old"),
      [this] {
        QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", true);
        QCoreApplication::sendEvent(&field(), &held);
        EXPECT_TRUE(m_panel->isAsking());
        escape();
      },
      1, QVariant());
}

TEST_F(NamePanel, HandlesReturnAndEscapeAndNoOtherCommand) {
  using Command = SFileNameView::Command;
  EXPECT_TRUE(m_panel->doCommandBySelector(Command::InsertNewline));
  EXPECT_TRUE(m_panel->doCommandBySelector(Command::CancelOperation));
  EXPECT_FALSE(m_panel->doCommandBySelector(Command::Other));
}

TEST_F(NamePanel, SlidesDownByItsHeightAndUpFromOneHeightBelow) {
  const int height = m_panel->height();
  ASSERT_EQ(m_panel->y(), -height);
  m_panel->animationShowViewWithInfos({});
  EXPECT_EQ(m_panel->slideAnimation()->duration(), 150);
  EXPECT_EQ(m_panel->y(), -height);
  finishSlide(*m_panel);
  EXPECT_EQ(m_panel->y(), 0);
  m_panel->animationHiddenView();
  EXPECT_EQ(m_panel->y(), height);
  finishSlide(*m_panel);
  EXPECT_EQ(m_panel->y(), -height);
}

TEST_F(NamePanel, KeepsItsPlaceThroughQuestionsAnsweredWhileItStillSlides) {
  for (int i = 0; i < 3; ++i)
    ask(
        QStringLiteral("Old"), [this] { escape(); }, 1, QVariant());
  finishSlide(*m_panel);
  EXPECT_EQ(m_panel->y(), -m_panel->height());
  EXPECT_FALSE(field().isVisible());
}

TEST_F(NamePanel, KeepsTheKeyboardWhenTheCoverIsClicked) {
  SGhostView ghost(&m_window);
  ghost.setGeometry(m_window.rect());
  ghost.show();
  ghost.raise();
  ghost.setFocus();
  ask(
      {},
      [&] {
        QTest::mouseClick(&ghost, Qt::LeftButton, {}, QPoint(5, 480));
        EXPECT_TRUE(field().hasFocus());
        QTest::keyClicks(QApplication::focusWidget(), "Trips");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
      },
      0, QStringLiteral("Trips"));
}

TEST_F(NamePanel, KeepsTheTabKeyAmongItsControls) {
  QLineEdit other(&m_window);
  other.show();
  ask(
      {},
      [this] {
        QList<QWidget*> visited;
        for (int i = 0; i < 3; ++i) {
          QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
          visited.append(QApplication::focusWidget());
        }
        EXPECT_EQ(visited, QList<QWidget*>({m_panel->btnCancel(), m_panel->btnOK(), &field()}));
        m_panel->btnCancel()->setFocus();
        QTest::keyClick(m_panel->btnCancel(), Qt::Key_Escape);
      },
      1, QVariant());
}

TEST_F(NamePanel, IsCanceledWhenTheWindowCloses) {
  ask(
      QStringLiteral("Old"), [this] { m_window.close(); }, 1, QVariant());
}

TEST_F(NamePanel, IsCanceledWhenThePhoneLeaves) {
  ask(
      QStringLiteral("Old"), [this] { m_panel->cancelQuestion(); }, 1, QVariant());
}

TEST_F(NamePanel, IsCanceledWhenItIsDestroyed) {
  Asker asker(*m_panel, QStringLiteral("Old"), QStringLiteral("before"));
  ASSERT_TRUE(waitUntilShown());
  m_panel.reset();
  ASSERT_TRUE(asker.waitForAnswer());
  EXPECT_EQ(asker.code, 1);
  EXPECT_FALSE(asker.result.isValid());
}

TEST_F(NamePanel, IsADialogWithANamedFieldToAScreenReader) {
  m_panel->animationShowViewWithInfos(QStringLiteral("Old"));
  QAccessibleInterface* const panel = QAccessible::queryAccessibleInterface(m_panel.get());
  EXPECT_EQ(panel->role(), QAccessible::Dialog);
  EXPECT_EQ(panel->text(QAccessible::Name), localized("MNU_EditName"));
  QAccessibleInterface* const text = QAccessible::queryAccessibleInterface(&field());
  EXPECT_EQ(text->role(), QAccessible::EditableText);
  EXPECT_EQ(text->text(QAccessible::Name), localized("MNU_EditName"));
  EXPECT_EQ(text->text(QAccessible::Value), "Old");
  EXPECT_TRUE(text->state().focused);
}
