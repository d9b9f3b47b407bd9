// main() of the test programs that need Qt: an application object first, then GoogleTest's cases on the main thread.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  // No display is needed, also when the cases are only listed.
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
    qputenv("QT_QPA_PLATFORM", "offscreen");
  testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
