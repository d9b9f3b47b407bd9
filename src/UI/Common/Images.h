#pragma once
// The program's pictures and colours by name, and the icons of the tree's rows. Main thread; nothing here blocks, apart
// from reading an embedded or a theme's file on first use.
#include <QColor>
#include <QIcon>
#include <QPalette>
#include <QRectF>
#include <QString>

class QPainter;

namespace ui {

/// The picture named `name`: first the program's own file of that name, else the named image of the platform (one given
/// to registerNamedImage(), then one of the desktop's icon theme). A null icon, with a log line the first time, when
/// there is none. Pictures are vectors: sharp at every size and scale. The single-coloured ones are drawn in the colour
/// "ItemText" of the moment of painting, so that they follow a change of the desktop's palette with the next paint.
QIcon namedImage(const QString& name);

/// Makes `image` the platform's named image `name`, replacing an earlier one.
void registerNamedImage(const QString& name, const QIcon& image);

/// The size a picture was drawn for, in device-independent pixels; empty when it has none of its own.
QSize imageSize(const QIcon& image);

/// Draws the whole of `image` into `target`, stretching both axes apart, source over.
void drawImage(QPainter& painter, const QRectF& target, const QIcon& image, QIcon::Mode mode = QIcon::Normal);

/// The named colour `name` ("ItemText", "ViewBackground" and the others of Images.cpp) of the light or the dark set,
/// whichever fits `palette`; of a palette of the highest contrast (black and white) texts, lines and backgrounds are
/// its own. Blue, with a log line, when no colour has that name.
QColor namedColor(const QString& name, const QPalette& palette);
/// The same for the application's palette.
QColor namedColor(const QString& name);

/// How much two opaque colours differ: from 1 (not at all) to 21 (black and white). A text is easily read from 7 on, a
/// line seen from 3 on.
double contrast(const QColor& one, const QColor& other);

/// Whether `palette` is one of a dark desktop.
bool isDarkPalette(const QPalette& palette);

/// The icon of a tree row: the folder picture "browser_icon_folder" for storages and folders (`objectType` 1 to 4),
/// iconForFileName() for everything else.
QIcon iconForItem(int objectType, const QString& fileName);

/// The icon of a file by its name's extension, from the desktop's icon theme or, where that has none, our own set.
/// Looked up once per extension (case ignored): cheap enough for every row of every paint.
QIcon iconForFileName(const QString& fileName);

} // namespace ui
