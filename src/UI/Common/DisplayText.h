#pragma once
// Names as they may be shown.
#include <QString>

namespace ui {

/// `text` fit for one line on screen, at most `longest` UTF-16 units long (an ellipsis ends a longer one): line breaks
/// and control characters become U+FFFD, unpaired surrogates likewise, and characters that steer the direction of the
/// text around them (bidirectional embeddings, overrides, isolates) are left out. For showing only: the result need not
/// name anything on the phone. Pure; any thread.
QString singleLineText(const QString& text, qsizetype longest = 2048);

} // namespace ui
