#include "SBrowser/WindowCommands.h"

#include "UI/Controls/SOutlineView.h"

WindowCommandSet possibleCommands(const WindowState& state) {
  const bool rows = state.showsPhone && !state.isLoading && !state.isBlocked;
  const bool storages = state.showsPhone && state.storagesEnabled;
  const bool steps = state.showsPhone && state.backAndNextEnabled;
  const bool anySelected = rows && state.selectedRows > 0;
  const auto fitsSelection = [&](SOutlineMenuEntry entry) {
    return anySelected &&
           isContextMenuEntryEnabled(entry, state.selectedRows, state.selectedType, state.isProtectedSelected);
  };

  WindowCommandSet possible;
  possible.set(WindowCommand::NewFolder, rows);
  possible.set(WindowCommand::Upload, rows);
  possible.set(WindowCommand::UploadFolder, rows);
  possible.set(WindowCommand::CopyTo, anySelected);
  possible.set(WindowCommand::CancelTransfer, state.isTransferring);
  possible.set(WindowCommand::Quit);
  possible.set(WindowCommand::Rename, fitsSelection(SOutlineMenuEntry::EditName));
  possible.set(WindowCommand::Delete, fitsSelection(SOutlineMenuEntry::Delete));
  possible.set(WindowCommand::SelectAll, rows && state.hasRows);
  possible.set(WindowCommand::Open, rows && state.isCurrentExpandable);
  possible.set(WindowCommand::Back, steps && state.hasParent);
  possible.set(WindowCommand::Next, steps && state.hasNext);
  possible.set(WindowCommand::InternalStorage, storages && state.storages > 0);
  possible.set(WindowCommand::ExternalStorage, storages && state.storages > 1);
  possible.set(WindowCommand::Reload, rows);
  possible.set(WindowCommand::SortByName, rows);
  possible.set(WindowCommand::SortByDate, rows);
  possible.set(WindowCommand::SortBySize, rows);
  possible.set(WindowCommand::Expand, rows && state.isCurrentExpandable && !state.isCurrentExpanded);
  possible.set(WindowCommand::Collapse, rows && state.isCurrentExpandable && state.isCurrentExpanded);
  possible.set(WindowCommand::LastTransfer, !state.isBlocked);
  possible.set(WindowCommand::ShowKeys, !state.isBlocked);
  possible.set(WindowCommand::About, !state.isBlocked);
  return possible;
}
