#include "UI/Common/LayoutDirection.h"

#include "Platform/UserDefaults.h"

#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class LayoutDirection : public testing::Test {
protected:
  void SetUp() override { platform::userDefaults::useFile(m_folder.filePath("defaults.conf")); }
  void TearDown() override {
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
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  platform::userDefaults::setValue("RTLLayout", false);
  EXPECT_FALSE(ui::isRTLLayout());
}

TEST_F(LayoutDirection, IsTheLanguagesWhereTheUserDefaultIsNotSet) {
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
  EXPECT_FALSE(ui::isRTLLayout());
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  EXPECT_TRUE(ui::isRTLLayout());
}
