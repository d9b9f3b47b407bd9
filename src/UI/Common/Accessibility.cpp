#include "UI/Common/Accessibility.h"

#include "UI/Common/OverlayPanel.h"
#include "UI/Controls/SGhostView.h"
#include "UI/Controls/SToolbarButton.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace ui {

namespace {

/// One of several buttons of which one is the chosen one.
class ToolbarButtonInterface : public QAccessibleWidget {
public:
  explicit ToolbarButtonInterface(SToolbarButton* button)
      : QAccessibleWidget(button, QAccessible::RadioButton)
      , m_button(*button) {}

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.checkable = true;
    state.checked = m_button.isSelected();
    state.pressed = m_button.isDown();
    return state;
  }
  QString text(QAccessible::Text kind) const override {
    const QString given = QAccessibleWidget::text(kind);
    return kind == QAccessible::Name && given.isEmpty() ? m_button.text() : given;
  }
  QStringList actionNames() const override {
    QStringList names = QAccessibleWidget::actionNames();
    if (m_button.isEnabled())
      names.prepend(pressAction());
    return names;
  }
  void doAction(const QString& name) override {
    if (name == pressAction())
      m_button.click();
    else
      QAccessibleWidget::doAction(name);
  }

private:
  SToolbarButton& m_button;
};

/// A panel waits above its parent's upper edge until it is wanted: shown for Qt, but nobody can see it there.
class PanelInterface : public QAccessibleWidget {
public:
  explicit PanelInterface(OverlayPanel* panel)
      : QAccessibleWidget(panel, QAccessible::Dialog)
      , m_panel(*panel) {}

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    const QWidget* const parent = m_panel.parentWidget();
    if (parent != nullptr && !parent->rect().intersects(m_panel.geometry()))
      state.invisible = true;
    return state;
  }

private:
  OverlayPanel& m_panel;
};

/// The cover has the keyboard while a panel below it is asked: it goes by the panel's name.
class CoverInterface : public QAccessibleWidget {
public:
  explicit CoverInterface(SGhostView* cover)
      : QAccessibleWidget(cover, QAccessible::LayeredPane)
      , m_cover(*cover) {}

  QString text(QAccessible::Text kind) const override {
    const auto* const panel = qobject_cast<QWidget*>(m_cover.eventReceiver());
    if (panel != nullptr && kind == QAccessible::Name && !panel->accessibleName().isEmpty())
      return panel->accessibleName();
    if (panel != nullptr && kind == QAccessible::Description)
      return panel->accessibleDescription();
    return QAccessibleWidget::text(kind);
  }

private:
  SGhostView& m_cover;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
  if (auto* button = qobject_cast<SToolbarButton*>(object))
    return new ToolbarButtonInterface(button);
  if (auto* panel = qobject_cast<OverlayPanel*>(object))
    return new PanelInterface(panel);
  if (auto* cover = qobject_cast<SGhostView*>(object))
    return new CoverInterface(cover);
  return nullptr;
}

} // namespace

void installAccessibility() {
  [[maybe_unused]] static const bool once = [] {
    QAccessible::installFactory(makeInterface);
    return true;
  }();
}

} // namespace ui
