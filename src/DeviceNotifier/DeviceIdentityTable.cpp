#include "DeviceNotifier/DeviceIdentityTable.h"

#include "Platform/Log.h"
#include "Platform/UserDefaults.h"

#include "ShippedDeviceTable.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <sys/stat.h>
#include <utility>

namespace detection {
namespace {

constexpr qint64 largestTable = 64 * 1024; // bytes

bool contains(const std::vector<std::uint16_t>& list, std::uint16_t id) {
  return std::find(list.begin(), list.end(), id) != list.end();
}

std::optional<std::uint16_t> numberFrom(const QByteArray& text) {
  bool valid = false;
  const bool hexadecimal = text.startsWith("0x") || text.startsWith("0X");
  const ushort value = hexadecimal ? text.mid(2).toUShort(&valid, 16) : text.toUShort(&valid, 10);
  return valid ? std::optional<std::uint16_t>(value) : std::nullopt;
}

bool read(const QByteArray& text, std::uint16_t& value) {
  const auto number = numberFrom(text);
  if (number)
    value = *number;
  return number.has_value();
}

bool read(const QByteArray& text, std::vector<std::uint16_t>& value) {
  std::vector<std::uint16_t> list;
  if (!text.isEmpty())
    for (const QByteArray& part : text.split(',')) {
      const auto number = numberFrom(part.trimmed());
      if (!number)
        return false;
      list.push_back(*number);
    }
  value = std::move(list);
  return true;
}

bool read(const QByteArray& text, bool& value) {
  if (text != "true" && text != "false")
    return false;
  value = text == "true";
  return true;
}

// What a key's value has to look like, or null when it was understood.
const char* assign(DeviceIdentityTable& table, const QByteArray& key, const QByteArray& value) {
  constexpr const char* number = "its value must be a number from 0 to 0xffff";
  constexpr const char* list = "its value must be numbers from 0 to 0xffff, separated by commas";
  if (key == "kPhoneVendorId")
    return read(value, table.kPhoneVendorId) ? nullptr : number;
  if (key == "kPhoneProductIdFirst")
    return read(value, table.kPhoneProductIdFirst) ? nullptr : number;
  if (key == "kPhoneProductIdLast")
    return read(value, table.kPhoneProductIdLast) ? nullptr : number;
  if (key == "kSingleSearchProductIdFrom")
    return read(value, table.kSingleSearchProductIdFrom) ? nullptr : number;
  if (key == "kPtpNoSearchProductIds")
    return read(value, table.kPtpNoSearchProductIds) ? nullptr : list;
  if (key == "kPtpSkipSearchProductIds")
    return read(value, table.kPtpSkipSearchProductIds) ? nullptr : list;
  if (key == "AcceptAnyMtpDevice")
    return read(value, table.AcceptAnyMtpDevice) ? nullptr : "its value must be true or false";
  return "there is no such key";
}

// Why values do not fit together, and the keys whose values they are.
struct Contradiction {
  const char* problem;
  std::vector<QByteArray> keys;
};

// Judged when all values are known; nothing when they fit together.
std::optional<Contradiction> contradiction(const DeviceIdentityTable& table) {
  const QByteArray first = "kPhoneProductIdFirst";
  const QByteArray last = "kPhoneProductIdLast";
  if (table.kPhoneProductIdFirst > table.kPhoneProductIdLast)
    return Contradiction{"kPhoneProductIdFirst is above kPhoneProductIdLast", {first, last}};
  const auto outside = [&table](std::uint16_t id) {
    return id < table.kPhoneProductIdFirst || id > table.kPhoneProductIdLast;
  };
  if (outside(table.kSingleSearchProductIdFrom))
    return Contradiction{"kSingleSearchProductIdFrom is not a product of the maker's phones",
                         {"kSingleSearchProductIdFrom", first, last}};
  const QByteArray noSearch = "kPtpNoSearchProductIds";
  const QByteArray skipSearch = "kPtpSkipSearchProductIds";
  for (const auto& [key, ids] :
       {std::pair(noSearch, table.kPtpNoSearchProductIds), std::pair(skipSearch, table.kPtpSkipSearchProductIds)})
    if (std::any_of(ids.begin(), ids.end(), outside))
      return Contradiction{"a PTP product ID is not a product of the maker's phones", {key, first, last}};
  for (const std::uint16_t id : table.kPtpNoSearchProductIds)
    if (contains(table.kPtpSkipSearchProductIds, id))
      return Contradiction{"a product ID stands in both PTP lists", {noSearch, skipSearch}};
  return std::nullopt;
}

// A table file's text; nothing when it is absent or, with a log line, cannot be read.
std::optional<QByteArray> textOf(const QString& path) {
  if (path.isEmpty())
    return std::nullopt;
  const auto unreadable = [&path](const QString& reason) {
    MTPB_LOG("device table %s, row 1: cannot be read (%s); the defaults are used", qUtf8Printable(path),
             qUtf8Printable(reason));
    return std::nullopt;
  };
  struct stat status {};
  if (::stat(QFile::encodeName(path).constData(), &status) != 0) {
    const int error = errno;
    const bool absent = (error == ENOENT || error == ENOTDIR) && !QFileInfo(path).isSymLink();
    return absent ? std::nullopt : unreadable(QString::fromLocal8Bit(std::strerror(error)));
  }
  // Others have no end, or hold up whoever opens them.
  if (!S_ISREG(status.st_mode))
    return unreadable(QStringLiteral("it is no regular file"));
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly))
    return unreadable(file.errorString());
  QByteArray text = file.read(largestTable + 1);
  if (file.error() != QFileDevice::NoError)
    return unreadable(file.errorString());
  if (text.size() > largestTable) {
    MTPB_LOG("device table %s, row %d: the file is too large (more than 64 KiB); the defaults are used",
             qUtf8Printable(path), int(text.count('\n')) + 1);
    return std::nullopt;
  }
  return text;
}

