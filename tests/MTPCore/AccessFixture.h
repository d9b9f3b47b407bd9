#pragma once
// A wrapper bound to a scripted phone, for the tests of changes and transfers.
#include "MTPCore/CapturedLog.h"
#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <vector>

// A phone "M" with an empty storage "Phone" and a storage "Card": DCIM/{Camera/{x.jpg}, a.jpg}, Music/, readme.txt.
class AccessFixture : public testing::Test {
protected:
  using Operation = FakeMtpSdk::Operation;
  using Handle = FakeMtpSdk::Handle;

  void SetUp() override {
    computer.linkFolder = folder.filePath("links");
    computer.setDownloadMark = [this](const QString& file, const QByteArray& originUrl) {
      marks.emplace_back(file, originUrl);
      return markError;
    };
    computer.endProcess = [this](int exitStatus) { exitStatuses.push_back(exitStatus); };
    wrapper = std::make_unique<MTPDextSDKWrapper>(sdk, computer);
    wrapper->setLocationID("14200000", "/M/Card");
    _MTP_FOLDER_NODE* node = nullptr;
    wrapper->initializeNodeInfo(nullptr, &cardNode, &node);
    ASSERT_EQ(cardNode, sdk->storageNode(card));
    deviceNode = wrapper->getCurrentDeviceNode();
    head = wrapper->getStorageHeadNode();
    sdk->setContent(aJpg, "picture a");
    sdk->setContent(xJpg, "picture x");
    sdk->setContent(readme, "read me");
  }

  QString write(const QString& path, const QByteArray& content) {
    const QString full = folder.filePath(path);
    QDir().mkpath(full.left(full.lastIndexOf(u'/')));
    QFile file(full);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(content), content.size());
    return full;
  }
  static QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
  }
  QString idOf(Handle handle) { return MTPDextSDKWrapper::nodeIDOf(sdk->commonNode(handle)); }

  QTemporaryDir folder;
  const std::shared_ptr<FakeMtpSdk> sdk = std::make_shared<FakeMtpSdk>();
  const Handle device = sdk->addDevice(0x14200000, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  const Handle card = sdk->addStorage(device, 0x00020001, "Card");
  const Handle dcim = sdk->addFolder(card, "DCIM");
  const Handle camera = sdk->addFolder(dcim, "Camera");
  const Handle xJpg = sdk->addFile(camera, "x.jpg");
  const Handle aJpg = sdk->addFile(dcim, "a.jpg");
  const Handle music = sdk->addFolder(card, "Music");
  const Handle readme = sdk->addFile(card, "readme.txt");

  ComputerSide computer;
  int markError = 0;
  std::vector<std::pair<QString, QByteArray>> marks;
  std::vector<int> exitStatuses;
  std::unique_ptr<MTPDextSDKWrapper> wrapper;
  CapturedLog log;
  _MTP_DEVICE_NODE* deviceNode = nullptr;
  _MTP_STORAGE_NODE* cardNode = nullptr;
  _MTP_STORAGE_NODE* head = nullptr;
  std::uint32_t error = 0xDEAD;
};
