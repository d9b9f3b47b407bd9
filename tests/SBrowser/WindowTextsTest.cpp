// In every language: what the window says, whether it stands whole, and the direction it runs in.
#include "SBrowser/WindowLayout.h"

#include "Platform/UserDefaults.h"
#include "SBrowser/NavigationButton.h"
#include "UI/Controls/SOutlineView.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Languages.h"
#include "support/TextFit.h"

#include <QLineEdit>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QToolBar>

#include <gtest/gtest.h>

namespace {

QString shown(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

/// The window as it opens, in one language.
class WindowInALanguage : public testing::TestWithParam<const char*> {
protected:
  void SetUp() override {
    platform::userDefaults::useFile(m_folder.filePath(QStringLiteral("defaults.conf")));
    VornLocalStringDefine::loadTables({QString::fromLatin1(GetParam())});
  }
  void TearDown() override {
    VornLocalStringDefine::loadTables({QStringLiteral("en")});
    platform::userDefaults::useFile({});
  }

private:
  QTemporaryDir m_folder;
};

} // namespace

TEST_P(WindowInALanguage, WelcomesWithThreeWholeLines) {
  WindowLayout layout(platform::Timers::mainThread());
  layout.showWelcome(shown("MSG_WelcomToVBX2"));
  layout.window()->show();
  ASSERT_TRUE(layout.welcomeTfield->isVisible());
  EXPECT_EQ(testsupport::cutOffTexts(*layout.window()), QStringList());
  EXPECT_TRUE(testsupport::fitsLines(layout.welcomeTfield->text(), layout.welcomeTfield->font(),
                                     layout.welcomeTfield->width(), 3));
}

TEST_P(WindowInALanguage, CutsNothingOffInTheToolbar) {
  WindowLayout layout(platform::Timers::mainThread());
  layout.showBrowser(QStringLiteral("Phone"));
  layout.window()->show();
  ASSERT_TRUE(layout.toolbar->isVisible());
  EXPECT_EQ(testsupport::cutOffTexts(*layout.toolbar), QStringList());
}

TEST_P(WindowInALanguage, NamesItsPartsInThatLanguage) {
  WindowLayout layout(platform::Timers::mainThread());
  EXPECT_EQ(layout.btn_Previous->accessibleName(), shown("accessible_back"));
  EXPECT_EQ(layout.btn_Previous->toolTip(), shown("accessible_back"));
  EXPECT_EQ(layout.btn_Next->accessibleName(), shown("accessible_next"));
  EXPECT_EQ(layout.btn_AddNewFolder->accessibleName(), shown("MNU_AddNewFolder"));
  EXPECT_EQ(layout.toolbar->accessibleName(), shown("accessible_toolbar"));
  EXPECT_EQ(layout.paths->accessibleName(), shown("accessible_path"));
  EXPECT_EQ(layout.outlineView->accessibleName(), shown("accessible_files"));
}

TEST_P(WindowInALanguage, RunsInTheLanguagesDirectionUnlessTheUserSaysOtherwise) {
  const std::string language = GetParam();
  const Qt::LayoutDirection own = language == "ar" || language == "he" ? Qt::RightToLeft : Qt::LeftToRight;
  EXPECT_EQ(WindowLayout(platform::Timers::mainThread()).window()->layoutDirection(), own);
  platform::userDefaults::setValue(QStringLiteral("RTLLayout"), own == Qt::LeftToRight);
  WindowLayout other(platform::Timers::mainThread());
  EXPECT_NE(other.window()->layoutDirection(), own);
  EXPECT_NE(other.outlineView->layoutDirection(), own);
  EXPECT_NE(other.toolbar->layoutDirection(), own);
  EXPECT_TRUE(other.paths->alignment().testFlag(own == Qt::LeftToRight ? Qt::AlignRight : Qt::AlignLeft));
}

INSTANTIATE_TEST_SUITE_P(Language, WindowInALanguage, testing::ValuesIn(testsupport::kLanguages),
                         testsupport::languageName);
