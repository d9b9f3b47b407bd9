#include "SBrowser/UploadDrop.h"

#include "UploadFixture.h"

#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDropEvent>
#include <QSysInfo>

namespace {

class UploadDropTest : public UploadFixture {
protected:
  void SetUp() override {
    UploadFixture::SetUp();
    connectPhone();
    files.setUrls({QUrl::fromLocalFile(write(QStringLiteral("new.txt")))});
  }
  void TearDown() override {
    leave(); // Qt remembers where a drag has been
    UploadFixture::TearDown();
  }
  void leave() {
    QDragLeaveEvent event;
    QCoreApplication::sendEvent(&rowsView(), &event);
  }
  QWidget& rowsView() const { return *outline().viewport(); }
  QPoint at(const QModelIndex& row) const { return outline().visualRect(row).center(); }
  QPoint emptySpace() const { return {10, rowsView().height() - 40}; }
  QPoint over(const char* name) const { return at(row(QString::fromLatin1(name))); }

  bool hover(const QPoint& point, const QMimeData& info, Qt::DropActions offered = Qt::MoveAction | Qt::CopyAction) {
    QDragEnterEvent enter(point, offered, &info, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&rowsView(), &enter);
    QDragMoveEvent move(point, offered, &info, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&rowsView(), &move);
    lastAction = move.dropAction();
    return move.isAccepted();
  }
  bool release(const QPoint& point, const QMimeData& info) {
    hover(point, info); // a drop comes to where the drag has been
    QDropEvent event(point, Qt::MoveAction | Qt::CopyAction, &info, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&rowsView(), &event);
    lastAction = event.dropAction();
    return event.isAccepted();
  }
  QRect frame() const {
    for (QWidget* const child : rowsView().findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
      if (child->isVisible() && child->testAttribute(Qt::WA_TransparentForMouseEvents))
        return child->geometry();
    return {};
  }

  QMimeData files;
  Qt::DropAction lastAction = Qt::IgnoreAction;
};

QStringList pathsOf(const QList<QUrl>& urls) {
  QMimeData info;
  info.setUrls(urls);
  return localPaths(info);
}

} // namespace

TEST(LocalPaths, AreThoseOfThisComputerOnly) {
  EXPECT_EQ(pathsOf({QUrl(QStringLiteral("file:///a/b.txt")), QUrl(QStringLiteral("sftp://h/c")),
                     QUrl(QStringLiteral("trash:///d")), QUrl(QStringLiteral("http://h/e")),
                     QUrl(QStringLiteral("file://localhost/f")),
                     QUrl(QStringLiteral("file://") + QSysInfo::machineHostName() + QStringLiteral("/g")),
                     QUrl(QStringLiteral("file://another.computer.example/h"))}),
            QStringList({"/a/b.txt", "/f", "/g"}));
}

TEST(LocalPaths, AreDecodedAndWithoutTrailingSlash) {
  EXPECT_EQ(pathsOf({QUrl(QStringLiteral("file:///a%20b/%C3%A9%25%23/"))}), QStringList({QStringLiteral("/a b/é%#")}));
  EXPECT_EQ(pathsOf({QUrl(QStringLiteral("file:///a/./b/../c"))}), QStringList({"/a/c"}));
  EXPECT_EQ(pathsOf({}), QStringList());
}

TEST_F(UploadDropTest, FilesAreAlwaysTakenAsACopy) {
  EXPECT_TRUE(hover(emptySpace(), files));
  EXPECT_EQ(lastAction, Qt::CopyAction);
  EXPECT_FALSE(hover(emptySpace(), files, Qt::MoveAction)); // who moves deletes what was dragged
}

TEST_F(UploadDropTest, ADropOntoEmptySpaceCopiesIntoTheCurrentFolder) {
  EXPECT_TRUE(release(emptySpace(), files));
  EXPECT_EQ(lastAction, Qt::CopyAction);
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "readme.txt", "new.txt"}));
}

TEST_F(UploadDropTest, ADropOntoAFolderCopiesIntoIt) {
  EXPECT_TRUE(release(over("Empty"), files));
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(sdk->child(phone, QStringLiteral("Empty"))), Contents({"new.txt"}));
}

TEST_F(UploadDropTest, TheFrameStandsRoundWhatTheDropWouldGoTo) {
  EXPECT_TRUE(hover(over("DCIM"), files));
  EXPECT_EQ(frame().height(), SOutlineView::kRowHeight);
  EXPECT_EQ(frame().top(), outline().visualRect(row(QStringLiteral("DCIM"))).top());
  EXPECT_TRUE(hover(over("readme.txt"), files));
  EXPECT_EQ(frame(), rowsView().rect());
  EXPECT_TRUE(hover(emptySpace(), files));
  EXPECT_EQ(frame(), rowsView().rect());
  leave();
  EXPECT_EQ(frame(), QRect());
}

