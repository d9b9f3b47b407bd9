#pragma once
// The panel that shows how far a transfer has come, with a button that ends it.
#include "UI/Common/OverlayPanel.h"
#include "UI/Common/SBrowserChildViewDelegate.h"

class QLabel;
class SMTPButton;
class SProgressView;
class SProgressViewIndicator;

/// Whom the panel reports to. Implemented, publicly, by a QObject.
class SProgressViewDelegate {
public:
  virtual ~SProgressViewDelegate() = default;

  /// `onProgressActionCanceled:` The user wants the transfer to end. Main thread.
  virtual void onProgressActionCanceled(SProgressView* view) = 0;
};

/// Shown and hidden by its owner; takes the keyboard while it is shown, so that Escape ends the transfer. Main thread.
class SProgressView : public ui::OverlayPanel, public SBrowserChildViewDelegate {
  Q_OBJECT
public:
  explicit SProgressView(QWidget* parent = nullptr);

  /// `setOwnerDelegate:` A QObject that is a SProgressViewDelegate; nullptr or any other object: nobody. Not owned: a
  /// destroyed owner is forgotten.
  void setOwnerDelegate(QObject* owner) override;
  /// `setFileStatus:` The file line, of any content: shown on one line, cut off at its end.
  void setFileStatus(const QString& text);
  /// `setProgressInfo:totalValue:` Bytes done and bytes in all; a total of 0 changes nothing.
  void setProgressInfo(quint64 done, quint64 totalValue);
  /// `animationHidden:infos:` Back to the start: no file, getting ready, bar empty. Slides nothing; both are ignored.
  void animationHidden(bool hidden, const QVariant& infos) override;
  /// `transitionView:` Slides in, down by its height, or out, up from one height below.
  void transitionView(bool hidden) override;
  /// `btnCancel_Clicked:` Tells the owner.
  void btnCancel_Clicked(const QObject* sender);
  /// `stringFromating:` A byte count as text (see ui::stringFromating()).
  static QString stringFromating(quint64 bytes);

  QColor fillColor() const override;

  // The controls, owned by the panel.
  QLabel* lbFileName() const { return _lbFileName; }
  QLabel* lbProgressStatus() const { return _lbProgressStatus; }
  SMTPButton* btnCancel() const { return _btnCancel; }
  SProgressViewIndicator* progressIndicator() const { return _progressIndicator; }

protected:
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

private:
  void awakeFromNib();

  QPointer<QObject> _pOwnerDelegate;
  QLabel* _lbFileName;
  QLabel* _lbProgressStatus;
  SMTPButton* _btnCancel;
  SProgressViewIndicator* _progressIndicator;
};
