#pragma once
// What the window can ask of every view it lays over its content.
#include <QObject>
#include <QVariant>

/// The overlays' common operations. A view implements those it needs; the others do nothing.
class SBrowserChildViewDelegate {
public:
  virtual ~SBrowserChildViewDelegate() = default;

  /// `setOwnerDelegate:` The object to report to, or nullptr. Not owned: it is forgotten when destroyed. Main thread.
  virtual void setOwnerDelegate(QObject* owner) { Q_UNUSED(owner) }

  /// `animationHidden:infos:` Resets the view (or shows it), `infos` being the view's own. Main thread.
  virtual void animationHidden(bool hidden, const QVariant& infos) {
    Q_UNUSED(hidden)
    Q_UNUSED(infos)
  }

  /// `runViewModalWithParam:result:` Asks the user and waits for the answer: 0 confirmed, 1 not. `result` (may be null)
  /// is set as the view says. Background threads only where the view waits; blocks until answered.
  virtual int runViewModalWithParam(const QVariant& param, QVariant* result) {
    Q_UNUSED(param)
    Q_UNUSED(result)
    return 1;
  }

  /// `transitionView:` Slides the view out (true) or in. Main thread; returns at once.
  virtual void transitionView(bool hidden) { Q_UNUSED(hidden) }
};