TEST_F(UploadDropTest, OverAFileInAnOpenedFolderTheFolderIsFramedAndGetsTheDrop) {
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  const QPoint file = at(row(QStringLiteral("a.jpg"), row(QStringLiteral("DCIM"))));
  EXPECT_TRUE(hover(file, files));
  EXPECT_EQ(frame().top(), outline().visualRect(row(QStringLiteral("DCIM"))).top());
  EXPECT_TRUE(release(file, files));
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(dcim), Contents({"Camera/", "a.jpg", "b.jpg", "new.txt"}));
}

TEST_F(UploadDropTest, WhatIsNoFileOfThisComputerIsRefused) {
  QMimeData text, remote;
  text.setText(QStringLiteral("text"));
  remote.setUrls({QUrl(QStringLiteral("https://example.org/a"))});
  EXPECT_FALSE(hover(emptySpace(), text));
  EXPECT_FALSE(hover(emptySpace(), remote));
  EXPECT_FALSE(release(emptySpace(), remote));
  EXPECT_EQ(controller->transferRun(), nullptr);
}

TEST_F(UploadDropTest, TheListOfFilesIsFetchedOnceADrag) {
  class CountingData : public QMimeData {
  public:
    mutable int fetched = 0;

  protected:
    QVariant retrieveData(const QString& type, QMetaType preferred) const override {
      if (type == u"text/uri-list")
        ++fetched;
      return QMimeData::retrieveData(type, preferred);
    }
  } info;
  info.setUrls(files.urls());
  QDragEnterEvent enter(emptySpace(), Qt::CopyAction, &info, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&rowsView(), &enter);
  for (int i = 0; i < 20; ++i) {
    QDragMoveEvent move(emptySpace() + QPoint(i, 0), Qt::CopyAction, &info, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&rowsView(), &move);
    ASSERT_TRUE(move.isAccepted());
  }
  EXPECT_EQ(info.fetched, 1);
  leave();
  QMimeData remote;
  remote.setUrls({QUrl(QStringLiteral("https://example.org/a"))});
  EXPECT_FALSE(hover(emptySpace(), remote)); // the next one is looked at for itself
}

TEST_F(UploadDropTest, NothingIsTakenWhileTheWindowIsBlockedOrNoPhoneShown) {
  controller->setDisableCaptureEvent(true);
  EXPECT_FALSE(hover(emptySpace(), files));
  controller->setDisableCaptureEvent(false);
  EXPECT_TRUE(hover(emptySpace(), files));
  controller->deviceDisconnected();
  EXPECT_FALSE(hover(emptySpace(), files));
}

TEST_F(UploadDropTest, WhileADragHoversAFolderNobodyOpenedIsNotListed) {
  EXPECT_TRUE(hover(over("DCIM"), files));
  EXPECT_TRUE(controller->isDropOvering());
  timers.advance(UploadDrop::kOpenDelay);
  ASSERT_TRUE(settle());
  EXPECT_FALSE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  EXPECT_EQ(itemNamed(QStringLiteral("DCIM"))->childObjects(), nullptr);
}

TEST_F(UploadDropTest, AListedFolderOpensUnderARestingDrag) {
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  outline().collapse(row(QStringLiteral("DCIM")));
  EXPECT_TRUE(hover(over("DCIM"), files));
  timers.advance(UploadDrop::kOpenDelay - std::chrono::milliseconds(1));
  EXPECT_FALSE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  timers.advance(std::chrono::milliseconds(1));
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
}

TEST_F(UploadDropTest, WhenTheDragHasGoneNothingHoversAndNoTimerIsLeft) {
  const int before = timers.pending();
  EXPECT_TRUE(hover(over("DCIM"), files));
  leave();
  EXPECT_FALSE(controller->isDropOvering());
  EXPECT_EQ(timers.pending(), before);
}

TEST_F(UploadDropTest, AtTheEdgeTheRowsScroll) {
  for (int i = 0; i < 200; ++i)
    sdk->addFile(phone, QStringLiteral("f%1").arg(i));
  controller->reloadCurrentFolder();
  ASSERT_TRUE(settle());
  EXPECT_TRUE(hover({20, rowsView().height() - 3}, files));
  timers.advance(UploadDrop::kScrollInterval * 5);
  EXPECT_GT(outline().verticalScrollBar()->value(), 0);
  EXPECT_TRUE(hover({20, rowsView().height() / 2}, files));
  const int value = outline().verticalScrollBar()->value();
  timers.advance(UploadDrop::kScrollInterval * 5);
  EXPECT_EQ(outline().verticalScrollBar()->value(), value);
}
