#pragma once
// Whether a text can be read whole where it stands.
#include <QAbstractButton>
#include <QCoreApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QStringList>
#include <QTextLayout>

namespace testsupport {

/// Whether `text` stands whole in `size` in that font: on one line, or wrapped between words where `wraps` is set. A
/// line break in the text is one in any case. “&” before a letter takes no room.
inline bool fits(const QString& text, const QFont& font, QSize size, bool wraps = false) {
  int flags = Qt::TextShowMnemonic;
  if (wraps)
    flags |= Qt::TextWordWrap;
  const QFontMetrics metrics(font);
  const QRect wanted = metrics.boundingRect(QRect(QPoint(), size), flags, text);
  // A script that another font serves has higher lines, but its letters stand as well in the font's own.
  const bool isOneLine = !wraps && !text.contains(u'\n');
  const int height = isOneLine ? metrics.tightBoundingRect(text).height() : wanted.height();
  return wanted.width() <= size.width() && height <= size.height();
}

/// Whether `text`, wrapped between words, takes no more than so many lines of that width in that font. A line break in
/// the text is one in any case. How high the lines get is not asked: that depends on the fonts of their scripts.
inline bool fitsLines(const QString& text, const QFont& font, int width, int lines) {
  for (const QString& paragraph : text.split(u'\n')) {
    QTextLayout layout(paragraph, font);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
      line.setLineWidth(width);
      if (--lines < 0 || line.naturalTextWidth() > width)
        return false;
    }
    layout.endLayout();
  }
  return true;
}

/// The texts of `root`'s shown labels and buttons that are cut off, or stand partly beyond `root`'s edge.
inline QStringList cutOffTexts(QWidget& root) {
  QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  QStringList found;
  const auto check = [&](QWidget& widget, const QString& text, bool isWhole) {
    const QRect place(widget.mapTo(&root, QPoint()), widget.size());
    if (!text.isEmpty() && !(isWhole && root.rect().contains(place)))
      found.append(text);
  };
  for (QLabel* label : root.findChildren<QLabel*>())
    if (label->isVisibleTo(&root))
      check(*label, label->text(), fits(label->text(), label->font(), label->contentsRect().size(), label->wordWrap()));
  for (QAbstractButton* button : root.findChildren<QAbstractButton*>())
    if (button->isVisibleTo(&root))
      check(*button, button->text(),
            button->width() >= button->sizeHint().width() && fits(button->text(), button->font(), button->size()));
  return found;
}

} // namespace testsupport
