#include "TessalyMTPSdk/Wire.h"

#include "support/HexBytes.h"

#include <gtest/gtest.h>

using namespace mtp;
using namespace testsupport;

namespace {

ByteVector bytesOf(Bytes bytes) {
  return ByteVector(bytes.begin(), bytes.end());
}

// DeviceInfo: standard version 100, extension 6, version 100, "microsoft.com: 1.0;", mode 0, two operations, one
// event, one device property, no capture format, one playback format, four texts.
const ByteVector DeviceInfoBytes = hex("6400 06000000 6400"
                                       "14 'microsoft.com: 1.0;' 0000"
                                       "0000"
                                       "02000000 0110 0598"
                                       "01000000 0240"
                                       "01000000 02D4"
                                       "00000000"
                                       "01000000 0130"
                                       "05 'Acme' 0000"
                                       "03 'M1' 0000"
                                       "04 '1.0' 0000"
                                       "03 'S7' 0000");

const ByteVector StorageInfoBytes = hex("0300 0200 0000"
                                        "0000000001000000"
                                        "00F0FF0000000000"
                                        "FFFFFFFF"
                                        "05 'Card' 0000"
                                        "03 'V1' 0000");

// A JPEG of 0x12345 bytes named "a.jpg" in folder 7 of storage 0x00010001.
const ByteVector ObjectInfoBytes = hex("01000100 0138 0000 45230100"
                                       "0838 00000000 00000000 00000000"
                                       "00000000 00000000 00000000"
                                       "07000000 0000 00000000 00000000"
                                       "06 'a.jpg' 0000"
                                       "10 '20240102T030405' 0000"
                                       "10 '20240203T040506' 0000"
                                       "00");
const ByteVector WideObjectInfoBytes = hex("01000100 0138 0000 4523010001000000"
                                           "0838 00000000 00000000 00000000"
                                           "00000000 00000000 00000000"
                                           "07000000 0000 00000000 00000000"
                                           "06 'a.jpg' 0000"
                                           "10 '20240102T030405' 0000"
                                           "10 '20240203T040506' 0000"
                                           "00");

// Every data type a value can have, of two objects.
const ByteVector PropertyListBytes = hex("08000000"
                                         "01000000 02DC 0400 0130"
                                         "01000000 04DC 0800 0100000001000000"
                                         "01000000 07DC FFFF 03 'hi' 0000"
                                         "01000000 41DC 0A00 000102030405060708090A0B0C0D0E0F"
                                         "02000000 00D9 0240 03000000 010203"
                                         "02000000 4EDC FFFF 00"
                                         "02000000 01DC 0600 01000100"
                                         "02000000 03DC 0200 01");

std::vector<PropertyRow> rowsOf(Bytes dataset, bool* complete = nullptr) {
  PropertyListReader reader(dataset);
  std::vector<PropertyRow> rows;
  for (PropertyRow row; reader.next(row);)
    rows.push_back(row);
  if (complete)
    *complete = reader.ok();
  return rows;
}

/// All that reads a dataset must live with any bytes.
void readAsEverything(Bytes bytes) {
  if (bytes.size() >= ContainerHeader::Size)
    parseHeader(bytes);
  parseDeviceInfo(bytes);
  if (const auto ids = parseIds(bytes)) {
    EXPECT_LE(ids->size() * 4, bytes.size());
  }
  parseStorageInfo(bytes);
  if (const auto info = parseObjectInfo(bytes)) {
    EXPECT_LE(info->fileName.bytes.size(), bytes.size());
    info->fileName.toString();
    info->dateModified.toString();
  }
  for (const PropertyRow& row : rowsOf(bytes))
    row.text.toString();
  EXPECT_LE(rowsOf(bytes).size() * 9, bytes.size());
  parseNumberValue(bytes);
  parseTextValue(bytes);
  parseEvent(bytes);
  deviceStatusCode(bytes);
}

const std::vector<ByteVector> AllDatasets = {
    DeviceInfoBytes,     StorageInfoBytes,
    ObjectInfoBytes,     WideObjectInfoBytes,
    PropertyListBytes,   hex("02000000 01000100 01000200"),
    hex("03 'hi' 0000"), hex("18000000 0400 0240 00000000 2A000000 01000000 02000000"),
};

} // namespace

