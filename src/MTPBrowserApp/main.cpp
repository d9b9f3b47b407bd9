// The process's entry: makes the parts, hands over to the application's main loop, ends what was started.
#include "MTPBrowserApp/Application.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
  QCoreApplication::setApplicationVersion(QStringLiteral(MTPBROWSER_VERSION));
  return runApplication(argc, argv);
}
