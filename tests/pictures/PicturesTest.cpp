// What the program looks like: each panel and the window in each state, light and dark, from left to right and from
// right to left, beside the references in references/.
#include "MTPCore/MTPSDKUtil.h"
#include "PictureCompare.h"
#include "SBrowser/BrowserFixture.h"
#include "SBrowser/ClashQuestion.h"
#include "SBrowser/LastTransferDialog.h"
#include "SBrowser/WindowMenus.h"
#include "Surroundings.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/LoadingView/SLoadingAniView.h"
#include "UI/LoadingView/SLoadingAniViewController.h"
#include "UI/NoticeView/SNoticeView.h"
#include "UI/ProgressView/SProgressView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QHash>
#include <QHeaderView>
#include <QImageWriter>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QLocale>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QTranslator>
#include <QVariantAnimation>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <utility>

namespace {

using pictures::Colors;

/// How the desktop is set.
struct Variant {
  const char* name;
  Colors colors;
  bool isRTL;
};

constexpr Variant kVariants[] = {{"light", Colors::Light, false},
                                 {"dark", Colors::Dark, false},
                                 {"light_rtl", Colors::Light, true},
                                 {"dark_rtl", Colors::Dark, true},
                                 {"contrast", Colors::HighContrast, false}};

int distance(QRgb one, QRgb other) {
  return std::abs(qRed(one) - qRed(other)) + std::abs(qGreen(one) - qGreen(other)) +
         std::abs(qBlue(one) - qBlue(other));
}

/// The picture in 256 colours, which are a third of the bytes: the most frequent ones, as plates keep their exact
/// colour, and those least like any other, as those of small icons.
QImage inFewColors(const QImage& picture) {
  constexpr qsizetype most = 256;
  constexpr qsizetype frequent = most / 2;
  const QImage image = picture.convertToFormat(QImage::Format_RGB32);
  QHash<QRgb, int> pixels;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      ++pixels[image.pixel(x, y)];
  QList<QRgb> colors = pixels.keys();
  std::sort(colors.begin(), colors.end(), [&](QRgb one, QRgb other) {
    return std::pair(pixels.value(other), one) < std::pair(pixels.value(one), other);
  });
  QList<QRgb> table;
  QList<uint> nearest(colors.size(), 0); // of the table, for each colour
  const auto add = [&](QRgb color) {
    for (qsizetype i = 0; i < colors.size(); ++i)
      if (table.isEmpty() || distance(colors[i], color) < distance(colors[i], table[nearest[i]]))
        nearest[i] = uint(table.size());
    table.append(color);
  };
  while (table.size() < qMin(frequent, colors.size()))
    add(colors[table.size()]);
  while (table.size() < qMin(most, colors.size())) {
    const auto error = [&](qsizetype i) { return distance(colors[i], table[nearest[i]]); };
    qsizetype worst = 0;
    for (qsizetype i = 1; i < colors.size(); ++i)
      if (error(i) > error(worst))
        worst = i;
    add(colors[worst]);
  }
  QHash<QRgb, uint> places;
  for (qsizetype i = 0; i < colors.size(); ++i)
    places.insert(colors[i], nearest[i]);
  QImage indexed(image.size(), QImage::Format_Indexed8);
  indexed.setColorTable(table);
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      indexed.setPixel(x, y, places.value(image.pixel(x, y)));
  return indexed;
}

bool save(const QImage& picture, const QString& file) {
  QImageWriter writer(file, "png");
  writer.setCompression(100);
  return writer.write(inFewColors(picture));
}

/// Compares the picture with its reference, or writes it where the command line says.
void expectLook(const QString& name, const QImage& picture) {
  if (!pictures::outputFolder().isNull()) {
    ASSERT_TRUE(QDir().mkpath(pictures::outputFolder()));
    ASSERT_TRUE(save(picture, pictures::outputFolder() + u'/' + name + QStringLiteral(".png")));
    return;
  }
  const QImage expected(QStringLiteral(MTPB_PICTURE_REFERENCES "/%1.png").arg(name));
  ASSERT_FALSE(expected.isNull()) << "no reference " << name.toStdString();
  const pictures::Comparison comparison = pictures::compare(picture, expected);
  if (comparison.isSame)
    return;
  const QString beginning = QStringLiteral(MTPB_PICTURE_FAILURES "/%1-").arg(name);
  QDir().mkpath(QStringLiteral(MTPB_PICTURE_FAILURES));
  save(picture, beginning + QStringLiteral("drawn.png"));
  save(expected, beginning + QStringLiteral("expected.png"));
  if (!comparison.difference.isNull())
    save(comparison.difference, beginning + QStringLiteral("difference.png"));
  ADD_FAILURE() << name.toStdString() << ": " << comparison.reason.toStdString() << "; see " << beginning.toStdString()
                << "{drawn,expected,difference}.png";
}

/// The window with an open menu above it, as the screen shows both.
QImage withPopup(QWidget& window, QMenu& menu) {
  QImage picture = window.grab().toImage();
  QPainter painter(&picture);
  const QRect place(window.mapFromGlobal(menu.pos()), menu.size());
  painter.drawPixmap(place.topLeft(), menu.grab());
  return picture;
}

class Pictures : public BrowserFixture {
protected:
  /// The desktop and a new window on it.
  void open(const Variant& variant) {
    m_isRTL = variant.isRTL;
    m_locale.reset();
    m_locale = std::make_unique<platform::dates::ScopedLocaleAndZone>(m_isRTL ? "he_IL" : "en_GB", "UTC");
    QLocale::setDefault(QLocale(m_isRTL ? QStringLiteral("he_IL") : QStringLiteral("en_GB")));
    pictures::setColors(variant.colors);
    VornLocalStringDefine::loadTables({m_isRTL ? QStringLiteral("he") : QStringLiteral("en")});
    if (m_isRTL && m_qtTexts.load(QStringLiteral("qtbase_he"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
      QCoreApplication::installTranslator(&m_qtTexts);
    QApplication::setLayoutDirection(m_isRTL ? Qt::RightToLeft : Qt::LeftToRight);
    openWindow();
    // Away from the pointer, which is in the corner.
    window().move(300, 200);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
  }
  void TearDown() override {
    BrowserFixture::TearDown();
    QLocale::setDefault(QLocale::c());
    VornLocalStringDefine::loadTables({QStringLiteral("en")});
    QApplication::setLayoutDirection(Qt::LeftToRight);
  }

  QMainWindow& window() const { return *controller->window(); }
  WindowLayout& layout() const { return controller->layout(); }
  QString text(const char* english, const char* hebrew) const { return QString::fromUtf8(m_isRTL ? hebrew : english); }

  /// What the progress panel says of the file that is being copied.
  static QString fileLine() {
    return QStringLiteral("3/12 %1 IMG_20260712_093015.jpg")
        .arg(VornLocalStringDefine::QX_LocalizedStringWithKey(QStringLiteral("MSG_BnRTransfering")));
  }
  /// A phone with photos and documents, and its card.
  void connectFilledPhone() {
    device = sdk->addDevice(0x14200000, QStringLiteral("M"), text("Dana's phone", "הטלפון של דנה"));
    phone = sdk->addStorage(device, 0x00010001, text("Internal storage", "אחסון פנימי"));
    card = sdk->addStorage(device, 0x00020001, text("Memory card", "כרטיס זיכרון"));
    for (const char* const name : {"Android", "DCIM", "Documents", "Download", "Movies", "Music", "Pictures"})
      (QLatin1StringView(name) == QLatin1StringView("DCIM") ? dcim : m_other) =
          sdk->addFolder(phone, QString::fromLatin1(name));
    camera = sdk->addFolder(dcim, QStringLiteral("Camera"));
    sdk->addFolder(dcim, text("Screenshots", "צילומי מסך"));
    const auto photo = [&](const char* name, std::uint64_t size, const char* date) {
      sdk->addFile(camera, QString::fromLatin1(name), size, QString::fromLatin1(date));
    };
    photo("IMG_20260712_093015.jpg", 3'412'877, "20260712T093015");
    photo("IMG_20260712_093022.jpg", 3'288'140, "20260712T093022");
    photo("IMG_20260714_181200.jpg", 2'904'336, "20260714T181200");
    photo("VID_20260714_181455.mp4", 148'230'144, "20260714T181455");
    sdk->addFile(dcim, QStringLiteral(".thumbdata"), 20'480, QStringLiteral("20260801T080000"));
    const auto file = [&](const QString& name, std::uint64_t size, const char* date) {
      sdk->addFile(phone, name, size, QString::fromLatin1(date));
    };
    file(text("Boarding pass.pdf", "כרטיס עלייה.pdf"), 182'044, "20260630T071500");
    file(text("Holiday plan.txt", "תוכנית חופשה.txt"), 1'536, "20260628T204210");
    file(text("Packing list.xlsx", "רשימת ציוד.xlsx"), 12'288, "20260627T101010");
    file(text("Train song.mp3", "שיר הרכבת.mp3"), 5'242'880, "20260501T120000");
    file(QStringLiteral("maps-offline.zip"), 734'003'200, "20260215T233000");
    file(QStringLiteral("weather.apk"), 24'117'248, "20260110T084501");
    connect();
  }
  void expand(const QModelIndex& index) {
    outline().expand(index);
    ASSERT_TRUE(settle());
  }
  void expandCamera() {
    expand(row(QStringLiteral("DCIM")));
    expand(row(QStringLiteral("Camera"), row(QStringLiteral("DCIM"))));
  }
  void select(const QStringList& names) {
    outline().clearSelection();
    for (const QString& name : names)
      outline().selectionModel()->select(row(name), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    outline().selectionModel()->setCurrentIndex(row(names.last()), QItemSelectionModel::NoUpdate);
  }
  /// The command's question is asked and its panel has come to rest.
  void ask(WindowCommand command, ui::QuestionPanel& panel) {
    controller->performCommand(command);
    ASSERT_TRUE(waitUntil([&] { return panel.isReachable(); }));
    panel.slideAnimation()->setCurrentTime(ui::OverlayPanel::kSlideTime);
  }
  /// The context menu of the row, below its name.
  QMenu& openContextMenu(const QString& name) {
    const QRect place = outline().visualRect(row(name));
    QMenu& menu = *outline().menuForEvent(place.center());
    popUp(menu, outline().viewport()->mapToGlobal(QPoint(place.center().x(), place.bottom())));
    return menu;
  }
  /// Right to left a menu begins at its right.
  void popUp(QMenu& menu, const QPoint& at) const {
    menu.popup(at);
    menu.move(m_isRTL ? at - QPoint(menu.width() - 1, 0) : at);
  }
  QMenu& openMenu(int number) {
    QMenuBar& bar = *window().menuBar();
    QAction* const title = bar.actions()[number];
    bar.setActiveAction(title);
    const QRect place = bar.actionGeometry(title);
    popUp(*title->menu(), bar.mapToGlobal(m_isRTL ? place.bottomRight() : place.bottomLeft()) + QPoint(0, 1));
    return *title->menu();
  }
  QImage grab() const { return window().grab().toImage(); }

  bool m_isRTL = false;

private:
  FakeMtpSdk::Handle m_other = 0;
  std::unique_ptr<platform::dates::ScopedLocaleAndZone> m_locale;
  QTranslator m_qtTexts; // uninstalls itself
};

/// Panels and menus, each on a piece of paper.
struct Panel {
  const char* name;
  QImage (*draw)(class PanelPictures& test);
};

class PanelPictures : public Pictures {
public:
  /// The panel, shown by `show`, at rest.
  template <class View> QImage drawPanel(const std::function<void(View&)>& show) {
    QWidget paper;
    paper.setLayoutDirection(m_isRTL ? Qt::RightToLeft : Qt::LeftToRight);
    paper.setBackgroundRole(QPalette::Base);
    paper.setAutoFillBackground(true);
    View panel(&paper);
    paper.resize(panel.width() + 24, panel.height() + 16);
    paper.move(300, 200);
    paper.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&paper));
    show(panel);
    panel.slideAnimation()->setCurrentTime(ui::OverlayPanel::kSlideTime);
    QCoreApplication::sendPostedEvents();
    return paper.grab().toImage();
  }
  QImage drawQuestion(bool isChecked) {
    return drawPanel<SNoticeView>([&](SNoticeView& panel) {
      panel.animationHidden(false);
      QCoreApplication::processEvents(); // it is shown from the main thread's queue
      panel.slideAnimation()->setCurrentTime(ui::OverlayPanel::kSlideTime);
      auto* const box = panel.findChild<QCheckBox*>();
      box->setChecked(isChecked);
      if (isChecked)
        box->setFocus(Qt::TabFocusReason);
    });
  }
  QImage drawNameEntry(const QVariant& name) {
    return drawPanel<SFileNameView>([&](SFileNameView& panel) { panel.animationShowViewWithInfos(name); });
  }
  QImage drawProgress(quint64 done) {
    return drawPanel<SProgressView>([&](SProgressView& panel) {
      panel.animationHidden(false, {});
      panel.setFileStatus(fileLine());
      panel.setProgressInfo(done * 3'145'728, 100 * 3'145'728ULL);
      panel.show();
    });
  }
  QImage drawPreparation() {
    return drawPanel<SProgressView>([](SProgressView& panel) {
      panel.animationHidden(false, {});
      panel.show();
    });
  }
  QImage drawClash(bool several) {
    const auto question = std::make_shared<ClashQuestion>(window());
    platform::startWorker("test-ask", [question, several] {
      question->ask(QStringLiteral("IMG_20260712_093015.jpg"), several, [] { return true; });
    });
    EXPECT_TRUE(waitUntil([&] { return question->alert() != nullptr; }));
    EXPECT_TRUE(QTest::qWaitForWindowActive(question->alert()));
    const QImage picture = question->alert()->grab().toImage();
    question->close();
    EXPECT_TRUE(settle());
    return picture;
  }
  QImage drawContextMenu(const QStringList& selected, const char* clicked) {
    connectFilledPhone();
    if (!selected.isEmpty())
      select(selected);
    return openContextMenu(QString::fromLatin1(clicked)).grab().toImage();
  }
  /// The dialog that `show` opens.
  QImage drawDialog(const std::function<void()>& show) {
    show();
    const auto dialogs = window().findChildren<QDialog*>();
    if (dialogs.size() != 1 || !QTest::qWaitForWindowActive(dialogs.first())) {
      ADD_FAILURE() << dialogs.size() << " dialogs";
      return {};
    }
    return dialogs.first()->grab().toImage();
  }
  QImage drawLastTransfer() {
    const std::vector<TransferOutcome> outcomes{
        {QStringLiteral("Camera/IMG_20260712_093015.jpg"), TransferOutcome::Copied, 0},
        {QStringLiteral("Camera/IMG_20260712_093022.jpg"), TransferOutcome::Copied, 0},
        {QStringLiteral("Camera/IMG_20260714_181200.jpg"), TransferOutcome::Skipped, 0},
        {QStringLiteral("Camera/VID_20260714_181455.mp4"), TransferOutcome::Failed, DGSTATUS_STORAGE_FULL}};
    LastTransferDialog dialog(outcomes, &window());
    dialog.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
    return dialog.grab().toImage();
  }
  WindowMenus& menus() const { return *layout().menus; }

  void run(const Panel& panel, const Variant& variant) {
    open(variant);
    expectLook(QStringLiteral("%1-%2").arg(QLatin1StringView(panel.name), QLatin1StringView(variant.name)),
               panel.draw(*this));
  }
  void TestBody() override {}
};

constexpr Panel kPanels[] = {
    {"question", [](PanelPictures& test) { return test.drawQuestion(false); }},
    {"question_checked", [](PanelPictures& test) { return test.drawQuestion(true); }},
    {"new_folder", [](PanelPictures& test) { return test.drawNameEntry({}); }},
    {"rename", [](PanelPictures& test) { return test.drawNameEntry(QStringLiteral("IMG_20260712_093015.jpg")); }},
    {"progress_preparing", [](PanelPictures& test) { return test.drawPreparation(); }},
    {"progress_0", [](PanelPictures& test) { return test.drawProgress(0); }},
    {"progress_1", [](PanelPictures& test) { return test.drawProgress(1); }},
    {"progress_50", [](PanelPictures& test) { return test.drawProgress(50); }},
    {"progress_100", [](PanelPictures& test) { return test.drawProgress(100); }},
    {"existing_file", [](PanelPictures& test) { return test.drawClash(false); }},
    {"existing_file_of_several", [](PanelPictures& test) { return test.drawClash(true); }},
    {"menu_of_file", [](PanelPictures& test) { return test.drawContextMenu({}, "weather.apk"); }},
    {"menu_of_folder", [](PanelPictures& test) { return test.drawContextMenu({}, "nothing below the rows"); }},
    {"menu_of_protected", [](PanelPictures& test) { return test.drawContextMenu({}, "DCIM"); }},
    {"menu_of_several",
     [](PanelPictures& test) { return test.drawContextMenu({QStringLiteral("maps-offline.zip")}, "weather.apk"); }},
    {"keys", [](PanelPictures& test) { return test.drawDialog([&] { test.menus().showKeys(); }); }},
    {"about", [](PanelPictures& test) { return test.drawDialog([&] { test.menus().showAbout(); }); }},
    {"last_transfer", [](PanelPictures& test) { return test.drawLastTransfer(); }},
};

/// The window in a state.
struct State {
  const char* name;
  QImage (*draw)(class WindowPictures& test);
};

class WindowPictures : public Pictures {
public:
  QImage drawWelcome() { return grab(); }
  QImage drawTree() {
    connectFilledPhone();
    return grab();
  }
  QImage drawLoading(int frame) {
    connectFilledPhone();
    Gate gate;
    sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
    doubleClick(QStringLiteral("DCIM"));
    EXPECT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
    timers.advance(SLoadingAniViewController::kFrameTime * frame);
    EXPECT_EQ(layout()._loadingViewController->currentIndex(), frame);
    const QImage picture = grab();
    gate.open();
    EXPECT_TRUE(settle());
    return picture;
  }
  QImage drawExpanded() {
    connectFilledPhone();
    expandCamera();
    outline().sortByColumn(kFileName, Qt::AscendingOrder);
    outline().setCurrentIndex(row(QStringLiteral("DCIM")));
    return grab();
  }
  QImage drawSelection() {
    connectFilledPhone();
    select({QStringLiteral("Music"), QStringLiteral("maps-offline.zip"), QStringLiteral("weather.apk")});
    const QPointF above = outline().visualRect(row(QStringLiteral("Movies"))).center();
    QMouseEvent move(QEvent::MouseMove, above, outline().viewport()->mapToGlobal(above), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(outline().viewport(), &move);
    return grab();
  }
  QImage drawAsking(WindowCommand command, ui::QuestionPanel& panel) {
    connectFilledPhone();
    select({QStringLiteral("weather.apk")});
    ask(command, panel);
    const QImage picture = grab();
    controller->deviceDisconnected();
    EXPECT_TRUE(settle());
    return picture;
  }
  QImage drawProgress() {
    connectFilledPhone();
    controller->setDisableCaptureEvent(true);
    layout()._progressView->animationHidden(false, {});
    layout()._progressView->setFileStatus(fileLine());
    layout()._progressView->setProgressInfo(1'572'864, 3'145'728);
    layout()._progressView->show();
    return grab();
  }
  QImage drawContextMenu() {
    connectFilledPhone();
    return withPopup(window(), openContextMenu(QStringLiteral("weather.apk")));
  }
  QImage drawMenu(int number) {
    connectFilledPhone();
    select({QStringLiteral("DCIM")});
    return withPopup(window(), openMenu(number));
  }
  const WindowLayout& views() const { return layout(); }

  void run(const State& state, const Variant& variant) {
    open(variant);
    expectLook(QStringLiteral("window_%1-%2").arg(QLatin1StringView(state.name), QLatin1StringView(variant.name)),
               state.draw(*this));
  }
  void TestBody() override {}
};

constexpr State kStates[] = {
    {"welcome", [](WindowPictures& test) { return test.drawWelcome(); }},
    {"loading", [](WindowPictures& test) { return test.drawLoading(0); }},
    {"loading_later", [](WindowPictures& test) { return test.drawLoading(92); }},
    {"tree", [](WindowPictures& test) { return test.drawTree(); }},
    {"expanded", [](WindowPictures& test) { return test.drawExpanded(); }},
    {"selection", [](WindowPictures& test) { return test.drawSelection(); }},
    {"question",
     [](WindowPictures& test) { return test.drawAsking(WindowCommand::Delete, *test.views()._noticeView); }},
    {"new_folder",
     [](WindowPictures& test) { return test.drawAsking(WindowCommand::NewFolder, *test.views()._fileNameView); }},
    {"rename",
     [](WindowPictures& test) { return test.drawAsking(WindowCommand::Rename, *test.views()._fileNameView); }},
    {"progress", [](WindowPictures& test) { return test.drawProgress(); }},
    {"context_menu", [](WindowPictures& test) { return test.drawContextMenu(); }},
    {"menu_file", [](WindowPictures& test) { return test.drawMenu(0); }},
    {"menu_go", [](WindowPictures& test) { return test.drawMenu(2); }},
};

/// Makes a test of each state in each variant.
template <class Fixture, class Subject>
void registerAll(const char* suite, const Subject& subject, const Variant& how) {
  class Look : public Fixture {
  public:
    Look(const Subject& subject, const Variant& how)
        : m_subject(subject)
        , m_how(how) {}
    void TestBody() override { this->run(m_subject, m_how); }

  private:
    const Subject& m_subject;
    const Variant& m_how;
  };
  const std::string name = std::string(subject.name) + "_" + how.name;
  testing::RegisterTest(suite, name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                        [&subject, &how]() -> Fixture* { return new Look(subject, how); });
}

const bool isRegistered = [] {
  for (const Variant& variant : kVariants) {
    for (const Panel& panel : kPanels)
      registerAll<PanelPictures>("PanelLooksAsItShould", panel, variant);
    for (const State& state : kStates)
      registerAll<WindowPictures>("WindowLooksAsItShould", state, variant);
  }
  return true;
}();

} // namespace
