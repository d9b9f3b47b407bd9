#include "MTPBrowserApp/PictureTaker.h"

#include "MTPBrowser.h"
#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"
#include "Platform/Log.h"
#include "SBrowser/SBrowserWindowController.h"

#include <QApplication>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

class PictureTakerTest : public testing::Test {
protected:
  std::unique_ptr<MTPBrowser> browser() {
    const auto device = m_sdk->addDevice(0x1A, QStringLiteral("M"));
    m_sdk->addFolder(m_sdk->addStorage(device, 0x00010001, QStringLiteral("Phone")), QStringLiteral("DCIM"));
    return std::make_unique<MTPBrowser>(
        [this] {
          SBrowserDependencies dependencies = SBrowserDependencies::ofProgram();
          dependencies.createAccessObject = [this] { return std::make_shared<MTPDextSDKWrapper>(m_sdk); };
          return std::make_unique<SBrowserWindowController>(std::move(dependencies));
        },
        [] {});
  }
  // Runs the main loop until the picture taker ends it; the guard only keeps a broken test from running for ever.
  static int runLoop() {
    QTimer guard;
    guard.callOnTimeout([] { QCoreApplication::exit(99); });
    guard.start(20000);
    return QApplication::exec();
  }

  QTemporaryDir m_folder;
  std::shared_ptr<FakeMtpSdk> m_sdk = std::make_shared<FakeMtpSdk>();
};

TEST_F(PictureTakerTest, SavesTheWindowOnceTheFirstFolderIsShownAndEndsWithZero) {
  const QString file = m_folder.filePath(QStringLiteral("window.png"));
  const auto shown = browser();
  const PictureTaker taker(file, shown.get());
  shown->showWindow();
  shown->connectDevice(QStringLiteral("1A"));
  EXPECT_EQ(runLoop(), 0);
  const QImage picture(file);
  EXPECT_GT(picture.width(), 300);
  EXPECT_GT(picture.height(), 200);
}

TEST_F(PictureTakerTest, APlaceThatCannotBeWrittenEndsWithOneAndALogLine) {
  QString logged;
  platform::setLogSink([&](const QString& line) { logged += line; });
  const auto shown = browser();
  const PictureTaker taker(QStringLiteral("/proc/nowhere/window.png"), shown.get());
  shown->showWindow();
  shown->connectDevice(QStringLiteral("1A"));
  EXPECT_EQ(runLoop(), 1);
  platform::setLogSink({});
  EXPECT_TRUE(logged.contains(QStringLiteral("the picture cannot be written")));
}

} // namespace
