#pragma once
// The panels' field and check box, drawn like their buttons: edges that can be seen in light and dark.
#include <QCheckBox>
#include <QLineEdit>

namespace ui {

/// A line to type in; its frame shows the keyboard focus. Main thread.
class PanelField : public QLineEdit {
  Q_OBJECT
public:
  explicit PanelField(QWidget* parent = nullptr);

protected:
  void paintEvent(QPaintEvent* event) override;
};

/// A box to tick with its title; its frame shows the keyboard focus. Main thread.
class PanelCheckBox : public QCheckBox {
  Q_OBJECT
public:
  explicit PanelCheckBox(QWidget* parent = nullptr);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

protected:
  bool hitButton(const QPoint& point) const override;
  void paintEvent(QPaintEvent* event) override;
};

} // namespace ui
