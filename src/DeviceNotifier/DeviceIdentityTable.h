#pragma once
// Which USB devices are phones, and which of them want what treatment: the values of a configuration file.
// resources/mtpbrowser-devices.conf is the table shipped and explains every key.
#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace detection {

/// The table's values; a fresh one holds the maker's identifiers with AcceptAnyMtpDevice off. A plain value.
struct DeviceIdentityTable {
  std::uint16_t kPhoneVendorId = 0x7e55;
  std::uint16_t kPhoneProductIdFirst = 0x4100;
  std::uint16_t kPhoneProductIdLast = 0x43ff;
  std::vector<std::uint16_t> kPtpNoSearchProductIds = {0x4165, 0x4167, 0x416a, 0x416b, 0x416d, 0x416e};
  std::vector<std::uint16_t> kPtpSkipSearchProductIds = {0x4122, 0x4124};
  std::uint16_t kSingleSearchProductIdFrom = 0x4160;
  bool AcceptAnyMtpDevice = false;

  /// The two PTP lists together: these products are announced as picture-transfer devices.
  std::vector<std::uint16_t> kPtpProductIds() const;

  bool isPhone(std::uint16_t vendorId, std::uint16_t productId) const;
  bool isPtp(std::uint16_t productId) const;
  bool isPtpWithoutSearch(std::uint16_t productId) const;
  bool isPtpWithSkippedSearch(std::uint16_t productId) const;
  bool isSearchedOnce(std::uint16_t productId) const { return productId >= kSingleSearchProductIdFrom; }

  bool operator==(const DeviceIdentityTable&) const = default;
};

/// A mistake in a table's text: the row, counted from 1, and what is wrong with it.
struct DeviceTableMistake {
  int row = 0;
  QString what;
};

/// Reads a table: `base` with the values that `text` gives. Nothing, and `mistake`, when a row is not understood or the
/// values do not fit together (then the row of the last key involved). Any bytes are allowed.
std::optional<DeviceIdentityTable> parseDeviceIdentityTable(const QByteArray& text, const DeviceIdentityTable& base,
                                                            DeviceTableMistake& mistake);

/// Where tables are kept; an absent file is passed over.
struct DeviceTablePaths {
  QString system; ///< the installed one; where it is absent or bad, the copy built into the program counts
  QString user;   ///< changes keys of the one above
  static DeviceTablePaths standard();
};

/// The table in force: the system's with the user's changes, and AcceptAnyMtpDevice from the user default of that name
/// where it is set. A file that cannot be read or has a mistake is left out as a whole, with a log line naming the file
/// and, for a mistake, the row. Blocks for reading the files. Any thread.
DeviceIdentityTable loadDeviceIdentityTable(const DeviceTablePaths& paths = DeviceTablePaths::standard());

} // namespace detection
