#pragma once
// Left-to-right or right-to-left, decided in one place.

namespace ui {

/// Whether the browser is laid out right to left: what the user default "RTLLayout" says, and where that is not set,
/// the direction of the language its texts are in. Any thread.
bool isRTLLayout();

/// Gives the whole application that direction, menus and dialogs included, whatever Qt has guessed. Called once before
/// the first window, and again when the user default or the language has changed: what stands on the screen then
/// follows, but cells and headers keep the direction they were made with. Main thread.
void applyLayoutDirection();

} // namespace ui
