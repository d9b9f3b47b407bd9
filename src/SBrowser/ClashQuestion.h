#pragma once
// The question about a name that is taken: replace, replace all, or skip.
#include "UI/Common/ModalQuestion.h"

#include <QPointer>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class QMessageBox;
class QWidget;

/// What the user has answered so far in one transfer.
enum ClashAnswer : std::int32_t {
  ClashAnswerNone = 0,
  ClashAnswerSkip = 1,
  ClashAnswerReplace = 2,
  ClashAnswerReplaceAll = 3,
};

/// Asks with an alert in the middle of the window. Return and Escape, and closing the alert, mean "skip": replacing
/// deletes something and wants to be chosen. Hold it by std::shared_ptr, one reference with whoever asks; its maker
/// calls close() before the window goes.
class ClashQuestion {
public:
  explicit ClashQuestion(QWidget& window);

  /// Asks about `name`, of any content, and waits. With `several` items in the transfer "replace all" is offered, too.
  /// Nothing when nobody can answer: the question was canceled, the window closes, or `isWanted`, asked on the main
  /// thread right before the alert is shown, says no. Background threads only.
  /// `deletesFolder`: what bears the name is a folder that replacing deletes with all that is in it.
  std::optional<ClashAnswer> ask(const QString& name, bool several, const std::function<bool()>& isWanted,
                                 bool deletesFolder = false);
  /// Ends the question that is being asked without an answer. Any thread.
  void cancel();
  /// Ends all questions, now and in future. Main thread.
  void close();

  /// The alert while it is open, else null. Main thread.
  QMessageBox* alert() const;

private:
  void show(const QString& name, bool several, bool deletesFolder);
  void hide();

  ui::ModalQuestion m_question;
  QPointer<QWidget> m_window; // main thread
  QPointer<QMessageBox> _isExistsAlert;
};
