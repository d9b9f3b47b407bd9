#include "Platform/DragDestination.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>
#include <unistd.h>

using platform::destinationFromDirectSave;
using platform::destinationFromExtractArgument;
using platform::DragDestination;
using platform::DragPlaces;
using platform::isTrashFolder;
using Kind = platform::DragDestination::Kind;

namespace {

DragPlaces places() {
  DragPlaces places;
  places.home = QStringLiteral("/home/kim");
  places.dataHome = QStringLiteral("/home/kim/.local/share");
  places.canonicalDataHome = QStringLiteral("/disk/kim/share");
  places.desktop = QStringLiteral("/home/kim/Desktop");
  places.hostName = QStringLiteral("larkspur");
  places.user = 1234;
  return places;
}

std::optional<DragDestination> directSave(const QByteArray& property) {
  return destinationFromDirectSave(property, places());
}
std::optional<DragDestination> extract(const QString& argument) {
  return destinationFromExtractArgument(argument, places());
}
std::optional<DragDestination> folder(const char* path) {
  return DragDestination{Kind::Folder, QString::fromUtf8(path)};
}
const std::optional<DragDestination> kTrash = DragDestination{Kind::Trash, {}};

} // namespace

TEST(DragDestinationOfDirectSave, IsTheFolderOfTheFileNamed) {
  EXPECT_EQ(directSave("file:///home/kim/Pictures/leaf"), folder("/home/kim/Pictures"));
  EXPECT_EQ(directSave("FILE:///tmp/leaf"), folder("/tmp"));
}

TEST(DragDestinationOfDirectSave, OneTrailingNulDoesNotCount) {
  EXPECT_EQ(directSave(QByteArray("file:///tmp/leaf\0", 17)), folder("/tmp"));
  EXPECT_EQ(directSave(QByteArray("file:///tmp/leaf\0\0", 18)), std::nullopt);
}

TEST(DragDestinationOfDirectSave, TheFolderOfAFileAtTheRootIsTheRoot) {
  EXPECT_EQ(directSave("file:///leaf"), folder("/"));
}

TEST(DragDestinationOfDirectSave, ThePathIsPercentDecoded) {
  EXPECT_EQ(directSave("file:///home/kim/100%25%20%ec%82%AC%EC%A7%84%23%3f/leaf"), folder("/home/kim/100% 사진#?"));
}

TEST(DragDestinationOfDirectSave, WhatIsNotPercentEncodedIsTakenAsItIs) {
  EXPECT_EQ(directSave("file:///home/kim/a b#c?d/leaf"), folder("/home/kim/a b#c?d"));
  EXPECT_EQ(directSave("file:///home/kim/사진/leaf"), folder("/home/kim/사진"));
}

TEST(DragDestinationOfDirectSave, BrokenPercentEncodingIsRefused) {
  for (const char* text : {"file:///tmp/%/leaf", "file:///tmp/%2/leaf", "file:///tmp/%zz/leaf", "file:///tmp/leaf%",
                           "file:///tmp/leaf%4", "file:///tmp/% 4/leaf"})
    EXPECT_EQ(directSave(text), std::nullopt) << text;
}

TEST(DragDestinationOfDirectSave, AnEncodedNulIsRefused) {
  EXPECT_EQ(directSave("file:///tmp/a%00b/leaf"), std::nullopt);
}

TEST(DragDestinationOfDirectSave, BytesThatAreNotUtf8AreRefused) {
  EXPECT_EQ(directSave("file:///tmp/%ff/leaf"), std::nullopt);
  EXPECT_EQ(directSave("file:///tmp/\xff/leaf"), std::nullopt);
  EXPECT_EQ(directSave("file:///tmp/%C0%AF/leaf"), std::nullopt); // the slash in two bytes
}

TEST(DragDestinationOfDirectSave, TheNameOfferedIsNoDestination) {
  EXPECT_EQ(directSave("mtpbrowser-drag"), std::nullopt);
  EXPECT_EQ(directSave(""), std::nullopt);
  EXPECT_EQ(directSave(QByteArray(1, '\0')), std::nullopt);
  EXPECT_EQ(directSave("/home/kim/leaf"), std::nullopt);
}

TEST(DragDestinationOfDirectSave, ThisComputerMayBeNamed) {
  EXPECT_EQ(directSave("file://larkspur/tmp/leaf"), folder("/tmp"));
  EXPECT_EQ(directSave("file://LarkSpur/tmp/leaf"), folder("/tmp"));
  EXPECT_EQ(directSave("file://localhost/tmp/leaf"), folder("/tmp"));
}

