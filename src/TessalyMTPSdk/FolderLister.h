#pragma once
// Lists one folder with as few transactions as the phone allows: a constant number where it lists by depth, one an
// object elsewhere. Which of them it is, is found out at the first folder that holds something and remembered.
#include "TessalyMTPSdk/Session.h"

#include <mutex>

namespace mtp {

/// One object of a listing. Its texts stand in ListedFolder::text.
struct ListedObject {
  std::uint32_t handle = 0;
  bool folder = false;
  std::uint64_t size = 0; // bytes
  std::uint32_t nameAt = 0;
  std::uint32_t dateAt = 0;
  std::uint16_t nameUnits = 0;
  std::uint16_t dateUnits = 0;
};

/// The objects directly in a folder, in the phone's order, each handle once.
struct ListedFolder {
  std::vector<ListedObject> objects;
  std::u16string text;

  std::u16string_view name(const ListedObject& object) const {
    return std::u16string_view(text).substr(object.nameAt, object.nameUnits);
  }
  std::u16string_view date(const ListedObject& object) const {
    return std::u16string_view(text).substr(object.dateAt, object.dateUnits);
  }
};

/// One phone's way of listing. Any thread; several listings at a time take turns transaction by transaction.
class FolderLister {
public:
  static constexpr std::uint32_t TopLevel = 0; // no object has this handle

  /// Both outlive the lister.
  FolderLister(Session& session, const DeviceInfo& info);

  /// Lists the folder with the handle `parent`, or the storage's top level. Blocks. `wanted` is asked between
  /// transactions, the watch (see Session) also while data comes; false ends the listing with DGSTATUS_IO_CANCEL. A
  /// phone that is still looking is waited for: broken off there it would need a reset. An object that disappears
  /// meanwhile is left out.
  Status list(std::uint32_t storage, std::uint32_t parent, const std::function<bool()>& wanted, ListedFolder& folder,
              const Session::Watch& watch = {});

private:
  enum class Answer { Unknown, Yes, No };
  struct Ways {
    Answer byDepth = Answer::Unknown;      // GetObjectPropList lists a folder's children
    Answer byObjectList = Answer::Unknown; // GetObjectPropList gives all properties of one object
    bool dates = true;                     // DateModified is served by depth
    bool storageIds = true;                // StorageID likewise
  };
  using Handles = std::vector<std::uint32_t>;
  /// Whether somebody still waits for the listing.
  struct Wanted {
    const std::function<bool()>& isKnown;
    const Session::Watch& watch;  // may be empty
    const Session::Watch& during; // likewise: the watch for the middle of a transaction
    bool operator()() const { return isKnown() && (!watch || watch(0)); } // between transactions
  };

  Status findOutByDepth(std::uint32_t storage, std::uint32_t parent, const Wanted& wanted, ListedFolder& folder);
  Status listByDepth(std::uint32_t storage, std::uint32_t parent, const Handles* handles, std::vector<std::byte> names,
                     const Wanted& wanted, ListedFolder& folder);
  Status readColumns(std::uint32_t storage, std::uint32_t parent, const Handles* handles, std::vector<std::byte>& names,
                     const Wanted& wanted, ListedFolder& folder);
  Status listEachObject(const Handles& handles, std::uint32_t parent, const Wanted& wanted, ListedFolder& folder);
  Status listObject(std::uint32_t handle, const Wanted& wanted, ListedFolder& folder);
  Status objectByPropertyList(std::uint32_t handle, const Wanted& wanted, ListedFolder& folder, bool& answered);
  Status objectByInfo(std::uint32_t handle, const Wanted& wanted, ListedFolder& folder);
  Status getHandles(std::uint32_t storage, std::uint32_t parent, const Wanted& wanted, Handles& handles);
  Reply getColumn(std::uint32_t parent, Property property, const Wanted& wanted, std::vector<std::byte>& rows);

  Ways ways() const;
  void remember(const std::function<void(Ways&)>& change);

  Session& m_session;
  const DeviceInfo& m_info;
  mutable std::mutex m_mutex; // guards m_ways
  Ways m_ways;
};

} // namespace mtp
