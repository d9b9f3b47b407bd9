#pragma once
// The panel that asks for the name of a new folder or for another name of an item.
#include "UI/Common/QuestionPanel.h"

class QLabel;
class QLineEdit;
class QPushButton;

/// Slides down from the top of the content view, asks, slides up again. Return in the field confirms a name that is not
/// empty, Escape cancels. Main thread, unless an operation says otherwise.
class SFileNameView : public ui::QuestionPanel {
  Q_OBJECT
public:
  /// What the keyboard may command the field.
  enum class Command { InsertNewline, CancelOperation, Other };

  explicit SFileNameView(QWidget* parent = nullptr);

  /// `runViewModalWithParam:result:` Asks for a name. `param`: the `fileName` of the item to rename, an invalid
  /// QVariant for a new folder. Returns 0 (OK) or 1 (canceled); `result`, when not null, becomes the entered name (OK:
  /// may be empty) or an invalid QVariant. Blocks until there is an answer (see QuestionPanel). Background threads
  /// only; the view must exist when it is called, not for all of it.
  int runViewModalWithParam(const QVariant& param, QVariant* result) override;
  Asker asker() override;

  /// `animationShowViewWithInfos:` Fills the panel (`infos` as above), gives the field the keyboard and slides in.
  void animationShowViewWithInfos(const QVariant& infos);
  /// `animationHiddenView` Slides out.
  void animationHiddenView();
  /// `transitionView:` Slides in, down by its height, or out, up from one height below.
  void transitionView(bool hidden) override;

  /// `btn_Clicked:` Answers: OK with the field's text, empty or not; cancel without; for any other sender what was
  /// answered last.
  void btn_Clicked(const QObject* sender);
  /// `control:textView:doCommandBySelector:` A command key in the field. Whether it was handled.
  bool doCommandBySelector(Command command);

  // The controls, owned by the panel.
  QLabel* lbDescription() const { return _lbDescription; }
  QLineEdit* txtNewName() const { return _txtNewName; }
  QPushButton* btnOK() const { return _btnOK; }
  QPushButton* btnCancel() const { return _btnCancel; }

protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

private:
  void awakeFromNib();
  void setDescription(const char* key);
  void refuseInvalidEdit(const QString& text);
  bool handleKey(const QKeyEvent& event);
  void signal();

  QLabel* _lbDescription;
  QLineEdit* _txtNewName;
  QPushButton* _btnOK;
  QPushButton* _btnCancel;
  std::int32_t _returnCode = ui::ModalQuestion::kCanceled;
  QString _returnResult; // null: none
  QString m_lastText;    // what the field held before the edit
};