TEST(DragDestinationOfDirectSave, AnotherComputerIsRefused) {
  EXPECT_EQ(directSave("file://otherhost/tmp/leaf"), std::nullopt);
  EXPECT_EQ(directSave("file://larkspur.example.org/tmp/leaf"), std::nullopt);
  EXPECT_EQ(directSave("trash://otherhost/leaf"), std::nullopt);
  DragPlaces nameless = places();
  nameless.hostName.clear();
  EXPECT_EQ(destinationFromDirectSave("file://larkspur/tmp/leaf", nameless), std::nullopt);
}

TEST(DragDestinationOfDirectSave, OtherSchemesAreRefused) {
  for (const char* text : {"sftp://larkspur/tmp/leaf", "http:///tmp/leaf", "smb://server/share/leaf", "://tmp/leaf",
                           "recent:///leaf", "file", "file:", "file://", "file:tmp://leaf"})
    EXPECT_EQ(directSave(text), std::nullopt) << text;
}

TEST(DragDestinationOfDirectSave, TheTrashSchemeMeansTheTrash) {
  EXPECT_EQ(directSave("trash:///leaf"), kTrash);
  EXPECT_EQ(directSave("Trash:///some%20folder/leaf"), kTrash);
}

TEST(DragDestinationOfDirectSave, AFolderBelowTheTrashMeansTheTrash) {
  EXPECT_EQ(directSave("file:///home/kim/.local/share/Trash/files/leaf"), kTrash);
  EXPECT_EQ(directSave("file:///media/stick/.Trash-1234/files/leaf"), kTrash);
}

TEST(DragDestinationOfDirectSave, WaysUpAreRefused) {
  EXPECT_EQ(directSave("file:///home/kim/../lee/leaf"), std::nullopt);
  EXPECT_EQ(directSave("file:///home/kim/%2e%2e/lee/leaf"), std::nullopt);
  EXPECT_EQ(directSave("file:///home/kim/.../a..b/leaf"), folder("/home/kim/.../a..b"));
}

TEST(DragDestinationOfDirectSave, DoubleSlashesAndDotsAreTidied) {
  EXPECT_EQ(directSave("file:////home//kim/./x/leaf"), folder("/home/kim/x"));
}

TEST(DragDestinationOfDirectSave, LongerPathsThanTheSystemTakesAreRefused) {
  const QByteArray longest = "/" + QByteArray(4094, 'a');
  EXPECT_EQ(directSave("file://" + longest + "/leaf"), folder(longest.constData()));
  EXPECT_EQ(directSave("file://" + longest + "a/leaf"), std::nullopt);
  EXPECT_EQ(directSave("file:///" + QByteArray(10'000'000, 'a')), std::nullopt);
}

TEST(DragDestinationOfExtract, APathIsTakenLiterally) {
  EXPECT_EQ(extract(QStringLiteral("/home/kim/사진 100%25")), folder("/home/kim/사진 100%25"));
  EXPECT_EQ(extract(QStringLiteral("/home/kim/")), folder("/home/kim"));
  EXPECT_EQ(extract(QStringLiteral("/")), folder("/"));
}

TEST(DragDestinationOfExtract, AFileUrlNamesTheFolderItself) {
  EXPECT_EQ(extract(QStringLiteral("file:///home/kim/a%20b")), folder("/home/kim/a b"));
  EXPECT_EQ(extract(QStringLiteral("file:/home/kim")), folder("/home/kim"));
  EXPECT_EQ(extract(QStringLiteral("file://larkspur/home/kim")), folder("/home/kim"));
}

TEST(DragDestinationOfExtract, TheTrashSchemeMeansTheTrash) {
  EXPECT_EQ(extract(QStringLiteral("trash:/")), kTrash);
  EXPECT_EQ(extract(QStringLiteral("trash:///")), kTrash);
}

TEST(DragDestinationOfExtract, AFolderBelowTheTrashMeansTheTrash) {
  EXPECT_EQ(extract(QStringLiteral("/home/kim/.local/share/Trash/files")), kTrash);
  EXPECT_EQ(extract(QStringLiteral("/home/kim/.Trash")), kTrash);
}

TEST(DragDestinationOfExtract, TheDesktopSchemeMeansTheDesktopsFolder) {
  EXPECT_EQ(extract(QStringLiteral("desktop:/")), folder("/home/kim/Desktop"));
  EXPECT_EQ(extract(QStringLiteral("desktop:/to%20do")), folder("/home/kim/Desktop/to do"));
  DragPlaces bare = places();
  bare.desktop.clear();
  EXPECT_EQ(destinationFromExtractArgument(QStringLiteral("desktop:/etc"), bare), std::nullopt);
}

