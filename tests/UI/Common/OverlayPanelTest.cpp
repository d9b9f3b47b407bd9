#include "UI/PanelFixture.h"

#include <QLineEdit>
#include <QShortcut>
#include <QSignalSpy>

#include <memory>

namespace {

class Panel : public ui::OverlayPanel {
public:
  using OverlayPanel::OverlayPanel;
  void transition(bool hidden) { slideFromHere(hidden); }
  int finished = 0;

protected:
  void slideFinished() override { ++finished; }
};

class PanelInWindow : public testsupport::PanelWindow {
protected:
  void SetUp() override {
    PanelWindow::SetUp();
    m_panel = std::make_unique<Panel>(&m_window);
    m_panel->resize(ui::OverlayPanel::kWidth, 100);
    m_panel->move(m_panel->x(), -100);
    m_panel->show();
  }
  QColor pixelBelow() { return m_window.grab().toImage().pixelColor(300, m_panel->geometry().bottom() + 2); }

  std::unique_ptr<Panel> m_panel;
};

} // namespace

TEST_F(PanelInWindow, KeepsItselfCentredInItsParent) {
  EXPECT_EQ(m_panel->x(), (600 - 420) / 2);
  m_window.resize(800, 490);
  QCoreApplication::processEvents();
  EXPECT_EQ(m_panel->x(), (800 - 420) / 2);
}

TEST_F(PanelInWindow, CastsAShadowWhileItIsInSightOnly) {
  const QColor plain = m_window.grab().toImage().pixelColor(300, 400);
  m_panel->move(m_panel->x(), 0);
  EXPECT_LT(pixelBelow().lightness(), plain.lightness());
  m_panel->move(m_panel->x(), -100);
  EXPECT_EQ(m_window.grab().toImage().pixelColor(300, 2), plain);
  m_panel->move(m_panel->x(), 0);
  m_panel->hide();
  EXPECT_EQ(pixelBelow(), plain);
}

TEST(PanelInAWindowToCome, HiddenBeforeTheWindowIsShownCastsNoShadow) {
  QWidget window;
  Panel panel(&window);
  panel.hide();
  window.show();
  for (const QWidget* const child : window.findChildren<QWidget*>())
    EXPECT_FALSE(child->isVisible()) << child->metaObject()->className();
  panel.show();
  EXPECT_TRUE(panel.isVisible());
}

TEST_F(PanelInWindow, TakesItsShadowAlongWhenItGoes) {
  const auto children = m_window.children().size();
  m_panel.reset();
  EXPECT_EQ(m_window.children().size(), children - 2);
}

TEST_F(PanelInWindow, FinishesASlideBeforeTheNextOneBegins) {
  m_panel->transition(false);
  m_panel->slideAnimation()->setCurrentTime(40);
  m_panel->transition(true);
  EXPECT_EQ(m_panel->finished, 1);
  EXPECT_EQ(m_panel->y(), 100);
  finishSlide(*m_panel);
  EXPECT_EQ(m_panel->y(), -100);
  EXPECT_EQ(m_panel->finished, 2);
}

TEST_F(PanelInWindow, RunsNoTimerWhenItDoesNotSlide) {
  m_panel->transition(false);
  finishSlide(*m_panel);
  EXPECT_EQ(m_panel->slideAnimation()->state(), QAbstractAnimation::Stopped);
}

TEST_F(PanelInWindow, KeepsPlainKeysFromTheWindowsShortcuts) {
  QShortcut remove(QKeySequence(Qt::Key_Delete), &m_window);
  QShortcut quit(QKeySequence(Qt::CTRL | Qt::Key_Q), &m_window);
  QSignalSpy removed(&remove, &QShortcut::activated);
  QSignalSpy left(&quit, &QShortcut::activated);
  m_panel->setFocus();
  QTest::keyClick(m_panel.get(), Qt::Key_Delete);
  QTest::keyClick(m_panel.get(), Qt::Key_Q, Qt::ControlModifier);
  EXPECT_EQ(removed.size(), 0);
  EXPECT_EQ(left.size(), 1);
}

TEST_F(PanelInWindow, LivesOnWithoutAParentAndWithAnother) {
  QWidget other;
  other.resize(1000, 400);
  m_panel->setParent(nullptr);
  m_panel->transition(false);
  finishSlide(*m_panel);
  m_panel->setParent(&other);
  EXPECT_EQ(m_panel->x(), (1000 - 420) / 2);
  m_panel->setParent(&m_window);
}
