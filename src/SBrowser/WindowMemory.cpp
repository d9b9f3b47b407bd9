#include "SBrowser/WindowMemory.h"

#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"
#include "UI/Controls/SOutlineHeaderView.h"
#include "UI/Controls/SOutlineView.h"

#include <QEvent>
#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>

#include <array>

namespace {

const QString kFrame = QStringLiteral("WindowFrame");
const QString kMaximized = QStringLiteral("WindowMaximized");
const QString kSortColumn = QStringLiteral("SortColumn");
const QString kSortAscending = QStringLiteral("SortAscending");

// No window is larger, no desktop reaches farther.
constexpr int kLargest = 32'767;
constexpr QSize kSmallest(200, 150);
constexpr int kWidestColumn = 8'192;

QString widthKey(const SOutlineColumn& column) {
  return QStringLiteral("ColumnWidths/") + column.identifier;
}

std::optional<int> numberWithin(const QString& text, int lowest, int highest) {
  bool isNumber = false;
  const int number = text.toInt(&isNumber);
  if (!isNumber || number < lowest || number > highest)
    return std::nullopt;
  return number;
}

/// The frame as stored: four numbers, held within what keeps sums of them in range.
std::optional<QRect> storedFrame() {
  const QStringList parts = platform::userDefaults::stringForKey(kFrame).split(u' ', Qt::SkipEmptyParts);
  if (parts.size() != 4)
    return std::nullopt;
  std::array<int, 4> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto number = numberWithin(parts[qsizetype(i)], -kLargest, kLargest);
    if (!number)
      return std::nullopt;
    numbers[i] = *number;
  }
  return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

QList<QRect> screenAreas() {
  QList<QRect> areas;
  const QScreen* const primary = QGuiApplication::primaryScreen();
  for (const QScreen* const screen : QGuiApplication::screens())
    areas.insert(screen == primary ? 0 : areas.size(), screen->availableGeometry());
  return areas;
}

SOutlineHeaderView& headerOf(const SOutlineView& outline) {
  return static_cast<SOutlineHeaderView&>(*outline.header());
}

} // namespace

WindowMemory::WindowMemory(QMainWindow& window, SOutlineView& outline)
    : m_window(window)
    , m_outline(outline) {
  platform::assertMainThread();
  restoreFrame();
  restoreColumns();
  m_window.installEventFilter(this);
}

WindowMemory::~WindowMemory() {
  save();
}

std::optional<QRect> WindowMemory::placeFor(const QRect& stored, const QList<QRect>& screens) {
  constexpr QSize handle(100, 20); // of the upper edge, to take hold of
  const bool isSize = stored.width() >= kSmallest.width() && stored.height() >= kSmallest.height() &&
                      stored.width() <= kLargest && stored.height() <= kLargest;
  if (!isSize || screens.isEmpty())
    return std::nullopt;
  for (const QRect& screen : screens) {
    const QRect strip = QRect(stored.topLeft(), QSize(stored.width(), handle.height())).intersected(screen);
    if (strip.width() >= handle.width() && strip.height() >= handle.height())
      return QRect(stored.topLeft(), stored.size().boundedTo(screen.size()));
  }
  QRect place(QPoint(), stored.size().boundedTo(screens.front().size()));
  place.moveCenter(screens.front().center());
  return place;
}

void WindowMemory::restoreFrame() {
  const auto stored = storedFrame();
  if (!stored)
    return;
  if (const auto place = placeFor(*stored, screenAreas()))
    m_window.setGeometry(*place);
  if (platform::userDefaults::boolForKey(kMaximized))
    m_window.setWindowState(Qt::WindowMaximized);
}

void WindowMemory::restoreColumns() {
  SOutlineHeaderView& header = headerOf(m_outline);
  const auto& columns = header.columns();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const SOutlineColumn& column = columns[i];
    const int widest = column.maxWidth > 0 ? column.maxWidth : kWidestColumn;
    if (const auto width =
            numberWithin(platform::userDefaults::stringForKey(widthKey(column)), column.minWidth, widest))
      header.setWidthOfColumn(int(i), *width);
  }
}

void WindowMemory::save() {
  platform::assertMainThread();
  if (!m_wasShown)
    return;
  const QRect frame =
      m_window.isMaximized() || m_window.isFullScreen() ? m_window.normalGeometry() : m_window.geometry();
  platform::userDefaults::setValue(
      kFrame, QStringLiteral("%1 %2 %3 %4").arg(frame.x()).arg(frame.y()).arg(frame.width()).arg(frame.height()));
  platform::userDefaults::setValue(kMaximized, m_window.isMaximized());
  const SOutlineHeaderView& header = headerOf(m_outline);
  const auto& columns = header.columns();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const int width = header.widthOfColumn(int(i));
    // A width nobody has set stays the program's affair.
    if (i == 0 ? header.isFirstColumnFitted() : width == columns[i].width)
      platform::userDefaults::remove(widthKey(columns[i]));
    else
      platform::userDefaults::setValue(widthKey(columns[i]), width);
  }
}

std::optional<WindowMemory::Sorting> WindowMemory::sorting() {
  const QString identifier = platform::userDefaults::stringForKey(kSortColumn);
  constexpr std::array identifiers{kOutlineFileName, kOutlineDateModified, kOutlineFileSize};
  for (std::size_t column = 0; column < identifiers.size(); ++column)
    if (identifier == identifiers[column]) {
      const bool isDescending = platform::userDefaults::value(kSortAscending) &&
                                platform::userDefaults::stringForKey(kSortAscending) == u"false";
      return Sorting{int(column), isDescending ? Qt::DescendingOrder : Qt::AscendingOrder};
    }
  return std::nullopt;
}

void WindowMemory::setSorting(const Sorting& sorting) {
  constexpr std::array identifiers{kOutlineFileName, kOutlineDateModified, kOutlineFileSize};
  if (sorting.column < 0 || std::size_t(sorting.column) >= identifiers.size())
    return;
  platform::userDefaults::setValue(kSortColumn, identifiers[std::size_t(sorting.column)].toString());
  platform::userDefaults::setValue(kSortAscending, sorting.order == Qt::AscendingOrder);
}

bool WindowMemory::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Show)
    m_wasShown = true;
  else if (event->type() == QEvent::Close)
    save();
  return QObject::eventFilter(watched, event);
}
