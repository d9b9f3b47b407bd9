#pragma once
// A window with a panel in it, and a thread that asks the panel's question.
#include "UI/Common/QuestionPanel.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QTest>
#include <QVariantAnimation>
#include <QWidget>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace testsupport {

constexpr int kLimit = 10'000; // ms

/// Asks on a thread of its own. Its end waits for the answer, so that a question without one fails by the time limit.
class Asker {
public:
  explicit Asker(ui::QuestionPanel& view, const QVariant& param = {}, const QVariant& before = {})
      : result(before)
      , m_view(&view)
      , m_thread([this, &view, param] {
        code = view.runViewModalWithParam(param, &result);
        m_isAnswered = true;
      }) {}
  ~Asker() {
    if (!waitForAnswer()) {
      ADD_FAILURE() << "the asker never got an answer";
      if (m_view != nullptr)
        m_view->cancelQuestion();
      waitForAnswer();
    }
    m_thread.join();
  }
  Asker(const Asker&) = delete;
  Asker& operator=(const Asker&) = delete;

  bool isAnswered() const { return m_isAnswered; }
  bool waitForAnswer() {
    return QTest::qWaitFor([this] { return m_isAnswered.load(); }, kLimit);
  }

  int code = -1;
  QVariant result;

private:
  QPointer<ui::QuestionPanel> m_view;
  std::atomic<bool> m_isAnswered{false}; // written by the asking thread, read by the test
  std::thread m_thread;
};

/// A visible window whose content view is 490 high, as the notice panel's top line wants it.
class PanelWindow : public testing::Test {
protected:
  void SetUp() override {
    m_window.resize(600, 490);
    m_window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window));
  }
  static void finishSlide(ui::OverlayPanel& panel) {
    panel.slideAnimation()->setCurrentTime(ui::OverlayPanel::kSlideTime);
    ASSERT_EQ(panel.slideAnimation()->state(), QAbstractAnimation::Stopped);
  }
  /// Lets the main thread do what others have asked of it.
  static bool waitFor(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, kLimit); }

  QWidget m_window;
};

} // namespace testsupport
