#pragma once
// The program itself, in a process of its own.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace testsupport {

constexpr int kPatience = 60'000; // ms, for a machine under load

inline QByteArray contentsOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// This process's environment with these variables, "NAME=value", instead of their namesakes; "NAME" takes one away.
class Environment {
public:
  explicit Environment(const std::vector<std::string>& own) {
    const auto overruled = [&](const std::string& text, std::size_t from) {
      const std::string name = text.substr(0, text.find('='));
      return std::any_of(own.begin() + std::ptrdiff_t(from), own.end(),
                         [&](const std::string& one) { return one.substr(0, one.find('=')) == name; });
    };
    for (char** entry = environ; *entry != nullptr; ++entry)
      if (!overruled(*entry, 0))
        m_texts.emplace_back(*entry);
    for (std::size_t i = 0; i < own.size(); ++i)
      if (own[i].find('=') != std::string::npos && !overruled(own[i], i + 1))
        m_texts.push_back(own[i]);
    for (std::string& text : m_texts)
      m_pointers.push_back(text.data());
    m_pointers.push_back(nullptr);
  }
  char** get() { return m_pointers.data(); }

private:
  std::vector<std::string> m_texts;
  std::vector<char*> m_pointers;
};

/// Started without QProcess, see PrivateBus. Ends with this object.
class Process {
public:
  Process() = default;
  ~Process() { stop(); }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// `errors`: the file that standard error goes to, emptied first; null leaves it.
  void start(std::vector<std::string> command, const std::vector<std::string>& environment,
             const QString& errors = {}) {
    std::vector<char*> arguments;
    for (std::string& argument : command)
      arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const QByteArray file = QFile::encodeName(errors);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    if (!errors.isNull())
      ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, file.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    EXPECT_EQ(
        ::posix_spawnp(&m_process, arguments[0], &actions, nullptr, arguments.data(), Environment(environment).get()),
        0);
    ::posix_spawn_file_actions_destroy(&actions);
  }
  /// How it ended, as waitpid() tells it.
  int wait() {
    int status = -1;
    if (m_process > 0)
      ::waitpid(m_process, &status, 0);
    m_process = -1;
    return status;
  }
  void stop() {
    if (m_process > 0)
      ::kill(m_process, SIGTERM);
    wait();
  }

private:
  pid_t m_process = -1;
};

/// MTPBrowser with a home and no phone of its own. Ends by itself should the test not come to ending it.
class Program {
public:
  /// `environment`: more variables, stronger than those of the program's home.
  void start(const std::vector<std::string>& environment) {
    const std::string folder = home.path().toStdString();
    std::vector<std::string> all{"HOME=" + folder, "XDG_CONFIG_HOME=" + folder + "/.config",
                                 "XDG_DATA_HOME=" + folder + "/.data", "QT_QPA_PLATFORM=offscreen",
                                 "MTPBROWSER_VIRTUAL_PHONE=never"};
    all.insert(all.end(), environment.begin(), environment.end());
    m_process.start({"timeout", "120", MTPB_PROGRAM}, all, errors());
  }
  void stop() { m_process.stop(); }
  int wait() { return m_process.wait(); }
  /// A user default of the next run.
  void set(const QByteArray& line) {
    ASSERT_TRUE(QDir(home.path()).mkpath(QStringLiteral(".config/MTPBrowser")));
    QFile file(home.filePath(QStringLiteral(".config/MTPBrowser/MTPBrowser.conf")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[General]\n" + line + "\n");
  }
  /// What it has written to standard error.
  QByteArray printed() const { return contentsOf(errors()); }

  const QTemporaryDir home;

private:
  QString errors() const { return home.filePath(QStringLiteral("stderr")); }
  Process m_process;
};

} // namespace testsupport
