#include "VirtualPhone/Responder.h"
#include "VirtualPhone/Texts.h"

#include <algorithm>
#include <array>

namespace vphone {
namespace {

using mtp::DataType;
using mtp::Property;

struct PropertyType {
  Property property;
  DataType type;
};

constexpr std::array Properties{
    PropertyType{Property::StorageID, DataType::Uint32},
    PropertyType{Property::ObjectFormat, DataType::Uint16},
    PropertyType{Property::ProtectionStatus, DataType::Uint16},
    PropertyType{Property::ObjectSize, DataType::Uint64},
    PropertyType{Property::ObjectFileName, DataType::String},
    PropertyType{Property::DateCreated, DataType::String},
    PropertyType{Property::DateModified, DataType::String},
    PropertyType{Property::ParentObject, DataType::Uint32},
    PropertyType{Property::PersistentUniqueObjectIdentifier, DataType::Uint128},
    PropertyType{Property::Name, DataType::String},
    PropertyType{Property::DateAdded, DataType::String},
};

constexpr std::uint32_t AllProperties = 0xFFFFFFFF;
constexpr std::uint32_t AllObjects = 0xFFFFFFFF;
constexpr std::size_t UsualRow = 8 + 32; // bytes of a row of a list, names included, to reserve for

const PropertyType* typeOf(std::uint16_t property) {
  auto found = std::find_if(Properties.begin(), Properties.end(),
                            [=](const PropertyType& p) { return p.property == Property(property); });
  return found == Properties.end() ? nullptr : found;
}

} // namespace

std::uint16_t Responder::formatOf(const Object& object) {
  return object.folder() ? std::uint16_t(mtp::Format::Association) : formatOfName(object.name);
}

Responder::Answer Responder::getObjectPropsSupported() {
  DatasetWriter out;
  std::vector<std::uint16_t> codes;
  for (const auto& property : Properties)
    codes.push_back(std::uint16_t(property.property));
  out.array16(codes);
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::getObjectPropDesc(const Command& c) {
  const auto* known = typeOf(std::uint16_t(c.parameters[0]));
  if (!known || c.parameters[0] > 0xFFFF)
    return Code::InvalidObjectPropCode;
  DatasetWriter out;
  out.u16(std::uint16_t(known->property));
  out.u16(std::uint16_t(known->type));
  out.u8(known->property == Property::ObjectFileName); // writable
  switch (known->type) {                               // the default value
  case DataType::Uint16:
    out.u16(known->property == Property::ObjectFormat ? std::uint16_t(c.parameters[1]) : 0);
    break;
  case DataType::Uint32:
    out.u32(0);
    break;
  case DataType::Uint64:
    out.u64(0);
    break;
  case DataType::Uint128:
    out.u128(0, 0);
    break;
  default:
    out.string(u"");
  }
  out.u32(0); // group
  bool date = known->property == Property::DateCreated || known->property == Property::DateModified ||
              known->property == Property::DateAdded;
  out.u8(date ? 3 : 0); // form
  channel_.sendData(out);
  return Code::OK;
}

bool Responder::putProperty(DatasetWriter& out, std::uint16_t property, Object& object, ObjectTree::Cursor& cursor,
                            bool inList) {
  const auto* known = typeOf(property);
  disk::Facts facts{object.folder(), 0, 0};
  bool wantsFacts = known && (known->property == Property::DateModified || known->property == Property::DateCreated ||
                              known->property == Property::DateAdded ||
                              (known->property == Property::ObjectSize && !object.folder()));
  if (!known)
    return false;
  if (wantsFacts && object.parent) {
    auto found = phone_.tree.facts(object, cursor);
    if (!found)
      return false;
    facts = *found;
  }
  if (inList) {
    out.u32(object.handle);
    out.u16(property);
    out.u16(std::uint16_t(known->type));
  }
  switch (known->property) {
  case Property::StorageID:
    out.u32(object.storage->options.storageId);
    break;
  case Property::ObjectFormat:
    out.u16(formatOf(object));
    break;
  case Property::ProtectionStatus:
    out.u16(object.storage->options.readOnly ? 1 : 0);
    break;
  case Property::ObjectSize:
    out.u64(facts.size);
    break;
  case Property::ParentObject:
    out.u32(object.parent ? object.parent->handle : 0);
    break;
  case Property::PersistentUniqueObjectIdentifier:
    out.u128(object.storage->options.storageId, object.handle);
    break;
  case Property::ObjectFileName:
  case Property::Name:
    out.string(object.name);
    break;
  default:
    out.string(dateText(facts.modified));
  }
  return true;
}

Responder::Answer Responder::getObjectPropValue(const Command& c) {
  DatasetWriter out;
  {
    auto lock = lockPhone();
    auto* object = phone_.tree.find(c.parameters[0]);
    if (!object)
      return Code::InvalidObjectHandle;
    if (c.parameters[1] > 0xFFFF || !typeOf(std::uint16_t(c.parameters[1])))
      return Code::ObjectPropNotSupported;
    ObjectTree::Cursor cursor;
    if (!putProperty(out, std::uint16_t(c.parameters[1]), *object, cursor, false))
      return Code::InvalidObjectHandle; // deleted behind our back
  }
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::setObjectPropValue(const Command& c) {
  std::vector<std::byte> bytes;
  auto received = channel_.receiveData(bytes);
  auto lock = lockPhone();
  auto* object = phone_.tree.find(c.parameters[0]);
  if (!object)
    return Code::InvalidObjectHandle;
  if (c.parameters[1] != std::uint32_t(Property::ObjectFileName))
    return Code::ObjectPropNotSupported;
  DatasetReader in(bytes);
  auto name = in.string();
  if (received != Received::Complete || !in.ok())
    return Code::InvalidObjectPropValue;
  return rename(*object, name);
}

Responder::Answer Responder::getObjectPropList(const Command& c) {
  auto [handle, format, property, group, depth] = c.parameters;
  DatasetWriter out;
  {
    auto lock = lockPhone();
    std::vector<Object*> objects;
    if (property == 0)
      return group ? Code::SpecificationByGroupUnsupported : Code::ParameterNotSupported;
    auto& tree = phone_.tree;
    if (phone_.manners.ignoresDepth) {
      auto storages = tree.storages();
      auto* object = handle ? tree.find(handle) : storages.empty() ? nullptr : &storages.back()->top;
      if (!object)
        return Code::InvalidObjectHandle;
      objects.push_back(object);
    } else {
      if (depth == AllObjects && (handle == 0 || handle == AllObjects)) {
        handle = AllObjects;
        depth = 0;
      }
      if (depth > 1)
        return Code::SpecificationByDepthUnsupported;
      std::vector<std::uint32_t> handles;
      if (handle == AllObjects) {
        if (!tree.storages().empty())
          collect(AllObjects, 0, 0, handles);
      } else {
        auto* self = handle ? tree.find(handle) : nullptr;
        if (handle && !self)
          return Code::InvalidObjectHandle;
        if (self)
          handles.push_back(handle);
        if (!handle || (depth == 1 && self->folder())) {
          // The tops of all storages come merged: the handle says nothing of a storage.
          auto code =
              tree.storages().empty() ? Code::OK : collect(AllObjects, 0, handle ? handle : AllObjects, handles);
          if (code != Code::OK)
            return code;
        }
      }
      objects.reserve(handles.size());
      for (auto each : handles)
        objects.push_back(tree.find(each));
    }
    if (property != AllProperties && (property > 0xFFFF || !typeOf(std::uint16_t(property))))
      return Code::ObjectPropNotSupported;
    std::uint32_t rows = 0;
    ObjectTree::Cursor cursor;
    out.reserve(4 + objects.size() * UsualRow * (property == AllProperties ? Properties.size() : 1));
    out.u32(0);
    for (auto* object : objects) {
      if (format && formatOf(*object) != format)
        continue;
      if (property != AllProperties) {
        rows += putProperty(out, std::uint16_t(property), *object, cursor, true);
        continue;
      }
      for (const auto& each : Properties)
        rows += putProperty(out, std::uint16_t(each.property), *object, cursor, true);
    }
    out.patch32(0, rows);
  }
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::getObjectReferences(const Command& c) {
  DatasetWriter out;
  {
    auto lock = lockPhone();
    const auto* object = phone_.tree.find(c.parameters[0]);
    if (!object)
      return Code::InvalidObjectHandle;
    out.array32(phone_.tree.references(*object));
  }
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::setObjectReferences(const Command& c) {
  std::vector<std::byte> bytes;
  auto received = channel_.receiveData(bytes);
  auto lock = lockPhone();
  const auto* object = phone_.tree.find(c.parameters[0]);
  if (!object)
    return Code::InvalidObjectHandle;
  DatasetReader in(bytes);
  auto references = in.array32();
  if (received != Received::Complete || !in.ok())
    return Code::InvalidDataset;
  for (auto each : references) {
    if (!phone_.tree.find(each))
      return Code::InvalidObjectReference;
  }
  phone_.tree.references(*object) = std::move(references);
  return Code::OK;
}

} // namespace vphone
