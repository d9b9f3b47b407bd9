#include "TessalyMTPSdk/Wire.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace mtp {

namespace {

std::uint64_t littleEndian(Bytes bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;)
    value = value << 8 | std::to_integer<std::uint64_t>(bytes[i]);
  return value;
}

void put(std::byte* to, std::uint64_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i)
    to[i] = static_cast<std::byte>(value >> 8 * i);
}

constexpr std::uint64_t GenericFolder = 1; // AssociationType

void append(std::vector<std::byte>& bytes, std::uint64_t value, std::size_t size) {
  bytes.resize(bytes.size() + size);
  put(bytes.data() + bytes.size() - size, value, size);
}

/// An MTP string: the empty one is a count of zero and nothing else.
void append(std::vector<std::byte>& bytes, std::u16string_view text) {
  text = text.substr(0, MaxNameUnits);
  append(bytes, text.empty() ? 0 : text.size() + 1, 1);
  for (const char16_t unit : text)
    append(bytes, unit, 2);
  if (!text.empty())
    append(bytes, 0, 2);
}

/// Bytes of one value of an integer type; 0 for any other type.
std::size_t integerSize(std::uint16_t type) {
  if (type < static_cast<std::uint16_t>(DataType::Int8) || type > static_cast<std::uint16_t>(DataType::Uint128))
    return 0;
  return std::size_t{1} << (type - 1) / 2;
}

/// The type MTP gives a property, for responders that name none.
DataType typeOf(Property property) {
  switch (property) {
  case Property::ObjectFormat:
    return DataType::Uint16;
  case Property::StorageID:
  case Property::ParentObject:
    return DataType::Uint32;
  case Property::ObjectSize:
    return DataType::Uint64;
  case Property::ObjectFileName:
  case Property::DateModified:
    return DataType::String;
  default:
    return DataType::Undefined;
  }
}

/// Reads a value of a type; false when its size cannot be told.
bool readValue(Reader& reader, std::uint16_t type, PropertyRow& row) {
  if (type == static_cast<std::uint16_t>(DataType::String)) {
    row.text = reader.text();
    return reader.ok();
  }
  const auto arrayFlag = static_cast<std::uint16_t>(DataType::ArrayFlag);
  const std::size_t size = integerSize(static_cast<std::uint16_t>(type & ~arrayFlag));
  if (size == 0)
    return false;
  if ((type & arrayFlag) != 0) {
    reader.take(std::size_t{reader.u32()} * size); // at most 2^32 * 16: no overflow
  } else if (size <= 8) {
    row.number = reader.number(size);
  } else {
    reader.take(size);
  }
  return reader.ok();
}

struct ObjectInfoLayout {
  ObjectInfo info;
  std::size_t remaining = 0; // bytes behind the dataset's last field
  bool ok = false;
};

ObjectInfoLayout readObjectInfo(Bytes dataset, bool size64) {
  Reader reader(dataset);
  ObjectInfoLayout layout;
  ObjectInfo& info = layout.info;
  info.storageId = reader.u32();
  info.format = reader.u16();
  reader.u16(); // ProtectionStatus
  info.size = size64 ? reader.u64() : reader.u32();
  info.sizeIs64Bit = size64;
  reader.take(2 + 4 + 4 + 4); // thumbnail: format, compressed size, width, height
  reader.take(4 + 4 + 4);     // image: width, height, bit depth
  info.parent = reader.u32();
  reader.take(2 + 4 + 4); // AssociationType, AssociationDesc, SequenceNumber
  info.fileName = reader.text();
  // Responders exist that leave out what follows the name.
  layout.ok = reader.ok();
  reader.text(); // CaptureDate
  const WireText modified = reader.text();
  if (reader.ok())
    info.dateModified = modified;
  reader.text(); // Keywords
  layout.remaining = reader.remaining();
  return layout;
}

} // namespace

char16_t WireText::operator[](std::size_t unit) const {
  return static_cast<char16_t>(littleEndian(bytes.subspan(2 * unit, 2)));
}

void WireText::copyTo(char16_t* units) const {
  if constexpr (std::endian::native == std::endian::little) {
    if (!bytes.empty())
      std::memcpy(units, bytes.data(), bytes.size());
  } else {
    for (std::size_t i = 0; i < size(); ++i)
      units[i] = (*this)[i];
  }
}

std::u16string WireText::toString() const {
  std::u16string text(size(), u'\0');
  copyTo(text.data());
  return text;
}

std::uint64_t Reader::number(std::size_t size) {
  return littleEndian(take(size));
}

