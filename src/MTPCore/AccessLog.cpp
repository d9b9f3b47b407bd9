#include "MTPCore/AccessLog.h"

#include "MTPCore/MTPSDKUtil.h"
#include "Platform/Log.h"

#include <cstdarg>

void AccessLog::line(const char* format, ...) const {
  va_list arguments;
  va_start(arguments, format);
  const QByteArray text = QString::vasprintf(format, arguments).toUtf8();
  va_end(arguments);
  const QByteArray className(m_face.className);
  const QString operation = platform::functionNameForLog(m_where.function_name());
  const QByteArray function = className + operation.mid(operation.indexOf(u"::")).toUtf8();
  const QByteArray file = className + ".cpp";
  platform::logLine({file.constData(), m_where.line(), function.constData()}, "%s", text.constData());
}

void AccessLog::ended(const char* operation, const void* node, Clock::time_point begun, std::uint32_t status,
                      std::optional<std::uint64_t> bytes) const {
  const double seconds = std::chrono::duration<double>(Clock::now() - begun).count();
  const QByteArray size = bytes ? QByteArray::number(qulonglong(*bytes)) + " bytes, " : QByteArray();
  line("%s%s: node = %p, %s%.3f s, status = %s", m_face.operationPrefix, operation, node, size.constData(), seconds,
       qUtf8Printable(MTPSDKUtil::statusString(status)));
}