TEST(Wire, ACommandContainerIsTheBytesOfTheStandard) {
  const std::uint32_t parameters[] = {0x00010001, 0, 0xFFFFFFFF};
  EXPECT_EQ(bytesOf(CommandContainer(Operation::GetObjectHandles, 5, parameters).bytes()),
            hex("18000000 0100 0710 05000000 01000100 00000000 FFFFFFFF"));
  EXPECT_EQ(bytesOf(CommandContainer(Operation::GetDeviceInfo, 0x01020304, {}).bytes()),
            hex("0C000000 0100 0110 04030201"));
}

TEST(Wire, ACommandContainerNeverCarriesMoreThanFiveParameters) {
  const std::uint32_t parameters[] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(CommandContainer(Operation::GetObjectPropList, 1, parameters).bytes().size(), 32u);
}

TEST(Wire, AHeaderIsReadFieldByField) {
  const ContainerHeader header = parseHeader(hex("10000000 0300 0120 2A000000"));
  EXPECT_EQ(header.length, 16u);
  EXPECT_EQ(header.type, ContainerType::Response);
  EXPECT_EQ(header.code, 0x2001);
  EXPECT_EQ(header.transaction, 42u);
}

TEST(Wire, ACancelRequestNamesItsTransaction) {
  const auto data = cancelRequestData(0x11223344);
  EXPECT_EQ(ByteVector(data.begin(), data.end()), hex("0140 44332211"));
}

TEST(Wire, TheDeviceStatusCodeStandsBehindTheLength) {
  EXPECT_EQ(deviceStatusCode(hex("0400 1920")), 0x2019);
  EXPECT_EQ(deviceStatusCode(hex("0400 19")), std::nullopt);
}

TEST(Wire, ReadingBeyondTheEndGivesZeroAndStaysFailed) {
  const ByteVector bytes = hex("0102 03");
  Reader reader(bytes);
  EXPECT_EQ(reader.u16(), 0x0201);
  EXPECT_EQ(reader.u32(), 0u);
  EXPECT_FALSE(reader.ok());
  EXPECT_EQ(reader.u8(), 0) << "also where a byte would be left";
}

TEST(Wire, ATextEndsBeforeItsTerminatingZero) {
  const ByteVector bytes = hex("03 'ab' 0000 FF");
  Reader reader(bytes);
  EXPECT_EQ(reader.text().toString(), u"ab");
  EXPECT_EQ(reader.remaining(), 1u);
}

TEST(Wire, ATextWithoutTerminatingZeroIsTakenWhole) {
  const ByteVector bytes = hex("02 'ab'");
  EXPECT_EQ(Reader(bytes).text().toString(), u"ab");
}

TEST(Wire, AnEmptyTextIsOneZeroByte) {
  const ByteVector bytes = hex("00 41");
  Reader reader(bytes);
  EXPECT_TRUE(reader.text().empty());
  EXPECT_EQ(reader.u8(), 0x41);
}

TEST(Wire, UnpairedSurrogatesAndZerosInsideATextAreKept) {
  const ByteVector bytes = hex("05 00D8 'a' 0000 01DC 0000");
  EXPECT_EQ(Reader(bytes).text().toString(), std::u16string({0xD800, u'a', 0, 0xDC01}));
}

TEST(Wire, ATextThatIsNotAllThereIsNoText) {
  const ByteVector bytes = hex("03 'ab' 00");
  Reader reader(bytes);
  EXPECT_TRUE(reader.text().empty());
  EXPECT_FALSE(reader.ok());
}

TEST(Wire, DeviceInfoIsReadWhole) {
  const auto info = parseDeviceInfo(DeviceInfoBytes);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->vendorExtensionId, 6u);
  EXPECT_EQ(info->vendorExtensionDescription, u"microsoft.com: 1.0;");
  EXPECT_TRUE(info->supports(Operation::GetDeviceInfo));
  EXPECT_TRUE(info->supports(Operation::GetObjectPropList));
  EXPECT_FALSE(info->supports(Operation::GetObjectInfo));
  EXPECT_TRUE(info->supports(Property::DeviceFriendlyName));
  EXPECT_FALSE(info->supports(Property::SynchronizationPartner));
  EXPECT_EQ(info->events, std::vector<std::uint16_t>{0x4002});
  EXPECT_EQ(info->manufacturer, u"Acme");
  EXPECT_EQ(info->model, u"M1");
  EXPECT_EQ(info->deviceVersion, u"1.0");
  EXPECT_EQ(info->serialNumber, u"S7");
}

