#include "Platform/Volumes.h"

#include "support/LogCapture.h"
#include "support/ScriptedVolumes.h"

#include <gmock/gmock.h>

#include <cerrno>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class DiskSessionTest : public testing::Test {
protected:
  DiskSessionTest() {
    m_session.registerDiskAppearedCallback([this](const Disk& disk) { m_told.push_back("+" + disk.bsdName); });
    m_session.registerDiskDisappearedCallback([this](const Disk& disk) { m_told.push_back("-" + disk.bsdName); });
  }
  std::vector<QByteArray> told() {
    m_loop->runFor(std::chrono::milliseconds(0));
    return std::exchange(m_told, {});
  }
  void insert(const char* name) { m_volumes->insert(scripted::Volumes::disk(name), {}); }
  void remove(const char* name) { m_volumes->remove(scripted::Volumes::disk(name)); }

  std::shared_ptr<scripted::Volumes> m_volumes = std::make_shared<scripted::Volumes>();
  std::shared_ptr<RunLoop> m_loop = std::make_shared<RunLoop>();
  std::vector<QByteArray> m_told;
  DiskSession m_session{m_volumes, std::chrono::milliseconds(0)}; // asks again in the next pass
};

TEST_F(DiskSessionTest, DisksThatAreThereAppearFromTheRunLoop) {
  insert("sda");
  insert("sda1");
  EXPECT_EQ(m_session.schedule(m_loop), 0);
  EXPECT_THAT(m_told, IsEmpty());
  EXPECT_THAT(told(), ElementsAre("+sda", "+sda1"));
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(DiskSessionTest, ADiskComesAndGoesOnceHoweverOftenItIsToldOf) {
  m_session.schedule(m_loop);
  insert("sdb");
  m_volumes->change(scripted::Volumes::disk("sdb"));
  EXPECT_THAT(told(), ElementsAre("+sdb"));
  m_volumes->change(scripted::Volumes::disk("sdb"));
  EXPECT_THAT(told(), IsEmpty());
  remove("sdb");
  remove("sdb");
  EXPECT_THAT(told(), ElementsAre("-sdb"));
}

TEST_F(DiskSessionTest, ADiskThatNeverAppearedDoesNotDisappear) {
  m_session.schedule(m_loop);
  remove("sdb");
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(DiskSessionTest, ANewAttachmentOfTheSameNameIsAnotherDisk) {
  m_session.schedule(m_loop);
  insert("sdb");
  EXPECT_THAT(told(), ElementsAre("+sdb"));
  m_volumes->remove(scripted::Volumes::disk("sdb"));
  m_volumes->insert({"sdb", QStringLiteral("/sys/another")}, {});
  m_volumes->loseChanges();
  EXPECT_THAT(told(), ElementsAre("-sdb", "+sdb"));
}

TEST_F(DiskSessionTest, LostChangesAreMadeUpForByReadingTheListAnew) {
  insert("sda");
  insert("sdb");
  m_session.schedule(m_loop);
  EXPECT_THAT(told(), ElementsAre("+sda", "+sdb"));
  remove("sda");
  insert("sdc");
  m_volumes->loseChanges();
  EXPECT_THAT(told(), ElementsAre("-sda", "+sdc"));
}

TEST_F(DiskSessionTest, NothingIsToldAfterItIsUnscheduledOrItsCallbacksAreTaken) {
  m_session.schedule(m_loop);
  insert("sda");
  m_session.unregisterCallbacks();
  EXPECT_THAT(told(), IsEmpty());
  m_session.unschedule();
  EXPECT_EQ(m_volumes->monitors(), 0);
  insert("sdb");
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(DiskSessionTest, UnscheduledBeforeTheFirstPassListsNothing) {
  insert("sda");
  m_session.schedule(m_loop);
  m_session.unschedule();
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(DiskSessionTest, DisksThatCannotBeWatchedAreAnError) {
  m_volumes->failWith(0, EPERM, 0);
  EXPECT_EQ(m_session.schedule(m_loop), EPERM);
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(DiskSessionTest, AListThatCannotBeReadTakesNoDiskAway) {
  const testsupport::LogCapture log;
  insert("sda");
  m_session.schedule(m_loop);
  EXPECT_THAT(told(), ElementsAre("+sda"));
  m_volumes->failWith(EIO, 0, 0);
  m_volumes->loseChanges();
  EXPECT_THAT(told(), IsEmpty());
  EXPECT_THAT(told(), IsEmpty());
  EXPECT_EQ(log.count(QStringLiteral("disks cannot be listed: Input/output error")), 1); // not each time
}

TEST_F(DiskSessionTest, AListThatCannotBeReadIsAskedForAgainUntilItCan) {
  insert("sda");
  m_volumes->failWith(EIO, 0, 0);
  m_session.schedule(m_loop);
  EXPECT_THAT(told(), IsEmpty());
  EXPECT_THAT(told(), IsEmpty());
  m_volumes->failWith(0, 0, 0);
  EXPECT_THAT(told(), ElementsAre("+sda"));
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(DiskSessionTest, UnscheduledWhileItIsToAskAgainListsNothing) {
  insert("sda");
  m_volumes->failWith(EIO, 0, 0);
  m_session.schedule(m_loop);
  EXPECT_THAT(told(), IsEmpty());
  m_session.unschedule();
  m_volumes->failWith(0, 0, 0);
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(DiskSessionTest, AnotherMediumInTheSameDriveIsAnotherDisk) {
  Disk disk = scripted::Volumes::disk("sdb");
  disk.medium = "one";
  m_session.schedule(m_loop);
  m_volumes->insert(disk, {});
  m_volumes->change(disk);
  EXPECT_THAT(told(), ElementsAre("+sdb"));
  disk.medium = "two";
  m_volumes->change(disk);
  m_volumes->change(disk);
  EXPECT_THAT(told(), ElementsAre("-sdb", "+sdb"));
  m_volumes->remove(disk);
  EXPECT_THAT(told(), ElementsAre("-sdb"));
}

} // namespace
