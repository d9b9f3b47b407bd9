#include "MTPBrowserApp/SupportLines.h"

#include "TessalyMTPSdk/Engine.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QSysInfo>

QStringList supportLines() {
  QStringList lines{QStringLiteral("MTPBrowser %1, Qt %2 (%3), %4, %5 %6 on %7, language %8")
                        .arg(QCoreApplication::applicationVersion(), QString::fromLatin1(qVersion()),
                             QGuiApplication::platformName(), QSysInfo::prettyProductName(), QSysInfo::kernelType(),
                             QSysInfo::kernelVersion(), QSysInfo::currentCpuArchitecture(),
                             VornLocalStringDefine::language())};
  const std::vector<std::string> phones = mtp::describePhones();
  for (const std::string& phone : phones)
    lines.append(QStringLiteral("open phone: ") + QString::fromStdString(phone));
  if (phones.empty())
    lines.append(QStringLiteral("no phone is open"));
  return lines;
}