TEST(Wire, DeviceInfoWithoutVersionAndSerialNumberIsEnough) {
  const std::size_t tail = hex("04 '1.0' 0000 03 'S7' 0000").size();
  const auto info = parseDeviceInfo(Bytes(DeviceInfoBytes).first(DeviceInfoBytes.size() - tail));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->model, u"M1");
  EXPECT_EQ(info->serialNumber, u"");
}

TEST(Wire, DeviceInfoCutBeforeItsModelEndsIsNone) {
  const std::size_t tail = hex("04 '1.0' 0000 03 'S7' 0000").size();
  for (std::size_t size = 0; size < DeviceInfoBytes.size() - tail; ++size)
    EXPECT_FALSE(parseDeviceInfo(Bytes(DeviceInfoBytes).first(size))) << size;
}

TEST(Wire, StorageInfoIsReadWhole) {
  const auto info = parseStorageInfo(StorageInfoBytes);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->storageType, 3);
  EXPECT_EQ(info->filesystemType, 2);
  EXPECT_EQ(info->maxCapacity, 0x100000000u);
  EXPECT_EQ(info->freeSpace, 0xFFF000u);
  EXPECT_EQ(info->description, u"Card");
  EXPECT_EQ(info->volumeIdentifier, u"V1");
}

TEST(Wire, StorageInfoCutAnywhereIsNone) {
  for (std::size_t size = 0; size < StorageInfoBytes.size(); ++size)
    EXPECT_FALSE(parseStorageInfo(Bytes(StorageInfoBytes).first(size))) << size;
}

TEST(Wire, IdsAreReadWhole) {
  EXPECT_EQ(parseIds(hex("02000000 01000100 01000200")), (std::vector<std::uint32_t>{0x00010001, 0x00020001}));
  EXPECT_EQ(parseIds(hex("00000000")), std::vector<std::uint32_t>());
}

TEST(Wire, IdsCutAnywhereAreNone) {
  const ByteVector bytes = hex("02000000 01000100 01000200");
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(parseIds(Bytes(bytes).first(size))) << size;
}

TEST(Wire, ACountBeyondTheBytesPresentTakesNoMemory) {
  EXPECT_FALSE(parseIds(hex("FFFFFFFF 01000000")));
  EXPECT_FALSE(parseIds(hex("FFFFFF7F 01000000")));
  EXPECT_TRUE(rowsOf(hex("FFFFFFFF")).empty());
}

TEST(Wire, ObjectInfoIsReadWhole) {
  const auto info = parseObjectInfo(ObjectInfoBytes);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->storageId, 0x00010001u);
  EXPECT_EQ(info->format, 0x3801);
  EXPECT_EQ(info->size, 0x12345u);
  EXPECT_FALSE(info->sizeIs64Bit);
  EXPECT_EQ(info->parent, 7u);
  EXPECT_EQ(info->fileName.toString(), u"a.jpg");
  EXPECT_EQ(info->dateModified.toString(), u"20240203T040506");
}

TEST(Wire, ObjectInfoWithASixtyFourBitSizeIsRecognised) {
  const auto info = parseObjectInfo(WideObjectInfoBytes);
  ASSERT_TRUE(info);
  EXPECT_TRUE(info->sizeIs64Bit);
  EXPECT_EQ(info->size, 0x100012345u);
  EXPECT_EQ(info->fileName.toString(), u"a.jpg");
  EXPECT_EQ(info->parent, 7u);
}

TEST(Wire, ObjectInfoThatEndsBehindTheNameHasNoDate) {
  const std::size_t tail = hex("10 '20240102T030405' 0000 10 '20240203T040506' 0000 00").size();
  const auto info = parseObjectInfo(Bytes(ObjectInfoBytes).first(ObjectInfoBytes.size() - tail));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->fileName.toString(), u"a.jpg");
  EXPECT_TRUE(info->dateModified.empty());
}

TEST(Wire, ObjectInfoCutBeforeItsNameEndsIsNone) {
  const std::size_t tail = hex("10 '20240102T030405' 0000 10 '20240203T040506' 0000 00").size();
  for (std::size_t size = 0; size < ObjectInfoBytes.size() - tail; ++size)
    EXPECT_FALSE(parseObjectInfo(Bytes(ObjectInfoBytes).first(size))) << size;
}

