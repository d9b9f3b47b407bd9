#include "MTPCore/ComputerSide.h"

#include "Platform/DownloadMark.h"

#include <QDir>

#include <cstdlib>

ComputerSide ComputerSide::ofProgram() {
  ComputerSide side;
  side.linkFolder = QDir::homePath() + QStringLiteral("/Tessaly/Vorn/Temp");
  side.setDownloadMark = platform::setDownloadMark;
  // Not exit(): that runs the destructors of globals under the feet of the threads that go on.
  side.endProcess = [](int exitStatus) { std::_Exit(exitStatus); };
  return side;
}
