#pragma once
// A node of the browser's tree: a storage, a folder or a file of the phone.
#include "SBrowser/STransferItem.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

class LocalDays;
class SItem;
class SItemArray;

/// A tree node. A parent owns its children, a child refers to its parent weakly. A listed entry of a folder takes about
/// 300 bytes, its name included: the node identifier is kept as a number, the path as the folder's path shared with the
/// siblings, the date as the phone's digits, which become text when somebody looks. Threads: as STransferItem.
class SItem : public STransferItem {
public:
  /// `newObject` A new node: no texts, not listed, kind 6, no parent, no children (none, which an empty array is not).
  static std::shared_ptr<SItem> newObject();

  SItem();
  ~SItem() override;

  /// `copyWithZone:` The node itself.
  std::shared_ptr<SItem> copyWithZone();
  /// `mutableCopyWithZone:` A new SItem with this one's nodeID, fileName, filePath, rootPath, fileSize, dateModified,
  /// isListed, parentItem and the very same child array. Its kind stays 6; the transfer paths stay behind.
  std::shared_ptr<STransferItem> mutableCopyWithZone() const override;

  /// The engine's node as text: its address in lower-case hexadecimal for what was listed. Null when not set.
  QString nodeID() const;
  void setNodeID(const QString& text);
  /// The full path on the phone; of a storage root the storage's volume path. Null when not set.
  QString filePath() const;
  void setFilePath(const QString& path);
  /// The path of the storage that holds the node.
  const QString& rootPath() const { return m_rootPath; }
  void setRootPath(const QString& path) { m_rootPath = path; }

  /// The modification date as displayed; "--" for storages and folders; null when there is none.
  QString dateModified() const;
  void setDateModified(const QString& text);
  /// Makes `dateModified` the displayed text (see ui::convertMtpToSystemDate()) of a date as the phone tells it.
  void setMtpDate(const QString& mtpDateTime);
  /// What the date column sorts by: unknown dates ("--") come first, then what is no date, then the dates by moment.
  struct DateOrder {
    enum Rank : int { Unknown, NoDate, Date } rank = NoDate;
    std::int64_t moment = 0; ///< milliseconds since 1970 UTC
  };
  DateOrder dateOrder(LocalDays& days) const;

  /// True once the children were fetched from the phone.
  bool isListed() const { return m_isListed; }
  void setIsListed(bool listed) { m_isListed = listed; }
  /// The node one level up; null for a storage root, and when that node is gone.
  std::shared_ptr<SItem> parentItem() const { return m_parentItem.lock(); }
  void setParentItem(const std::shared_ptr<SItem>& parent) { m_parentItem = parent; }
  /// The listed children; null until first listed. Shared: later changes of the array are seen by the node.
  const std::shared_ptr<SItemArray>& childObjects() const { return m_childObjects; }
  /// `setChildObjects:` Takes the array as it is.
  void setChildObjects(std::shared_ptr<SItemArray> children) { m_childObjects = std::move(children); }

  /// Shown with a triangle: storages, folders.
  bool isExpandable() const { return objectType() < SObjectTypeFolderKind; }
  bool isStorageRoot() const {
    return objectType() == SObjectTypeInternalStorage || objectType() == SObjectTypeExternalStorage;
  }

protected:
  void fileNameWillChange() override;

private:
  friend class SItemArray;

  enum class NodeIdForm : std::uint8_t { Absent, Number, Text };
  enum class PathForm : std::uint8_t { Whole, FolderAndName };
  // m_date: a packed date (the digits YYYYMMDDhhmmss as a number) or one of these.
  static constexpr std::int64_t kNoDate = -1;
  static constexpr std::int64_t kUnknownDate = -2;
  static constexpr std::int64_t kDateText = -3;

  QString m_folderPath; // FolderAndName: the path is this, "/", fileName(). One text shared by the whole folder.
  QString m_rootPath;
  std::uint64_t m_nodeId = 0; // Number: the identifier
  std::int64_t m_date = kNoDate;
  std::weak_ptr<SItem> m_parentItem;
  std::shared_ptr<SItemArray> m_childObjects;
  mutable std::int32_t m_row = -1; // where SItemArray found the item last: a hint, checked before use
  NodeIdForm m_nodeIdForm = NodeIdForm::Absent;
  PathForm m_pathForm = PathForm::Whole;
  bool m_isListed = false;
};
