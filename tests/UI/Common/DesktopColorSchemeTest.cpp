#include "UI/Common/DesktopColorScheme.h"

#include "UI/Common/Images.h"
#include "support/LogCapture.h"
#include "support/PrivateBus.h"

#include <QApplication>
#include <QDBusContext>
#include <QDBusMessage>
#include <QLabel>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace {

constexpr int kLimit = 10'000; // ms

/// The desktop's portal with the one setting.
class Portal : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
  QVariant value = 0U;

public Q_SLOTS:
  QDBusVariant Read(const QString& group, const QString& key) {
    EXPECT_EQ(group, "org.freedesktop.appearance");
    EXPECT_EQ(key, "color-scheme");
    return QDBusVariant(QVariant::fromValue(QDBusVariant(value)));
  }

Q_SIGNALS:
  void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);
};

class ColorScheme : public testing::Test {
protected:
  void SetUp() override {
    m_own.emplace(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("own")));
    m_desktop.emplace(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("desktop")));
    ASSERT_TRUE(m_own->isConnected() && m_desktop->isConnected());
    ASSERT_FALSE(ui::isDarkPalette(QApplication::palette()));
  }
  void TearDown() override {
    ui::DesktopColorScheme::setDark(false);
    QDBusConnection::disconnectFromBus(QStringLiteral("own"));
    QDBusConnection::disconnectFromBus(QStringLiteral("desktop"));
  }
  void startPortal(const QVariant& value) {
    m_portal.value = value;
    ASSERT_TRUE(m_desktop->registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &m_portal,
                                          QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
    ASSERT_TRUE(m_desktop->registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
  }
  /// Follows the portal; returns when it has told its setting.
  void follow() {
    m_scheme = std::make_unique<ui::DesktopColorScheme>(*m_own);
    m_told = std::make_unique<QSignalSpy>(m_scheme.get(), &ui::DesktopColorScheme::preferenceTold);
    ASSERT_TRUE(m_told->wait(kLimit));
  }
  void change(const QVariant& value, const QString& key = QStringLiteral("color-scheme")) {
    Q_EMIT m_portal.SettingChanged(QStringLiteral("org.freedesktop.appearance"), key, QDBusVariant(value));
  }
  static bool isDark() { return ui::isDarkPalette(QApplication::palette()); }

  testsupport::PrivateBus m_bus;
  std::optional<QDBusConnection> m_own;
  std::optional<QDBusConnection> m_desktop;
  Portal m_portal;
  std::unique_ptr<ui::DesktopColorScheme> m_scheme;
  std::unique_ptr<QSignalSpy> m_told;
};

} // namespace

TEST_F(ColorScheme, IsDarkFromTheStartWhereTheDesktopIs) {
  startPortal(1U);
  follow();
  EXPECT_TRUE(isDark());
  EXPECT_EQ(ui::namedColor("ItemText"), ui::namedColor("ItemText", ui::DesktopColorScheme::darkPalette()));
}

TEST_F(ColorScheme, FollowsTheDesktopWhileRunning) {
  startPortal(0U);
  follow();
  EXPECT_FALSE(isDark());
  QLabel label;
  const QColor light = ui::namedColor("ViewBackground", label.palette());
  change(1U);
  ASSERT_TRUE(m_told->wait(kLimit));
  EXPECT_TRUE(isDark());
  EXPECT_TRUE(QTest::qWaitFor([&] { return ui::namedColor("ViewBackground", label.palette()) != light; }, kLimit));
  change(2U);
  ASSERT_TRUE(m_told->wait(kLimit));
  EXPECT_FALSE(isDark());
  EXPECT_TRUE(QTest::qWaitFor([&] { return ui::namedColor("ViewBackground", label.palette()) == light; }, kLimit));
}

TEST_F(ColorScheme, LeavesAPaletteThatIsDarkAlreadyAlone) {
  QPalette own = ui::DesktopColorScheme::darkPalette();
  own.setColor(QPalette::Highlight, Qt::magenta);
  QApplication::setPalette(own);
  startPortal(1U);
  follow();
  EXPECT_EQ(QApplication::palette().color(QPalette::Highlight), QColor(Qt::magenta));
  change(0U);
  ASSERT_TRUE(m_told->wait(kLimit));
  EXPECT_TRUE(isDark());
}

TEST_F(ColorScheme, TakesWhatIsNoNumberForNoPreference) {
  startPortal(QStringLiteral("dark"));
  follow();
  EXPECT_FALSE(isDark());
  change(QStringList{"a", "b"});
  ASSERT_TRUE(m_told->wait(kLimit));
  change(99U);
  ASSERT_TRUE(m_told->wait(kLimit));
  EXPECT_FALSE(isDark());
}

TEST_F(ColorScheme, IgnoresOtherSettings) {
  startPortal(0U);
  follow();
  m_told->clear();
  change(1U, QStringLiteral("accent-color"));
  change(2U); // comes after it
  ASSERT_TRUE(m_told->wait(kLimit));
  EXPECT_EQ(m_told->size(), 1);
  EXPECT_FALSE(isDark());
}

TEST_F(ColorScheme, StaysAsItIsWithoutAPortal) {
  const testsupport::LogCapture log;
  ui::DesktopColorScheme scheme(*m_own);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !log.lines().isEmpty(); }, kLimit));
  EXPECT_TRUE(log.lines().first().contains("no colour scheme from the desktop"));
  EXPECT_FALSE(isDark());
}

TEST_F(ColorScheme, StaysAsItIsWithoutABus) {
  const ui::DesktopColorScheme scheme(QDBusConnection(QStringLiteral("no such bus")));
  EXPECT_FALSE(isDark());
}

TEST(DarkPalette, IsReadable) {
  const QPalette palette = ui::DesktopColorScheme::darkPalette();
  for (const auto& [text, ground] :
       {std::pair(QPalette::WindowText, QPalette::Window), std::pair(QPalette::Text, QPalette::Base),
        std::pair(QPalette::ButtonText, QPalette::Button), std::pair(QPalette::HighlightedText, QPalette::Highlight)})
    EXPECT_GT(palette.color(text).lightness() - palette.color(ground).lightness(), 100);
}

TEST(DarkColors, LiftMenusOffWhatTheyLieOn) {
  QMenu menu;
  ui::DesktopColorScheme::setDark(true);
  const QColor around = QApplication::palette().color(QPalette::Base);
  EXPECT_GT(menu.palette().color(QPalette::Base).lightness(), around.lightness() + 15);
  EXPECT_GT(ui::contrast(menu.palette().color(QPalette::Text), menu.palette().color(QPalette::Base)), 7);
  ui::DesktopColorScheme::setDark(false);
  EXPECT_EQ(menu.palette().color(QPalette::Base), QApplication::palette().color(QPalette::Base));
}

#include "DesktopColorSchemeTest.moc"
