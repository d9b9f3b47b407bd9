#pragma once
// The question before deleting.
#include "UI/Common/QuestionPanel.h"
#include "UI/Controls/SGhostView.h"

class QCheckBox;
class QLabel;
class QPushButton;

/// Slides down from the top of the content view, asks, slides up again. Escape cancels, Return and Enter confirm, also
/// when the keyboard is with the cover in front of the window that hands its events on. Main thread, unless an
/// operation says otherwise.
class SNoticeView : public ui::QuestionPanel, public SGhostViewDelegate {
  Q_OBJECT
public:
  /// The line, above the lower edge of a content view of this height, that the panel hangs from: its upper edge.
  static constexpr qreal kTopLine = 490;

  explicit SNoticeView(QWidget* parent = nullptr);

  /// `runViewModalWithParam:result:` Asks whether to delete. Returns 0 (confirmed; `result`, when not null, becomes a
  /// bool: whether the box was ticked) or 1 (canceled; `result` is left alone). `param` is ignored. Blocks until there
  /// is an answer (see QuestionPanel). Background threads only; the view must exist when it is called, not for all of
  /// it.
  int runViewModalWithParam(const QVariant& param, QVariant* result) override;
  Asker asker() override;

  using SBrowserChildViewDelegate::animationHidden;
  /// `animationHidden:` Sets the texts, clears the box and slides out (true) or in, soon, on the main thread. Any
  /// thread; does not block.
  void animationHidden(bool hidden);
  /// `transitionView:` Slides between above the top line and below it.
  void transitionView(bool hidden) override;

  /// `btn_Clicked:` Answers: 0 for the OK button, 1 for the cancel button, for any other sender what was answered last.
  void btn_Clicked(const QObject* sender);
  /// `keyDown:` Escape is the cancel button; Return, Enter and line feed are the OK button. Whether it was one of them.
  bool keyDown(const QKeyEvent& event);

  /// Keys go to keyDown(), the Tab key into the panel; all other events are swallowed.
  bool ghostViewEvent(QEvent& event) override;

  // The controls, owned by the panel.
  QLabel* lbTitle() const { return _lbTitle; }
  QLabel* lbDescription() const { return _lbDescription; }
  QCheckBox* btnCheckbox() const { return _btnCheckbox; }
  QPushButton* btnOK() const { return _btnOK; }
  QPushButton* btnCancel() const { return _btnCancel; }

protected:
  void keyPressEvent(QKeyEvent* event) override;

private:
  void fillTexts();
  void animationHiddenOnMainThread(bool hidden);

  QLabel* _lbTitle;
  QLabel* _lbDescription;
  QCheckBox* _btnCheckbox; // with its text as its title, not in a _lbCheckboxDes beside it: a click on that ticks, too
  QPushButton* _btnOK;
  QPushButton* _btnCancel;
  std::int32_t _returnCode = ui::ModalQuestion::kCanceled;
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};