Bytes Reader::take(std::size_t size) {
  if (size > m_rest.size()) {
    m_ok = false;
    m_rest = {};
    return {};
  }
  const Bytes taken = m_rest.first(size);
  m_rest = m_rest.subspan(size);
  return taken;
}

WireText Reader::text() {
  WireText text{take(std::size_t{u8()} * 2)};
  if (!text.empty() && text[text.size() - 1] == u'\0')
    text.bytes = text.bytes.first(text.bytes.size() - 2);
  return text;
}

Bytes Reader::elements(std::size_t elementSize) {
  return take(std::size_t{u32()} * elementSize);
}

std::vector<std::uint16_t> Reader::array16() {
  Bytes bytes = elements(2);
  std::vector<std::uint16_t> values(bytes.size() / 2);
  for (std::uint16_t& value : values) {
    value = static_cast<std::uint16_t>(littleEndian(bytes.first(2)));
    bytes = bytes.subspan(2);
  }
  return values;
}

std::vector<std::uint32_t> Reader::array32() {
  Bytes bytes = elements(4);
  std::vector<std::uint32_t> values(bytes.size() / 4);
  for (std::uint32_t& value : values) {
    value = static_cast<std::uint32_t>(littleEndian(bytes.first(4)));
    bytes = bytes.subspan(4);
  }
  return values;
}

ContainerHeader parseHeader(Bytes bytes) {
  Reader reader(bytes);
  ContainerHeader header;
  header.length = reader.u32();
  header.type = static_cast<ContainerType>(reader.u16());
  header.code = reader.u16();
  header.transaction = reader.u32();
  return header;
}

CommandContainer::CommandContainer(Operation operation, std::uint32_t transaction,
                                   std::span<const std::uint32_t> parameters) {
  parameters = parameters.first(std::min(parameters.size(), MaxParameters));
  m_size = ContainerHeader::Size + 4 * parameters.size();
  put(&m_bytes[0], m_size, 4);
  put(&m_bytes[4], static_cast<std::uint16_t>(ContainerType::Command), 2);
  put(&m_bytes[6], static_cast<std::uint16_t>(operation), 2);
  put(&m_bytes[8], transaction, 4);
  for (std::size_t i = 0; i < parameters.size(); ++i)
    put(&m_bytes[ContainerHeader::Size + 4 * i], parameters[i], 4);
}

std::array<std::byte, ContainerHeader::Size> dataHeader(std::uint64_t length, Operation operation,
                                                        std::uint32_t transaction) {
  std::array<std::byte, ContainerHeader::Size> bytes{};
  put(bytes.data(), std::min<std::uint64_t>(length, ContainerHeader::UntilShortPacket), 4);
  put(bytes.data() + 4, static_cast<std::uint16_t>(ContainerType::Data), 2);
  put(bytes.data() + 6, static_cast<std::uint16_t>(operation), 2);
  put(bytes.data() + 8, transaction, 4);
  return bytes;
}

std::array<std::byte, 6> cancelRequestData(std::uint32_t transaction) {
  std::array<std::byte, 6> data;
  put(&data[0], static_cast<std::uint16_t>(Event::CancelTransaction), 2);
  put(&data[2], transaction, 4);
  return data;
}

std::optional<std::uint16_t> deviceStatusCode(Bytes answer) {
  Reader reader(answer);
  reader.u16(); // length of the answer, which the transfer tells too
  const std::uint16_t code = reader.u16();
  return reader.ok() ? std::optional(code) : std::nullopt;
}

bool DeviceInfo::supports(Operation operation) const {
  return std::ranges::find(operations, static_cast<std::uint16_t>(operation)) != operations.end();
}

bool DeviceInfo::supports(Property deviceProperty) const {
  return std::ranges::find(deviceProperties, static_cast<std::uint16_t>(deviceProperty)) != deviceProperties.end();
}

std::optional<DeviceInfo> parseDeviceInfo(Bytes dataset) {
  Reader reader(dataset);
  DeviceInfo info;
  reader.u16(); // StandardVersion
  info.vendorExtensionId = reader.u32();
  reader.u16(); // MTPVersion
  info.vendorExtensionDescription = reader.text().toString();
  reader.u16(); // FunctionalMode
  info.operations = reader.array16();
  info.events = reader.array16();
  info.deviceProperties = reader.array16();
  reader.array16(); // CaptureFormats
  reader.array16(); // PlaybackFormats
  info.manufacturer = reader.text().toString();
  info.model = reader.text().toString();
  if (!reader.ok())
    return std::nullopt;
  // Nothing depends on the last two, so a dataset without them is no reason to refuse a phone.
  info.deviceVersion = reader.text().toString();
  info.serialNumber = reader.text().toString();
  return info;
}

