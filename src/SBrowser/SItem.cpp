#include "SBrowser/SItem.h"

#include "Platform/Dates.h"
#include "SBrowser/LocalDays.h"
#include "SBrowser/SItemArray.h"
#include "UI/Common/NSStringPredicate.h"
#include "UI/Common/SizeText.h"

namespace {

constexpr std::int64_t kTimeDigits = 1'000'000; // hhmmss
constexpr std::int64_t kDateDigits = 100'000'000;

QString mtpText(std::int64_t packed) {
  return QStringLiteral("%1T%2").arg(packed / kTimeDigits).arg(packed % kTimeDigits);
}

std::optional<std::int64_t> packed(const platform::dates::Fields& fields) {
  const std::int64_t date = fields.year * 10'000 + fields.month * 100 + fields.day;
  const std::int64_t time = fields.hour * 10'000 + fields.minute * 100 + fields.second;
  if (fields.year < 0 || fields.year > 9999 || date >= kDateDigits || time < 0 || time >= kTimeDigits)
    return std::nullopt;
  return date * kTimeDigits + time;
}

/// The number behind the text, if writing the number gives the very same text.
std::optional<std::uint64_t> canonicalHex(const QString& text) {
  if (text.isEmpty() || text.size() > 16 || text.at(0) == u'0')
    return std::nullopt;
  std::uint64_t value = 0;
  for (const QChar c : text) {
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
      value = value << 4 | static_cast<std::uint64_t>(u - u'0');
    else if (u >= u'a' && u <= u'f')
      value = value << 4 | static_cast<std::uint64_t>(u - u'a' + 10);
    else
      return std::nullopt;
  }
  return value;
}

} // namespace

std::shared_ptr<SItem> SItem::newObject() {
  return std::make_shared<SItem>();
}

SItem::SItem() {
  setObjectType(SObjectTypeUnset);
}

SItem::~SItem() {
  m_isListed = false;
  m_parentItem.reset();
}

std::shared_ptr<SItem> SItem::copyWithZone() {
  return std::static_pointer_cast<SItem>(shared_from_this());
}

std::shared_ptr<STransferItem> SItem::mutableCopyWithZone() const {
  auto copy = newObject();
  copy->setNodeID(nodeID());
  copy->setFileName(fileName());
  copy->setFilePath(filePath());
  copy->setRootPath(rootPath());
  copy->setFileSize(fileSize());
  copy->m_date = m_date;
  if (m_date == kDateText)
    copy->setAside(&Aside::dateModified, aside(&Aside::dateModified));
  copy->setIsListed(isListed());
  copy->setParentItem(parentItem());
  copy->setChildObjects(childObjects());
  return copy;
}

QString SItem::nodeID() const {
  if (m_nodeIdForm == NodeIdForm::Number)
    return QString::number(m_nodeId, 16);
  return aside(&Aside::nodeID);
}

void SItem::setNodeID(const QString& text) {
  const std::optional<std::uint64_t> number = canonicalHex(text);
  m_nodeIdForm = number ? NodeIdForm::Number : text.isNull() ? NodeIdForm::Absent : NodeIdForm::Text;
  m_nodeId = number.value_or(0);
  setAside(&Aside::nodeID, number ? QString() : text);
}

QString SItem::filePath() const {
  if (m_pathForm == PathForm::FolderAndName)
    return m_folderPath + u'/' + fileName();
  return aside(&Aside::filePath);
}

void SItem::setFilePath(const QString& path) {
  const qsizetype folder = path.size() - fileName().size() - 1;
  if (!fileName().isEmpty() && folder >= 0 && path.at(folder) == u'/' && path.endsWith(fileName())) {
    m_pathForm = PathForm::FolderAndName;
    const QStringView folderPath = QStringView(path).first(folder);
    // Siblings come one after the other with the same folder: they share one text.
    static thread_local QString lastFolder;
    if (lastFolder != folderPath)
      lastFolder = folderPath.toString();
    m_folderPath = lastFolder;
    setAside(&Aside::filePath, QString());
    return;
  }
  m_pathForm = PathForm::Whole;
  m_folderPath = QString();
  setAside(&Aside::filePath, path);
}

void SItem::fileNameWillChange() {
  if (m_pathForm == PathForm::Whole)
    return;
  const QString path = filePath(); // a new name leaves the path as it is
  m_pathForm = PathForm::Whole;
  m_folderPath = QString();
  setAside(&Aside::filePath, path);
}

QString SItem::dateModified() const {
  switch (m_date) {
  case kNoDate:
    return QString();
  case kUnknownDate:
    return ui::kUnknownDate.toString();
  case kDateText:
    return aside(&Aside::dateModified);
  default:
    return ui::convertMtpToSystemDate(mtpText(m_date)).value_or(QString());
  }
}

void SItem::setDateModified(const QString& text) {
  m_date = text.isNull() ? kNoDate : text == ui::kUnknownDate ? kUnknownDate : kDateText;
  setAside(&Aside::dateModified, m_date == kDateText ? text : QString());
}

void SItem::setMtpDate(const QString& mtpDateTime) {
  const std::optional<platform::dates::Fields> fields = ui::fieldsOfMtpDate(mtpDateTime);
  const std::optional<std::int64_t> digits = fields ? packed(*fields) : std::nullopt;
  if (!digits) {
    setDateModified(ui::convertMtpToSystemDate(mtpDateTime).value_or(QString()));
    return;
  }
  m_date = *digits;
  setAside(&Aside::dateModified, QString());
}

SItem::DateOrder SItem::dateOrder(LocalDays& days) const {
  std::optional<std::int64_t> moment;
  if (m_date == kUnknownDate)
    return {DateOrder::Unknown, 0};
  if (m_date == kDateText) {
    if (const auto date = ui::dateFromString(aside(&Aside::dateModified)))
      moment = date->time_since_epoch().count();
  } else if (m_date != kNoDate) {
    const std::int64_t date = m_date / kTimeDigits;
    const std::int64_t time = m_date % kTimeDigits;
    moment =
        days.moment({date / 10'000, date % 10'000 / 100, date % 100, time / 10'000, time % 10'000 / 100, time % 100});
  }
  return moment ? DateOrder{DateOrder::Date, *moment} : DateOrder{DateOrder::NoDate, 0};
}
