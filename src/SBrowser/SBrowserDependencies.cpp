#include "SBrowser/SBrowserDependencies.h"

#include "MTPCore/CorvMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/TessalyMtpSdk.h"

#include <thread>

SBrowserDependencies SBrowserDependencies::ofProgram() {
  SBrowserDependencies dependencies;
  dependencies.createAccessObject = [] {
    std::shared_ptr<MtpSdk> sdk;
    if (MTPSDKUtil::macOS11AndLater())
      sdk = std::make_shared<TessalyMtpSdk>();
    else
      sdk = std::make_shared<CorvMtpSdk>();
    return std::make_shared<MTPDextSDKWrapper>(std::move(sdk));
  };
  dependencies.sleep = [](std::chrono::milliseconds pause) { std::this_thread::sleep_for(pause); };
  return dependencies;
}
