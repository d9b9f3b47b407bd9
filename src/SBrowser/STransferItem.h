#pragma once
// One file or folder of a transfer plan, and the base of the browser's tree nodes.
#include <QString>

#include <cstdint>
#include <memory>

/// Values of `objectType`. Whatever is below SObjectTypeFile holds others and can be entered; only a file has a size to
/// show.
enum SObjectType : std::int32_t {
  SObjectTypeInternalStorage = 1,
  SObjectTypeExternalStorage = 2,
  SObjectTypeFolder = 3,
  SObjectTypeFolderKind = 4, ///< treated like a folder, but never expandable; nothing assigns it
  SObjectTypeFile = 5,
  SObjectTypeUnset = 6, ///< what a fresh SItem is until it is classified
};

/// The last component of a "/" separated path; trailing slashes do not count, the root's is "/". Null for null.
QString lastPathComponent(const QString& path);

/// A source, a destination, a size and a kind. A null QString is the absent text, which an empty one is not.
///
/// Always held by std::shared_ptr. Not thread-safe: an item belongs to the thread that made it until it is handed over,
/// and to the main thread once it stands in the browser's tree.
class STransferItem : public std::enable_shared_from_this<STransferItem> {
public:
  /// `newObject` A new item: all texts absent, size 0, kind 0.
  static std::shared_ptr<STransferItem> newObject();

  STransferItem();
  virtual ~STransferItem();
  STransferItem(const STransferItem&) = delete;
  STransferItem& operator=(const STransferItem&) = delete;

  /// `copyWithZone:` The item itself: an unchangeable copy need not be another object.
  std::shared_ptr<STransferItem> copyWithZone();
  /// `mutableCopyWithZone:` A new item with this one's name, source (which names the copy anew: no source, no name),
  /// subFolderPath, size and kind. The destination stays behind.
  virtual std::shared_ptr<STransferItem> mutableCopyWithZone() const;

  const QString& fileName() const { return m_fileName; }
  void setFileName(const QString& name);
  QString srcPath() const;
  /// `setSrcPath:` Also names the item: its last component becomes `fileName`; absent clears both.
  void setSrcPath(const QString& path);
  QString desPath() const;
  /// `setDesPath:` Leaves the name alone.
  void setDesPath(const QString& path);
  /// The path relative to the top folder of a folder transfer.
  QString subFolderPath() const;
  void setSubFolderPath(const QString& path);
  /// Bytes; 0 for folders and storages.
  std::uint64_t fileSize() const { return m_fileSize; }
  void setFileSize(std::uint64_t bytes) { m_fileSize = bytes; }
  std::int32_t objectType() const { return m_objectType; }
  void setObjectType(std::int32_t type) { m_objectType = type; }

protected:
  /// Texts that hardly any listed item has: kept aside, so that an item without them costs one pointer.
  struct Aside {
    QString srcPath;
    QString desPath;
    QString subFolderPath;
    QString nodeID;
    QString filePath;
    QString dateModified;
  };
  const QString& aside(QString Aside::*text) const;
  void setAside(QString Aside::*text, const QString& value);
  /// Called before the name changes.
  virtual void fileNameWillChange() {}

private:
  QString m_fileName;
  std::unique_ptr<Aside> m_aside;
  std::uint64_t m_fileSize = 0;
  std::int32_t m_objectType = 0;
};
