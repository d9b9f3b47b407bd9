#include "UI/ProgressView/SProgressView.h"

#include "UI/Common/ElidedLabel.h"
#include "UI/Common/Images.h"
#include "UI/Controls/SMTPButton.h"
#include "UI/PanelFixture.h"
#include "UI/ProgressView/SProgressViewIndicator.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>

#include <limits>

namespace {

class Owner : public QObject, public SProgressViewDelegate {
public:
  void onProgressActionCanceled(SProgressView* view) override {
    ++cancels;
    from = view;
  }
  int cancels = 0;
  SProgressView* from = nullptr;
};

class ProgressPanel : public testsupport::PanelWindow {
protected:
  void SetUp() override {
    PanelWindow::SetUp();
    m_panel.setOwnerDelegate(&m_owner);
    m_panel.show();
  }
  QString status() const { return m_panel.lbProgressStatus()->text(); }
  int percentage() const { return m_panel.progressIndicator()->percentage(); }

  Owner m_owner;
  SProgressView m_panel{&m_window};
};

constexpr quint64 kLargest = std::numeric_limits<quint64>::max();

} // namespace

TEST_F(ProgressPanel, StaysAsItIsAtZeroOfZeroBytes) {
  m_panel.setProgressInfo(50, 200);
  m_panel.setProgressInfo(0, 0);
  EXPECT_EQ(status(), "50Byte/200Byte");
  EXPECT_EQ(percentage(), 25);
}

TEST_F(ProgressPanel, Shows25PercentAt50Of200Bytes) {
  m_panel.setProgressInfo(50, 200);
  EXPECT_EQ(percentage(), 25);
  EXPECT_EQ(status(), "50Byte/200Byte");
}

TEST_F(ProgressPanel, ShowsLargerCountsWithTheirUnits) {
  m_panel.setProgressInfo(1572864, 3145728);
  EXPECT_EQ(status(), "1.50MB/3.00MB");
  EXPECT_EQ(percentage(), 50);
}

TEST_F(ProgressPanel, CutsPercentagesOff) {
  m_panel.setProgressInfo(1999, 2000);
  EXPECT_EQ(percentage(), 99);
  m_panel.setProgressInfo(2000, 2000);
  EXPECT_EQ(percentage(), 100);
}

TEST_F(ProgressPanel, StaysSensibleForCountsOfAnySize) {
  m_panel.setProgressInfo(kLargest, kLargest);
  EXPECT_EQ(percentage(), 100);
  EXPECT_EQ(status(), "16.00EB/16.00EB");
  m_panel.setProgressInfo(kLargest / 2, kLargest);
  EXPECT_EQ(percentage(), 50);
  m_panel.setProgressInfo(kLargest, 1);
  EXPECT_EQ(percentage(), 100);
  m_panel.setProgressInfo(1, kLargest);
  EXPECT_EQ(percentage(), 0);
}

TEST_F(ProgressPanel, IsResetToGettingReady) {
  m_panel.setFileStatus("3/12 Copying photo.jpg");
  m_panel.setProgressInfo(50, 200);
  const QPoint place = m_panel.pos();
  m_panel.animationHidden(false, {});
  EXPECT_EQ(m_panel.lbFileName()->text(), "");
  EXPECT_EQ(status(), VornLocalStringDefine::QX_LocalizedStringWithKey("MNU_PrepareToSomething"));
  EXPECT_EQ(percentage(), 0);
  EXPECT_EQ(m_panel.pos(), place);
  EXPECT_EQ(m_panel.slideAnimation()->state(), QAbstractAnimation::Stopped);
}

TEST_F(ProgressPanel, TellsItsOwnerOfACancel) {
  QTest::mouseClick(m_panel.btnCancel(), Qt::LeftButton);
  EXPECT_EQ(m_owner.cancels, 1);
  EXPECT_EQ(m_owner.from, &m_panel);
}

TEST_F(ProgressPanel, TellsNobodyWithoutAnOwner) {
  m_panel.setOwnerDelegate(nullptr);
  m_panel.btnCancel_Clicked(nullptr);
  QObject stranger;
  m_panel.setOwnerDelegate(&stranger);
  m_panel.btnCancel_Clicked(nullptr);
  {
    Owner gone;
    m_panel.setOwnerDelegate(&gone);
  }
  m_panel.btnCancel_Clicked(nullptr);
  EXPECT_EQ(m_owner.cancels, 0);
}

