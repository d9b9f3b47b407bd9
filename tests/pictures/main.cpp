// Draws the window's pictures and compares them with the references.
//
//   picture_test [GoogleTest's options]
//   picture_test --into=FOLDER [--scale=FACTOR] …   writes the pictures into the folder instead
#include "Surroundings.h"

#include <QApplication>
#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  double scale = 1;
  QString folder;
  for (int i = 1; i < argc; ++i) {
    const QString argument = QString::fromLocal8Bit(argv[i]);
    if (argument.startsWith(QStringLiteral("--into="))) {
      folder = QDir(argument.mid(7)).absolutePath();
    } else if (argument.startsWith(QStringLiteral("--scale="))) {
      scale = argument.mid(8).toDouble();
    } else {
      std::fprintf(stderr, "picture_test: what is %s?\n", argv[i]);
      return 2;
    }
  }
  if (scale <= 0 || (scale != 1 && folder.isEmpty())) {
    std::fprintf(stderr, "picture_test: another scale is for --into=FOLDER only\n");
    return 2;
  }
  pictures::outputFolder() = folder;
  pictures::fixEnvironment(scale);
  const QTemporaryDir settings;
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
  QApplication application(argc, argv);
  pictures::fixApplication();
  return RUN_ALL_TESTS();
}
