#pragma once
// What screen readers are told of the program's own widgets.

namespace ui {

/// Makes the roles, states and actions of the panels and buttons known to the accessibility bridge; once, further calls
/// do nothing. The widgets call it themselves. Main thread.
void installAccessibility();

} // namespace ui
