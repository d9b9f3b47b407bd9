#include "UI/Common/Accessibility.h"

#include "UI/Common/OverlayPanel.h"
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

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
  if (auto* button = qobject_cast<SToolbarButton*>(object))
    return new ToolbarButtonInterface(button);
  if (auto* panel = qobject_cast<OverlayPanel*>(object))
    return new QAccessibleWidget(panel, QAccessible::Dialog);
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
