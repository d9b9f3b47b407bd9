#pragma once
// The access object of systems whose phone driver is the older one.
#include "MTPCore/MTPDextSDKWrapper.h"

/// MTPDextSDKWrapper over the legacy library: the same operations, records, rules, statuses and threads. The library is
/// not prepared before its devices are listed, and log lines carry this class's and the legacy operations' names; the
/// line numbers in them count in MTPDextSDKWrapper.cpp, where the work of both is done.
class MTPSDKWrapper : public MTPDextSDKWrapper {
public:
  /// init Not bound, not detached. `sdk` is the legacy library (CorvMtpSdk), or a test's.
  explicit MTPSDKWrapper(std::shared_ptr<MtpSdk> sdk, ComputerSide computer = ComputerSide::ofProgram());
};
