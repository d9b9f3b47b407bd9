#pragma once
// What a picture depends on beside the program: fixed here, the same on every machine.
#include <QString>

namespace pictures {

/// Where the pictures go instead of being compared; null: they are compared with the references.
QString& outputFolder();

/// Before the application object is made: fonts, scale, locale and zone. `scale` is how many pixels a
/// device-independent one has.
void fixEnvironment(double scale);
/// After that: style, colours, icons, the text cursor that blinks no more.
void fixApplication();

enum class Colors { Light, Dark, HighContrast };
/// Gives the application the colours.
void setColors(Colors colors);

} // namespace pictures
