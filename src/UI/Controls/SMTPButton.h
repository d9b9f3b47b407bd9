#pragma once
// A button that is a picture, with others for pressed and hovered.
#include <QAbstractButton>
#include <QIcon>

/// Pictures are stretched over the whole button. No border, no focus ring: with the keyboard focus it shows the hovered
/// picture. Give it an accessible name. Main thread.
class SMTPButton : public QAbstractButton {
  Q_OBJECT
public:
  explicit SMTPButton(QWidget* parent = nullptr);

  /// `setButtonWithImageName:alternateImageName:overImgaeName:` Sets the pictures named so (see ui::namedImage()), an
  /// empty name leaving its picture as it is: normal (shown at once), pressed and hovered; and switches hovering on.
  void setButtonWithImageName(const QString& imageName, const QString& alternateImageName,
                              const QString& overImgaeName);

  QIcon normalImage() const { return _normalImage; }
  void setNormalImage(const QIcon& image) { _normalImage = image; }
  QIcon selectImage() const { return _selectImage; }
  void setSelectImage(const QIcon& image) { _selectImage = image; }
  QIcon overImage() const { return _overImage; }
  void setOverImage(const QIcon& image) { _overImage = image; }
  /// Kept for a disabled look; not drawn.
  QIcon dimImage() const { return _dimImage; }
  void setDimImage(const QIcon& image) { _dimImage = image; }
  /// Kept for a disabled look; not drawn.
  QIcon dimImagealternate() const { return _dimImagealternate; }
  void setDimImagealternate(const QIcon& image) { _dimImagealternate = image; }

  /// The picture shown while the button is not pressed: the normal or the hovered one.
  QIcon image() const { return m_image; }
  /// The picture shown while the button is pressed.
  QIcon alternateImage() const { return m_alternateImage; }

  QSize sizeHint() const override;

protected:
  /// `mouseEntered:` Shows the hovered picture, unless disabled or in a window that is not the active one.
  void enterEvent(QEnterEvent* event) override;
  /// `mouseExited:` Shows the normal picture, unless disabled.
  void leaveEvent(QEvent* event) override;
  bool event(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

private:
  QIcon _normalImage;
  QIcon _selectImage;
  QIcon _overImage;
  QIcon _dimImage;
  QIcon _dimImagealternate;
  QIcon m_image;
  QIcon m_alternateImage;
  bool m_tracksMouse = false;
  bool m_isMarked = false; // the keyboard has come to it by a key
};
