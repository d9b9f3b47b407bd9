#pragma once
// The outline's header: draws through one BrowserHeaderCell a column and keeps every column within its own limits.
#include "UI/Controls/QXBrowserTableHeaderCell.h"

#include <QHeaderView>

#include <vector>

/// One column's settings. Widths in device-independent pixels, without the spacing between columns.
struct SOutlineColumn {
  QString identifier;
  /// The localized text key of its header.
  QString headerKey;
  int width;
  int minWidth;
  /// 0: no limit.
  int maxWidth;
};

/// The first column takes the room the others leave, until the user gives it a width of its own. Main thread.
class SOutlineHeaderView : public QHeaderView {
  Q_OBJECT
public:
  /// How high the header is.
  static constexpr int kHeight = 25;
  /// The space after each column: a section of the header is this much wider than its column.
  static constexpr int kColumnSpacing = 5;

  explicit SOutlineHeaderView(QWidget* parent = nullptr);

  /// The columns from now on, section by section, each with a new BrowserHeaderCell titled with its localized text;
  /// applied to the sections as soon as there are any.
  void setColumns(std::vector<SOutlineColumn> columns);
  const std::vector<SOutlineColumn>& columns() const { return m_columns; }

  /// The cell of a section; nullptr when there is no such column.
  BrowserHeaderCell* headerCell(int section);

  /// A column's width without the spacing.
  int widthOfColumn(int section) const;
  /// Sets a column's width, held within its limits; the first column keeps it from then on.
  void setWidthOfColumn(int section, int width);
  /// Whether the first column takes the room that the others leave.
  bool isFirstColumnFitted() const { return m_firstColumnFits; }

  QSize sizeHint() const override;

protected:
  /// `drawRect:` White, the sections, then a line around each of them.
  void paintEvent(QPaintEvent* event) override;
  void paintSection(QPainter* painter, const QRect& rect, int section) const override;
  void resizeEvent(QResizeEvent* event) override;
  /// On a title both clicks of a double click sort.
  void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
  void applyColumns();
  void keepWithinLimits(int section, int oldSize, int newSize);
  void fitFirstColumn();
  int limited(int section, int width) const;

  std::vector<SOutlineColumn> m_columns;
  mutable std::vector<BrowserHeaderCell> m_cells;
  bool m_firstColumnFits = true;
  bool m_adjusting = false;
};
