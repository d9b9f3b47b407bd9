#include "SBrowser/TrashTarget.h"

#include "Platform/DragOut.h"
#include "Platform/MainThread.h"
#include "UI/Common/Images.h"
#include "UI/Common/SFont.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QDragEnterEvent>
#include <QFontMetrics>
#include <QPainter>

namespace {

constexpr int kHeight = 52;
constexpr int kPicture = 22;
constexpr int kGap = 10;    // between the picture and the text
constexpr int kMargin = 22; // beside both
constexpr int kSpare = 2;   // for what fractions of a pixel a text takes more than it tells
constexpr int kAbove = 18;  // between the target and the parent's edge

/// Only what this program drags, and only as a copy: see platform::DragOut.
void take(QDropEvent& event) {
  event.setDropAction(Qt::CopyAction);
  event.setAccepted(platform::DragOut::isOwnDrag(event.mimeData()));
}

} // namespace

TrashTarget::TrashTarget(QWidget* parent)
    : QWidget(parent)
    , m_text(VornLocalStringDefine::QX_LocalizedStringWithKey(QStringLiteral("MSG_DropToDelete"))) {
  platform::assertMainThread();
  hide();
  setAcceptDrops(true);
  setAccessibleName(m_text);
  setFont(SFont::sharedInstance().fontWithPixelSize(13, false));
}

void TrashTarget::appear() {
  platform::assertMainThread();
  const int width = kMargin + kPicture + kGap + QFontMetrics(font()).horizontalAdvance(m_text) + kSpare + kMargin;
  const QRect surface = parentWidget()->rect();
  resize(qMin(width, surface.width()), kHeight);
  move(surface.center().x() - this->width() / 2, surface.bottom() + 1 - kAbove - kHeight);
  show();
  raise();
}

void TrashTarget::dragEnterEvent(QDragEnterEvent* event) {
  take(*event);
  setHovered(event->isAccepted());
}

void TrashTarget::dragLeaveEvent(QDragLeaveEvent*) {
  setHovered(false);
}

void TrashTarget::dropEvent(QDropEvent* event) {
  setHovered(false);
  take(*event);
  if (event->isAccepted())
    platform::DragOut::dropOnTrash(event->mimeData());
}

void TrashTarget::hideEvent(QHideEvent*) {
  setHovered(false);
}

void TrashTarget::setHovered(bool hovered) {
  m_isHovered = hovered;
  update();
}

void TrashTarget::paintEvent(QPaintEvent*) {
  const auto color = [this](const char* name) { return ui::namedColor(QLatin1StringView(name), palette()); };
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(color(m_isHovered ? "Danger" : "ButtonFrame"), m_isHovered ? 2 : 1));
  painter.setBrush(color(m_isHovered ? "DangerBackground" : "ViewBackground"));
  painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 10, 10);
  QRect picture(kMargin, (height() - kPicture) / 2, kPicture, kPicture);
  QRect text = rect().adjusted(picture.right() + 1 + kGap, 0, -kMargin, 0);
  if (isRightToLeft()) {
    picture.moveRight(width() - 1 - kMargin);
    text = rect().adjusted(kMargin, 0, -(kMargin + kPicture + kGap), 0);
  }
  ui::drawImage(painter, picture, ui::namedImage(QStringLiteral("trash")));
  painter.setPen(color("ItemText"));
  const QString line = QFontMetrics(font()).elidedText(m_text, Qt::ElideRight, text.width());
  painter.drawText(text, Qt::AlignVCenter | (isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute,
                   line);
}
