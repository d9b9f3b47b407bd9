#include "UI/NoticeView/SNoticeView.h"

#include "Platform/MainThread.h"
#include "UI/Common/PanelButton.h"
#include "UI/Common/PanelInputs.h"
#include "UI/Common/SFont.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>

namespace {

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
}

/// The characters that a key which means "go on" types: Enter, line feed, carriage return.
bool isConfirming(const QKeyEvent& event) {
  if (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter)
    return true;
  // Ctrl+C, Ctrl+J and Ctrl+M type the same characters and mean something else.
  const char16_t first = event.text().isEmpty() ? u'\0' : event.text().front().unicode();
  return !(event.modifiers() & Qt::ControlModifier) && (first == 3 || first == 10 || first == 13);
}

} // namespace

SNoticeView::SNoticeView(QWidget* parent)
    : QuestionPanel(parent)
    , _lbTitle(new QLabel(content()))
    , _lbDescription(new QLabel(content()))
    , _btnCheckbox(new ui::PanelCheckBox(content()))
    , _btnOK(new ui::PanelButton(ui::PanelButton::Kind::Primary, content()))
    , _btnCancel(new ui::PanelButton(ui::PanelButton::Kind::Plain, content())) {
  auto* const column = new QVBoxLayout(content());
  column->setContentsMargins(22, 18, 22, 16);
  column->setSpacing(6);
  for (QLabel* const label : {_lbTitle, _lbDescription}) {
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    column->addWidget(label);
  }
  _lbTitle->setFont(SFont::sharedInstance().fontWithPixelSize(14, true));
  _lbDescription->setFont(SFont::sharedInstance().fontWithPixelSize(13, false));
  column->addSpacing(6);
  column->addWidget(_btnCheckbox, 0, Qt::AlignLeading);
  column->addSpacing(8);
  auto* const buttons = new QHBoxLayout;
  buttons->setSpacing(6);
  buttons->addStretch(1);
  buttons->addWidget(_btnCancel);
  buttons->addWidget(_btnOK);
  column->addLayout(buttons);
  setTabOrder(_btnCheckbox, _btnCancel);
  setTabOrder(_btnCancel, _btnOK);
  for (const QPushButton* const button : {_btnOK, _btnCancel})
    connect(button, &QPushButton::clicked, this, [this, button] {
      if (isReachable())
        btn_Clicked(button);
    });
  fillTexts();
  move(x(), -height());
}

int SNoticeView::runViewModalWithParam(const QVariant& param, QVariant* result) {
  return asker()(param, result);
}

SNoticeView::Asker SNoticeView::asker() {
  // The question outlives the view, which it does not touch any more then.
  return [this, question = _waitingCondition](const QVariant&, QVariant* result) {
    const ui::ModalQuestion::Answer answer = question->ask(
        [this] {
          _returnCode = ui::ModalQuestion::kCanceled;
          animationHiddenOnMainThread(false);
        },
        [this] { animationHiddenOnMainThread(true); });
    if (answer.returnCode == ui::ModalQuestion::kConfirmed && result != nullptr)
      *result = answer.result;
    return answer.returnCode;
  };
}

void SNoticeView::animationHidden(bool hidden) {
  platform::runOnMain([this, hidden, alive = std::weak_ptr<char>(m_alive)] {
    if (!alive.expired())
      animationHiddenOnMainThread(hidden);
  });
}

void SNoticeView::animationHiddenOnMainThread(bool hidden) {
  fillTexts();
  _btnCheckbox->setChecked(false);
  transitionView(hidden);
}

void SNoticeView::fillTexts() {
  _lbTitle->setText(localized("MNU_Delete"));
  _lbDescription->setText(localized("MSG_DeleteFile"));
  _btnCheckbox->setText(localized("MNU_CheckboxText"));
  _btnOK->setText(localized("MNU_Confirm"));
  _btnCancel->setText(localized("FUS_MNU_Cancel"));
  setAccessibleName(_lbTitle->text());
  setAccessibleDescription(_lbDescription->text());
  resize(width(), content()->layout()->totalHeightForWidth(width()));
}

void SNoticeView::transitionView(bool hidden) {
  platform::assertMainThread();
  const qreal shown = kTopLine - height();
  if (hidden) {
    slide(kTopLine, shown, kTopLine);
    becomeUnreachable();
  } else {
    slide(kTopLine, kTopLine, shown);
    becomeReachable();
    setFocus();
  }
}

void SNoticeView::btn_Clicked(const QObject* sender) {
  platform::assertMainThread();
  if (sender == _btnOK)
    _returnCode = ui::ModalQuestion::kConfirmed;
  else if (sender == _btnCancel)
    _returnCode = ui::ModalQuestion::kCanceled;
  _waitingCondition->answer({_returnCode, _btnCheckbox->isChecked()});
}

bool SNoticeView::keyDown(const QKeyEvent& event) {
  platform::assertMainThread();
  const bool isEscape = event.key() == Qt::Key_Escape;
  if (!isEscape && !isConfirming(event))
    return false;
  // A key still held down from before is no answer, nor one that comes when no question is seen.
  if (isReachable() && !event.isAutoRepeat())
    btn_Clicked(isEscape ? _btnCancel : _btnOK);
  return true;
}

void SNoticeView::keyPressEvent(QKeyEvent* event) {
  keyDown(*event);
  event->accept();
}

bool SNoticeView::ghostViewEvent(QEvent& event) {
  if (event.type() == QEvent::KeyPress) {
    const auto& press = static_cast<const QKeyEvent&>(event);
    const bool isTab = press.key() == Qt::Key_Tab || press.key() == Qt::Key_Backtab;
    if (isTab)
      focusNextPrevChild(press.key() == Qt::Key_Tab);
    return keyDown(press) || isTab;
  }
  return true;
}
