#pragma once
// A panel that asks a background thread's question.
#include "UI/Common/ModalQuestion.h"
#include "UI/Common/OverlayPanel.h"
#include "UI/Common/SBrowserChildViewDelegate.h"

#include <functional>
#include <memory>

namespace ui {

/// Waits above the edge of its parent, out of sight, until it is asked; its controls can be reached only while it is
/// shown. A question ends canceled when the panel or its window is hidden (a minimised window keeps it), when the
/// program ends and when the panel is destroyed. Main thread, but for asking.
class QuestionPanel : public OverlayPanel, public SBrowserChildViewDelegate {
  Q_OBJECT
public:
  explicit QuestionPanel(QWidget* parent);
  ~QuestionPanel() override;

  /// What a worker asks with, in place of runViewModalWithParam(): it may be called when the panel has gone meanwhile,
  /// and is canceled then. Main thread; what it returns is for background threads.
  using Asker = std::function<int(const QVariant& param, QVariant* result)>;
  virtual Asker asker() = 0;

  /// Ends the question that is being asked, and those that wait, as if the user had canceled: the phone is gone, say.
  /// Any thread.
  void cancelQuestion();
  /// Whether an answer is waited for. Any thread.
  bool isAsking() const;
  /// Whether what the user does now can be meant for the question: not while the panel is away or on its way out.
  bool isReachable() const;

protected:
  /// Where the controls are; as large as the panel.
  QWidget* content() const { return m_content; }
  /// The controls can be reached from now on, in front of everything; cancels the question when nobody can see it.
  void becomeReachable();
  /// The controls go out of reach when the slide that now begins has ended.
  void becomeUnreachable();

  /// Held by the asking thread, too.
  const std::shared_ptr<ModalQuestion> _waitingCondition;

  void slideFinished() override;
  void hideEvent(QHideEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

private:
  QWidget* m_content;
  bool m_isGoing = false;
};

} // namespace ui
