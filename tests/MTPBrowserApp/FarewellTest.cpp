// Ending the program in the middle of a transfer, with the real window, engine and a phone on a wire in memory.
#include "MTPBrowserApp/Farewell.h"

#include "Platform/MainThread.h"
#include "support/WindowOnVirtualPhone.h"

#include <QMimeData>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

class Farewell : public testing::Test, protected testsupport::WindowOnVirtualPhone {
protected:
  void SetUp() override {
    write(onPhone, QStringLiteral("note.txt"), {});
    showPhone(1);
  }
  void TearDown() override {
    controller.reset();
    platform::refuseWaiting(false);
    platform::resumeWorkers();
  }
  std::uint64_t asked(std::uint16_t operation) const {
    const auto operations = phone->statistics().operations;
    const auto found = operations.find(operation);
    return found != operations.end() ? found->second : 0;
  }
};

} // namespace

TEST_F(Farewell, AnUploadUnderWayLeavesNothingOnThePhoneAndTheSessionEndsInOrder) {
  QFile source(computer.filePath(QStringLiteral("film.mp4")));
  ASSERT_TRUE(source.open(QIODevice::WriteOnly));
  ASSERT_TRUE(source.resize(64 << 20));
  source.close();
  stopInMidFile(kSendObject);
  QMimeData info;
  info.setUrls({QUrl::fromLocalFile(source.fileName())});
  controller->acceptDrop(info, nullptr, -1);
  ASSERT_TRUE(QTest::qWaitFor(
      [this] { return QFileInfo(onPhone.filePath(QStringLiteral("film.mp4"))).size() >= 1 << 19; }, kPatience));

  controller->closeAllWindows();
  bool detached = false;
  EXPECT_TRUE(endWork([&] {
    detached = true;
    EXPECT_EQ(platform::runningWorkers(), 0) << "the transfer is over before the phone is let go";
    EXPECT_FALSE(QFile::exists(onPhone.filePath(QStringLiteral("film.mp4"))));
    EXPECT_EQ(asked(kCloseSession), 0u);
  }));
  EXPECT_TRUE(detached);
  EXPECT_EQ(QDir(onPhone.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
            QStringList(QStringLiteral("note.txt")));
  EXPECT_EQ(asked(kCloseSession), 1u) << "the next program finds a phone that listens";
  EXPECT_FALSE(platform::startWorker("late", [] {}));
}
