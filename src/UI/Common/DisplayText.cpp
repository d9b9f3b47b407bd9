#include "UI/Common/DisplayText.h"

namespace ui {

namespace {

bool steersDirection(char16_t c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

bool breaksTheLine(QChar c) {
  return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
         c.category() == QChar::Separator_Paragraph;
}

} // namespace

QString singleLineText(const QString& text, qsizetype longest) {
  QString line;
  line.reserve(qMin(text.size(), longest));
  for (qsizetype i = 0; i < text.size(); ++i) {
    const QChar c = text[i];
    const bool isPair = c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
    if (line.size() + (isPair ? 2 : 1) > longest - 1 && i + (isPair ? 2 : 1) < text.size()) {
      line += QChar(0x2026);
      break;
    }
    if (isPair) {
      line += c;
      line += text[++i];
    } else if (c.isSurrogate() || breaksTheLine(c)) {
      line += QChar(QChar::ReplacementCharacter);
    } else if (!steersDirection(c.unicode())) {
      line += c;
    }
  }
  return line;
}

} // namespace ui
