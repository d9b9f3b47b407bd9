#include "MTPCore/MTPSDKUtil.h"

#include "Platform/SystemVersion.h"

#include <QFileInfo>

#include <algorithm>
#include <iterator>

namespace {

struct NamedStatus {
  std::uint32_t code;
  const char* name;
};

#define MTPB_DGSTATUS_ROW(name, code) {code, #name},
constexpr NamedStatus Statuses[] = {MTPB_DGSTATUS_CODES(MTPB_DGSTATUS_ROW)};
#undef MTPB_DGSTATUS_ROW
static_assert(std::is_sorted(std::begin(Statuses), std::end(Statuses),
                             [](const NamedStatus& a, const NamedStatus& b) { return a.code < b.code; }));

constexpr std::uint32_t SecondNotSupportFormat = 0x14000003;

const char* nameOf(std::uint32_t status) {
  if (status == SecondNotSupportFormat)
    status = DGSTATUS_NOT_SUPPORT_FORMAT;
  const auto* const row = std::lower_bound(std::begin(Statuses), std::end(Statuses), status,
                                           [](const NamedStatus& a, std::uint32_t code) { return a.code < code; });
  return row != std::end(Statuses) && row->code == status ? row->name : nullptr;
}

bool isInternal(std::uint32_t status) {
  return (status >= DGSTATUS_INTERNAL_GETOBJECTPROPLIST_FAILED && status <= DGSTATUS_INTERNAL_DRIVER_READ_ERROR) ||
         (status >= DGSTATUS_INTERNAL_GENERALERROR && status <= DGSTATUS_INTERNAL_OBJECTTOOLARGE);
}

} // namespace

QString MTPSDKUtil::statusString(std::uint32_t status) {
  const char* const name = nameOf(status);
  return QString::asprintf(isInternal(status) ? "%s  0x%08x" : "%s - 0x%08x", name != nullptr ? name : "UNKNOWN",
                           status);
}

bool MTPSDKUtil::macOS11AndLater() {
  const std::optional<platform::SystemVersion> version = platform::systemVersion();
  return version && (version->major > 10 || version->minor > 15);
}

bool MTPSDKUtil::isIncludeFileExtension(const QString& name, const QStringList& extType) {
  const QFileInfo file(name);
  const QString extension = file.completeBaseName().isEmpty() ? QString() : file.suffix(); // ".name" has none
  return !extension.isEmpty() && extType.contains(extension, Qt::CaseInsensitive);
}