TEST(DragDestinationOfExtract, EverythingElseIsRefused) {
  for (const char* text : {"", "home/kim", ".", "~/x", "sftp://host/tmp", "file://otherhost/tmp", "file:tmp", "file://",
                           "trash:", "trash://otherhost/", "desktop:x", "/home/kim/..", "file:///a/../b", "file:///%",
                           ":/tmp", "C:\\temp"})
    EXPECT_EQ(extract(QString::fromUtf8(text)), std::nullopt) << text;
  EXPECT_EQ(extract(QStringLiteral("/tmp/a") + QChar(0) + u'b'), std::nullopt);
  EXPECT_EQ(extract(u'/' + QString(10'000'000, u'a')), std::nullopt);
}

TEST(DragDestination, NoBytesCrashIt) {
  std::mt19937 random(4711);
  constexpr char characters[] = "file:trash/%2eE0\0.localhost#\xff\xc3";
  const QByteArray alphabet(characters, sizeof characters - 1);
  for (int i = 0; i < 50'000; ++i) {
    QByteArray text;
    for (std::uint32_t length = random() % 40; length > 0; --length)
      text += alphabet.at(qsizetype(random() % std::uint32_t(alphabet.size())));
    if (i % 2 == 0)
      text.prepend("file:///");
    for (const auto& destination : {directSave(text), extract(QString::fromUtf8(text))}) {
      if (!destination)
        continue;
      EXPECT_TRUE(destination->kind == Kind::Folder || destination->kind == Kind::Trash);
      if (destination->kind == Kind::Folder) {
        EXPECT_TRUE(QDir::isAbsolutePath(destination->folder)) << text.constData();
        EXPECT_FALSE(destination->folder.contains(QChar(0)));
        EXPECT_FALSE(destination->folder.split(u'/').contains(QLatin1String(".."))) << text.constData();
      }
    }
  }
}

TEST(TrashFolder, IsTheDesktopsTrashAndAllBelowIt) {
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/home/kim/.local/share/Trash"), places()));
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/home/kim/.local/share/Trash/"), places()));
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/home/kim/.local/share/Trash/files/deep/down"), places()));
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/disk/kim/share/Trash/files"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/home/kim/.local/share"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/home/kim/.local/share/Trashcan"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/home/lee/.local/share/Trash"), places()));
}

TEST(TrashFolder, IsThisUsersTrashOfEveryFileSystem) {
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/media/stick/.Trash-1234"), places()));
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/media/stick/.Trash-1234/files/x"), places()));
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/media/stick/.Trash/1234/files"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/media/stick/.Trash-123"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/media/stick/.Trash-12345"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/media/stick/x.Trash-1234"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/media/stick/.Trash"), places()));
}

TEST(TrashFolder, IsEitherOfTheTwoInTheHomeFolderButNothingBelowThem) {
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/home/kim/.Trash"), places()));
  EXPECT_TRUE(isTrashFolder(QStringLiteral("/home/kim/.Trashs"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/home/kim/.Trash/x"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/home/kim/.Trashs/x"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/home/kim/x/.Trash"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/home/kim/Pictures"), places()));
  EXPECT_FALSE(isTrashFolder(QStringLiteral("/home/kim"), places()));
}

TEST(TrashFolder, IsFoundThroughALinkToTheDataFolder) {
  const QTemporaryDir top;
  ASSERT_TRUE(QDir(top.path()).mkpath(QStringLiteral("disk/share/Trash")));
  ASSERT_EQ(::symlink(qPrintable(top.filePath(QStringLiteral("disk/share"))),
                      qPrintable(top.filePath(QStringLiteral("share")))),
            0);
  const QByteArray before = qgetenv("XDG_DATA_HOME");
  qputenv("XDG_DATA_HOME", top.filePath(QStringLiteral("share")).toUtf8());
  const DragPlaces current = DragPlaces::current();
  if (before.isNull())
    qunsetenv("XDG_DATA_HOME");
  else
    qputenv("XDG_DATA_HOME", before);
  EXPECT_TRUE(isTrashFolder(top.filePath(QStringLiteral("share/Trash/files")), current));
  EXPECT_TRUE(isTrashFolder(QDir(top.path()).canonicalPath() + QStringLiteral("/disk/share/Trash/files"), current));
  EXPECT_FALSE(isTrashFolder(top.filePath(QStringLiteral("disk")), current));
  EXPECT_EQ(current.user, ::getuid());
  EXPECT_EQ(current.home, QDir::homePath());
}
