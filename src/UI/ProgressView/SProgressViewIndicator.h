#pragma once
// The bar of the progress panel.
#include <QIcon>
#include <QProgressBar>

/// 6 pixels high at the lower edge of the view, filled from the left or, right to left, from the right. Main thread.
class SProgressViewIndicator : public QProgressBar {
  Q_OBJECT
public:
  /// How high the bar is, in device-independent pixels.
  static constexpr int kBarHeight = 6;

  explicit SProgressViewIndicator(QWidget* parent = nullptr);
  /// `initWithFrame:isRTL:`
  SProgressViewIndicator(const QRect& frame, bool isRTL, QWidget* parent = nullptr);

  bool isRTL() const { return _isRTL; }
  void setIsRTL(bool isRTL);
  /// 0 to 100.
  std::int32_t percentage() const { return _percentage; }
  /// `setPercentage:` Held within 0 and 100. Draws anew only when it changes.
  void setPercentage(std::int32_t percentage);
  /// `setHidden:` Hides the view or shows it.
  void setHidden(bool hidden);

  /// Where the filled part stands.
  QRectF filledRect() const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

protected:
  void paintEvent(QPaintEvent* event) override;

private:
  void awakeFromNib();

  bool _isRTL = false;
  std::int32_t _percentage = 0;
  QIcon _bgImage;
  QIcon _percentImage;
};