std::optional<std::vector<std::uint32_t>> parseIds(Bytes dataset) {
  Reader reader(dataset);
  std::vector<std::uint32_t> ids = reader.array32();
  return reader.ok() ? std::optional(std::move(ids)) : std::nullopt;
}

std::optional<StorageInfo> parseStorageInfo(Bytes dataset) {
  Reader reader(dataset);
  StorageInfo info;
  info.storageType = reader.u16();
  info.filesystemType = reader.u16();
  info.accessCapability = reader.u16();
  info.maxCapacity = reader.u64();
  info.freeSpace = reader.u64();
  reader.u32(); // FreeSpaceInObjects
  info.description = reader.text().toString();
  info.volumeIdentifier = reader.text().toString();
  return reader.ok() ? std::optional(std::move(info)) : std::nullopt;
}

std::optional<ObjectInfo> parseObjectInfo(Bytes dataset) {
  const ObjectInfoLayout standard = readObjectInfo(dataset, false);
  // With 64 bits of size every later field stands four bytes on: read the standard way, the name then seems empty and
  // its bytes remain behind the last field.
  if (!standard.ok || (standard.info.fileName.empty() && standard.remaining > 0)) {
    const ObjectInfoLayout wide = readObjectInfo(dataset, true);
    if (wide.ok && !wide.info.fileName.empty())
      return wide.info;
  }
  return standard.ok ? std::optional(standard.info) : std::nullopt;
}

std::vector<std::byte> textDataset(std::u16string_view text) {
  std::vector<std::byte> bytes;
  append(bytes, text);
  return bytes;
}

std::vector<std::byte> objectInfoDataset(const NewObject& object) {
  std::vector<std::byte> bytes;
  append(bytes, object.storageId, 4);
  append(bytes, static_cast<std::uint16_t>(object.folder ? Format::Association : Format::Undefined), 2);
  append(bytes, 0, 2); // ProtectionStatus: none
  append(bytes, std::min<std::uint64_t>(object.size, 0xFFFFFFFF), 4);
  append(bytes, 0, 2); // thumbnail: format, compressed size, width, height
  append(bytes, 0, 4);
  append(bytes, 0, 4);
  append(bytes, 0, 4);
  append(bytes, 0, 4); // image: width, height, bit depth
  append(bytes, 0, 4);
  append(bytes, 0, 4);
  append(bytes, object.parent, 4);
  append(bytes, object.folder ? GenericFolder : 0, 2); // AssociationType
  append(bytes, 0, 4);                                 // AssociationDesc
  append(bytes, 0, 4);                                 // SequenceNumber
  append(bytes, object.name);
  append(bytes, u""); // CaptureDate
  append(bytes, object.modified);
  append(bytes, u""); // Keywords
  return bytes;
}

PropertyListReader::PropertyListReader(Bytes dataset)
    : m_reader(dataset) {
  m_left = m_reader.u32();
}

bool PropertyListReader::next(PropertyRow& row) {
  if (m_left == 0 || !m_reader.ok())
    return false;
  row = {};
  row.handle = m_reader.u32();
  row.property = static_cast<Property>(m_reader.u16());
  std::uint16_t type = m_reader.u16();
  if (type == static_cast<std::uint16_t>(DataType::Undefined))
    type = static_cast<std::uint16_t>(typeOf(row.property));
  if (!readValue(m_reader, type, row)) {
    m_reader.take(m_reader.remaining() + 1); // a value of unknown size: nothing behind it can be found
    return false;
  }
  --m_left;
  return true;
}

std::optional<std::uint64_t> parseNumberValue(Bytes dataset) {
  for (const std::size_t size : {8, 4, 2, 1}) {
    if (dataset.size() >= size)
      return littleEndian(dataset.first(size));
  }
  return std::nullopt;
}

std::optional<std::u16string> parseTextValue(Bytes dataset) {
  Reader reader(dataset);
  const WireText text = reader.text();
  return reader.ok() ? std::optional(text.toString()) : std::nullopt;
}

std::optional<EventContainer> parseEvent(Bytes bytes) {
  if (bytes.size() < ContainerHeader::Size)
    return std::nullopt;
  const ContainerHeader header = parseHeader(bytes);
  if (header.type != ContainerType::Event || header.length < ContainerHeader::Size || header.length > bytes.size())
    return std::nullopt;
  EventContainer event{header.code, header.transaction, {}};
  Reader reader(bytes.first(header.length).subspan(ContainerHeader::Size));
  for (std::uint32_t& parameter : event.parameters)
    parameter = reader.u32();
  return event;
}

} // namespace mtp
