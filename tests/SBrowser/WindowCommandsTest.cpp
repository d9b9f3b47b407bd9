#include "SBrowser/WindowCommands.h"

#include "UI/Controls/SOutlineView.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using Command = WindowCommand;
using Commands = std::set<Command>;

const Commands kAlways{Command::Quit};
const Commands kWithoutPhone{Command::Quit, Command::LastTransfer, Command::ShowKeys, Command::About};
const Commands kRows{Command::NewFolder, Command::Upload,     Command::UploadFolder, Command::SelectAll,
                     Command::Reload,    Command::SortByName, Command::SortByDate,   Command::SortBySize};

Commands possible(const WindowState& state) {
  const WindowCommandSet set = possibleCommands(state);
  Commands commands;
  for (std::size_t i = 0; i < kWindowCommandCount; ++i)
    if (set.contains(Command(i)))
      commands.insert(Command(i));
  return commands;
}

Commands operator+(Commands some, const Commands& others) {
  some.insert(others.begin(), others.end());
  return some;
}

/// A phone with one storage, at its root, nothing selected.
WindowState browsing() {
  WindowState state;
  state.showsPhone = true;
  state.storagesEnabled = true;
  state.backAndNextEnabled = true;
  state.storages = 1;
  state.hasRows = true;
  return state;
}

} // namespace

TEST(WindowCommands, WithoutAPhoneOnlyTheProgramItselfHasCommands) {
  EXPECT_EQ(possible({}), kWithoutPhone);
  WindowState left = browsing();
  left.showsPhone = false;
  left.storages = 2;
  left.hasParent = left.hasNext = left.isCurrentExpandable = true;
  left.selectedRows = 1;
  left.selectedType = kMenuTypeFolder;
  EXPECT_EQ(possible(left), kWithoutPhone);
}

TEST(WindowCommands, AtAStoragesRootNothingLeadsBackOrFurther) {
  EXPECT_EQ(possible(browsing()), (kWithoutPhone + kRows + Commands{Command::InternalStorage}));
}

TEST(WindowCommands, BackNeedsAParentAndNextAHistory) {
  WindowState state = browsing();
  state.hasParent = true;
  EXPECT_TRUE(possible(state).contains(Command::Back));
  EXPECT_FALSE(possible(state).contains(Command::Next));
  state.hasParent = false;
  state.hasNext = true;
  EXPECT_FALSE(possible(state).contains(Command::Back));
  EXPECT_TRUE(possible(state).contains(Command::Next));
  state.backAndNextEnabled = false;
  EXPECT_FALSE(possible(state).contains(Command::Next));
}

TEST(WindowCommands, TheSecondStorageNeedsTwoStorages) {
  WindowState state = browsing();
  EXPECT_FALSE(possible(state).contains(Command::ExternalStorage));
  state.storages = 3;
  EXPECT_TRUE(possible(state).contains(Command::ExternalStorage));
  state.storagesEnabled = false;
  EXPECT_FALSE(possible(state).contains(Command::ExternalStorage));
  EXPECT_FALSE(possible(state).contains(Command::InternalStorage));
}

TEST(WindowCommands, OneSelectedFileOrFolderCanBeCopiedRenamedAndDeleted) {
  for (const int type : {kMenuTypeFile, kMenuTypeFolder}) {
    WindowState state = browsing();
    state.selectedRows = 1;
    state.selectedType = type;
    EXPECT_EQ(possible(state), (kWithoutPhone + kRows +
                                Commands{Command::InternalStorage, Command::CopyTo, Command::Rename, Command::Delete}));
  }
}

TEST(WindowCommands, AProtectedFolderCanBeCopiedAndNothingElse) {
  WindowState state = browsing();
  state.selectedRows = 1;
  state.selectedType = kMenuTypeProtected;
  EXPECT_EQ(possible(state), (kWithoutPhone + kRows + Commands{Command::InternalStorage, Command::CopyTo}));
}

TEST(WindowCommands, SeveralRowsCanBeDeletedButNotRenamed) {
  WindowState state = browsing();
  state.selectedRows = 2;
  EXPECT_TRUE(possible(state).contains(Command::Delete));
  EXPECT_TRUE(possible(state).contains(Command::CopyTo));
  EXPECT_FALSE(possible(state).contains(Command::Rename));
}

TEST(WindowCommands, SeveralRowsWithAProtectedOneCannotBeDeleted) {
  WindowState state = browsing();
  state.selectedRows = 2;
  state.isProtectedSelected = true;
  EXPECT_FALSE(possible(state).contains(Command::Delete));
  EXPECT_TRUE(possible(state).contains(Command::CopyTo));
}

TEST(WindowCommands, AFolderUnderTheKeyboardIsOpenedAndExpandedOrCollapsed) {
  WindowState state = browsing();
  state.isCurrentExpandable = true;
  EXPECT_TRUE(possible(state).contains(Command::Open));
  EXPECT_TRUE(possible(state).contains(Command::Expand));
  EXPECT_FALSE(possible(state).contains(Command::Collapse));
  state.isCurrentExpanded = true;
  EXPECT_FALSE(possible(state).contains(Command::Expand));
  EXPECT_TRUE(possible(state).contains(Command::Collapse));
}

TEST(WindowCommands, WithoutRowsThereIsNothingToSelect) {
  WindowState state = browsing();
  state.hasRows = false;
  EXPECT_FALSE(possible(state).contains(Command::SelectAll));
  EXPECT_TRUE(possible(state).contains(Command::NewFolder));
}

TEST(WindowCommands, WhileAFolderLoadsOnlyTheWayElsewhereIsOpen) {
  WindowState state = browsing();
  state.isLoading = true;
  state.hasParent = state.hasNext = state.isCurrentExpandable = true;
  state.storages = 2;
  state.selectedRows = 1;
  state.selectedType = kMenuTypeFolder;
  EXPECT_EQ(possible(state), (kWithoutPhone + Commands{Command::Back, Command::Next, Command::InternalStorage,
                                                       Command::ExternalStorage}));
}

TEST(WindowCommands, ABlockedWindowCanOnlyBeClosed) {
  WindowState state = browsing();
  state.isBlocked = true;
  state.storagesEnabled = state.backAndNextEnabled = false;
  state.hasParent = state.hasNext = state.isCurrentExpandable = true;
  state.storages = 2;
  state.selectedRows = 1;
  state.selectedType = kMenuTypeFolder;
  EXPECT_EQ(possible(state), kAlways);
}

TEST(WindowCommands, ATransferCanBeCanceledWhileItBlocksTheWindow) {
  WindowState state = browsing();
  state.isBlocked = state.isTransferring = true;
  state.storagesEnabled = state.backAndNextEnabled = false;
  EXPECT_EQ(possible(state), (kAlways + Commands{Command::CancelTransfer}));
}
