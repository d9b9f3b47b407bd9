#pragma once
// Names of the user's files in the log: shown only on demand, as a log may be given away.
#include <QByteArray>
#include <QString>

namespace platform {

/// Whether lines may name files (false at start). Any thread.
void setNamesInLog(bool shown);

/// A name or path for a log line, UTF-8: itself when names are shown, else "(hidden)"; "(null)" for a null text. Any
/// thread.
QByteArray nameForLog(const QString& name);

} // namespace platform
