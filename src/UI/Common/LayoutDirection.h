#pragma once
// Left-to-right or right-to-left, asked in one place.

namespace ui {

/// Whether the browser is laid out right to left: what the user default "RTLLayout" says, and where that is not set,
/// the direction of the program's language. Main thread.
bool isRTLLayout();

} // namespace ui
