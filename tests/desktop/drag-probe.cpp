// A window with a tree of 10,000 rows to drag out of and to drop on, for drags by the real mouse: see drag-test.
//   drag-probe [--close-after-drop | --source-goes | --quit-while-dragging]
// Says on standard output, a line each, where things are, in pixels of the display, and what happens:
//   at row|empty|trash X Y, drag MILLISECONDS (the start took, all rows selected), folder PATH, trash, none, canceled,
//   urls URL …, closed
#include "Platform/DragOut.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLabel>
#include <QMimeData>
#include <QStringListModel>
#include <QTimer>
#include <QTreeView>
#include <QUrl>
#include <QVBoxLayout>

#include <cstdio>

using platform::DragDestination;
using platform::DragOut;

namespace {

void say(const QString& line) {
  std::printf("%s\n", qUtf8Printable(line));
  std::fflush(stdout);
}

class TrashCan : public QLabel {
public:
  TrashCan()
      : QLabel(QStringLiteral("Trash")) {
    setAcceptDrops(true);
    setFrameShape(QFrame::Box);
    setFixedHeight(40);
  }

protected:
  void dragEnterEvent(QDragEnterEvent* event) override { take(event); }
  void dropEvent(QDropEvent* event) override {
    take(event);
    if (event->isAccepted())
      DragOut::dropOnTrash(event->mimeData());
  }

private:
  static void take(QDropEvent* event) {
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(DragOut::isOwnDrag(event->mimeData()));
  }
};

// The model answers no question about what is dragged: whoever asks it does work for each row.
class Rows : public QStringListModel {
public:
  using QStringListModel::QStringListModel;
  Qt::ItemFlags flags(const QModelIndex& index) const override {
    return QStringListModel::flags(index) | Qt::ItemIsDragEnabled;
  }
  QMimeData* mimeData(const QModelIndexList&) const override { qFatal("the rows were asked for their data"); }
};

class Tree : public QTreeView {
public:
  Tree() {
    setAcceptDrops(true);
    setDragEnabled(true);
    setUniformRowHeights(true);
    setSelectionMode(ExtendedSelection);
  }

  void setOption(const QString& option) { m_option = option; }

protected:
  void startDrag(Qt::DropActions) override {
    QElapsedTimer clock;
    clock.start();
    QTimer::singleShot(0, this, [clock] { say(QStringLiteral("drag %1").arg(clock.elapsed())); });
    if (m_option == QLatin1String("--quit-while-dragging"))
      QTimer::singleShot(300, qApp, &QCoreApplication::quit);
    // Not the tree itself, which is in the middle of handling the mouse.
    QPointer<QWidget> source(new QWidget(this));
    if (m_option == QLatin1String("--source-goes"))
      QTimer::singleShot(300, this, [this, source] {
        delete source;
        say(QStringLiteral("closed"));
        m_dragOut.reset();
      });
    QPixmap picture(60, 20);
    picture.fill(Qt::darkBlue);
    m_dragOut->start(*source, picture, QPoint(-8, -8), [](const DragDestination& destination) {
      switch (destination.kind) {
      case DragDestination::Kind::Folder:
        say(QStringLiteral("folder ") + destination.folder);
        break;
      case DragDestination::Kind::Trash:
        say(QStringLiteral("trash"));
        break;
      case DragDestination::Kind::NoneCame:
        say(QStringLiteral("none"));
        break;
      case DragDestination::Kind::Canceled:
        say(QStringLiteral("canceled"));
        break;
      }
    });
    if (m_option == QLatin1String("--close-after-drop")) {
      window()->deleteLater();
      connect(this, &QObject::destroyed, [] { say(QStringLiteral("closed")); });
    }
  }
  void dragEnterEvent(QDragEnterEvent* event) override { take(event); }
  void dragMoveEvent(QDragMoveEvent* event) override { take(event); }
  void dropEvent(QDropEvent* event) override {
    take(event);
    if (!event->isAccepted())
      return;
    QStringList urls;
    for (const QUrl& url : event->mimeData()->urls())
      urls << url.toString(QUrl::FullyEncoded);
    say(QStringLiteral("urls ") + urls.join(u' '));
  }

private:
  static void take(QDropEvent* event) {
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(event->mimeData()->hasUrls() && !DragOut::isOwnDrag(event->mimeData()));
  }

  std::unique_ptr<DragOut> m_dragOut = std::make_unique<DragOut>();
  QString m_option;
};

void sayPlace(const char* name, const QPoint& place) {
  say(QStringLiteral("at %1 %2 %3").arg(QLatin1String(name)).arg(place.x()).arg(place.y()));
}

} // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  auto* const window = new QWidget;
  const QPointer<QWidget> keptWindow(window); // may go by itself
  auto* const tree = new Tree;
  auto* const trash = new TrashCan;
  auto* const layout = new QVBoxLayout(window);
  layout->addWidget(tree);
  layout->addWidget(trash);

  QStringList names;
  for (int i = 0; i < 10'000; ++i)
    names << QStringLiteral("row %1").arg(i);
  Rows rows(names);
  tree->setModel(&rows);
  tree->selectAll();
  tree->setOption(QApplication::arguments().value(1));

  window->setWindowTitle(QStringLiteral("drag-probe"));
  window->setGeometry(10, 10, 400, 400);
  window->show();
  QTimer::singleShot(0, window, [=] {
    sayPlace("row", tree->viewport()->mapToGlobal(tree->visualRect(tree->model()->index(1, 0)).center()));
    sayPlace("empty", tree->viewport()->mapToGlobal(QPoint(tree->viewport()->width() - 20, 200)));
    sayPlace("trash", trash->mapToGlobal(trash->rect().center()));
    say(QStringLiteral("ready"));
  });
  const int result = QApplication::exec();
  delete keptWindow;
  return result;
}
