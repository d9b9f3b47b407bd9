#pragma once
// What the detection tests share: posted notifications and log lines written down.
#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/NotificationCenter.h"
#include "Platform/ThreadSafety.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QVariantMap>

#include <algorithm>
#include <memory>
#include <vector>

/// A notification as it was seen.
struct Posted {
  QString name;
  QVariantMap userInfo;
  bool hasUserInfo = false;
  bool onMainThread = false;

  int type() const { return userInfo.value(QStringLiteral("EventType"), -1000).toInt(); }
  QString text(const char* key) const { return userInfo.value(QLatin1String(key)).toString(); }
  bool isDetach() const { return name == QLatin1String("BTVORN_NOTI_DEVICE_DETTACH"); }
};

/// Writes down both notifications of the detection. Any thread posts, the main thread reads.
class PostedNotifications {
public:
  PostedNotifications() {
    for (const char* name : {"BTVORN_NOTI_DEVICE_NOTIFIER", "BTVORN_NOTI_DEVICE_DETTACH"})
      m_observations.push_back(platform::NotificationCenter::defaultCenter().observe(
          QLatin1String(name), [this](const platform::Notification& notification) {
            const platform::Lock lock(m_mutex);
            m_posted.push_back(
                {notification.name, notification.userInfo, notification.hasUserInfo, platform::isMainThread()});
          }));
  }
  std::vector<Posted> all() const {
    const platform::Lock lock(m_mutex);
    return m_posted;
  }
  std::vector<Posted> take() {
    const platform::Lock lock(m_mutex);
    return std::exchange(m_posted, {});
  }
  std::vector<int> types() const {
    std::vector<int> result;
    for (const Posted& posted : all())
      if (!posted.isDetach())
        result.push_back(posted.type());
    return result;
  }

private:
  mutable platform::Mutex m_mutex;
  std::vector<Posted> m_posted MTPB_GUARDED_BY(m_mutex);
  std::vector<std::unique_ptr<platform::NotificationObservation>> m_observations;
};

/// Takes the log lines off standard error and keeps them, without the "[file:function-(line)] " in front.
class LogLines {
public:
  LogLines() {
    platform::setLogSink([this](const QString& line) {
      const platform::Lock lock(m_mutex);
      const qsizetype end = line.startsWith(u'[') ? line.indexOf(QLatin1String(")] ")) : -1;
      m_lines.push_back({end < 0 ? line : line.mid(end + 3), end < 0});
    });
  }
  ~LogLines() { platform::setLogSink({}); }

  // A list of its own, not a shared one: the writers go on.
  QStringList lines() const {
    const platform::Lock lock(m_mutex);
    QStringList result;
    for (const Line& line : m_lines)
      result.append(line.text);
    return result;
  }
  int count(const QString& text) const {
    const platform::Lock lock(m_mutex);
    return int(std::count_if(m_lines.begin(), m_lines.end(), [&](const Line& line) { return line.text == text; }));
  }
  bool has(const QString& text) const { return count(text) > 0; }
  /// Whether the line was written without the prefix.
  bool isPlain(const QString& text) const {
    const platform::Lock lock(m_mutex);
    return std::any_of(m_lines.begin(), m_lines.end(),
                       [&](const Line& line) { return line.plain && line.text == text; });
  }
  QStringList containing(const QString& part) const { return lines().filter(part); }
  void clear() {
    const platform::Lock lock(m_mutex);
    m_lines.clear();
  }

private:
  struct Line {
    QString text;
    bool plain;
  };
  mutable platform::Mutex m_mutex;
  std::vector<Line> m_lines MTPB_GUARDED_BY(m_mutex);
};

/// Handles the main thread's events until `condition` holds; false when it does not within a time that only a broken
/// program needs.
template <class Condition> bool eventually(Condition condition) {
  QElapsedTimer time;
  time.start();
  while (!condition() && time.elapsed() < 20'000)
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  return condition();
}

/// Delivers what is on the main queue now.
inline void drainMainQueue() {
  QCoreApplication::processEvents();
}
