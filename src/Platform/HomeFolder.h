#pragma once
// The user's home folder, as everything in this process is to know it.

namespace platform {

/// Sets the environment variable HOME to the account's home folder where it is unset or empty, as it may be for a
/// program that no session has started: Qt would take the file system's top for it. Before any other thread runs.
void completeHomeFolder();

} // namespace platform
