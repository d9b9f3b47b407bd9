#pragma once

/// Runs the program from start to end: the application object, the engine, the detector, the delegate and its parts.
/// Returns the process's exit status: 0 after the window was closed or the phone left. Main thread; blocks for the
/// program's whole run and at its end for the background threads (bounded, see Application.cpp).
int runApplication(int argc, char** argv);
