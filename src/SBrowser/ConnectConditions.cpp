#include "SBrowser/ConnectConditions.h"

#include "Platform/MainThread.h"
#include "UI/Common/DisplayText.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <utility>

namespace {

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
}

/// The name of another program, in a script of its own, within a sentence of either direction.
QString isolated(const QString& name) {
  return QChar(0x2068) + ui::singleLineText(name) + QChar(0x2069);
}

} // namespace

QString ConnectConditions::text(const ConnectCondition& condition) {
  switch (condition.kind) {
  case ConnectCondition::Kind::NoStorages:
    break;
  case ConnectCondition::Kind::NoPermission:
    return localized("MSG_PhoneNoPermission");
  case ConnectCondition::Kind::InUse:
    if (condition.holder.isEmpty())
      return localized("MSG_PhoneInUse");
    return localized("MSG_PhoneInUseBy").arg(isolated(condition.holder));
  case ConnectCondition::Kind::PictureTransfer:
    return localized("MSG_PhonePictureTransfer");
  case ConnectCondition::Kind::NotAnswering:
    return localized("MSG_PhoneNotAnswering");
  }
  return localized("MSG_PhoneLocked");
}

void ConnectConditions::hold(const ConnectCondition& condition, std::function<void()> tryAgain) {
  platform::assertMainThread();
  const bool hurries = condition.kind != ConnectCondition::Kind::NotAnswering && ++m_attempts <= kQuickAttempts;
  m_timer = m_timers.oneShot(hurries ? kPause : kLongPause, std::move(tryAgain));
}

void ConnectConditions::end() {
  platform::assertMainThread();
  m_timer.reset();
  m_attempts = 0;
}
