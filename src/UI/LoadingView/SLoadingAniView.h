#pragma once
// The busy overlay: a veil that swallows input, with the animation in its middle.
#include <QIcon>
#include <QWidget>

/// Shows one picture, as large as itself. Main thread.
class SImageView : public QWidget {
  Q_OBJECT
public:
  explicit SImageView(QWidget* parent = nullptr);
  void setImage(const QIcon& image);
  QIcon image() const { return m_image; }

protected:
  void paintEvent(QPaintEvent* event) override;

private:
  QIcon m_image;
};

/// Takes every mouse, wheel and key event and refuses every drag, so that nothing below can be used meanwhile. Takes
/// the keyboard focus when asked to. Holds the pictures of the animation, centred. Main thread.
class SLoadingAniView : public QWidget {
  Q_OBJECT
public:
  explicit SLoadingAniView(QWidget* parent = nullptr);

  /// The picture that stands still. Owned by the view.
  SImageView* circleBase() const { return m_circleBase; }
  /// The picture that moves. Owned by the view.
  SImageView* aniCircle() const { return m_aniCircle; }

Q_SIGNALS:
  /// The view has come into sight (true) or gone out of it.
  void visibilityChanged(bool visible);

protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

private:
  SImageView* m_circleBase;
  SImageView* m_aniCircle;
};