TEST_F(ProgressPanel, CancelsByKeyboardAlone) {
  EXPECT_TRUE(m_panel.hasFocus());
  QTest::keyClick(&m_panel, Qt::Key_Return);
  QTest::keyClick(&m_panel, Qt::Key_Space);
  EXPECT_EQ(m_owner.cancels, 0) << "a key meant for something else ended the transfer";
  QTest::keyClick(&m_panel, Qt::Key_Escape);
  EXPECT_EQ(m_owner.cancels, 1);
  QTest::keyClick(&m_panel, Qt::Key_Tab);
  EXPECT_EQ(QApplication::focusWidget(), m_panel.btnCancel());
  QTest::keyClick(m_panel.btnCancel(), Qt::Key_Space);
  EXPECT_EQ(m_owner.cancels, 2);
}

TEST_F(ProgressPanel, AsksNothing) {
  QVariant result = 7;
  EXPECT_EQ(m_panel.runViewModalWithParam({}, &result), 1);
  EXPECT_EQ(result, 7);
}

TEST_F(ProgressPanel, ShowsAFileLineOfAnyContentOnOneLineCutOffAtItsEnd) {
  auto* const line = static_cast<ui::ElidedLabel*>(m_panel.lbFileName());
  const QSize size = m_panel.size();
  const QStringList names{QString(10'000, 'x'), QStringLiteral("two\nlines"), QString(QChar(0xDC00)), QString(),
                          QStringLiteral("a\u202Egpj.exe")};
  for (const QString& name : names) {
    m_panel.setFileStatus(name);
    m_panel.grab();
    EXPECT_EQ(m_panel.size(), size);
    EXPECT_FALSE(line->shownText().contains('\n'));
    EXPECT_FALSE(line->shownText().contains(QChar(0x202E)));
    EXPECT_LE(line->fontMetrics().horizontalAdvance(line->shownText()), line->width());
  }
  m_panel.setFileStatus(QString(10'000, 'x'));
  EXPECT_TRUE(line->shownText().endsWith(QChar(0x2026)));
  EXPECT_TRUE(line->shownText().startsWith("xxx"));
}

TEST_F(ProgressPanel, SlidesDownByItsHeightAndUpFromOneHeightBelow) {
  const int height = m_panel.height();
  m_panel.move(m_panel.x(), -height);
  m_panel.transitionView(false);
  EXPECT_EQ(m_panel.y(), -height);
  finishSlide(m_panel);
  EXPECT_EQ(m_panel.y(), 0);
  m_panel.transitionView(true);
  EXPECT_EQ(m_panel.y(), height);
  finishSlide(m_panel);
  EXPECT_EQ(m_panel.y(), -height);
  EXPECT_TRUE(m_panel.btnCancel()->isVisible());
}

TEST_F(ProgressPanel, IsFramedInBlackOnTheViewBackground) {
  const QImage image = m_panel.grab().toImage();
  EXPECT_EQ(image.pixelColor(image.width() / 2, 0), QColor(Qt::black));
  EXPECT_EQ(image.pixelColor(image.width() / 2, image.height() - 1), QColor(Qt::black));
  EXPECT_EQ(image.pixelColor(3, 3), ui::namedColor("ViewBackground", m_panel.palette()));
}

TEST_F(ProgressPanel, IsADialogWithANamedButtonAndBarToAScreenReader) {
  QAccessibleInterface* const panel = QAccessible::queryAccessibleInterface(&m_panel);
  EXPECT_EQ(panel->role(), QAccessible::Dialog);
  const auto localized = [](const char* key) {
    return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
  };
  EXPECT_EQ(panel->text(QAccessible::Name), localized("accessible_progress_panel"));
  QAccessibleInterface* const cancel = QAccessible::queryAccessibleInterface(m_panel.btnCancel());
  EXPECT_EQ(cancel->role(), QAccessible::Button);
  EXPECT_EQ(cancel->text(QAccessible::Name), localized("accessible_cancel_transfer"));
  ASSERT_NE(cancel->actionInterface(), nullptr);
  cancel->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_TRUE(waitFor([this] { return m_owner.cancels == 1; }));
  EXPECT_EQ(QAccessible::queryAccessibleInterface(m_panel.progressIndicator())->text(QAccessible::Name),
            localized("accessible_progress_bar"));
}
