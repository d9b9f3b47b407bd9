// Everything at once: what the sanitizers look at.
#include "BrowserFixture.h"

#include <QMainWindow>
#include <QRandomGenerator>

#include <thread>

namespace {

class BrowserStress : public BrowserFixture {};

TEST_F(BrowserStress, ClicksExpansionsEventsListingsAndDetachesMeet) {
  addPhone();
  addCard();
  for (int i = 0; i < 20; ++i) {
    const auto folder = sdk->addFolder(dcim, QStringLiteral("f%1").arg(i));
    for (int j = 0; j < 10; ++j)
      sdk->addFile(folder, QStringLiteral("p%1.jpg").arg(j), 1);
  }
  connect();

  std::atomic<bool> stop{false}; // written by the main thread, read by the two below
  std::thread phoneChanges([&] {
    for (int i = 0; !stop; ++i) {
      const auto file = sdk->addFile(phone, QStringLiteral("added%1").arg(i));
      sdk->sendEvent(device, DeviceEvents::kObjectAdded);
      sdk->remove(file);
      sdk->sendEvent(device, DeviceEvents::kObjectRemoved);
      std::this_thread::yield();
    }
  });
  std::mutex mutex;
  ItemPointer shown = controller->currentFolderItem(); // under the mutex
  std::thread transfers([&] {
    while (!stop)
      controller->getContentsOfItem([&] {
        const std::lock_guard lock(mutex);
        return shown;
      }());
  });

  QRandomGenerator random(7);
  const auto anyRow = [&](const QModelIndex& parent) {
    const int count = model().rowCount(parent);
    return count == 0 ? QModelIndex() : model().index(random.bounded(count), 0, parent);
  };
  for (int step = 0; step < 600; ++step) {
    switch (random.bounded(12)) {
    case 0:
      controller->outlineViewRowDoubleClicked(anyRow({}));
      break;
    case 1:
    case 2: {
      const QModelIndex top = anyRow({});
      outline().expand(top);
      if (top.isValid())
        outline().expand(anyRow(top));
      break;
    }
    case 3:
      outline().collapse(anyRow({}));
      break;
    case 4:
      controller->setSelectedStorage(random.bounded(1, 3));
      break;
    case 5:
      QTest::keyClick(&outline(), Qt::Key_Backspace);
      break;
    case 6:
      QTest::keyClick(&outline(), Qt::Key_Right, Qt::AltModifier);
      break;
    case 7:
      timers.advance(std::chrono::milliseconds(2000));
      break;
    case 8:
      outline().sortByColumn(random.bounded(3), random.bounded(2) == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
      break;
    case 9:
      if (random.bounded(10) == 0)
        controller->deviceDisconnected();
      break;
    case 10:
      if (random.bounded(5) == 0)
        controller->connectDevice(QStringLiteral("14200000"));
      break;
    default:
      (void)controller->window()->grab(QRect(0, 0, 200, 100));
    }
    if (controller->currentFolderItem()) {
      const std::lock_guard lock(mutex);
      shown = controller->currentFolderItem();
    }
    QCoreApplication::processEvents();
  }
  stop = true;
  ASSERT_TRUE(waitUntil([&] { return platform::runningWorkers() == 0; }));
  // The helper thread may wait for the main one.
  std::atomic<bool> joined{false};
  std::thread joiner([&] {
    transfers.join();
    phoneChanges.join();
    joined = true;
  });
  ASSERT_TRUE(waitUntil([&] { return joined.load(); }));
  joiner.join();

  controller->deviceDisconnected();
  timers.advance(std::chrono::minutes(1));
  ASSERT_TRUE(settle());
  connect();
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_TRUE(row(QStringLiteral("DCIM")).isValid());
}

} // namespace
