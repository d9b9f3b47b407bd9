#include "UI/ProgressView/SProgressView.h"

#include "Platform/MainThread.h"
#include "UI/Common/ElidedLabel.h"
#include "UI/Common/Images.h"
#include "UI/Common/LayoutDirection.h"
#include "UI/Common/SFont.h"
#include "UI/Common/SizeText.h"
#include "UI/Controls/SMTPButton.h"
#include "UI/ProgressView/SProgressViewIndicator.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QHBoxLayout>
#include <QKeyEvent>

namespace {

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
}

std::int32_t percentageOf(quint64 done, quint64 total) {
  // Of counts so large that a hundred times as much has no 64 bits any more, the hundredth part of the total serves.
  constexpr quint64 largest = std::numeric_limits<quint64>::max() / 100;
  const quint64 percentage = done <= largest ? done * 100 / total : total < 100 ? 100 : done / (total / 100);
  return std::int32_t(qMin<quint64>(percentage, 100));
}

} // namespace

SProgressView::SProgressView(QWidget* parent)
    : OverlayPanel(parent)
    , _lbFileName(new ui::ElidedLabel(this))
    , _lbProgressStatus(new ui::ElidedLabel(this))
    , _btnCancel(new SMTPButton(this))
    , _progressIndicator(new SProgressViewIndicator(this)) {
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(20, 14, 20, 14);
  column->setSpacing(8);
  auto* const first = new QHBoxLayout;
  first->setSpacing(12);
  _lbFileName->setFont(SFont::sharedInstance().fontWithPixelSize(13, true));
  first->addWidget(_lbFileName, 1);
  first->addWidget(_btnCancel);
  column->addLayout(first);
  column->addWidget(_progressIndicator);
  _lbProgressStatus->setFont(SFont::sharedInstance().fontWithPixelSize(12, false));
  column->addWidget(_lbProgressStatus);
  awakeFromNib();
  animationHidden(true, {});
  resize(width(), column->totalSizeHint().height());
  move(x(), 0);
}

void SProgressView::awakeFromNib() {
  _btnCancel->setButtonWithImageName(QStringLiteral("cancel_btn_nor"), QStringLiteral("cancel_btn_press"),
                                     QStringLiteral("cancel_btn_over"));
  _btnCancel->setFixedSize(_btnCancel->sizeHint());
  _btnCancel->setFocusPolicy(Qt::TabFocus);
  connect(_btnCancel, &SMTPButton::clicked, this, [this] { btnCancel_Clicked(_btnCancel); });
  _progressIndicator->setIsRTL(ui::isRTLLayout());
  _progressIndicator->setPercentage(0);
  _progressIndicator->setHidden(false);
}

void SProgressView::setOwnerDelegate(QObject* owner) {
  platform::assertMainThread();
  _pOwnerDelegate = owner;
}

void SProgressView::setFileStatus(const QString& text) {
  platform::assertMainThread();
  _lbFileName->setText(text);
}

void SProgressView::setProgressInfo(quint64 done, quint64 totalValue) {
  platform::assertMainThread();
  if (totalValue == 0)
    return;
  _progressIndicator->setPercentage(percentageOf(done, totalValue));
  _lbProgressStatus->setText(stringFromating(done) + u'/' + stringFromating(totalValue));
}

void SProgressView::animationHidden(bool, const QVariant&) {
  platform::assertMainThread();
  const QString ready = localized("MNU_PrepareToSomething");
  const QString cancel = localized("accessible_cancel_transfer");
  _lbFileName->setText(QString());
  _lbProgressStatus->setText(ready);
  _progressIndicator->setPercentage(0);
  _btnCancel->setAccessibleName(cancel);
  _btnCancel->setToolTip(cancel.toHtmlEscaped());
  setAccessibleName(localized("accessible_progress_panel"));
  _progressIndicator->setAccessibleName(localized("accessible_progress_bar"));
}

void SProgressView::transitionView(bool hidden) {
  slideFromHere(hidden);
}

void SProgressView::btnCancel_Clicked(const QObject*) {
  platform::assertMainThread();
  if (auto* const owner = dynamic_cast<SProgressViewDelegate*>(_pOwnerDelegate.data()))
    owner->onProgressActionCanceled(this);
}

QString SProgressView::stringFromating(quint64 bytes) {
  return ui::stringFromating(bytes);
}

QColor SProgressView::fillColor() const {
  return ui::namedColor(QStringLiteral("ViewBackground"), palette());
}

void SProgressView::showEvent(QShowEvent* event) {
  OverlayPanel::showEvent(event);
  if (!event->spontaneous()) {
    raise(); // above the cover that keeps the rest of the window still
    setFocus();
  }
}

void SProgressView::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && !event->isAutoRepeat())
    btnCancel_Clicked(_btnCancel);
  event->accept();
}
