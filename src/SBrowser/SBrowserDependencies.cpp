#include "SBrowser/SBrowserDependencies.h"

#include "MTPCore/CorvMtpSdk.h"
#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/MTPSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/SuspendInhibitor.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <thread>

SBrowserDependencies SBrowserDependencies::ofProgram() {
  SBrowserDependencies dependencies;
  dependencies.createAccessObject = [] {
    if (!MTPSDKUtil::macOS11AndLater())
      return std::shared_ptr<MTPDextSDKWrapper>(std::make_shared<MTPSDKWrapper>(std::make_shared<CorvMtpSdk>()));
    return std::make_shared<MTPDextSDKWrapper>(std::make_shared<TessalyMtpSdk>());
  };
  // Why it is paused is said where it is asked for: the phone is given time between two attempts, a panel to close, the
  // engine a moment before it is stopped. A worker waits there, never the main thread; tests give a sleep that does
  // not.
  dependencies.sleep = [](std::chrono::milliseconds pause) { std::this_thread::sleep_for(pause); };
  dependencies.inhibitSuspend = [] {
    return std::make_shared<platform::SuspendInhibitor>(
        VornLocalStringDefine::QX_LocalizedStringWithKey(QStringLiteral("MSG_SuspendReason")));
  };
  return dependencies;
}
