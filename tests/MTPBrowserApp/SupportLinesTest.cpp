#include "MTPBrowserApp/SupportLines.h"

#include "TessalyMTPSdk/Engine.h"
#include "TessalyMTPSdk/TessalyMTPSdk.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class SupportLines : public testing::Test {
protected:
  SupportLines() {
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    mtp::setUsbEnabled(false);
  }
  ~SupportLines() override {
    mtp::shutdown();
    mtp::setUsbEnabled(true);
    mtp::setLog({});
  }
};

} // namespace

TEST_F(SupportLines, TellTheVersionsOfTheProgramOfQtAndOfTheKernel) {
  const QString first = supportLines().value(0);
  EXPECT_TRUE(first.startsWith(QStringLiteral("MTPBrowser "))) << qPrintable(first);
  EXPECT_TRUE(first.contains(QStringLiteral("Qt ") + QString::fromLatin1(qVersion()))) << qPrintable(first);
  EXPECT_TRUE(first.contains(QSysInfo::kernelVersion())) << qPrintable(first);
  EXPECT_EQ(supportLines().mid(1), QStringList(QStringLiteral("no phone is open")));
}

TEST_F(SupportLines, TellAnOpenPhonesModelAndVersionButNeitherItsOwnerNorItsSerialNumber) {
  const QTemporaryDir folder;
  vphone::Options options;
  options.model = "SM-X";
  options.manufacturer = "Acme";
  options.version = "4.2";
  options.serial = "SECRET123";
  options.friendlyName = "Pat";
  options.storages = {{.folder = folder.path().toStdString(), .description = "Phone"}};
  vphone::VirtualPhone phone(options);
  phone.plug();
  mtp::addProvider(phone.provider());
  _MTP_DEVICE_NODE* head = nullptr;
  ASSERT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0u);
  const QString text = supportLines().mid(1).join(u'\n');
  EXPECT_TRUE(text.contains(QStringLiteral("model \"SM-X\" of \"Acme\", version \"4.2\""))) << qPrintable(text);
  EXPECT_FALSE(text.contains(QStringLiteral("SECRET123")));
  EXPECT_FALSE(text.contains(QStringLiteral("Pat")));
  mtp::shutdown(); // before the phone goes
}
