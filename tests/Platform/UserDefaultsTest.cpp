#include "Platform/UserDefaults.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace defaults = platform::userDefaults;

namespace {

class UserDefaults : public testing::Test {
protected:
  void SetUp() override { defaults::useFile(m_folder.filePath(QStringLiteral("d.conf"))); }
  void TearDown() override { defaults::useFile(QString()); }
  void write(const QByteArray& text) {
    QFile file(m_folder.filePath(QStringLiteral("d.conf")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
    file.close();
    defaults::useFile(file.fileName());
  }
  QTemporaryDir m_folder;
};

} // namespace

TEST_F(UserDefaults, AnAbsentKeyIsNothingAndFalse) {
  EXPECT_FALSE(defaults::value(QStringLiteral("START_CAPTURE")));
  EXPECT_FALSE(defaults::boolForKey(QStringLiteral("START_CAPTURE")));
  EXPECT_EQ(defaults::stringForKey(QStringLiteral("START_CAPTURE")), QString());
}

TEST_F(UserDefaults, AStoredValueIsSeenAtOnceAndGoneWhenRemoved) {
  defaults::setValue(QStringLiteral("RTLLayout"), true);
  EXPECT_TRUE(defaults::boolForKey(QStringLiteral("RTLLayout")));
  defaults::setValue(QStringLiteral("RTLLayout"), false);
  EXPECT_FALSE(defaults::boolForKey(QStringLiteral("RTLLayout")));
  EXPECT_TRUE(defaults::value(QStringLiteral("RTLLayout")));
  defaults::remove(QStringLiteral("RTLLayout"));
  EXPECT_FALSE(defaults::value(QStringLiteral("RTLLayout")));
}

TEST_F(UserDefaults, AreOnDiskAfterSynchronize) {
  defaults::setValue(QStringLiteral("BTUI_Delet_Window_Close"), true);
  defaults::synchronize();
  QFile file(m_folder.filePath(QStringLiteral("d.conf")));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_TRUE(file.readAll().contains("BTUI_Delet_Window_Close=true"));
}

TEST_F(UserDefaults, TrueMayBeWrittenByHandInSeveralWays) {
  write("[General]\na=true\nb=TRUE\nc=1\nd=Yes\ne=no\nf=0\ng=\nh=2\n");
  for (const char* key : {"a", "b", "c", "d"})
    EXPECT_TRUE(defaults::boolForKey(QLatin1String(key))) << key;
  for (const char* key : {"e", "f", "g", "h"})
    EXPECT_FALSE(defaults::boolForKey(QLatin1String(key))) << key;
}

TEST_F(UserDefaults, AHandWrittenTextWithACommaStaysOneText) {
  write("[General]\nfolder=/home/u/a,b\n");
  EXPECT_EQ(defaults::stringForKey(QStringLiteral("folder")), QStringLiteral("/home/u/a,b"));
}

TEST_F(UserDefaults, ADamagedFileReadsAsAbsent) {
  write(QByteArray("\x00\xff[[[[\n=====\n%%%", 17));
  EXPECT_FALSE(defaults::boolForKey(QStringLiteral("START_CAPTURE")));
}

TEST_F(UserDefaults, ManyThreadsMayReadAndWriteAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([i] {
      for (int round = 0; round < 100; ++round) {
        defaults::setValue(QStringLiteral("key%1").arg(i), round);
        EXPECT_EQ(defaults::value(QStringLiteral("key%1").arg(i))->toInt(), round);
      }
    });
  for (std::thread& thread : threads)
    thread.join();
}
