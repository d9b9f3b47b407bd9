#pragma once
// A D-Bus of a test's own.
#include <QString>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testsupport {

// Started without QProcess, whose child shares this program's memory until it is another
// program: ThreadSanitizer loses track of the thread then. Ends by itself should the test not come to ending it.
class PrivateBus {
public:
  PrivateBus() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const char* const command[] = {"timeout",  "120",         "dbus-daemon",       "--session",
                                   "--nofork", "--nopidfile", "--print-address=1", nullptr};
    EXPECT_EQ(::posix_spawnp(&m_process, command[0], &actions, nullptr, const_cast<char* const*>(command), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    char c = 0;
    while (::read(ends[0], &c, 1) == 1 && c != '\n')
      m_address += QLatin1Char(c);
    ::close(ends[0]);
    EXPECT_FALSE(m_address.isEmpty()) << "dbus-daemon is needed";
  }
  ~PrivateBus() { stop(); }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  const QString& address() const { return m_address; }
  void stop() {
    if (m_process > 0) {
      ::kill(m_process, SIGTERM);
      ::waitpid(m_process, nullptr, 0);
    }
    m_process = -1;
  }

private:
  pid_t m_process = -1;
  QString m_address;
};

} // namespace testsupport
