#include "UI/Common/OverlayPanel.h"

#include "Platform/MainThread.h"
#include "UI/Common/Accessibility.h"
#include "UI/Common/BottomLeft.h"
#include "UI/Common/Images.h"
#include "UI/Common/InputEvents.h"

#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QVariantAnimation>

namespace ui {

namespace {

constexpr qreal kRadius = 7;
constexpr int kShadow = 16;

/// `bounds` with its lower corners rounded: the panel hangs from the edge above it.
QPainterPath panelOutline(const QRectF& bounds, qreal radius) {
  QPainterPath path;
  path.moveTo(bounds.topLeft());
  path.lineTo(bounds.topRight());
  path.lineTo(bounds.right(), bounds.bottom() - radius);
  path.quadTo(bounds.bottomRight(), QPointF(bounds.right() - radius, bounds.bottom()));
  path.lineTo(bounds.left() + radius, bounds.bottom());
  path.quadTo(bounds.bottomLeft(), QPointF(bounds.left(), bounds.bottom() - radius));
  path.closeSubpath();
  return path;
}

/// The soft shadow around a panel: a sibling right below it, where the panel has no pixels of its own.
class PanelShadow : public QWidget {
public:
  explicit PanelShadow(QWidget& panel)
      : QWidget(panel.parentWidget()) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    follow(panel);
  }

  void follow(const QWidget& panel) {
    setGeometry(panel.geometry().adjusted(-kShadow, -kShadow, kShadow, kShadow));
    // A panel that waits above the edge casts none; nor one not shown yet, which hiding does not tell anything either.
    setVisible(panel.isVisible() && panel.geometry().bottom() > 0);
  }

protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 4));
    const QRectF panel = QRectF(rect()).adjusted(kShadow, kShadow, -kShadow, -kShadow);
    for (int ring = 1; ring < kShadow; ++ring) {
      const QRectF spread = panel.adjusted(-ring, -ring, ring, ring * 0.9).translated(0, 1.5);
      painter.drawRoundedRect(spread, kRadius + ring, kRadius + ring);
    }
  }
};

} // namespace

bool keepsShortcut(QEvent& event) {
  const auto modifiers = static_cast<QKeyEvent&>(event).modifiers();
  const bool isPlain = !(modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
  event.setAccepted(isPlain);
  return isPlain;
}

OverlayPanel::OverlayPanel(QWidget* parent)
    : QWidget(parent)
    , m_slide(new QVariantAnimation(this)) {
  platform::assertMainThread();
  installAccessibility();
  resize(kWidth, 100);
  m_slide->setDuration(kSlideTime);
  m_slide->setEasingCurve(QEasingCurve::InOutQuad);
  connect(m_slide, &QVariantAnimation::valueChanged, this, [this](const QVariant& top) { move(x(), top.toInt()); });
  connect(m_slide, &QVariantAnimation::finished, this, [this] { slideFinished(); });
  followParent();
}

OverlayPanel::~OverlayPanel() {
  delete m_shadow;
}

QColor OverlayPanel::fillColor() const {
  return palette().color(QPalette::Window);
}

void OverlayPanel::followParent() {
  if (m_followed != nullptr)
    m_followed->removeEventFilter(this);
  delete m_shadow;
  m_followed = parentWidget();
  if (m_followed == nullptr)
    return;
  m_followed->installEventFilter(this);
  m_shadow = new PanelShadow(*this);
  m_shadow->stackUnder(this);
  centre();
}

void OverlayPanel::centre() {
  if (parentWidget() != nullptr)
    move((parentWidget()->width() - width()) / 2, y());
}

void OverlayPanel::slide(qreal surfaceHeight, qreal from, qreal to) {
  platform::assertMainThread();
  if (m_slide->state() == QAbstractAnimation::Running)
    m_slide->setCurrentTime(kSlideTime);
  const auto top = [&](qreal lowerEdge) {
    return int(fromBottomLeft(surfaceHeight, x(), lowerEdge, width(), height()).top());
  };
  m_slide->setStartValue(top(from));
  m_slide->setEndValue(top(to));
  move(x(), top(from));
  m_slide->start();
}

void OverlayPanel::slideFromHere(bool hidden) {
  platform::assertMainThread();
  if (m_slide->state() == QAbstractAnimation::Running)
    m_slide->setCurrentTime(kSlideTime);
  const qreal surface = parentWidget() != nullptr ? parentWidget()->height() : 0;
  const qreal here = fromBottomLeft(surface, QRectF(geometry())).y();
  const qreal own = height();
  if (hidden)
    slide(surface, here - own, here + own);
  else
    slide(surface, here, here - own);
}

bool OverlayPanel::event(QEvent* event) {
  if (isPointerEvent(event->type()) || event->type() == QEvent::ContextMenu) {
    event->accept();
    return true;
  }
  switch (event->type()) {
  case QEvent::ShortcutOverride:
    if (keepsShortcut(*event))
      return true;
    break;
  case QEvent::Resize:
    centre();
    [[fallthrough]];
  case QEvent::Move:
  case QEvent::Show:
  case QEvent::Hide:
    if (m_shadow != nullptr)
      static_cast<PanelShadow*>(m_shadow.data())->follow(*this);
    break;
  case QEvent::ZOrderChange:
    if (m_shadow != nullptr)
      m_shadow->stackUnder(this);
    break;
  default:
    break;
  }
  return QWidget::event(event);
}

bool OverlayPanel::eventFilter(QObject* watched, QEvent* event) {
  if (watched == m_followed && event->type() == QEvent::Resize)
    centre();
  return QWidget::eventFilter(watched, event);
}

void OverlayPanel::changeEvent(QEvent* event) {
  if (event->type() == QEvent::ParentChange)
    followParent();
  QWidget::changeEvent(event);
}

bool OverlayPanel::focusNextPrevChild(bool next) {
  QWidget* const start = focusWidget() != nullptr ? focusWidget() : this;
  const auto step = [next](QWidget* widget) {
    return next ? widget->nextInFocusChain() : widget->previousInFocusChain();
  };
  for (QWidget* widget = step(start); widget != start; widget = step(widget)) {
    const bool isOurs = isAncestorOf(widget) && widget->isVisible() && widget->isEnabled();
    if (isOurs && (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus) {
      widget->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
      return true;
    }
  }
  return false;
}

void OverlayPanel::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.setClipRegion(event->region());
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(fillColor());
  painter.setPen(QPen(namedColor(QStringLiteral("Frame"), palette()), 1));
  painter.drawPath(panelOutline(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kRadius));
}

} // namespace ui
