#pragma once
// A titled button of the panels.
#include <QPushButton>

namespace ui {

/// Drawn in the panels' own look, plain or as the one that Return means. Clicks by mouse, Space, and Return while it
/// has the keyboard; shows the keyboard focus. Main thread.
class PanelButton : public QPushButton {
  Q_OBJECT
public:
  enum class Kind { Plain, Primary };
  explicit PanelButton(Kind kind, QWidget* parent = nullptr);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

protected:
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

private:
  Kind m_kind;
};

} // namespace ui
