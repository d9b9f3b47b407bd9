#pragma once
// The transparent cover that swallows input, or hands it to a panel below, while a panel or a transfer is active.
#include "UI/Common/SBrowserChildViewDelegate.h"

#include <QPointer>
#include <QWidget>

/// Takes the events that reach the cover. Implemented by a QObject (a panel).
class SGhostViewDelegate {
public:
  virtual ~SGhostViewDelegate() = default;

  /// One mouse, wheel, enter, leave or key event of the cover, positions in the cover's coordinates. Returns whether
  /// the receiver handles such an event. Main thread.
  virtual bool ghostViewEvent(QEvent& event) = 0;
};

/// A light veil over its parent's children. Every mouse, wheel and key event ends here or at the receiver; nothing can
/// be dropped on it. It takes the keyboard focus when asked to. Main thread.
class SGhostView : public QWidget, public SBrowserChildViewDelegate {
  Q_OBJECT
public:
  explicit SGhostView(QWidget* parent = nullptr);

  /// `setOwnerDelegate:` The receiver of the events, a QObject that is a SGhostViewDelegate; nullptr or any other
  /// object: nobody. Not owned: a destroyed receiver is forgotten.
  void setOwnerDelegate(QObject* receiver) override;

  /// The receiver; null without one.
  QObject* eventReceiver() const { return _pEventReceiver; }

  /// `runViewModalWithParam:result:` Returns 1 at once: the cover asks nothing. Any thread.
  int runViewModalWithParam(const QVariant& param, QVariant* result) override;

protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

private:
  QPointer<QObject> _pEventReceiver;
};
