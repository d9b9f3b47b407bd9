#pragma once
// A browser window over a scripted phone, and files of the computer to drop on it.
#include "BrowserFixture.h"
#include "MTPCore/MTPSDKUtil.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/Uploads.h"
#include "UI/Controls/SGhostView.h"
#include "UI/ProgressView/SProgressView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QMainWindow>
#include <QMessageBox>
#include <QMimeData>
#include <QUrl>

class UploadFixture : public BrowserFixture {
protected:
  using Contents = std::vector<std::string>;

  static QString localized(const char* key) {
    return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
  }

  // ---- The computer ----

  /// Makes a file with this content, and the folders it is in; returns its path.
  QString write(const QString& relativePath, const QByteArray& content = "content") const {
    const QString path = computer.filePath(relativePath);
    QDir().mkpath(path.left(path.lastIndexOf(u'/')));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(content), content.size());
    return path;
  }
  QString makeFolder(const QString& relativePath) const {
    const QString path = computer.filePath(relativePath);
    EXPECT_TRUE(QDir().mkpath(path));
    return path;
  }

  // ---- Dropping ----

  void drop(const QStringList& paths, const ItemPointer& item = nullptr) const {
    QMimeData info;
    QList<QUrl> urls;
    for (const QString& path : paths)
      urls.append(QUrl::fromLocalFile(path));
    info.setUrls(urls);
    EXPECT_TRUE(controller->acceptDrop(info, item, -1));
  }
  bool finish() {
    return waitUntil([this] { return !controller->transferRun() && !panel().isVisible(); }) && settle();
  }
  void dropAndFinish(const QStringList& paths, const ItemPointer& item = nullptr) {
    drop(paths, item);
    ASSERT_TRUE(finish());
  }
  TransferPresenter& transfers() const { return controller->transfers(); }
  SProgressView& panel() const { return *controller->layout()._progressView; }
  bool isBlocked() const { return controller->layout()._ghostView->isVisible(); }

  // ---- The clash question ----

  QMessageBox* waitForAlert() {
    EXPECT_TRUE(waitUntil([this] { return transfers().isExistsAlert() != nullptr; }));
    return transfers().isExistsAlert();
  }
  static QStringList buttons(const QMessageBox& alert) {
    QStringList texts;
    for (const QAbstractButton* const button : alert.buttons())
      texts.append(button->text());
    return texts;
  }
  void answer(const char* key) {
    QMessageBox* const alert = waitForAlert();
    ASSERT_NE(alert, nullptr);
    for (QAbstractButton* const button : alert->buttons())
      if (button->text() == localized(key)) {
        button->click();
        ASSERT_TRUE(waitUntil([&] { return transfers().isExistsAlert() != alert; }));
        return;
      }
    FAIL() << "no button " << key;
  }

  // ---- What came of it ----

  QStringList outcomes() const {
    static const char* const kinds[] = {"copied", "skipped", "failed", "canceled"};
    QStringList lines;
    for (const TransferOutcome& outcome : transfers().lastTransfer()) {
      QString line = QLatin1StringView(kinds[outcome.kind]) + u' ' + outcome.name;
      if (outcome.status != 0)
        line += u' ' + QString::number(outcome.status, 16);
      lines.append(line);
    }
    return lines;
  }
  QStringList childNames(const ItemPointer& item) const {
    QStringList names;
    if (item->childObjects())
      for (const ItemPointer& child : *item->childObjects())
        names.append(child->fileName());
    return names;
  }
  Contents onPhone(FakeMtpSdk::Handle folder) const { return sdk->contents(folder); }

  QTemporaryDir computer;
};
