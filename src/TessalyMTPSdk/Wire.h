#pragma once
// Bytes of MTP containers and datasets (MTP 1.1: container structure of the USB appendix, datasets of chapter 5,
// object property lists of appendix B). Everything read comes from a phone and is taken as hostile: each read is
// checked against the bytes present, and nothing is allocated beyond what they justify. All integers are little-endian.
// Pure functions and values; any thread.
#include "TessalyMTPSdk/MtpCodes.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mtp {

using Bytes = std::span<const std::byte>;

/// Text as it stands in a dataset: UTF-16LE units, without the terminating zero. Points into the dataset.
struct WireText {
  Bytes bytes;                                          // an even number of them
  std::size_t size() const { return bytes.size() / 2; } // code units
  bool empty() const { return bytes.empty(); }
  char16_t operator[](std::size_t unit) const;
  /// Copies all units to `units`, which has room for size() of them.
  void copyTo(char16_t* units) const;
  std::u16string toString() const;
};

/// Reads forward through bytes. After the first read beyond their end every read gives zero or nothing, and ok() is
/// false.
class Reader {
public:
  explicit Reader(Bytes bytes)
      : m_rest(bytes) {}

  std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
  std::uint64_t u64() { return number(8); }
  /// An integer of 1, 2, 4 or 8 bytes.
  std::uint64_t number(std::size_t size);
  Bytes take(std::size_t size);
  /// MTP string: a count byte of code units, the terminating zero included. One without its zero is taken as it is.
  WireText text();
  /// MTP arrays: a 32-bit count, then the elements. Empty when the elements are not all there.
  std::vector<std::uint16_t> array16();
  std::vector<std::uint32_t> array32();

  bool ok() const { return m_ok; }
  std::size_t remaining() const { return m_rest.size(); }

private:
  Bytes elements(std::size_t elementSize);

  Bytes m_rest;
  bool m_ok = true;
};

/// The first 12 bytes of every container.
struct ContainerHeader {
  static constexpr std::size_t Size = 12;
  static constexpr std::uint32_t UntilShortPacket = 0xFFFFFFFF; // a length that only the end of the transfer tells

  std::uint32_t length = 0; // header included
  ContainerType type{};
  std::uint16_t code = 0;
  std::uint32_t transaction = 0;
};
/// `bytes` are at least ContainerHeader::Size.
ContainerHeader parseHeader(Bytes bytes);

inline constexpr std::size_t MaxParameters = 5; // of a command or response container

/// A command container, ready to be sent.
class CommandContainer {
public:
  /// At most MaxParameters parameters.
  CommandContainer(Operation operation, std::uint32_t transaction, std::span<const std::uint32_t> parameters);
  Bytes bytes() const { return Bytes(m_bytes).first(m_size); }

private:
  std::array<std::byte, ContainerHeader::Size + 4 * MaxParameters> m_bytes{};
  std::size_t m_size = 0;
};

/// The header of a data container to the phone: `length` with the header's own bytes; one that 32 bits cannot hold is
/// written as ContainerHeader::UntilShortPacket.
std::array<std::byte, ContainerHeader::Size> dataHeader(std::uint64_t length, Operation operation,
                                                        std::uint32_t transaction);

/// The 6 bytes of the class request Cancel: the cancellation code and the transaction.
std::array<std::byte, 6> cancelRequestData(std::uint32_t transaction);
/// The code in an answer to the class request GetDeviceStatus: length (16 bit), code (16 bit), parameters. None when
/// the answer is too short for it.
std::optional<std::uint16_t> deviceStatusCode(Bytes answer);

struct DeviceInfo {
  std::uint32_t vendorExtensionId = 0;
  std::u16string vendorExtensionDescription;
  std::vector<std::uint16_t> operations;
  std::vector<std::uint16_t> events;
  std::vector<std::uint16_t> deviceProperties;
  std::u16string manufacturer;
  std::u16string model;
  std::u16string deviceVersion; // empty when the dataset ends before it
  std::u16string serialNumber;  // likewise

  bool supports(Operation operation) const;
  bool supports(Property deviceProperty) const;
};
std::optional<DeviceInfo> parseDeviceInfo(Bytes dataset);

/// StorageIDs, ObjectHandles: one array.
std::optional<std::vector<std::uint32_t>> parseIds(Bytes dataset);

struct StorageInfo {
  std::uint16_t storageType = 0;
  std::uint16_t filesystemType = 0;
  std::uint16_t accessCapability = 0;
  std::uint64_t maxCapacity = 0; // bytes
  std::uint64_t freeSpace = 0;   // bytes
  std::u16string description;
  std::u16string volumeIdentifier;
};
std::optional<StorageInfo> parseStorageInfo(Bytes dataset);

/// What of ObjectInfo is used. The texts point into the dataset.
struct ObjectInfo {
  std::uint32_t storageId = 0;
  std::uint16_t format = 0;
  std::uint64_t size = 0;   // bytes; see sizeIs64Bit
  bool sizeIs64Bit = false; // some makers' responders put 64 bits where the dataset has 32
  std::uint32_t parent = 0;
  WireText fileName;
  WireText dateModified;
};
std::optional<ObjectInfo> parseObjectInfo(Bytes dataset);

/// The longest file name an MTP string can carry; its count byte includes the terminating zero.
inline constexpr std::size_t MaxNameUnits = 254;

/// What SendObjectInfo says of an object to come.
struct NewObject {
  std::uint32_t storageId = 0;
  std::uint32_t parent = TopLevelParent;
  bool folder = false;
  std::uint64_t size = 0; // bytes; from 0xFFFFFFFF on the dataset says 0xFFFFFFFF
  std::u16string name;    // at most MaxNameUnits
  std::u16string modified;
};
std::vector<std::byte> objectInfoDataset(const NewObject& object);
/// An MTP string alone, as SetObjectPropValue takes it. At most MaxNameUnits are put.
std::vector<std::byte> textDataset(std::u16string_view text);

/// One element of an ObjectPropList. The text points into the dataset.
struct PropertyRow {
  std::uint32_t handle = 0;
  Property property{};
  std::uint64_t number = 0; // integers up to 64 bits; 0 for everything else
  WireText text;            // strings
};

/// Walks an ObjectPropList. Values are read by the data type that stands before them; where that is none, by what MTP
/// says of the property.
class PropertyListReader {
public:
  explicit PropertyListReader(Bytes dataset);
  /// The next row; false at the end or at the first row that is not wholly there.
  bool next(PropertyRow& row);
  /// False when the list ended before the number of rows it promised.
  bool ok() const { return m_reader.ok(); }

private:
  Reader m_reader;
  std::uint32_t m_left = 0; // rows promised and not yet read
};

/// The value of a property of a known integer type, as GetObjectPropValue answers it (no type before it): the first
/// 8, 4, 2 or 1 bytes, whatever is there.
std::optional<std::uint64_t> parseNumberValue(Bytes dataset);
std::optional<std::u16string> parseTextValue(Bytes dataset);

struct EventContainer {
  std::uint16_t code = 0;
  std::uint32_t transaction = 0;
  std::array<std::uint32_t, 3> parameters{};
};
/// An event container from the interrupt pipe; parameters that are not there are 0.
std::optional<EventContainer> parseEvent(Bytes bytes);

} // namespace mtp
