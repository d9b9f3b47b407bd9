#pragma once
// Which of a phone's storages are shown, as what, and in which order.
#include "MTPCore/MtpItemInfo.h"
#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <QList>
#include <QString>

#include <array>
#include <optional>

/// Takes a phone's storages in the order listed and keeps at most one of each disk type, the last one listed. One
/// thread at a time; the caller holds the nodes.
class StorageCollector {
public:
  explicit StorageCollector(const QString& modelName)
      : m_modelName(modelName) {}

  /// The name a storage is shown with: the record's text without its last unit; empty when it is shorter than 2.
  static QString shownName(const _MTP_STORAGE_NODE& storage);
  /// Takes a storage, unless it is one that users are not shown.
  void add(const _MTP_STORAGE_NODE& storage);
  /// Internal storage, second internal storage, memory card.
  QList<MtpStorageInfo> storages() const;

private:
  const QString m_modelName;
  std::array<std::optional<MtpStorageInfo>, 4> m_ofType; // by diskType
};
