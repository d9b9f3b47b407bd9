// The process's entry: makes the parts, hands over to the application's main loop, ends what was started.
#include "MTPBrowserApp/Application.h"

int main(int argc, char** argv) {
  return runApplication(argc, argv);
}
