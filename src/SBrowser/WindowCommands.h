#pragma once
// What the user can have the window do, and when.
#include <bitset>
#include <cstddef>
#include <cstdint>

/// The commands of the menus and their keys.
enum class WindowCommand : std::uint8_t {
  NewFolder,
  Upload,
  UploadFolder,
  CopyTo,
  CancelTransfer,
  Quit,
  Rename,
  Delete,
  SelectAll,
  Open,
  Back,
  Next,
  InternalStorage,
  ExternalStorage,
  Reload,
  SortByName,
  SortByDate,
  SortBySize,
  Expand,
  Collapse,
  LastTransfer,
  ShowKeys,
  About,
};
inline constexpr std::size_t kWindowCommandCount = std::size_t(WindowCommand::About) + 1;

/// A value.
class WindowCommandSet {
public:
  bool contains(WindowCommand command) const { return m_commands[std::size_t(command)]; }
  void set(WindowCommand command, bool contained = true) { m_commands[std::size_t(command)] = contained; }

private:
  std::bitset<kWindowCommandCount> m_commands;
};

/// What decides about the commands.
struct WindowState {
  bool showsPhone = false; ///< not the welcome
  bool isLoading = false;  ///< the loading view covers the rows
  bool isBlocked = false;  ///< a panel or a transfer has the window
  bool isTransferring = false;
  // The buttons of the toolbar.
  bool storagesEnabled = false;
  bool backAndNextEnabled = false;
  std::size_t storages = 0; ///< how many the phone has
  bool hasParent = false;   ///< the current folder has one
  bool hasNext = false;     ///< somebody went back from a folder that still is there
  bool hasRows = false;
  std::ptrdiff_t selectedRows = 0;
  int selectedType = 0;             ///< SOutlineMenuType of the row, when exactly one is selected
  bool isProtectedSelected = false; ///< one of several selected rows is protected
  bool isCurrentExpandable = false; ///< the row the keyboard is on is a folder
  bool isCurrentExpanded = false;   ///< its contents are shown in place
};

/// The commands that can be carried out now. Pure.
WindowCommandSet possibleCommands(const WindowState& state);
