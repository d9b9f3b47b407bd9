#include "Platform/HomeFolder.h"

#include <QtGlobal>

#include <pwd.h>
#include <unistd.h>

namespace platform {

void completeHomeFolder() {
  if (!qEnvironmentVariableIsEmpty("HOME"))
    return;
  const passwd* const account = ::getpwuid(::getuid());
  if (account != nullptr && account->pw_dir != nullptr && account->pw_dir[0] == '/')
    qputenv("HOME", account->pw_dir);
}

} // namespace platform
