#include "UI/Common/FileIcons.h"

#include "UI/Common/Images.h"

#include <QPainter>
#include <QPixmap>

#include <gtest/gtest.h>

namespace {

QImage drawn(const QIcon& icon) {
  return icon.pixmap(QSize(22, 22), 1.0).toImage();
}

} // namespace

TEST(FileIcons, FallsBackOnOurOwnPictureOfTheKindWhereTheThemeHasNone) {
  const QString theme = QIcon::themeName();
  QIcon::setThemeName("no-such-theme");
  ui::FileIcons icons;
  const auto expectPicture = [&icons](const char* fileName, const char* picture) {
    EXPECT_EQ(drawn(icons.icon(fileName)), drawn(ui::namedImage(picture))) << fileName;
  };
  expectPicture("photo.jpg", "file_image");
  expectPicture("photo.JPG", "file_image");
  expectPicture("song.mp3", "file_audio");
  expectPicture("clip.mp4", "file_video");
  expectPicture("book.pdf", "file_pdf");
  expectPicture("letter.docx", "file_document");
  expectPicture("table.xlsx", "file_spreadsheet");
  expectPicture("talk.pptx", "file_presentation");
  expectPicture("all.zip", "file_archive");
  expectPicture("all.tar.gz", "file_archive");
  expectPicture("game.apk", "file_app");
  expectPicture("main.cpp", "file_code");
  expectPicture("page.html", "file_code");
  expectPicture("notes.txt", "file_text");
  expectPicture("README", "file_unknown");
  expectPicture("what.qqqq", "file_unknown");
  QIcon::setThemeName(theme);
}

TEST(FileIcons, SurvivesNamesOfAnyKind) {
  ui::FileIcons icons;
  for (const QString& name :
       {QString(), QString("."), QString(".."), QString("a."), QString(".hidden"), QString("a.b/../c"),
        QString("a.\u202Ejpg"), QString(10000, u'.'), QString("a.") + QString(10000, u'x'), QString("a.*")}) {
    EXPECT_FALSE(icons.icon(name).isNull()) << name.left(20).toStdString();
  }
}

TEST(FileIcons, AreLookedUpOncePerExtension) {
  QStringList asked;
  ui::FileIcons icons([&asked](const QString& extension) {
    asked.append(extension);
    return QIcon();
  });
  for (const char* name : {"one.ogg", "two.OGG", "three.Ogg", "plain", "also plain", "four.txt", "dir.x/strange ext"}) {
    icons.icon(name);
  }
  EXPECT_EQ(asked, QStringList({"ogg", "", "txt"}));
}

TEST(FileIcons, AreForgottenRatherThanKeptForEveryMadeUpExtension) {
  int lookUps = 0;
  ui::FileIcons icons([&lookUps](const QString&) {
    ++lookUps;
    return QIcon();
  });
  icons.icon("x.opus");
  for (int i = 0; i < ui::FileIcons::kLimit; ++i) {
    icons.icon(QStringLiteral("x.e%1").arg(i));
  }
  lookUps = 0;
  icons.icon("x.opus");
  EXPECT_EQ(lookUps, 1);
}

TEST(FileIcons, AreLookedUpAgainInAnotherTheme) {
  const QString theme = QIcon::themeName();
  int lookUps = 0;
  ui::FileIcons icons([&lookUps](const QString&) {
    ++lookUps;
    return QIcon();
  });
  icons.icon("x.opus");
  QIcon::setThemeName("no-such-theme");
  icons.icon("x.opus");
  icons.icon("x.opus");
  EXPECT_EQ(lookUps, 2);
  QIcon::setThemeName(theme);
}
