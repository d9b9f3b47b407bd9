#pragma once
// Makes one new object in a folder of the phone: what new folders and sent files have in common.
#include "TessalyMTPSdk/Device.h"

#include <ctime>
#include <string>

namespace mtp {

/// Where something is to be made; taken from a folder's or storage's record under the lock.
struct Place {
  std::shared_ptr<Listing> listing;
  std::uint64_t epoch = 0; // of the device
};

/// The status of a refused creation or change of name in the words of the one who asked for it.
Status refusalOf(const Reply& reply);

/// One creation, on one thread: prepare(), announce(), then adopt() or withdraw(). All but adopt() block. From
/// prepare() to its end it holds the session exclusively: a phone forgets an announced file when another command comes
/// between. Namesakes are handed out as the records of the listing.
class ObjectCreation {
public:
  ObjectCreation(Device& device, Place place, std::u16string name);

  /// Sees to it that the folder's contents are known, and looks for an object the storage may take for the new one:
  /// DGSTATUS_NODE_FILE_DUPNAME_EXISTED, DGSTATUS_NODE_FOLDER_DUPNAME_EXISTED. Nothing is sent before 0.
  /// The watch: as Session has it; DGSTATUS_IO_CANCEL.
  Status prepare(Node*& namesake, const Session::Watch& watch = {});
  /// Tells the phone of the object; a folder is made by that. A refusal that may mean a name that appeared meanwhile is
  /// looked into, with prepare()'s answers.
  Status announce(bool folder, std::uint64_t size, std::u16string_view modified, Node*& namesake,
                  const Session::Watch& watch = {});
  std::uint32_t handle() const { return m_handle; }
  /// Takes the new object over into the listing, under the name the phone gave it. Null when the listing has been
  /// released meanwhile.
  Node* adopt(std::uint64_t size, std::u16string_view date);
  /// Deletes the announced object. Where the phone has started a new session meanwhile, the file is sought again under
  /// its path, and deleted when it is not whole.
  void withdraw();

private:
  enum class Ask { Phone, Memory };
  Status lookForNamesake(Node*& namesake, Ask ask, const Session::Watch& watch = {});
  void rememberPath();
  void withdrawByPath();
  std::u16string nameOnPhone();

  Device& m_device;
  const Place m_place;
  const std::u16string m_name;
  Session::Exclusive m_alone;
  std::uint32_t m_handle = 0;
  bool m_folder = false;
  std::uint64_t m_size = 0;           // bytes announced
  std::vector<std::u16string> m_path; // the folders from the storage's top level down to the place
};

} // namespace mtp
