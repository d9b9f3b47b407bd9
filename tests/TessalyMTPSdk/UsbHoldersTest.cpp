#include "TessalyMTPSdk/UsbHolders.h"

#include "EngineFixture.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using mtp::holdersOf;
using mtp::UsbHolder;

namespace {

/// A file, and a program, if wanted, that has it open as its standard input.
class UsbHolders : public testing::Test {
protected:
  UsbHolders() { folder.file("node", 1); }
  ~UsbHolders() override {
    if (process > 0) {
      ::kill(process, SIGTERM);
      ::waitpid(process, nullptr, 0);
    }
  }
  std::string node() const { return std::filesystem::canonical(folder.path() / "node").string(); }
  void startHolder() {
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, node().c_str(), O_RDONLY, 0);
    const char* const command[] = {"sleep", "60", nullptr};
    // On return the program runs: its files are open and its name is its own.
    ASSERT_EQ(::posix_spawnp(&process, command[0], &actions, nullptr, const_cast<char* const*>(command), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
  }

  testsupport::TemporaryFolder folder;
  pid_t process = -1;
};

} // namespace

TEST_F(UsbHolders, ANodeThatNobodyHasOpenHasNone) {
  EXPECT_TRUE(holdersOf(node()).empty());
  EXPECT_TRUE(holdersOf("/dev/bus/usb/999/999").empty());
}

TEST_F(UsbHolders, AnotherProgramIsNamedWithItsProcess) {
  startHolder();
  const std::vector<UsbHolder> holders = holdersOf(node());
  ASSERT_EQ(holders.size(), 1u);
  EXPECT_EQ(holders.front().name, "sleep");
  EXPECT_EQ(holders.front().process, std::to_string(process));
}

TEST_F(UsbHolders, ThisProgramIsNotAmongThem) {
  const int own = ::open(node().c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(own, 0);
  EXPECT_TRUE(holdersOf(node()).empty());
  ::close(own);
}
