#pragma once
// A toolbar button that is a picture, with a plate behind it while the pointer is over it.
#include <QIcon>
#include <QToolButton>

/// Drawn by itself; a tool button, so that screen readers know it as a button. Main thread.
class NavigationButton : public QToolButton {
  Q_OBJECT
public:
  /// `imageName` as for ui::namedImage().
  explicit NavigationButton(const QString& imageName, QWidget* parent = nullptr);

  /// Whether the plate is shown: the pointer is over the button.
  bool isHighlighted() const { return m_isHighlighted; }
  QSize sizeHint() const override;

Q_SIGNALS:
  /// The pointer has come over the button (true) or left it.
  void hovered(bool entered);

protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

private:
  QIcon m_image;
  bool m_isHighlighted = false;
};
