#include "Platform/HomeFolder.h"

#include <QByteArray>

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

namespace {

class HomeFolder : public testing::Test {
protected:
  ~HomeFolder() override { m_before.isNull() ? qunsetenv("HOME") : qputenv("HOME", m_before); }

  static QByteArray completed() {
    platform::completeHomeFolder();
    return qgetenv("HOME");
  }
  const QByteArray m_before = qgetenv("HOME");
};

TEST_F(HomeFolder, TheEnvironmentsIsKept) {
  qputenv("HOME", "/somewhere/else");
  EXPECT_EQ(completed(), "/somewhere/else");
}

TEST_F(HomeFolder, WhereTheEnvironmentHasNoneItIsTheAccounts) {
  const passwd* const account = ::getpwuid(::getuid());
  if (account == nullptr)
    GTEST_SKIP() << "this user has no account";
  qunsetenv("HOME");
  EXPECT_EQ(completed(), account->pw_dir);
  qputenv("HOME", "");
  EXPECT_EQ(completed(), account->pw_dir);
}

} // namespace
