// The copying commands of engine-probe.
#pragma once

#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <string>
#include <vector>

namespace probe {

/// Carries out "put", "get" or "delete" with the words behind the command (see engine-probe.cpp) on the phone and
/// prints a line an entry. Blocks. Returns 0, or the first status that was none of a cancelled copy.
uint32_t copies(_MTP_DEVICE_NODE* device, const std::string& command, const std::vector<std::string>& words);

} // namespace probe
