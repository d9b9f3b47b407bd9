#include "MTPBrowserApp/SampleTree.h"

#include "Platform/Log.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QStringList filesBelow(const QString& folder) {
  QStringList files;
  QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
  while (it.hasNext())
    files << it.next();
  return files;
}

TEST(SampleTree, HoldsAHundredOrSoFilesOnAPhoneAndACard) {
  QTemporaryDir folder;
  const SampleTree tree = ensureSampleTree(folder.path());
  EXPECT_GE(filesBelow(tree.phoneFolder).size(), 90);
  EXPECT_LE(filesBelow(tree.phoneFolder).size(), 200);
  EXPECT_GE(filesBelow(tree.cardFolder).size(), 15);
}

TEST(SampleTree, ItsPhotosArePicturesThatDiffer) {
  QTemporaryDir folder;
  const SampleTree tree = ensureSampleTree(folder.path());
  const QStringList photos = QDir(tree.phoneFolder + QStringLiteral("/DCIM/Camera")).entryList(QDir::Files);
  ASSERT_GE(photos.size(), 40);
  const QString camera = tree.phoneFolder + QStringLiteral("/DCIM/Camera/");
  const QImage first(camera + photos[0]), second(camera + photos[1]);
  ASSERT_FALSE(first.isNull());
  ASSERT_FALSE(second.isNull());
  EXPECT_NE(first, second);
}

TEST(SampleTree, ItsDatesSpreadOverYears) {
  QTemporaryDir folder;
  const SampleTree tree = ensureSampleTree(folder.path());
  QSet<int> years;
  for (const QString& file : filesBelow(tree.phoneFolder))
    years << QFileInfo(file).lastModified().date().year();
  EXPECT_GE(years.size(), 6);
}

TEST(SampleTree, WhatTheUserChangedStays) {
  QTemporaryDir folder;
  SampleTree tree = ensureSampleTree(folder.path());
  const QStringList before = filesBelow(tree.phoneFolder);
  ASSERT_TRUE(QFile::remove(before.first()));
  tree = ensureSampleTree(folder.path());
  EXPECT_EQ(filesBelow(tree.phoneFolder).size(), before.size() - 1);
}

TEST(SampleTree, AHalfWrittenTreeOfAKilledProgramIsMadeAnew) {
  QTemporaryDir folder;
  ASSERT_TRUE(QDir().mkpath(folder.filePath(QStringLiteral("Phone.new/DCIM"))));
  const SampleTree tree = ensureSampleTree(folder.path());
  EXPECT_GE(filesBelow(tree.phoneFolder).size(), 90);
  EXPECT_FALSE(QFileInfo::exists(folder.filePath(QStringLiteral("Phone.new"))));
}

TEST(SampleTree, APlaceThatCannotBeWrittenGivesNothingAndALogLine) {
  QTemporaryDir folder;
  QFile blocker(folder.filePath(QStringLiteral("file")));
  ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
  QString logged;
  platform::setLogSink([&](const QString& line) { logged += line; });
  const SampleTree tree = ensureSampleTree(folder.filePath(QStringLiteral("file/below")));
  platform::setLogSink({});
  EXPECT_TRUE(tree.phoneFolder.isEmpty());
  EXPECT_TRUE(logged.contains(QStringLiteral("cannot be written")));
}

} // namespace
