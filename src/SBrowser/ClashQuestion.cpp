#include "SBrowser/ClashQuestion.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "UI/Common/DisplayText.h"
#include "UI/Common/Images.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QMessageBox>
#include <QPushButton>

namespace {

constexpr qsizetype kLongestName = 80; // characters shown of a name

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

/// A name of any content as the message shows it: of a long one the beginning and the end, with the extension.
QString shownName(const QString& name) {
  const QString line = ui::singleLineText(name);
  if (line.size() <= kLongestName)
    return line;
  return line.first(kLongestName / 2) + QChar(0x2026) + line.last(kLongestName / 2);
}

} // namespace

ClashQuestion::ClashQuestion(QWidget& window)
    : m_window(&window) {}

std::optional<ClashAnswer> ClashQuestion::ask(const QString& name, bool several, const std::function<bool()>& isWanted,
                                              bool deletesFolder) {
  const ui::ModalQuestion::Answer answer = m_question.ask(
      [&] {
        if (isWanted() && m_window)
          show(name, several, deletesFolder);
        else
          m_question.cancel();
      },
      [this] { hide(); });
  if (answer.returnCode != ui::ModalQuestion::kConfirmed)
    return std::nullopt;
  return ClashAnswer(answer.result.toInt());
}

void ClashQuestion::cancel() {
  m_question.cancel();
}

void ClashQuestion::close() {
  platform::assertMainThread();
  m_question.close();
  hide();
}

QMessageBox* ClashQuestion::alert() const {
  platform::assertMainThread();
  return _isExistsAlert;
}

void ClashQuestion::show(const QString& name, bool several, bool deletesFolder) {
  auto* const alert = new QMessageBox(m_window);
  _isExistsAlert = alert;
  alert->setLayoutDirection(m_window->layoutDirection());
  alert->setIconPixmap(ui::iconForFileName(name).pixmap(QSize(48, 48), m_window->devicePixelRatio()));
  alert->setWindowModality(Qt::WindowModal);
  alert->setTextFormat(Qt::PlainText);
  alert->setText(localized("MNU_DuplicateTransferMTP").arg(u'"' + shownName(name) + u'"'));
  QString description = localized("MSG_DuplicateTransferMTPDescription");
  if (deletesFolder)
    description += u'\n' + localized("MSG_DuplicateTransferFolderDescription");
  alert->setInformativeText(description);
  const auto add = [&](const char* key, QMessageBox::ButtonRole role, ClashAnswer answer) {
    QPushButton* const button = alert->addButton(localized(key), role);
    button->setProperty("answer", int(answer));
    return button;
  };
  add("MNU_Replace", QMessageBox::AcceptRole, ClashAnswerReplace);
  if (several)
    add("MNU_ReplaceAll", QMessageBox::AcceptRole, ClashAnswerReplaceAll);
  QPushButton* const skip = add("MNU_Skip", QMessageBox::RejectRole, ClashAnswerSkip);
  alert->setDefaultButton(skip);
  alert->setEscapeButton(skip);
  QObject::connect(alert, &QMessageBox::finished, alert, [this, alert] {
    const QAbstractButton* const clicked = alert->clickedButton();
    const int answer = clicked != nullptr ? clicked->property("answer").toInt() : int(ClashAnswerSkip);
    if (answer == ClashAnswerReplaceAll)
      MTPB_LOG("Replace All");
    m_question.answer({ui::ModalQuestion::kConfirmed, answer});
  });
  alert->open();
  const QRect window = m_window->frameGeometry();
  const QSize size = alert->frameGeometry().size();
  alert->move(window.x() + (window.width() - size.width()) / 2, window.y() + (window.height() - size.height()) / 2);
  alert->raise();
}

void ClashQuestion::hide() {
  if (QMessageBox* const alert = _isExistsAlert) {
    _isExistsAlert = nullptr;
    alert->disconnect();
    alert->hide();
    alert->deleteLater();
  }
}
