#pragma once
// Whether a drawn picture is the one that is expected, but for what libraries of other versions draw differently.
#include <QImage>
#include <QString>

namespace pictures {

struct Comparison {
  bool isSame = false;
  QString reason;    ///< why not, in words
  QImage difference; ///< the drawn picture, faded, with what differs marked; null when the sizes differ
};

/// Looks at small squares one by one, so that a lost icon or line counts however large the picture is. A square is the
/// same when nearly all of its pixels are nearly the same, and its average colour is, too.
Comparison compare(const QImage& drawn, const QImage& expected);

} // namespace pictures
