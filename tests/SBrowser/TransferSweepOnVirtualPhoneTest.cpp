// Uploads and downloads from the window, with the real engine and a phone on a wire in memory, to which something
// happens at each of its operations in turn: whatever it is, no half file stays under its name on either side, nothing
// is told as copied that is not there, and the window does the next transfer.
#include "SBrowser/DownloadDrag.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/Uploads.h"
#include "SBrowser/WindowLayout.h"
#include "support/WindowOnVirtualPhone.h"

#include <QDirIterator>
#include <QMap>
#include <QMessageBox>
#include <QPushButton>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <ostream>

using testsupport::pattern;

namespace {

/// What happens in the n-th operation.
enum class Trouble { Cancel, Unplug, UnplugInData, Error, Full, Stall, EndEarly };

std::ostream& operator<<(std::ostream& out, Trouble trouble) {
  static constexpr const char* names[] = {"Cancel", "Unplug", "UnplugInData", "Error", "Full", "Stall", "EndEarly"};
  return out << names[int(trouble)];
}

using Tree = QMap<QString, QByteArray>; // path and content; a folder's path ends with a slash

void writeTree(const QString& folder, const Tree& tree) {
  for (auto entry = tree.begin(); entry != tree.end(); ++entry) {
    const QFileInfo place(folder + u'/' + entry.key());
    ASSERT_TRUE(QDir().mkpath(place.path()));
    if (entry.key().endsWith(u'/'))
      continue;
    QFile file(place.filePath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(entry.value()), entry.value().size());
  }
}

Tree readTree(const QString& folder) {
  Tree tree;
  QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
  while (entries.hasNext()) {
    const QString path = entries.next();
    const QString name = path.sliced(folder.size() + 1);
    if (entries.fileInfo().isDir()) {
      tree.insert(name + u'/', {});
      continue;
    }
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    tree.insert(name, file.readAll());
  }
  return tree;
}

class TransferSweep : public testing::TestWithParam<Trouble>, protected testsupport::WindowOnVirtualPhone {
protected:
  static constexpr int kFolders = 40; // on the phone, each for one transfer: more than it has operations

  // What is copied into a folder, or out of it; "note" is there already.
  const Tree copied{{"Tree/", {}},      {"Tree/a.txt", "letter a"},
                    {"Tree/sub/", {}},  {"Tree/sub/large.bin", pattern(200'000)},
                    {"Tree/void/", {}}, {"note", "the new note"}};
  const QByteArray oldNote = "old";

  static QString folderName(int number) { return QStringLiteral("F%1").arg(number, 2, 10, QLatin1Char('0')); }

  /// A phone with kFolders folders holding `contents`, and a window that shows them.
  void connectPhone(const Tree& contents) {
    for (int i = 0; i < kFolders; ++i)
      writeTree(onPhone.filePath(folderName(i)), contents);
    showPhone(kFolders);
  }
  std::shared_ptr<SItem> item(int number) const {
    const QModelIndex index = row(folderName(number));
    return index.isValid() ? controller->outlineModel().itemAtIndex(index) : nullptr;
  }

  /// The trouble comes in the operation of this number, counted from 0.
  void prepare(std::uint64_t operation) {
    vphone::Fault fault;
    fault.transaction = operation;
    switch (GetParam()) {
    case Trouble::Cancel:
      fault.kind = vphone::FaultKind::Delay;
      fault.value = 40; // ms, for the cancel to come within
      break;
    case Trouble::Unplug:
      fault.kind = vphone::FaultKind::Unplug;
      break;
    case Trouble::UnplugInData:
      fault.kind = vphone::FaultKind::Unplug;
      fault.phase = vphone::FaultPhase::Data;
      fault.atByte = 14;
      break;
    case Trouble::Error:
      fault.kind = vphone::FaultKind::Respond;
      fault.value = 0x2002; // GeneralError
      break;
    case Trouble::Full:
      fault.kind = vphone::FaultKind::Respond;
      fault.value = 0x200C; // StoreFull
      break;
    case Trouble::Stall:
      fault.kind = vphone::FaultKind::Stall;
      break;
    case Trouble::EndEarly:
      fault.kind = vphone::FaultKind::EndEarly;
      fault.phase = vphone::FaultPhase::Data;
      fault.atByte = 14;
      break;
    }
    phone->faults().clear();
    phone->faults().add(fault);
  }
  /// Waits for the transfer that was begun to end, answering its question with "replace" and seeing to it that the
  /// trouble takes its course.
  void finish() {
    bool reacted = false;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
          if (!reacted && phone->faults().struck() > 0) {
            reacted = true;
            if (GetParam() == Trouble::Cancel)
              controller->onProgressActionCanceled(controller->layout()._progressView);
            else if (!phone->plugged())
              controller->deviceDisconnected();
          }
          if (QMessageBox* const alert = controller->transfers().isExistsAlert())
            for (QAbstractButton* const button : alert->buttons())
              if (button->property("answer").toInt() == ClashAnswerReplace)
                button->click();
          return !controller->transferRun();
        },
        kPatience));
    ASSERT_TRUE(settle());
    EXPECT_FALSE(controller->isBlocked());
  }
  /// The trouble is over; a phone that was unplugged comes again.
  void recover() {
    phone->faults().clear();
    if (phone->plugged())
      return;
    phone->plug();
    connect(kFolders);
  }
  /// Whether a file of the transfer came to its end as copied, by what the list of the last transfer says.
  bool isToldAsCopied(const QString& path) const {
    const QString name = path.endsWith(u'/') ? path.chopped(1) : path;
    for (const TransferOutcome& outcome : controller->transfers().lastTransfer())
      if (outcome.kind == TransferOutcome::Copied && outcome.name == name)
        return true;
    return false;
  }
  void expectWhole(const Tree& there, const Tree& before) const {
    for (auto entry = there.begin(); entry != there.end(); ++entry) {
      const bool isNew = copied.contains(entry.key()) && copied[entry.key()] == entry.value();
      const bool isOld = before.contains(entry.key()) && before[entry.key()] == entry.value();
      EXPECT_TRUE(isNew || isOld) << entry.key().toStdString() << " has " << entry.value().size() << " bytes";
    }
    for (auto entry = copied.begin(); entry != copied.end(); ++entry)
      if (isToldAsCopied(entry.key())) {
        EXPECT_TRUE(there.contains(entry.key()) && there[entry.key()] == entry.value()) << entry.key().toStdString();
      }
  }
  /// Runs `transfer` with the trouble at each operation in turn, until the transfer has fewer; then without any.
  /// `check` is called after each; true stands for one that nothing happened to.
  template <class Transfer, class Check> void sweep(const Transfer& transfer, const Check& check) {
    int struck = 0;
    for (int number = 0;; ++number) {
      ASSERT_LT(number, kFolders - 1) << "the transfer has more operations than there are folders";
      SCOPED_TRACE("operation " + std::to_string(number));
      prepare(std::uint64_t(number));
      ASSERT_NO_FATAL_FAILURE(transfer(number));
      ASSERT_NO_FATAL_FAILURE(finish());
      const bool isOver = phone->faults().transactions() <= std::uint64_t(number);
      struck += phone->faults().struck() > 0 ? 1 : 0;
      check(number, isOver);
      ASSERT_NO_FATAL_FAILURE(recover());
      if (isOver)
        break;
    }
    EXPECT_GE(struck, 5);
  }
};

} // namespace