DeviceIdentityTable withFile(const QString& path, const DeviceIdentityTable& base) {
  const auto text = textOf(path);
  if (!text)
    return base;
  DeviceTableMistake mistake;
  if (const auto table = parseDeviceIdentityTable(*text, base, mistake))
    return *table;
  MTPB_LOG("device table %s, row %d: %s; the defaults are used", qUtf8Printable(path), mistake.row,
           qUtf8Printable(mistake.what));
  return base;
}

DeviceIdentityTable shippedTable() {
  DeviceTableMistake mistake;
  const DeviceIdentityTable builtIn;
  return parseDeviceIdentityTable(QByteArray(shippedDeviceTable), builtIn, mistake).value_or(builtIn);
}

} // namespace

std::vector<std::uint16_t> DeviceIdentityTable::kPtpProductIds() const {
  auto ids = kPtpNoSearchProductIds;
  ids.insert(ids.end(), kPtpSkipSearchProductIds.begin(), kPtpSkipSearchProductIds.end());
  return ids;
}

bool DeviceIdentityTable::isPhone(std::uint16_t vendorId, std::uint16_t productId) const {
  return vendorId == kPhoneVendorId && productId >= kPhoneProductIdFirst && productId <= kPhoneProductIdLast;
}

bool DeviceIdentityTable::isPtp(std::uint16_t productId) const {
  return isPtpWithoutSearch(productId) || isPtpWithSkippedSearch(productId);
}

bool DeviceIdentityTable::isPtpWithoutSearch(std::uint16_t productId) const {
  return contains(kPtpNoSearchProductIds, productId);
}

bool DeviceIdentityTable::isPtpWithSkippedSearch(std::uint16_t productId) const {
  return contains(kPtpSkipSearchProductIds, productId);
}

std::optional<DeviceIdentityTable> parseDeviceIdentityTable(const QByteArray& text, const DeviceIdentityTable& base,
                                                            DeviceTableMistake& mistake) {
  DeviceIdentityTable table = base;
  std::map<QByteArray, int> rows; // where each key stands
  int row = 0;
  for (QByteArray line : text.split('\n')) {
    ++row;
    if (const qsizetype comment = line.indexOf('#'); comment >= 0)
      line.truncate(comment);
    line = line.trimmed();
    if (line.isEmpty())
      continue;
    const qsizetype equals = line.indexOf('=');
    if (equals < 0) {
      mistake = {row, QStringLiteral("not a line of the form \"key = value\"")};
      return std::nullopt;
    }
    const QByteArray key = line.left(equals).trimmed();
    const auto [earlier, first] = rows.emplace(key, row);
    if (!first) {
      mistake = {row, QStringLiteral("the key stands in row %1 already").arg(earlier->second)};
      return std::nullopt;
    }
    if (const char* problem = assign(table, key, line.mid(equals + 1).trimmed())) {
      mistake = {row, QString::fromLatin1(problem)};
      return std::nullopt;
    }
  }
  if (const auto found = contradiction(table)) {
    int last = 1;
    for (const QByteArray& key : found->keys)
      if (const auto at = rows.find(key); at != rows.end())
        last = std::max(last, at->second);
    mistake = {last, QString::fromLatin1(found->problem)};
    return std::nullopt;
  }
  return table;
}

DeviceTablePaths DeviceTablePaths::standard() {
  return {QStringLiteral(MTPB_DEVICE_TABLE), QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                                                 QStringLiteral("/MTPBrowser/devices.conf")};
}

DeviceIdentityTable loadDeviceIdentityTable(const DeviceTablePaths& paths) {
  DeviceIdentityTable table = withFile(paths.user, withFile(paths.system, shippedTable()));
  const QString accept = QStringLiteral("AcceptAnyMtpDevice");
  if (platform::userDefaults::value(accept))
    table.AcceptAnyMtpDevice = platform::userDefaults::boolForKey(accept);
  return table;
}

} // namespace detection
