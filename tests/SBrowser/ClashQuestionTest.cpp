#include "SBrowser/ClashQuestion.h"

#include "MTPCore/CapturedLog.h"
#include "Platform/Workers.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

class ClashQuestionTest : public testing::Test {
protected:
  void SetUp() override {
    window.resize(900, 700);
    window.show();
  }
  void TearDown() override {
    question->close();
    if (!worker.joinable())
      return;
    EXPECT_TRUE(isDone());
    worker.join();
  }
  void ask(const QString& name, bool several) {
    worker = std::thread([this, name, several] {
      answer = question->ask(name, several, [this] { return wanted.load(); });
      done = true;
    });
  }
  QMessageBox* alert() {
    EXPECT_TRUE(QTest::qWaitFor([this] { return question->alert() != nullptr; }, 60'000));
    return question->alert();
  }
  bool isDone() {
    return QTest::qWaitFor([this] { return done.load(); }, 60'000);
  }
  static QAbstractButton* button(const QMessageBox& alert, const char* key) {
    for (QAbstractButton* const button : alert.buttons())
      if (button->text() == VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key)))
        return button;
    return nullptr;
  }

  QWidget window;
  std::shared_ptr<ClashQuestion> question = std::make_shared<ClashQuestion>(window);
  std::optional<ClashAnswer> answer; // the worker's until `done`
  std::atomic<bool> done{false};     // written by the worker
  std::atomic<bool> wanted{true};    // written by the test
  std::thread worker;
};

} // namespace

TEST_F(ClashQuestionTest, WithOneItemTheAnswersAreReplaceAndSkip) {
  ask(QStringLiteral("a.txt"), false);
  ASSERT_NE(alert(), nullptr);
  EXPECT_EQ(alert()->buttons().size(), 2);
  button(*alert(), "MNU_Replace")->click();
  ASSERT_TRUE(isDone());
  EXPECT_EQ(answer, ClashAnswerReplace);
  EXPECT_EQ(question->alert(), nullptr);
}

TEST_F(ClashQuestionTest, WithSeveralItemsReplaceAllIsOfferedAndLogged) {
  CapturedLog log;
  ask(QStringLiteral("a.txt"), true);
  ASSERT_NE(alert(), nullptr);
  EXPECT_EQ(alert()->buttons().size(), 3);
  button(*alert(), "MNU_ReplaceAll")->click();
  ASSERT_TRUE(isDone());
  EXPECT_EQ(answer, ClashAnswerReplaceAll);
  EXPECT_EQ(log.count("Replace All"), 1);
}

TEST_F(ClashQuestionTest, SkipIsOfferedEitherWay) {
  ask(QStringLiteral("a.txt"), true);
  ASSERT_NE(alert(), nullptr);
  button(*alert(), "MNU_Skip")->click();
  ASSERT_TRUE(isDone());
  EXPECT_EQ(answer, ClashAnswerSkip);
}

TEST_F(ClashQuestionTest, ReturnAndEscapeDeleteNothing) {
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
    ask(QStringLiteral("a.txt"), true);
    ASSERT_NE(alert(), nullptr);
    QWidget* const focus = alert()->defaultButton();
    QTest::keyClick(key == Qt::Key_Return && focus != nullptr ? focus : alert(), key);
    ASSERT_TRUE(isDone());
    EXPECT_EQ(answer, ClashAnswerSkip);
    worker.join();
    done = false;
  }
}

TEST_F(ClashQuestionTest, ClosingTheAlertMeansSkip) {
  ask(QStringLiteral("a.txt"), false);
  ASSERT_NE(alert(), nullptr);
  alert()->close();
  ASSERT_TRUE(isDone());
  EXPECT_EQ(answer, ClashAnswerSkip);
}

TEST_F(ClashQuestionTest, TheAlertStandsInTheMiddleOfTheWindow) {
  ask(QStringLiteral("a.txt"), true);
  ASSERT_NE(alert(), nullptr);
  const QPoint apart = alert()->frameGeometry().center() - window.frameGeometry().center();
  EXPECT_LE(qAbs(apart.x()), 1);
  EXPECT_LE(qAbs(apart.y()), 1);
  EXPECT_TRUE(alert()->isModal());
}

TEST_F(ClashQuestionTest, TheMessageQuotesTheName) {
  ask(QStringLiteral("100%1 & <b>bold</b>.txt"), false);
  ASSERT_NE(alert(), nullptr);
  EXPECT_TRUE(alert()->text().contains(QStringLiteral("\"100%1 & <b>bold</b>.txt\"")));
  EXPECT_EQ(alert()->textFormat(), Qt::PlainText);
}

TEST_F(ClashQuestionTest, AnEndlessNameIsShortenedInItsMiddleAndStaysOnOneLine) {
  ask(QString(5000, u'x') + QStringLiteral("\nend.txt"), false);
  ASSERT_NE(alert(), nullptr);
  EXPECT_LT(alert()->text().size(), 200);
  EXPECT_FALSE(alert()->text().contains(u'\n'));
}

TEST_F(ClashQuestionTest, CanceledNobodyHasAnsweredAndTheAlertGoes) {
  ask(QStringLiteral("a.txt"), false);
  ASSERT_NE(alert(), nullptr);
  question->cancel();
  ASSERT_TRUE(isDone());
  EXPECT_EQ(answer, std::nullopt);
  EXPECT_EQ(question->alert(), nullptr);
}

TEST_F(ClashQuestionTest, NotWantedAnyMoreItIsNotAsked) {
  wanted = false;
  ask(QStringLiteral("a.txt"), false);
  ASSERT_TRUE(isDone());
  EXPECT_EQ(answer, std::nullopt);
  EXPECT_EQ(question->alert(), nullptr);
}

TEST_F(ClashQuestionTest, AfterClosingEveryQuestionEndsAtOnce) {
  question->close();
  ask(QStringLiteral("a.txt"), false);
  ASSERT_TRUE(isDone());
  EXPECT_EQ(answer, std::nullopt);
}
