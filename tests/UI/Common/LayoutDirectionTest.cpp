#include "UI/Common/LayoutDirection.h"

#include "Platform/UserDefaults.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QGuiApplication>
#include <QMenu>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class LayoutDirection : public testing::Test {
protected:
  void SetUp() override {
    platform::userDefaults::useFile(m_folder.filePath("defaults.conf"));
    VornLocalStringDefine::loadTables({QStringLiteral("en")});
  }
  void TearDown() override {
    VornLocalStringDefine::loadTables({QStringLiteral("en")});
    QGuiApplication::setLayoutDirection(Qt::LayoutDirectionAuto);
    platform::userDefaults::useFile({});
  }

private:
  QTemporaryDir m_folder;
};

} // namespace

TEST_F(LayoutDirection, IsWhatTheUserDefaultSays) {
  platform::userDefaults::setValue("RTLLayout", true);
  EXPECT_TRUE(ui::isRTLLayout());
  platform::userDefaults::setValue("RTLLayout", false);
  EXPECT_FALSE(ui::isRTLLayout());
}

TEST_F(LayoutDirection, TheUserDefaultWinsOverTheLanguage) {
  VornLocalStringDefine::loadTables({QStringLiteral("ar")});
  platform::userDefaults::setValue("RTLLayout", false);
  EXPECT_FALSE(ui::isRTLLayout());
  VornLocalStringDefine::loadTables({QStringLiteral("de")});
  platform::userDefaults::setValue("RTLLayout", true);
  EXPECT_TRUE(ui::isRTLLayout());
}

TEST_F(LayoutDirection, IsTheLanguagesWhereTheUserDefaultIsNotSet) {
  for (const QString& language : VornLocalStringDefine::languages()) {
    VornLocalStringDefine::loadTables({language});
    EXPECT_EQ(ui::isRTLLayout(), language == u"ar" || language == u"he") << qPrintable(language);
  }
}

TEST_F(LayoutDirection, DoesNotFollowWhatQtGuesses) {
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  EXPECT_FALSE(ui::isRTLLayout());
}

TEST_F(LayoutDirection, AppliedReachesEveryWidgetOfTheApplication) {
  VornLocalStringDefine::loadTables({QStringLiteral("he")});
  ui::applyLayoutDirection();
  EXPECT_EQ(QGuiApplication::layoutDirection(), Qt::RightToLeft);
  EXPECT_EQ(QMenu().layoutDirection(), Qt::RightToLeft);
  platform::userDefaults::setValue("RTLLayout", false);
  ui::applyLayoutDirection();
  EXPECT_EQ(QMenu().layoutDirection(), Qt::LeftToRight);
}
