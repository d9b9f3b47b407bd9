#include "UI/FileNameView/SFileNameView.h"

#include "Platform/MainThread.h"
#include "UI/Common/ElidedLabel.h"
#include "UI/Common/PanelButton.h"
#include "UI/Common/PanelInputs.h"
#include "UI/Common/SFont.h"
#include "UI/FileNameView/SFolderNameFormatter.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QHBoxLayout>
#include <QKeyEvent>

namespace {

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
}

} // namespace

SFileNameView::SFileNameView(QWidget* parent)
    : QuestionPanel(parent)
    , _lbDescription(new ui::ElidedLabel(content()))
    , _txtNewName(new ui::PanelField(content()))
    , _btnOK(new ui::PanelButton(ui::PanelButton::Kind::Primary, content()))
    , _btnCancel(new ui::PanelButton(ui::PanelButton::Kind::Plain, content())) {
  auto* const column = new QVBoxLayout(content());
  column->setContentsMargins(22, 18, 22, 16);
  column->setSpacing(10);
  _lbDescription->setFont(SFont::sharedInstance().fontWithPixelSize(14, true));
  column->addWidget(_lbDescription);
  column->addWidget(_txtNewName);
  column->addSpacing(2);
  auto* const buttons = new QHBoxLayout;
  buttons->setSpacing(6);
  buttons->addStretch(1);
  buttons->addWidget(_btnCancel);
  buttons->addWidget(_btnOK);
  column->addLayout(buttons);
  setTabOrder(_txtNewName, _btnCancel);
  setTabOrder(_btnCancel, _btnOK);
  awakeFromNib();
  // The slides are as long as the panel is high: it must not grow between them.
  resize(width(), column->totalSizeHint().height());
  move(x(), -height());
}

void SFileNameView::awakeFromNib() {
  _txtNewName->setValidator(new SFolderNameFormatter(_txtNewName));
  _txtNewName->installEventFilter(this);
  connect(_txtNewName, &QLineEdit::textEdited, this, &SFileNameView::refuseInvalidEdit);
  _btnOK->setText(localized("MNU_Confirm"));
  _btnCancel->setText(localized("FUS_MNU_Cancel"));
  for (const QPushButton* const button : {_btnOK, _btnCancel})
    connect(button, &QPushButton::clicked, this, [this, button] {
      if (isReachable())
        btn_Clicked(button);
    });
}

int SFileNameView::runViewModalWithParam(const QVariant& param, QVariant* result) {
  return asker()(param, result);
}

SFileNameView::Asker SFileNameView::asker() {
  // The question outlives the view, which it does not touch any more then.
  return [this, question = _waitingCondition](const QVariant& param, QVariant* result) {
    const ui::ModalQuestion::Answer answer =
        question->ask([&] { animationShowViewWithInfos(param); }, [this] { animationHiddenView(); });
    if (result != nullptr)
      *result = answer.result;
    return answer.returnCode;
  };
}

void SFileNameView::animationShowViewWithInfos(const QVariant& infos) {
  platform::assertMainThread();
  const bool isRename = infos.isValid();
  setDescription(isRename ? "MNU_EditName" : "MNU_AddNewFolder");
  m_lastText = isRename ? SFolderNameFormatter::stringForObjectValue(infos) : QString();
  _txtNewName->setText(m_lastText);
  _txtNewName->setCursorPosition(int(_txtNewName->text().size()));
  transitionView(false);
  _txtNewName->setFocus();
}

void SFileNameView::setDescription(const char* key) {
  const QString text = localized(key);
  _lbDescription->setText(text);
  _txtNewName->setAccessibleName(text);
  setAccessibleName(text);
}

void SFileNameView::animationHiddenView() {
  transitionView(true);
}

void SFileNameView::transitionView(bool hidden) {
  platform::assertMainThread();
  if (hidden) {
    slideFromHere(true);
    becomeUnreachable();
  } else {
    slideFromHere(false);
    becomeReachable();
  }
}

void SFileNameView::refuseInvalidEdit(const QString& text) {
  // The field itself refuses what its validator does, but not while it holds a name that was refused all along: one of
  // the phone's own.
  if (SFolderNameFormatter::isPartialStringValid(text)) {
    m_lastText = text;
    return;
  }
  const int position =
      int(qBound<qsizetype>(0, _txtNewName->cursorPosition() + m_lastText.size() - text.size(), m_lastText.size()));
  _txtNewName->setText(m_lastText);
  _txtNewName->setCursorPosition(position);
}

void SFileNameView::signal() {
  _waitingCondition->answer({_returnCode, _returnResult.isNull() ? QVariant() : QVariant(_returnResult)});
}

void SFileNameView::btn_Clicked(const QObject* sender) {
  platform::assertMainThread();
  if (sender == _btnCancel) {
    _returnCode = ui::ModalQuestion::kCanceled;
    _returnResult = QString();
  } else if (sender == _btnOK) {
    _returnCode = ui::ModalQuestion::kConfirmed;
    _returnResult = SFolderNameFormatter::objectValueForString(_txtNewName->text());
  }
  signal();
}

bool SFileNameView::doCommandBySelector(Command command) {
  platform::assertMainThread();
  switch (command) {
  case Command::InsertNewline:
    _returnResult = SFolderNameFormatter::objectValueForString(_txtNewName->text());
    if (!_returnResult.isEmpty()) {
      _returnCode = ui::ModalQuestion::kConfirmed;
      signal();
    }
    return true;
  case Command::CancelOperation:
    _returnCode = ui::ModalQuestion::kCanceled;
    _returnResult = QString();
    signal();
    return true;
  case Command::Other:
    break;
  }
  return false;
}

bool SFileNameView::handleKey(const QKeyEvent& event) {
  const bool isReturn = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
  const bool isEscape = event.key() == Qt::Key_Escape;
  // A key still held down from before is no answer, nor one that comes when no question is seen.
  if ((isReturn || isEscape) && (event.isAutoRepeat() || !isReachable()))
    return true;
  return doCommandBySelector(isReturn ? Command::InsertNewline : isEscape ? Command::CancelOperation : Command::Other);
}

bool SFileNameView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == _txtNewName && event->type() == QEvent::KeyPress && handleKey(static_cast<const QKeyEvent&>(*event)))
    return true;
  return QuestionPanel::eventFilter(watched, event);
}

void SFileNameView::keyPressEvent(QKeyEvent* event) {
  handleKey(*event);
  event->accept();
}
