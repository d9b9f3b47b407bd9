#pragma once
// Why an attached phone cannot be shown.
#include <QString>

/// The state of a phone, or of this computer, that keeps the browser from it. Each may end without a replug.
struct ConnectCondition {
  enum class Kind {
    NoStorages,      ///< it shows no storage: locked, or only charging
    NoPermission,    ///< the user may not open it
    InUse,           ///< another program has it
    PictureTransfer, ///< it speaks the protocol of cameras (PTP) without MTP
    NotAnswering     ///< it says nothing, or nothing sensible
  };
  Kind kind = Kind::NoStorages;
  QString holder; ///< of InUse: the other program's name; null when it cannot be seen. Of any content
};
