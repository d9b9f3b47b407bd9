#include "UI/Common/Images.h"

#include "Platform/Log.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmapCache>
#include <QStringList>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using testing::HasSubstr;

QPalette darkPalette() {
  QPalette palette;
  palette.setColor(QPalette::Window, QColor(40, 42, 46));
  palette.setColor(QPalette::WindowText, Qt::white);
  palette.setColor(QPalette::Base, QColor(31, 34, 38));
  palette.setColor(QPalette::Text, Qt::white);
  return palette;
}

/// Collects the log's lines while it lives.
class Log {
public:
  Log() {
    platform::setLogSink([this](const QString& line) { m_lines.append(line); });
  }
  ~Log() { platform::setLogSink({}); }
  QStringList lines() const { return m_lines; }

private:
  QStringList m_lines;
};

QImage drawn(const QIcon& icon, const QSize& size, qreal scale = 1) {
  QImage image((QSizeF(size) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(scale);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  ui::drawImage(painter, QRectF(QPointF(0, 0), QSizeF(size)), icon);
  return image;
}

QPalette highContrast(const QColor& text, const QColor& background) {
  QPalette palette(background);
  for (const auto role : {QPalette::Window, QPalette::Base, QPalette::Button})
    palette.setColor(role, background);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    palette.setColor(role, text);
  return palette;
}

/// The colours of the fully covered pixels.
bool hasOpaquePixelOf(const QImage& image, const QColor& color) {
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixelColor(x, y) == color) {
        return true;
      }
    }
  }
  return false;
}

class EmbeddedPicture : public testing::TestWithParam<const char*> {};

} // namespace

TEST_P(EmbeddedPicture, IsThereAndDrawsSomething) {
  const QIcon icon = ui::namedImage(QString::fromLatin1(GetParam()));
  ASSERT_FALSE(icon.isNull());
  const QSize size = ui::imageSize(icon);
  ASSERT_FALSE(size.isEmpty());
  bool isEmpty = true;
  const QImage image = drawn(icon, size);
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      isEmpty = isEmpty && qAlpha(image.pixel(x, y)) == 0;
    }
  }
  EXPECT_FALSE(isEmpty);
}

INSTANTIATE_TEST_SUITE_P(All, EmbeddedPicture,
                         testing::Values("browser_icon_folder", "mtpbrowser", "welcome", "progress_left_bg",
                                         "progress_middle_bg", "progress_right_bg", "toolbar_back", "toolbar_next",
                                         "toolbar_new_folder", "storage_internal", "storage_card", "file_app",
                                         "file_archive", "file_audio", "file_code", "file_document", "file_image",
                                         "file_pdf", "file_presentation", "file_spreadsheet", "file_text",
                                         "file_unknown", "file_video", "progress_bg", "progress_bar", "cancel_btn_nor",
                                         "cancel_btn_press", "cancel_btn_over"));

TEST(NamedImage, ThatIsOnlyANamedImageOfThePlatformStillLoads) {
  QPixmap pixmap(4, 4);
  pixmap.fill(Qt::green);
  ui::registerNamedImage("only_named", QIcon(pixmap));
  EXPECT_EQ(drawn(ui::namedImage("only_named"), QSize(4, 4)).pixelColor(1, 1), QColor(Qt::green));
}

TEST(NamedImage, OfTheProgramsOwnFileWinsOverThePlatforms) {
  QPixmap pixmap(22, 22);
  pixmap.fill(Qt::green);
  ui::registerNamedImage("file_text", QIcon(pixmap));
  EXPECT_NE(drawn(ui::namedImage("file_text"), QSize(22, 22)).pixelColor(0, 0), QColor(Qt::green));
}

TEST(NamedImage, ThatIsMissingIsANullIconAndOneLogLine) {
  const Log log;
  EXPECT_TRUE(ui::namedImage("no_such_picture").isNull());
  EXPECT_TRUE(ui::namedImage("no_such_picture").isNull());
  ASSERT_EQ(log.lines().size(), 1);
  EXPECT_THAT(log.lines()[0].toStdString(), HasSubstr("no_such_picture"));
}

TEST(NamedImage, CannotLeadOutOfThePictures) {
  const Log log;
  EXPECT_TRUE(ui::namedImage("../qpdf/something").isNull());
  EXPECT_TRUE(ui::namedImage(QString()).isNull());
}

TEST(NamedImage, OfOneColourFollowsThePaletteAtThePaintingMoment) {
  const QPalette before = QGuiApplication::palette();
  const QIcon icon = ui::namedImage("toolbar_back");
  EXPECT_TRUE(hasOpaquePixelOf(drawn(icon, QSize(96, 96)), ui::namedColor("ItemText", before)));
  QGuiApplication::setPalette(darkPalette());
  EXPECT_TRUE(hasOpaquePixelOf(drawn(icon, QSize(96, 96)), ui::namedColor("ItemText", darkPalette())));
  QGuiApplication::setPalette(before);
}

TEST(NamedImage, IsDrawnSharplyAtEveryScale) {
  const QIcon icon = ui::namedImage("browser_icon_folder");
  for (const qreal scale : {1.0, 1.5, 2.0}) {
    EXPECT_EQ(icon.pixmap(QSize(22, 22), scale).size(), (QSizeF(22, 22) * scale).toSize());
  }
}

