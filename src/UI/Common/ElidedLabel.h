#pragma once
// A label for texts of any content.
#include <QLabel>

namespace ui {

/// Shows its text on one line, cut off at its end where the room is short, whatever the text holds (see
/// singleLineText()). text() is the text as it was set. Main thread.
class ElidedLabel : public QLabel {
  Q_OBJECT
public:
  explicit ElidedLabel(QWidget* parent = nullptr);

  /// What is drawn now.
  QString shownText() const;
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

protected:
  void paintEvent(QPaintEvent* event) override;
};

} // namespace ui