TEST(Wire, PropertyRowsOfEveryDataTypeAreRead) {
  bool complete = false;
  const auto rows = rowsOf(PropertyListBytes, &complete);
  EXPECT_TRUE(complete);
  ASSERT_EQ(rows.size(), 8u);
  EXPECT_EQ(rows[0].property, Property::ObjectFormat);
  EXPECT_EQ(rows[0].number, 0x3001u);
  EXPECT_EQ(rows[1].number, 0x100000001u);
  EXPECT_EQ(rows[2].text.toString(), u"hi");
  EXPECT_EQ(rows[3].handle, 1u);
  EXPECT_EQ(rows[4].handle, 2u);
  EXPECT_TRUE(rows[5].text.empty());
  EXPECT_EQ(rows[6].number, 0x00010001u);
  EXPECT_EQ(rows[7].number, 1u);
}

TEST(Wire, PropertyRowsCutAnywhereAreIncomplete) {
  for (std::size_t size = 0; size < PropertyListBytes.size(); ++size) {
    bool complete = true;
    rowsOf(Bytes(PropertyListBytes).first(size), &complete);
    EXPECT_FALSE(complete) << size;
  }
}

TEST(Wire, AValueOfUnknownTypeEndsTheRows) {
  bool complete = true;
  const auto rows = rowsOf(hex("02000000 01000000 77DD 0B00 0100 01000000 02DC 0400 0130"), &complete);
  EXPECT_TRUE(rows.empty());
  EXPECT_FALSE(complete);
}

TEST(Wire, AKnownPropertyWithoutTypeIsReadByWhatMtpSaysOfIt) {
  const auto dataset = hex("02000000 01000000 04DC 0000 0500000000000000 01000000 07DC 0000 02 'x' 0000");
  const auto rows = rowsOf(dataset); // they point into it
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].number, 5u);
  EXPECT_EQ(rows[1].text.toString(), u"x");
}

TEST(Wire, APropertyArrayWithAnEndlessCountIsIncomplete) {
  bool complete = true;
  EXPECT_TRUE(rowsOf(hex("01000000 01000000 00D9 0A40 FFFFFFFF 00"), &complete).empty());
  EXPECT_FALSE(complete);
}

TEST(Wire, NumberValuesHaveTheSizeThatIsThere) {
  EXPECT_EQ(parseNumberValue(hex("0000000001000000")), 0x100000000u);
  EXPECT_EQ(parseNumberValue(hex("05000000")), 5u);
  EXPECT_EQ(parseNumberValue(hex("0500")), 5u);
  EXPECT_EQ(parseNumberValue(hex("05")), 5u);
  EXPECT_EQ(parseNumberValue({}), std::nullopt);
}

TEST(Wire, AnEventIsReadWithTheParametersItHas) {
  const auto event = parseEvent(hex("14000000 0400 0240 00000000 2A000000 01000000"));
  ASSERT_TRUE(event);
  EXPECT_EQ(event->code, 0x4002);
  EXPECT_EQ(event->parameters[0], 42u);
  EXPECT_EQ(event->parameters[1], 1u);
  EXPECT_EQ(event->parameters[2], 0u);
}

TEST(Wire, WhatIsNoEventIsNone) {
  EXPECT_FALSE(parseEvent(hex("0C000000 0300 0240 00000000"))) << "a response";
  EXPECT_FALSE(parseEvent(hex("10000000 0400 0240 00000000"))) << "longer than what came";
  EXPECT_FALSE(parseEvent(hex("0B000000 0400 0240 00000000"))) << "shorter than a header";
  EXPECT_FALSE(parseEvent(hex("0C000000 0400 0240")));
}

TEST(Wire, EveryDatasetTruncatedAtEveryByteIsHarmless) {
  for (const ByteVector& dataset : AllDatasets) {
    for (std::size_t size = 0; size <= dataset.size(); ++size) {
      const ByteVector cut(dataset.begin(), dataset.begin() + static_cast<std::ptrdiff_t>(size)); // exact memory
      readAsEverything(cut);
    }
  }
}

TEST(Wire, EveryFieldAtZeroOneAndMaximumIsHarmless) {
  for (const ByteVector& dataset : AllDatasets) {
    for (std::size_t at = 0; at < dataset.size(); ++at) {
      for (const std::size_t width : {1, 2, 4}) {
        for (const unsigned long long value : {0x0ULL, 0x1ULL, 0x7FFFFFFFULL, 0xFFFFFFFFULL}) {
          ByteVector changed = dataset;
          const ByteVector field = number(value, width);
          for (std::size_t i = 0; i < width && at + i < changed.size(); ++i)
            changed[at + i] = field[i];
          readAsEverything(changed);
        }
      }
    }
  }
}
