// The program where something that it would like to have is missing: it starts and shows its phone all the same.
#include "MTPBrowserApp/ProgramProcess.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class ApplicationStart : public testing::Test {
protected:
  // The virtual phone's first folder comes to be shown; the program then ends by itself.
  void showsItsPhone(std::vector<std::string> environment) {
    const QString picture = m_folder.filePath(QStringLiteral("picture.png"));
    environment.insert(environment.end(), {"MTPBROWSER_VIRTUAL_PHONE=always",
                                           "MTPBROWSER_VIRTUAL_PHONE_FOLDER=" + m_folder.path().toStdString(),
                                           "MTPBROWSER_PICTURE=" + picture.toStdString()});
    m_program.start(environment);
    EXPECT_EQ(m_program.wait(), 0) << m_program.printed().constData();
    EXPECT_TRUE(QFile::exists(picture)) << m_program.printed().constData();
  }
  bool printed(const char* text) const { return m_program.printed().contains(text); }

  const QTemporaryDir m_folder;
  testsupport::Program m_program;
};

TEST_F(ApplicationStart, WithoutASessionBusItSaysThatCommandsDoNotArrive) {
  showsItsPhone({"DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR", "DISPLAY"});
  EXPECT_TRUE(printed("no session bus, notifications of other programs are not received"));
}

TEST_F(ApplicationStart, WithoutASystemBusItWorks) {
  showsItsPhone({"DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nowhere", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere"});
}

TEST_F(ApplicationStart, WithoutAHomeInTheEnvironmentItWorks) {
  showsItsPhone({"HOME", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere"});
}

TEST_F(ApplicationStart, InAHomeThatCannotBeWrittenItSaysWhyThereIsNoCaptureLog) {
  m_program.set("START_CAPTURE=true");
  showsItsPhone({"HOME=/proc/self", "XDG_DATA_HOME=/proc/self", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere"});
  EXPECT_TRUE(printed("Error: The folder \"/proc/self/Tessaly/Larkspur/AppDatas/Log\" could not be created."));
  EXPECT_TRUE(printed("mtpCapture.log cannot be opened, nothing will be logged: No such file or directory"));
}

TEST_F(ApplicationStart, UserDefaultsThatCannotBeReadOrWrittenAreNone) {
  showsItsPhone({"XDG_CONFIG_HOME=/proc/self", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere"});
}

} // namespace
