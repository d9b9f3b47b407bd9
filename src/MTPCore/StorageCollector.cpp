#include "MTPCore/StorageCollector.h"

#include <QStringView>

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::uint64_t UsedSizeAddition = 524'288'000; // 500 MiB

enum DiskType : unsigned int { InternalDisk = 1, CardDisk = 2, SecondInternalDisk = 3 };

bool isOneOf(const QString& name, std::initializer_list<QStringView> names) {
  return std::ranges::any_of(names, [&](QStringView one) { return one.compare(name, Qt::CaseInsensitive) == 0; });
}

bool isHidden(const QString& name, std::uint32_t storageId) {
  return name.isEmpty() || isOneOf(name, {u"OSP", u"Private content"}) || storageId == 0x00060001;
}

DiskType diskTypeOf(const QString& name, std::uint32_t storageId) {
  if (storageId == 0x00020001 || storageId == 0x00020002 || isOneOf(name, {u"Card", u"SD Card"}))
    return CardDisk;
  if (storageId == 0x00010002 || isOneOf(name, {u"Gemel Talk"}))
    return SecondInternalDisk;
  return InternalDisk;
}

QString commonNodeText(const _MTP_COMMON_NODE& common) {
  const std::uint64_t value = std::uint64_t(std::uint32_t(common.nodeType)) << 32 | common.nodeId;
  return QString::asprintf("0x%08llx", static_cast<unsigned long long>(value));
}

} // namespace

QString StorageCollector::shownName(const _MTP_STORAGE_NODE& storage) {
  const char16_t* const text = storage.name;
  if (text == nullptr || storage.nameLength < 2)
    return QStringLiteral("");
  return QStringView(text, storage.nameLength - 1).toString();
}

void StorageCollector::add(const _MTP_STORAGE_NODE& storage) {
  const QString name = shownName(storage);
  const std::uint32_t storageId = storage.common.nodeId;
  if (isHidden(name, storageId))
    return;
  const DiskType type = diskTypeOf(name, storageId);
  const QString commonNode = commonNodeText(storage.common);
  if (m_ofType[type] && m_ofType[type]->CommonNode == commonNode)
    return;
  MtpStorageInfo info;
  info.volumePath = u'/' + m_modelName + u'/' + name;
  info.TotalSpace = storage.totalCapacity;
  info.UsedSize = storage.freeSpace + UsedSizeAddition;
  info.diskType = type;
  info.diskIndex = unsigned(std::ranges::count_if(m_ofType, [](const auto& entry) { return entry.has_value(); }));
  info.CommonNode = commonNode;
  m_ofType[type] = info;
}

QList<MtpStorageInfo> StorageCollector::storages() const {
  QList<MtpStorageInfo> storages;
  for (const DiskType type : {InternalDisk, SecondInternalDisk, CardDisk})
    if (m_ofType[type])
      storages.append(*m_ofType[type]);
  return storages;
}
