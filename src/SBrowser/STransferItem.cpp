#include "SBrowser/STransferItem.h"

QString lastPathComponent(const QString& path) {
  if (path.isEmpty())
    return path;
  qsizetype end = path.size();
  while (end > 1 && path.at(end - 1) == u'/')
    --end;
  const QStringView trimmed = QStringView(path).first(end);
  if (trimmed.size() <= 1)
    return path.first(end);
  return trimmed.sliced(trimmed.lastIndexOf(u'/') + 1).toString();
}

std::shared_ptr<STransferItem> STransferItem::newObject() {
  return std::make_shared<STransferItem>();
}

STransferItem::STransferItem() = default;

STransferItem::~STransferItem() {
  m_objectType = SObjectTypeUnset; // whoever still looks (a debugger, a crash dump) sees that it is gone
}

std::shared_ptr<STransferItem> STransferItem::copyWithZone() {
  return shared_from_this();
}

std::shared_ptr<STransferItem> STransferItem::mutableCopyWithZone() const {
  auto copy = newObject();
  copy->setFileName(fileName());
  copy->setSrcPath(srcPath());
  copy->setSubFolderPath(subFolderPath());
  copy->setFileSize(fileSize());
  copy->setObjectType(objectType());
  return copy;
}

void STransferItem::setFileName(const QString& name) {
  fileNameWillChange();
  m_fileName = name;
}

QString STransferItem::srcPath() const {
  return aside(&Aside::srcPath);
}

void STransferItem::setSrcPath(const QString& path) {
  setAside(&Aside::srcPath, path);
  setFileName(lastPathComponent(path));
}

QString STransferItem::desPath() const {
  return aside(&Aside::desPath);
}

void STransferItem::setDesPath(const QString& path) {
  setAside(&Aside::desPath, path);
}

QString STransferItem::subFolderPath() const {
  return aside(&Aside::subFolderPath);
}

void STransferItem::setSubFolderPath(const QString& path) {
  setAside(&Aside::subFolderPath, path);
}

const QString& STransferItem::aside(QString Aside::*text) const {
  static const QString absent;
  return m_aside ? *m_aside.*text : absent;
}

void STransferItem::setAside(QString Aside::*text, const QString& value) {
  if (!m_aside) {
    if (value.isNull())
      return;
    m_aside = std::make_unique<Aside>();
  }
  *m_aside.*text = value;
}
