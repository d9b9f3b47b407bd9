#pragma once
// What the panels that hang from the top of the window's content share: frame, shadow, sliding, keyboard.
#include <QPointer>
#include <QWidget>

class QVariantAnimation;

namespace ui {

/// A framed panel above its siblings. It keeps itself centred in its parent's width, lets no mouse or wheel event
/// through, and keeps the Tab key among its own controls while it has the keyboard. Its height is its maker's affair;
/// its vertical place is what it slides. Main thread.
class OverlayPanel : public QWidget {
  Q_OBJECT
public:
  /// How long every slide takes, in milliseconds.
  static constexpr int kSlideTime = 150;
  /// How wide a panel is, in device-independent pixels.
  static constexpr int kWidth = 420;

  explicit OverlayPanel(QWidget* parent);
  ~OverlayPanel() override;

  /// The colour behind the controls.
  virtual QColor fillColor() const;

  /// The panel's slide, stopped or running; setCurrentTime() moves it on. Owned by the panel.
  QVariantAnimation* slideAnimation() const { return m_slide; }

protected:
  /// Puts the panel's lower edge at `from` and slides it to `to`, both measured upwards from the lower edge of a
  /// surface `surfaceHeight` high whose upper edge is the parent's. A slide that still runs is finished first.
  void slide(qreal surfaceHeight, qreal from, qreal to);
  /// The slide that starts from where the panel is: in, down by its height; out, from one height below to one above.
  void slideFromHere(bool hidden);
  /// A slide has come to its end.
  virtual void slideFinished() {}

  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  bool focusNextPrevChild(bool next) override;
  /// `drawRect:` Fills the panel and strokes its bounds with a black line.
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

private:
  void centre();
  void followParent();

  QVariantAnimation* m_slide;
  QPointer<QWidget> m_followed; // the parent whose size is watched
  QPointer<QWidget> m_shadow;
};

/// Whether a key event is one that the window's own shortcuts must not take while a panel or cover has the keyboard:
/// any without Ctrl, Alt or Meta. Accepts such a QEvent::ShortcutOverride.
bool keepsShortcut(QEvent& event);

} // namespace ui