TEST_P(TransferSweep, AnUploadLeavesWholeFilesOnThePhoneAndTheNextOneWorks) {
  const Tree before{{"note", oldNote}, {"mine", "stays"}};
  ASSERT_NO_FATAL_FAILURE(connectPhone(before));
  writeTree(computer.path(), copied);
  writeTree(computer.path(), {{"after", "the next one"}});
  const Tree onComputer = readTree(computer.path());
  const auto path = [this](const char* name) { return computer.filePath(QString::fromLatin1(name)); };
  sweep(
      [&](int number) {
        controller->uploads().upload({path("Tree"), path("note")}, item(number));
      },
      [&](int number, bool isOver) {
        const QString folder = onPhone.filePath(folderName(number));
        expectWhole(readTree(folder), before);
        EXPECT_EQ(readTree(folder).value(QStringLiteral("mine")), "stays");
        if (isOver) {
          EXPECT_EQ(readTree(folder).size(), copied.size() + 1);
        }
        EXPECT_EQ(readTree(computer.path()), onComputer);
        ASSERT_NO_FATAL_FAILURE(recover());
        controller->uploads().upload({path("after")}, item(number));
        ASSERT_NO_FATAL_FAILURE(finish());
        EXPECT_EQ(readTree(folder).value(QStringLiteral("after")), "the next one");
        EXPECT_TRUE(isToldAsCopied(QStringLiteral("after")));
      });
}

TEST_P(TransferSweep, ADownloadLeavesWholeFilesOnTheComputerAndTheNextOneWorks) {
  Tree contents = copied;
  contents.insert(QStringLiteral("after"), "the next one");
  ASSERT_NO_FATAL_FAILURE(connectPhone(contents));
  const auto copy = [this](int number, const QStringList& names) {
    // As the rows of the opened folder would be; what is below them is listed by the copy.
    const auto folder = item(number);
    ASSERT_NE(folder, nullptr);
    controller->expandFolder(folder);
    ASSERT_TRUE(settle());
    DownloadDrag::Items items;
    for (const auto& child : *folder->childObjects())
      if (names.contains(child->fileName()))
        items.push_back(child);
    ASSERT_EQ(items.size(), std::size_t(names.size()));
    controller->downloads().namesOfPromisedFilesDroppedAtDestination(computer.filePath(folderName(number)), items);
  };
  sweep(
      [&](int number) {
        writeTree(computer.filePath(folderName(number)), {{"note", oldNote}});
        const auto folder = item(number);
        phone->faults().clear();
        controller->expandFolder(folder);
        ASSERT_TRUE(settle());
        prepare(std::uint64_t(number));
        ASSERT_NO_FATAL_FAILURE(copy(number, {QStringLiteral("Tree"), QStringLiteral("note")}));
      },
      [&](int number, bool isOver) {
        const QString folder = computer.filePath(folderName(number));
        expectWhole(readTree(folder), {{"note", oldNote}});
        EXPECT_TRUE(readTree(folder).contains(QStringLiteral("note"))); // the old one or the new one
        if (isOver) {
          EXPECT_EQ(readTree(folder), copied);
        }
        EXPECT_EQ(readTree(onPhone.filePath(folderName(number))), contents);
        ASSERT_NO_FATAL_FAILURE(recover());
        ASSERT_NO_FATAL_FAILURE(copy(number, {QStringLiteral("after")}));
        ASSERT_NO_FATAL_FAILURE(finish());
        EXPECT_EQ(readTree(folder).value(QStringLiteral("after")), "the next one");
        EXPECT_TRUE(isToldAsCopied(QStringLiteral("after")));
      });
}

INSTANTIATE_TEST_SUITE_P(EachTrouble, TransferSweep,
                         testing::Values(Trouble::Cancel, Trouble::Unplug, Trouble::UnplugInData, Trouble::Error,
                                         Trouble::Full, Trouble::Stall, Trouble::EndEarly),
                         [](const auto& info) { return testing::PrintToString(info.param); });
