#pragma once
// An attached phone whose datasets a test writes down byte by byte.
#include "TessalyMTPSdk/Transport.h"
#include "support/ScriptedTransport.h"

#include <map>
#include <string_view>

namespace testsupport {

/// Answers by operation code; what is not in the table is answered 0x2005.
class ScriptedPhone : public mtp::DeviceProvider {
public:
  ScriptedPhone() {
    script->otherwise = [this](const ByteVector& command) {
      const unsigned operation = std::to_integer<unsigned>(command[6]) | std::to_integer<unsigned>(command[7]) << 8;
      const unsigned parameter = command.size() > 12 ? std::to_integer<unsigned>(command[14]) : 0;
      const ByteVector transaction(command.begin() + 8, command.begin() + 12);
      const auto response = [&](unsigned code) {
        return Piece{joined(hex("0C000000 0300"), number(code, 2), transaction)};
      };
      for (const unsigned key : {operation << 16 | parameter, operation << 16}) {
        if (const auto data = datasets.find(key); data != datasets.end())
          return std::vector<Piece>{{joined(number(12 + data->second.size(), 4), hex("0200"), number(operation, 2),
                                            transaction, data->second)},
                                    response(0x2001)};
      }
      return std::vector<Piece>{response(operation == 0x1002 || operation == 0x1003 ? 0x2001 : 0x2005)};
    };
    setDeviceInfo("'Acme' 0000", "05", "'M1' 0000", "03", "06000000");
  }

  std::vector<mtp::DeviceCandidate> list() override {
    mtp::DeviceCandidate candidate;
    candidate.locationId = 0x14200000;
    candidate.attachment = attachment;
    candidate.description = "Acme M1";
    candidate.open = [this] {
      ++opened;
      script->gone = false;
      return mtp::OpenResult{std::make_unique<ScriptedTransport>(script), mtp::OpenFailure::None, ""};
    };
    return {candidate};
  }

  void setDeviceInfo(std::string_view maker, std::string_view makerUnits, std::string_view model,
                     std::string_view modelUnits, std::string_view extension) {
    datasets[0x1001 << 16] =
        joined(hex("6400"), hex(extension), hex("6400 00 0000 00000000 00000000"), hex("00000000 00000000 00000000"),
               hex(makerUnits), hex(maker), hex(modelUnits), hex(model));
  }
  /// The dataset of GetStorageInfo for the storage whose ID's third byte is `slot`.
  void setStorage(unsigned slot, std::string_view description) {
    datasets[0x1005 << 16 | slot] =
        joined(hex("0300 0200 0000 0010000000000000 0008000000000000 FFFFFFFF"), hex(description), hex("00"));
  }

  std::map<unsigned, ByteVector> datasets; // by operation << 16 | third byte of the first parameter
  std::shared_ptr<Script> script = std::make_shared<Script>();
  std::uint64_t attachment = 1;
  int opened = 0;
};

} // namespace testsupport
