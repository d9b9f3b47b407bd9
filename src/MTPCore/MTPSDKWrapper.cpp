#include "MTPCore/MTPSDKWrapper.h"

namespace {

constexpr AccessFace legacyFace{"MTPSDKWrapper", "mtp", false};

} // namespace

MTPSDKWrapper::MTPSDKWrapper(std::shared_ptr<MtpSdk> sdk, ComputerSide computer)
    : MTPDextSDKWrapper(legacyFace, std::move(sdk), std::move(computer)) {}