TEST(NamedImage, IsStretchedOverTheWholeRectangle) {
  const QImage image = drawn(ui::namedImage("progress_middle_bg"), QSize(80, 10));
  EXPECT_GT(qAlpha(image.pixel(0, 0)), 0);
  EXPECT_GT(qAlpha(image.pixel(79, 9)), 0);
}

TEST(NamedColor, HasALightAndADarkSet) {
  const QColor light = ui::namedColor("ItemText", QPalette(Qt::white));
  const QColor dark = ui::namedColor("ItemText", darkPalette());
  EXPECT_LT(light.lightness(), 128);
  EXPECT_GT(dark.lightness(), 128);
  EXPECT_GT(ui::namedColor("ViewBackground", QPalette(Qt::white)).lightness(), 128);
  EXPECT_LT(ui::namedColor("ViewBackground", darkPalette()).lightness(), 128);
}

TEST(NamedColor, ContrastRunsFromOneToTwentyOne) {
  EXPECT_DOUBLE_EQ(ui::contrast(Qt::black, Qt::black), 1);
  EXPECT_DOUBLE_EQ(ui::contrast(Qt::black, Qt::white), 21);
  EXPECT_DOUBLE_EQ(ui::contrast(Qt::white, Qt::black), 21);
  EXPECT_NEAR(ui::contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.01);
}

TEST(NamedColor, TextsAndTheFocusLineAreReadOnEveryDesktop) {
  for (const QPalette& palette : {QPalette(QColor(0xef, 0xef, 0xef)), darkPalette(), highContrast(Qt::black, Qt::white),
                                  highContrast(Qt::white, Qt::black), highContrast(Qt::yellow, Qt::black)}) {
    const QColor text = ui::namedColor("ItemText", palette);
    const QColor line = ui::namedColor("FocusLine", palette);
    for (const char* const background : {"ViewBackground", "Paper", "RowSelected", "RowHovered", "ButtonPlain"}) {
      EXPECT_GE(ui::contrast(text, ui::namedColor(background, palette)), 7) << background;
      EXPECT_GE(ui::contrast(line, ui::namedColor(background, palette)), 3) << background;
    }
    EXPECT_GE(ui::contrast(text, palette.color(QPalette::Base)), 7); // what the rows stand on
    EXPECT_GE(ui::contrast(line, palette.color(QPalette::Base)), 3);
    EXPECT_GE(ui::contrast(Qt::white, ui::namedColor("ButtonPrimary", palette)), 4.5);
  }
}

TEST(NamedColor, OfTheHighestContrastAreTheDesktopsOwn) {
  for (const auto& [text, background] : {std::pair(Qt::black, Qt::white), std::pair(Qt::white, Qt::black)}) {
    const QPalette palette = highContrast(text, background);
    EXPECT_EQ(ui::namedColor("ItemText", palette), QColor(text));
    EXPECT_EQ(ui::namedColor("ButtonFrame", palette), QColor(text));
    EXPECT_EQ(ui::namedColor("FocusLine", palette), QColor(text));
    EXPECT_EQ(ui::namedColor("Frame", palette), QColor(text));
    EXPECT_EQ(ui::namedColor("ViewBackground", palette), QColor(background));
    EXPECT_EQ(ui::namedColor("Paper", palette), QColor(background));
  }
  // A disabled widget, which has the same palette with other colours in use, is no other desktop.
  QPalette disabled = highContrast(Qt::white, Qt::black);
  disabled.setColor(QPalette::Disabled, QPalette::WindowText, Qt::gray);
  QPalette enabled = disabled;
  disabled.setCurrentColorGroup(QPalette::Disabled);
  EXPECT_EQ(ui::namedColor("ViewBackground", disabled), QColor(Qt::black));
  EXPECT_EQ(ui::namedColor("ItemText", enabled), QColor(Qt::white));
  const QPalette ordinary(QColor(0xef, 0xef, 0xef));
  EXPECT_NE(ui::namedColor("ViewBackground", ordinary), ordinary.color(QPalette::Window));
}

TEST(NamedColor, ThatDoesNotExistIsBlueAndALogLine) {
  const Log log;
  EXPECT_EQ(ui::namedColor("NoSuchColour"), QColor(Qt::blue));
  ASSERT_EQ(log.lines().size(), 1);
  EXPECT_THAT(log.lines()[0].toStdString(), HasSubstr("NoSuchColour"));
}

TEST(IconForItem, IsTheFolderForStoragesAndFolders) {
  const QImage folder = drawn(ui::namedImage("browser_icon_folder"), QSize(22, 22));
  for (const int type : {1, 2, 3, 4}) {
    EXPECT_EQ(drawn(ui::iconForItem(type, "a.jpg"), QSize(22, 22)), folder);
  }
  for (const int type : {0, 5, 6, -1, std::numeric_limits<int>::max()}) {
    EXPECT_NE(drawn(ui::iconForItem(type, "a.jpg"), QSize(22, 22)), folder);
  }
}
